// SPDX-License-Identifier: LGPL-2.1-or-later
// stat with files, traffic and terminals; the registers of control.
#include "tests/tools/eswctl_test.h"

#include <fmt/format.h>

namespace test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST_F(Eswctl, ExportedFileIsWhatWouldBePrinted)
{
    const std::string file = scratch("esw.prom");
    EXPECT_EQ(eswctl("stat export --output " + file).out, fmt::format("counters written to {}\n", file));
    EXPECT_EQ(contents(file), eswctl("stat export").out);
}

TEST_F(Eswctl, WatchShowsRatesOfTraffic)
{
    EXPECT_EQ(launch("--traffic 0=1000", {}).code, 0);
    const Finished watched = eswctl("stat watch 0 --counter 18 --count 2 --json");
    for (const size_t at : {watched.out.find("{\"counters\":"), watched.out.find("\n{\"counters\":")}) {
        ASSERT_NE(at, std::string::npos) << watched.out;
        const int rate = std::stoi(watched.out.substr(watched.out.find("\"rate0\":", at) + 8));
        EXPECT_THAT(rate, AllOf(testing::Gt(900), testing::Lt(1100)));
    }

    // Traffic goes on through a reset of the switch, and ends where the launcher says so.
    EXPECT_EQ(eswctl("reset --yes").code, 0);
    EXPECT_EQ(launch("--traffic 0=0", {}).code, 0);
    EXPECT_THAT(eswctl("stat show 0 --counter 18 26 --json").out, Not(HasSubstr("\"port0\": 0")));
    EXPECT_EQ(eswctl("stat clear --yes").code, 0);
    EXPECT_EQ(eswctl("stat show").out, "all counters are zero\n");
}

TEST_F(Eswctl, WatchStaysInPlaceOnATerminalOnly)
{
    EXPECT_EQ(launch("--set 20:98=7", {}).code, 0);
    const auto on_terminal = [&](const std::string &settings) {
        return launch("", {"sh", "-c",
                           fmt::format("{} script -qec 'stty rows 3 cols 12; {}/eswctl stat watch 0 --all "
                                       "--count 2' /dev/null",
                                       settings, BIN_DIR)})
            .out;
    };
    EXPECT_THAT(on_terminal("TERM=xterm NO_COLOR="),
                AllOf(HasSubstr("\033[2A\rcounter port\033[K"), HasSubstr("\r(49 more lin\033[K")));
    const std::string wide =
        launch("",
               {"script", "-qec",
                fmt::format("stty cols 80; TERM=xterm {}/eswctl stat watch --counter 140 --count 1", BIN_DIR),
                "/dev/null"})
            .out;
    EXPECT_THAT(wide, HasSubstr("    140       7      0"));
    EXPECT_THAT(wide, HasSubstr("port 8  [1/s]"));
    EXPECT_THAT(on_terminal("TERM=xterm NO_COLOR=1"),
                AllOf(HasSubstr("0x98         7"), Not(HasSubstr("\033"))));
}

// The registers that the tool names are those that the library uses.
TEST_F(Eswctl, ControlsNameTheirRegisters)
{
    const std::string trace = scratch("trace");
    const std::string listed = eswctl("control list", "--trace " + trace).out;
    std::istringstream rows(listed), requests(contents(trace));
    std::string row, request;
    std::getline(rows, row);         // the titles
    std::getline(requests, request); // the device ID
    int count = 0;
    for (; std::getline(rows, row) && std::getline(requests, request); ++count)
        EXPECT_THAT(request, HasSubstr(fmt::format(" {}:{} w32", words_of(row)[1].substr(2),
                                                   words_of(row)[2].substr(2))));
    EXPECT_EQ(count, 28);
}

} // namespace
} // namespace test
