#include "tests/tools/eswctl_test.h"

#include <fmt/format.h>

namespace test {

Finished Eswctl::launch(const std::string &launcher, const std::vector<std::string> &command)
{
    std::vector<std::string> words = {BIN_DIR "/esw-sim", "--state", scratch("state")};
    for (const std::string &word : words_of(launcher))
        words.push_back(word);
    words.insert(words.end(), command.begin(), command.end());
    return run(words);
}

Finished Eswctl::eswctl(const std::string &line, const std::string &launcher)
{
    std::vector<std::string> command = words_of(line);
    command.insert(command.begin(), BIN_DIR "/eswctl");
    return launch(launcher, command);
}

void Eswctl::expect(const std::vector<CommandLine> &lines, const std::string &launcher)
{
    using testing::HasSubstr;
    using testing::IsEmpty;
    for (const CommandLine &expected : lines) {
        SCOPED_TRACE(expected.line);
        const Finished got = eswctl(expected.line, launcher);
        EXPECT_EQ(got.code, expected.code) << got.error;
        if (*expected.out)
            EXPECT_THAT(got.out, HasSubstr(expected.out));
        else
            EXPECT_THAT(got.out, IsEmpty());
        if (*expected.error)
            EXPECT_THAT(got.error, HasSubstr(expected.error));
        else
            EXPECT_THAT(got.error, IsEmpty());
    }
}

namespace {

TEST_F(Eswctl, GeneralCommandLines)
{
    expect({
        {"info", 0, "device ID            0x2404\n", ""},
        {"--json info", 0, "\"class\": \"B\"", ""},
        {"info --json", 0, "\"route\": \"device\"", ""},
        {"--version", 0, "eswctl 0.1.0\n", ""},
        {"--help", 0, "Usage: eswctl [OPTIONS] [SUBCOMMAND]", ""},
        {"port --help", 0, "Usage: eswctl port [OPTIONS] [SUBCOMMAND]", ""},
        {"port stp --help", 0, "Usage: eswctl port stp [OPTIONS] PORT [STATE]", ""},
        {"", 2, "", "eswctl: 'eswctl' needs a command behind it; use one of info, "},
        {"ports", 2, "", "eswctl: 'eswctl ports' is not a command; use one of info, "},
        {"port", 2, "", "eswctl: 'eswctl port' needs a command behind it; use one of show, "},
        {"port frob 1", 2, "", "eswctl: 'eswctl port frob' is not a command; use one of show, "},
        {"info now", 2, "", "now; see eswctl info --help"},
        {"reset", 0, "switch reset\n", ""},
    });
}

TEST_F(Eswctl, Registers)
{
    expect({
        {"reg read 0x02 0x30 --width 32", 0, "0x02  0x30              32  0x00002404\n", ""},
        {"reg write 0x40 5 2000 --width 16", 0, "register 0x40:0x05 written\n", ""},
        {"reg read 64 0x05 1 --width 16 --json", 0, "\"value\": \"0x07d0\"", ""},
        {"reg write 0 0 0xff --mask 0x02 --width 8", 0, "written", ""},
        {"reg read 0 0 --width 8", 0, "0xa2\n", ""},
        {"reg read 0x100 0", 2, "", "PAGE: '0x100' is not accepted; use a number from 0 to 255"},
        {"reg read 1", 2, "", "OFFSET is required"},
        {"reg read 1 1 --width 12", 2, "", "--width: '12' is not accepted; use 8, 16, 32 or 64"},
        {"reg write 0 0 0x1ff --width 8", 2, "", "VALUE: 0x1ff does not fit into 8 bits"},
        {"reg write 0 0 -1", 2, "", "eswctl: "},
        {"reg write 0 0 1x", 2, "", "VALUE: '1x' is not accepted"},
    });
}

TEST_F(Eswctl, Ports)
{
    expect({
        {"port show", 0,
         "port  enabled  MAC bit 1  MAC bit 0  STP state   frame max [bytes]\n"
         "   0  yes      yes        yes        forwarding               1518\n"
         "   1  yes      yes        yes        forwarding               1518\n"
         "   8  yes      -          -          -                        1518\n",
         ""},
        {"port disable 0 8", 0, "port 0, 8 disabled\n", ""},
        {"port show 0 --json", 0, "\"enabled\": false", ""},
        {"port mac 0 --bit0 on", 0, "MAC bit 1 enabled  no\nMAC bit 0 enabled  yes\n", ""},
        {"port stp 1 blocking", 0, "STP state  blocking\n", ""},
        {"port stp 1", 0, "STP state  blocking\n", ""},
        {"port frame-max 8 9720", 0, "frame max  9720 bytes\n", ""},
        {"port frame-max 8 1600", 2, "", "BYTES: '1600' is not accepted; use 1518, 2000 or 9720"},
        {"port stp 8 blocking", 2, "", "PORT: '8' is not accepted; use 0 or 1"},
        {"port stp 1 waiting", 2, "", "STATE: 'waiting' is not accepted; use disabled, blocking, "},
        {"port enable 2", 2, "", "PORT: '2' is not accepted; use 0, 1 or 8"},
    });
}

TEST_F(Eswctl, SaysWhyThereIsNoSwitch)
{
    struct {
        const char *launcher;
        const char *error;
    } const cases[] = {
        {"--device 0xD315",
         "Switch(0xd315) NOT supported!\neswctl: the switch's device ID 0xd315 is not supported\n"},
        {"--fault socket", "eswctl: no socket can be created\n"},
        {"--fault lock", "eswctl: the switch lock cannot be created\n"},
        {"--fault all",
         "eswctl: no switch found: the driver behind /dev/esw-ctl does not answer; to try it on the "
         "simulated switch, use esw-sim eswctl ...\n"},
    };
    for (const auto &c : cases) {
        const Finished got = eswctl("info", c.launcher);
        EXPECT_EQ(got.code, 1);
        EXPECT_EQ(got.out, "");
        EXPECT_THAT(got.error, testing::EndsWith(c.error));
    }
    const Finished bare = run({BIN_DIR "/eswctl", "-i", "nosuch", "info"});
    EXPECT_EQ(bare.code, 1);
    EXPECT_EQ(bare.error,
              "eswctl: no switch found: there is no /dev/esw-ctl, and interface nosuch does not exist; to "
              "try it on the simulated switch, use esw-sim eswctl ...\n");
}

// The library prints what goes wrong on its standard output; the tool's stays a document.
TEST_F(Eswctl, LibraryMessagesGoToStandardError)
{
    const Finished got = eswctl("port show 0 --json", "--fault nth=3");
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.out[0], '{');
    EXPECT_EQ(got.error, "ESW: read32 error !\n: Input/output error\n");
}

TEST_F(Eswctl, LauncherRefusesWhatItDoesNotUnderstand)
{
    struct {
        const char *options;
        const char *error;
    } const cases[] = {
        {"--route bus", "--route: 'bus' is not accepted; use device or interface"},
        {"--fault nth=0", "--fault: 'nth=0' is not accepted"},
        {"--fault stuck=device-id", "--fault: 'stuck=device-id' is not accepted"},
        {"--latency some", "--latency: 'some' is not accepted"},
        {"--device big", "--device: 'big' is not accepted"},
    };
    for (const auto &c : cases) {
        const Finished got = eswctl("info", c.options);
        EXPECT_EQ(got.code, 2) << c.options;
        EXPECT_THAT(got.error, testing::HasSubstr(c.error));
    }
    EXPECT_EQ(launch("", {}).code, 2);
    EXPECT_EQ(launch("", {"no-such-program"}).code, 127);
    EXPECT_EQ(launch("", {"sh", "-c", "exit 7"}).code, 7);
}

TEST_F(Eswctl, SwitchIsSharedAndSurvivesUntilReset)
{
    EXPECT_EQ(eswctl("port disable 0").code, 0);
    const auto enabled = [&](const char *launcher) { return eswctl("port show 0", launcher).out; };
    EXPECT_THAT(enabled(""), testing::HasSubstr("0  no"));
    EXPECT_THAT(enabled("--route interface"), testing::HasSubstr("0  no"));
    EXPECT_THAT(enabled("--device 0x2409"), testing::HasSubstr("0  yes")) << "another ID is another switch";
    EXPECT_THAT(enabled("--reset"), testing::HasSubstr("0  yes"));
}

TEST_F(Eswctl, TraceHasALineForEachRequest)
{
    const std::string trace = scratch("trace");
    eswctl("port frame-max 1 2000", "--route interface --trace " + trace);
    EXPECT_EQ(contents(trace), "interface read  02:30 w64 -> 0x2404\n"
                               "interface read  40:01 w64 -> 0x0\n"
                               "interface write 40:01 w64 <- 0x0\n"
                               "interface write 40:05 w64 <- 0x7d0\n"
                               "interface read  40:01 w32 -> 0x0\n"
                               "interface read  40:05 w32 -> 0x7d0\n");
}

TEST_F(Eswctl, TwoProcessesAtOnceLoseNothing)
{
    const auto writer = [](int offset) {
        return fmt::format("for i in 1 2 3 4 5 6 7 8; do " BIN_DIR "/eswctl reg write 0xe0 {} $i; done",
                           offset);
    };
    EXPECT_EQ(launch("", {"sh", "-c", fmt::format("({}) & {}; wait $!", writer(1), writer(2))}).code, 0);
    const Finished got = eswctl("reg read 0xe0 1 2 --width 8");
    EXPECT_THAT(got.out,
                testing::HasSubstr("0xe0  0x01               8  0x08\n0xe0  0x02               8  0x08\n"));
}

} // namespace
} // namespace test
