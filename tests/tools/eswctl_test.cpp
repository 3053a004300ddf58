// SPDX-License-Identifier: LGPL-2.1-or-later
// What the tables of commands can't have: several processes, files, and time.
#include "tests/tools/eswctl_test.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <unistd.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "chip/registers.h"
#include "tests/tools/schema.h"

namespace test {

Finished Eswctl::launch(const std::string &launcher, const std::vector<std::string> &command,
                        const std::string &input)
{
    setenv("EDITOR", "true", 1);
    std::vector<std::string> words = {BIN_DIR "/esw-sim", "--unprivileged", "--state", scratch(board_)};
    for (const std::string &word : words_of(launcher))
        words.push_back(word);
    words.insert(words.end(), command.begin(), command.end());
    return run(words, input);
}

Finished Eswctl::eswctl(const std::string &line, const std::string &launcher, const std::string &input)
{
    std::vector<std::string> command = words_of(line);
    command.insert(command.begin(), BIN_DIR "/eswctl");
    return launch(launcher, command, input);
}

namespace {

using Json = nlohmann::json;

TEST_F(Eswctl, SaysWhyThereIsNoSwitch)
{
    const Finished bare = run({BIN_DIR "/eswctl", "-i", "nosuch", "info"});
    EXPECT_EQ(bare.code, 1);
    EXPECT_EQ(
        bare.error,
        "eswctl: no switch found: there is no /dev/esw-ctl, and no interface nosuch: load the driver, or "
        "name the switch's interface with -i; to try it on the simulated switch, use esw-sim eswctl ...\n");
}

TEST_F(Eswctl, LauncherPassesTheExitCodeOn)
{
    EXPECT_EQ(launch("", {}).code, 2);
    EXPECT_EQ(launch("", {"no-such-program"}).code, 127);
    EXPECT_EQ(launch("", {"sh", "-c", "exit 7"}).code, 7);
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

// Index, command and data of a table are requests of their own, and what others write comes in between.
TEST_F(Eswctl, WritersAtOnceLoseNothing)
{
    constexpr int writers = 8, vlans_each = 6;
    ASSERT_EQ(eswctl(fmt::format("vlan create 1-{}", writers * vlans_each)).code, 0);
    std::string script = "set -e\n";
    for (int writer = 0; writer < writers; ++writer) {
        const int first = writer * vlans_each + 1;
        script += fmt::format(
            "(for v in $(seq {} {}); do {} vlan add $v {} untagged {}; {} protect set 0,1,8 {}; done) &\n",
            first, first + vlans_each - 1, BIN_DIR "/eswctl", writer % 2 ? "0,8" : "1", writer % 2,
            BIN_DIR "/eswctl", writer % 2 ? "on" : "off");
    }
    EXPECT_EQ(launch("", {"sh", "-c", script + "wait"}).error, "");
    const Json vlans = Json::parse(eswctl("--json vlan show").out)["vlans"];
    ASSERT_EQ(vlans.size(), writers * vlans_each);
    for (const Json &row : vlans) {
        const bool odd = (row["vid"].get<int>() - 1) / vlans_each % 2;
        EXPECT_EQ(row["members"], odd ? Json({0, 8}) : Json::array({1})) << row;
        EXPECT_EQ(row["untagged"], Json::array({odd ? 1 : 0})) << row;
    }
}

TEST_F(Eswctl, CommandsWaitForWhoeverHoldsTheLock)
{
    const auto beside = [&](const std::string &holder, const std::string &line) {
        return launch("", {"sh", "-c", fmt::format("{} & sleep 0.3; " BIN_DIR "/eswctl {}", holder, line)});
    };
    const std::string flock = "flock /run/lock/esw.lock sleep 2";
    const Finished refused = beside(flock, "--wait 0 info");
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.error, testing::HasSubstr("another program works on the switch; try again"));
    EXPECT_THAT(beside(flock, "--wait 1 info").error, testing::HasSubstr("for 1 s; wait longer"));
    const Finished waited = beside(flock, "info");
    EXPECT_EQ(waited.code, 0);
    EXPECT_EQ(waited.error,
              "eswctl: another program works on the switch; waiting for its end (see --wait)\n");
    // A watch between two looks, and a command that waits for its input, keep nobody waiting.
    EXPECT_EQ(beside(BIN_DIR "/eswctl stat watch --count 1 --interval 2", "--wait 0 info").code, 0);
    EXPECT_EQ(beside("sleep 2 | " BIN_DIR "/eswctl batch -", "--wait 0 info").code, 0);
}

TEST_F(Eswctl, LinkWatchTellsChangesAsTheyCome)
{
    const std::jthread puller([&](const std::stop_token &ended) {
        while (!ended.stop_requested())
            launch("--link 1=down --link 1=up", {});
    });
    const Finished got = eswctl("link watch --count 1 --json");
    EXPECT_EQ(got.out, "{\"port\":1,\"link\":\"up\",\"speed\":1000,\"duplex\":\"full\",\"pause_low\":false,"
                       "\"pause_high\":false}\n")
        << "a change, although the link is up whenever it is looked at";
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(schema_fault("link watch", got.out), "");
}

// The library takes such a file for what it is; nobody is told that something was done when it was not.
TEST_F(Eswctl, VlansWithADamagedMembershipFile)
{
    const std::string file = scratch("state") + "/0x2404/shm/vid_list.cfg";
    eswctl("info");
    std::ofstream(file) << std::string(5000, '0');
    for (const char *line : {"vlan show", "vlan create 7", "vlan destroy-all --yes"}) {
        const Finished got = eswctl(line);
        EXPECT_EQ(got.code, 1) << line;
        EXPECT_THAT(got.error, testing::HasSubstr("WARNING file size not equals to 4096\neswctl: cannot "))
            << line;
        EXPECT_THAT(got.error, testing::HasSubstr(
                                   "vid_list.cfg cannot be read or written; eswctl vlan init makes it anew"));
    }
    EXPECT_EQ(eswctl("vlan init --yes").error, "");
    EXPECT_EQ(eswctl("vlan create 7").out, "VLAN 7: created\n");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_THAT(eswctl("vlan init --yes").error, testing::HasSubstr("open: Is a directory\n"));
}

TEST_F(Eswctl, NamesTheFileThatIsClosedToAUser)
{
    eswctl("vlan create 5");
    eswctl("cfp set auto --data 1");
    run({"sh", "-c", "chmod 0 " + scratch("") + "state/*/shm/*"});
    const auto plainly = [&](const std::string &line) { // root may open everything
        const std::string drop = geteuid() == 0 ? "setpriv --bounding-set=-all --inh-caps=-all " : "";
        return launch("", words_of(drop + BIN_DIR "/eswctl " + line));
    };
    EXPECT_THAT(plainly("vlan init --yes").error, testing::HasSubstr("(/dev/shm/vid_list.cfg belongs to "));
    const Finished written = plainly("cfp set auto --data 1");
    EXPECT_EQ(written.out, "rule written to slot 1\n");
    EXPECT_THAT(written.error, testing::StartsWith("eswctl: each search for a free slot begins at 0: "));
}

TEST_F(Eswctl, DestructiveCommandsAskOnATerminal)
{
    eswctl("port disable 0");
    const auto answered = [&](const std::string &answer) {
        return launch("", {"script", "-qec", BIN_DIR "/eswctl reset", "/dev/null"}, answer + '\n');
    };
    const std::string question =
        "Reset the switch: every setting is lost, but not which VLANs exist. Go on? [y/N] ";
    const Finished refused = answered("n");
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.out,
                testing::AllOf(testing::HasSubstr(question), testing::HasSubstr("eswctl: not done")));
    EXPECT_EQ(answered("").code, 1);
    EXPECT_THAT(eswctl("port show 0").out, testing::HasSubstr("   0  off "));
    EXPECT_EQ(answered("y").code, 0);
    EXPECT_THAT(eswctl("port show 0").out, testing::HasSubstr("   0  on "));
}

// Whatever the registers hold, small numbers as often as large ones where they are wide, with something in every table.
std::string random_contents(unsigned seed)
{
    std::mt19937_64 random(seed);
    std::string lines;
    for (const chip::Register &row : chip::registers) {
        if (random() % 4 == 0 || row.read_only || row.starts != 0 || std::string("switch-reset") == row.name)
            continue;
        for (unsigned i = 0; i < row.count; ++i)
            lines += fmt::format("reg write {} {} {} --width {}\n", row.page, row.offset + i * row.stride,
                                 (random() & row.mask()) >> (row.width > 16 ? random() % row.width : 0),
                                 row.width <= 8    ? 8
                                 : row.width <= 16 ? 16
                                 : row.width <= 32 ? 32
                                                   : 64);
    }
    for (unsigned i = 0; i < 8; ++i) {
        const unsigned vid = random() % 4096, words = 31;
        lines += fmt::format("vlan create {0}\nreg write 5 0x81 {0} --width 16\n"
                             "reg write 5 0x83 {1} --width 32\nreg write 5 0x80 0x80 --width 8\n",
                             vid, random() & UINT32_MAX);
        lines += fmt::format("vlan translate add {} {} {} --code {}\n", i % 2, random() % 256,
                             random() % 4096, i % 4);
        lines += fmt::format("arl add {:02x}:00:5e:00:53:{:02x} {} {} --static --tc {}\n", i, random() % 256,
                             vid, i % 2 ? "0,8" : "1", i);
        lines += fmt::format("cfp set {} --words {}", random() % 64, i + 1);
        for (unsigned word = 1; word < words; ++word)
            lines += fmt::format(",{}", random() & UINT32_MAX);
        lines += '\n';
    }
    return lines;
}

TEST_F(Eswctl, ConfigurationSurvivesAWipe)
{
    const auto file = [&](const char *name) { return scratch(name); };
    for (const std::string device : {"0x2404", "0x11140", "0xD300"}) {
        for (const unsigned seed : {1, 2, 3, 22}) { // the last has a limit of bits at port 8
            SCOPED_TRACE(fmt::format("{} {}", device, seed));
            const std::string launcher = "--device " + device;
            const auto done = [&](const std::string &line, const std::string &options = "") {
                const Finished got = eswctl(line, launcher + options);
                EXPECT_EQ(got.code, 0) << line << got.error;
                return got.out;
            };
            const auto expect_kept = [&] { // all that could be saved; the rest is as it was at power-on
                const Json now = Json::parse(done("save --strict -"));
                Json wanted = now;
                wanted.merge_patch(Json::parse(contents(file("first"))));
                EXPECT_EQ(now, wanted) << Json::diff(now, wanted);
            };
            eswctl("batch --force --yes -", launcher + " --reset", random_contents(seed));
            done("save " + file("first"));
            done("save --commands " + file("commands"));
            EXPECT_EQ(done("restore --yes " + file("first")), "nothing to change\n");
            // The driver goes away in the middle: a second restore completes the first.
            eswctl("restore --yes " + file("first"), launcher + " --reset --fault from=1500");
            done("restore --yes " + file("first"));
            expect_kept();
            done("batch " + file("commands"), " --reset");
            expect_kept();
        }
    }
}

// Nobody reads the pipe, its reader goes away, or the file may not grow: the program goes on.
TEST_F(Eswctl, ATraceNeverStopsItsProgram)
{
    const std::string trace = scratch("trace");
    const auto shell = [&](const std::string &script) {
        const std::string sim =
            fmt::format("timeout 10 {0}/esw-sim --state {1} --trace {2}", BIN_DIR, scratch("board"), trace);
        return run(
            {"sh", "-c", fmt::format(fmt::runtime(script), trace, sim + " " BIN_DIR "/eswctl stat show")});
    };
    const Finished unread = shell("mkfifo {0}; {1}");
    EXPECT_EQ(unread.code, 1);
    EXPECT_THAT(unread.error, testing::HasSubstr("nobody reads this pipe"));
    EXPECT_EQ(shell("head -n 1 {0} > /dev/null & until {1}; do sleep 0.1; done").out,
              "all counters are zero\n");
    EXPECT_EQ(shell("rm {0}; ulimit -f 1; {1}").out, "all counters are zero\n");
    EXPECT_GE(contents(trace).size(), 512u);
}

// A program that is not linked with the library meets the same device, and the same fault.
TEST_F(Eswctl, AnyProgramMeetsTheDevice)
{
    const auto python = [&](const std::string &launcher, const std::string &script) {
        return launch(launcher, {"python3", "-c", "import ctypes, os, stat\n" + script}).out;
    };
    EXPECT_EQ(python("", "print(stat.filemode(os.fstat(os.open('/dev/esw-ctl', os.O_RDWR)).st_mode))"),
              "crw-------\n");
    const std::string start = "print(ctypes.CDLL('" BIN_DIR "/../lib/libesw.so.0').esw_init(b'eth0'))";
    EXPECT_EQ(python("", start), "0\n");
    EXPECT_EQ(python("--fault lock", start), "-1\n");
}

} // namespace
} // namespace test
