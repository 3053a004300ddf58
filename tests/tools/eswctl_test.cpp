// SPDX-License-Identifier: LGPL-2.1-or-later
// What the tables of commands can't have: several processes, files, and time.
#include "tests/tools/eswctl_test.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tests/tools/schema.h"

namespace test {

Finished Eswctl::launch(const std::string &launcher, const std::vector<std::string> &command,
                        const std::string &input)
{
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

// Something in every part of the configuration.
constexpr char everything[] =
    "port disable 1\nport stp 0 blocking\nport frame-max 0 9720\nvlan create 10-12\n"
    "vlan add 10 0,1 untagged 1\nvlan pvid 0 10\nrate egress set 8 5M\nrate ingress set 1 2M --burst 40\n"
    "prio remap set 0 3 6\narl add 02:00:5e:00:53:01 1 0 --static\narl add 02:00:5e:00:53:02 1 1\n"
    "l2cache set 02:00:5e:00:53:09 0x1234\nmirror to 8 ingress 0,1 egress 1\ncontrol set 21 8\n"
    "cfp set auto --data 0x3 --drop\ncfp enable 0\ncfp udf init\n";

TEST_F(Eswctl, ConfigurationSurvivesAWipe)
{
    const std::string first = scratch("first"), second = scratch("second");
    for (const std::string device : {"0x2404", "0x11140", "0xD300"}) {
        SCOPED_TRACE(device);
        const std::string launcher = "--device " + device;
        ASSERT_EQ(eswctl("batch --yes -", launcher, everything).code, 0);
        EXPECT_EQ(eswctl("save " + first, launcher).code, 0);
        EXPECT_EQ(eswctl("restore --yes " + first, launcher).out, "nothing to change\n");
        // The driver goes away in the middle: a second restore completes the first.
        if (device == "0x2404")
            eswctl("restore --yes " + first, launcher + " --reset --fault from=1500");
        else
            launch(launcher + " --reset", {});
        EXPECT_EQ(eswctl("restore --yes " + first, launcher).code, 0);
        EXPECT_EQ(eswctl("save " + second, launcher).code, 0);
        EXPECT_EQ(contents(first), contents(second));
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
