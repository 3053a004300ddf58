// SPDX-License-Identifier: LGPL-2.1-or-later
// Changes with a way back: what fails, is interrupted, or nobody confirms.
#include "tests/tools/eswctl_test.h"

#include <cstdlib>
#include <fstream>

#include <fmt/format.h>

namespace test {
namespace {

using testing::HasSubstr;

class Restore : public Eswctl {
protected:
    // The switch has port 0 forwarding, and the file has it learning.
    void SetUp() override
    {
        setenv("TERM", "dumb", 1);
        eswctl("batch -", "--reset", "port stp 0 learning\nvlan create 10\nsave " + wanted_);
        launch("--reset", {});
    }

    Finished shell(const std::string &script)
    {
        const std::string head =
            fmt::format("e={}/eswctl f={} d={}/0x2404/shm\n"
                        "waits() {{\n" // the change is made when others get their turn
                        "until [ -e $d/esw.pending ]; do sleep 0.05; done; $e info > /dev/null 2>&1\n"
                        "}}\n",
                        BIN_DIR, wanted_, scratch(board_));
        return launch("", {"sh", "-c", head + script});
    }

    std::string state() // of an overdue change, this would go back first, and say so
    {
        const Finished got = eswctl("port stp 0");
        EXPECT_EQ(got.error, "");
        return got.out.substr(got.out.rfind("0  ") + 3);
    }

    std::string wanted_ = scratch("wanted");
};

TEST_F(Restore, GoesBackUnlessConfirmed)
{
    constexpr struct {
        const char *script, *tells, *state;
    } rows[] = {
        {"$e restore --yes --confirm 1 $f", "nobody confirmed the change within 1 s; went back",
         "forwarding\n"},
        {"$e restore --yes --confirm 9 $f & waits; $e rollback; wait", "taken back on request",
         "forwarding\n"},
        {"$e restore --yes --confirm 9 $f & waits; kill $!; wait", "interrupted; went back", "forwarding\n"},
        {"$e restore --yes --confirm 9 $f & waits; $e restore --yes $f; $e rollback",
         "another change waits for its "
         "confirmation, 9 s at most: restore ",
         "forwarding\n"},
        // The program goes away, and its watcher, too.
        {"$e restore --yes --confirm 1 $f & waits; kill -9 $!; sleep 2.5", "", "forwarding\n"},
        {"$e restore --yes --confirm 1 $f & waits; pkill -9 -P $!; kill -9 $!; sleep 1.5; $e confirm",
         "the change is gone: nobody confirmed the change within 1 s; went back: the switch is what it was",
         "forwarding\n"},
        {"$e restore --yes --confirm 1 $f & waits; pkill -9 -P $!; kill -9 $!; sleep 1.5; $e rollback",
         "went back: the switch is what it was", "forwarding\n"},
        // Whatever is in the file.
        {"echo '{' > $d/esw.pending; $e info", "is damaged, and goes", "forwarding\n"},
        {"ln -s /etc/passwd $d/esw.pending; $e restore --yes $f; rm $d/esw.pending", "is not to be trusted",
         "forwarding\n"},
        // The terminal goes away, and the change is confirmed from elsewhere; or by Enter.
        {"script -qec \"$e restore --yes --confirm 9 $f\" /dev/null < /dev/null & waits; kill -9 $!; "
         "sleep 0.4; $e confirm",
         "confirmed: restore ", "learning\n"},
        {"$e port stp 0 forwarding; (waits; echo) | script -qec \"$e restore --yes --confirm 9 $f\" "
         "/dev/null",
         "1 change made", "learning\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script);
        const Finished got = shell(row.script);
        EXPECT_THAT(got.out + got.error, HasSubstr(row.tells));
        EXPECT_EQ(state(), row.state);
    }
}

TEST_F(Restore, GoesBackWhenItFails)
{
    const std::string trace = scratch("trace");
    eswctl("restore --yes " + wanted_, "--trace " + trace);
    std::istringstream lines(contents(trace));
    int request = 1;
    for (std::string line; std::getline(lines, line) && line.find("write 00:00") == line.npos;)
        ++request;
    const auto failing = [&](const char *fault, const std::string &option = "") {
        return eswctl("restore --yes " + wanted_ + option,
                      fmt::format("--reset --fault {}={}", fault, request));
    };
    const Finished once = failing("nth");
    EXPECT_EQ(once.code, 1);
    EXPECT_EQ(once.error, "ESW: write error !\n: Input/output error\n"
                          "eswctl: the driver refused a write to 00:00 (port-control-0): Input/output "
                          "error\nwent back: the switch is what it was\n");
    EXPECT_EQ(state(), "forwarding\n");
    EXPECT_THAT(failing("from").error,
                HasSubstr("could not go back in all; left:\nthe driver refused a read"));
    EXPECT_THAT(failing("nth", " --keep").error, HasSubstr("kept what was reached:\nvlan 10: none -> "));
}

TEST_F(Restore, InterruptedOneIsCompletedByAnother)
{
    eswctl("batch -", "", "vlan create 0-4095\nvlan add 0-4095 0,1 untagged 1\nsave " + wanted_);
    launch("--reset", {});
    const Finished got =
        shell("$e restore --yes $f & until grep -qs 1 $d/vid_list.cfg; do :; done; kill $!; wait $!");
    EXPECT_THAT(got.error,
                testing::MatchesRegex("eswctl: interrupted; done until then:\n(vlan [0-9]*: none -> .*\n)*"
                                      "left, for another restore to do:\n(vlan [0-9]*: none -> .*\n)+"));
    EXPECT_EQ(eswctl("restore --yes " + wanted_).code, 0);
    EXPECT_EQ(eswctl("diff " + wanted_).out, "no difference\n");
}

TEST_F(Restore, MistakesLeadBackIntoTheEditor)
{
    std::ofstream(scratch("editor")) << "sed -i '/stp_state/s/"
                                     << R"("[a-z]*"/"'$(cat $0.word)'"/' "$1"; echo learning > $0.word)";
    std::ofstream(scratch("editor.word")) << "floating";
    const Finished got =
        shell("export VISUAL='sh " + scratch("editor") +
              "'; (while sleep 0.3 && echo y; do :; done) | script -qec \"$e edit\" /dev/null");
    EXPECT_THAT(got.out, HasSubstr("ports.port0.stp_state: \"floating\" is not accepted"));
    EXPECT_THAT(got.out, HasSubstr("port 0: STP state forwarding -> learning\r\n"));
    EXPECT_EQ(state(), "learning\n");
    EXPECT_EQ(shell("EDITOR=false $e edit --yes").error, "eswctl: the editor false failed\n");
}

} // namespace
} // namespace test
