// stat, control and mirror.
#include "tests/tools/eswctl_test.h"

#include <fmt/format.h>

namespace test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST_F(Eswctl, Counters)
{
    expect({
        {"stat show", 0, "all counters are zero\n", ""},
        {"reg write 0x20 0x98 0xffffffff --width 32", 0, "written", ""},
        {"reg write 0x20 0x9c 2 --width 32", 0, "written", ""},
        {"reg write 0x28 0x50 0x123456789a", 0, "written", ""},
        {"stat show 8 0 0", 0,
         "counter  offset      port 0       port 8\n"
         "    124  0x50             0  78187493530\n"
         "    140  0x98    4294967295            0\n"
         "    141  0x9c             2            0\n",
         ""},
        {"stat show 0 --all", 0, "    153  0xd4             0\n", ""},
        {"stat show 0 --counter 2 44 --json", 0, "\"offset\": null,\n      \"port_0\": 1\n", ""},
        {"stat export 8", 0,
         "\nesw_mib_counter_total{port=\"8\",counter=\"124\",offset=\"0x50\"} 78187493530\n", ""},
        {"stat snapshot", 0, "latched now  -\nmode         0\n\nall counters are zero\n", ""},
        {"stat snapshot 0 --mode 1", 0,
         "latched now  0\nmode         1\n\n"
         "counter  offset       value\n"
         "    140  0x98    4294967295\n",
         ""},
        {"stat clear", 0, "counters of all ports cleared\n", ""},
        {"stat show", 0, "all counters are zero\n", ""},
        {"stat snapshot --json", 0, "\"value\": 4294967295", ""},
        {"stat show 0 --counter 5", 1, "", "cannot read counter 5 of port 0: ETH_E_UNAVAIL"},
        {"stat show --counter 154", 2, "", "--counter: '154' is not accepted; use a number from 0 to 153"},
        {"stat watch --interval 0", 2, "", "use a number from 1 to 3600 seconds"},
        {"stat snapshot --mode 2", 2, "", "--mode: '2' is not accepted"},
        {"stat export --format csv", 2, "", "--format: 'csv' is not accepted; use prometheus"},
        {"stat export --output /nosuch/file", 1, "", "cannot write /nosuch/file: No such file or directory"},
    });
    EXPECT_EQ(eswctl("stat show 0 --counter 103", "--device 0x11140").code, 1);
    EXPECT_EQ(eswctl("stat show 0 --counter 103", "--device 0xD300").code, 0);
}

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
    int lines = 0;
    for (const size_t at : {watched.out.find("{\"counters\":"), watched.out.find("\n{\"counters\":")}) {
        ASSERT_NE(at, std::string::npos) << watched.out;
        const int rate = std::stoi(watched.out.substr(watched.out.find("\"rate_0\":", at) + 9));
        EXPECT_THAT(rate, AllOf(testing::Gt(900), testing::Lt(1100)));
        ++lines;
    }
    EXPECT_EQ(lines, 2);

    // Traffic goes on through a reset of the switch, and ends where the launcher says so.
    EXPECT_EQ(eswctl("reset").code, 0);
    EXPECT_EQ(launch("--traffic 0=0", {}).code, 0);
    EXPECT_THAT(eswctl("stat show 0 --counter 18 26 --json").out, Not(HasSubstr("\"port_0\": 0")));
    EXPECT_EQ(eswctl("stat clear").code, 0);
    EXPECT_EQ(eswctl("stat show").out, "all counters are zero\n");
    EXPECT_THAT(launch("--traffic 2=5", {}).error, HasSubstr("--traffic: '2=5' is not accepted"));
}

TEST_F(Eswctl, WatchStaysInPlaceOnATerminalOnly)
{
    EXPECT_EQ(eswctl("reg write 0x20 0x98 7 --width 32").code, 0);
    const auto on_terminal = [&](const std::string &settings) {
        return launch("", {"sh", "-c",
                           fmt::format("{} script -qec 'stty rows 3 cols 12; {}/eswctl stat watch 0 --all "
                                       "--count 2' /dev/null",
                                       settings, BIN_DIR)})
            .out;
    };
    EXPECT_THAT(on_terminal("TERM=xterm NO_COLOR="),
                AllOf(HasSubstr("\033[2A\rcounter  off\033[K"), HasSubstr("\r(49 more lin\033[K")));
    EXPECT_THAT(on_terminal("TERM=xterm NO_COLOR=1"),
                AllOf(HasSubstr("0x98         7"), Not(HasSubstr("\033"))));
}

TEST_F(Eswctl, Controls)
{
    expect({
        {"control list", 0, "  25  02:50     18..17  code       4\n", ""},
        {"control set 21 2", 0, "  21  02:50     10..9  code      2\n", ""},
        {"control set 16 1", 0, "  16  36:00     1     bit       1\n", ""},
        {"control get 28 21 --json", 0, "\"bits\": \"10..9\",\n      \"kind\": \"code\",\n      \"value\": 2",
         ""},
        {"control set 19 0xffffffff", 0, "  19  36:08     31..0  value  4294967295\n", ""},
        {"control set 18 256", 2, "",
         "VALUE: '256' is not accepted by control 18; use a number from 0 to 255"},
        {"control set 21 3", 2, "", "VALUE: '3' is not accepted by control 21; use 2, 4 or 8"},
        {"control set 4 2", 2, "", "VALUE: '2' is not accepted by control 4; use a number from 0 to 1"},
        {"control get 17", 2, "", "TYPE: '17' is not accepted"},
        {"control get 30", 2, "", "TYPE: '30' is not accepted"},
    });
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
        EXPECT_THAT(request, HasSubstr(" " + words_of(row)[1] + " w32"));
    EXPECT_EQ(count, 28);
}

TEST_F(Eswctl, Mirroring)
{
    expect({
        {"mirror show", 0, "enabled       no\n", ""},
        {"mirror to 8 ingress 0,1 egress 1", 0,
         "enabled       yes\ncapture port  8\n\n"
         "direction  ports  filter  divider  filter MAC\n"
         "ingress    0,1         0        -  00:00:00:00:00:00\n"
         "egress     1           0        -  00:00:00:00:00:00\n",
         ""},
        {"mirror set egress --filter 2 --divider 10 --mac 02-00-5E-00-53-01", 0,
         "egress     1           2       10  02:00:5e:00:53:01\n", ""},
        {"mirror to 1 egress none", 0, "ingress    0,1         0        -", ""},
        {"mirror show", 0, "egress     -           2       10", ""},
        {"mirror set egress --divider off --ports all --json", 0, "\"divider\": null", ""},
        {"mirror off", 0, "mirroring off\n", ""},
        {"mirror show --json", 0, "\"enabled\": false,\n  \"to\": 1,", ""},
        {"mirror to 2", 2, "", "PORT: '2' is not accepted; use 0, 1 or 8"},
        {"mirror to 8 ingress", 2, "", "DIRECTIONS: use ingress PORTS, egress PORTS or both"},
        {"mirror to 8 0,1 ingress", 2, "", "DIRECTIONS: use ingress PORTS, egress PORTS or both"},
        {"mirror to 8 ingress 3", 2, "", "DIRECTIONS: '3' is not accepted; use ingress or egress"},
        {"mirror set ingress", 2, "", "nothing to set; use --ports, --filter, --divider or --mac"},
        {"mirror set ingress --filter 3", 2, "", "--filter: '3' is not accepted; use a number from 0 to 2"},
        {"mirror set ingress --divider 65536", 2, "", "use a number from 0 to 65535 or off"},
    });
}

} // namespace
} // namespace test
