// The address table and its controls on the command line, with stations that the launcher lets be heard.
#include "tests/tools/eswctl_test.h"

#include <fmt/format.h>

namespace test {
namespace {

const std::string two_stations = "--learn 02:00:5e:00:53:0a,2,1 --learn 02:00:5e:00:53:01,1,0";

TEST_F(Eswctl, Addresses)
{
    expect({{"arl show", 0, "no addresses\n", ""}});
    EXPECT_EQ(launch(two_stations, {}).code, 0);
    expect({
        {"arl add 02-00-5E-00-53-02 1 8 --static --tc 3", 0, "02:00:5e:00:53:02 added to VLAN 1\n", ""},
        {"arl add 0100.5e00.0001 1 0,8", 0, "01:00:5e:00:00:01 added to VLAN 1\n", ""},
        {"arl show", 0,
         "VID  MAC address        ports  static  class\n"
         "  1  01:00:5e:00:00:01  0,8    no          0\n"
         "  1  02:00:5e:00:53:01  0      no          0\n"
         "  1  02:00:5e:00:53:02  8      yes         3\n"
         "  2  02:00:5e:00:53:0a  1      no          0\n",
         ""},
        {"arl show --static", 0, "class\n  1  02:00:5e:00:53:02  8      yes         3\n", ""},
        {"arl show --port 8 --dynamic", 0, "class\n  1  01:00:5e:00:00:01  0,8    no          0\n", ""},
        {"arl show --vid 3 --json", 0, "{\n  \"entries\": []\n}\n", ""},
        {"arl find 02:00:5e:00:53:02", 0, "1  02:00:5e:00:53:02  8      yes         3    0\n", ""},
        {"arl find 02:00:5e:00:53:02 2", 1, "", "02:00:5e:00:53:02 is not in the address table\n"},
        {"arl del 02:00:5e:00:53:0a 1", 1, "", "02:00:5e:00:53:0a is not in the address table in VLAN 1\n"},
        {"arl del 02:00:5e:00:53:0a 2", 0, "02:00:5e:00:53:0a deleted from VLAN 2\n", ""},
        {"arl flush", 0, "dynamic addresses removed\n", ""},
        {"arl show", 0, "class\n  1  02:00:5e:00:53:02", ""},
        {"arl flush --static --port 1", 0, "all addresses of port 1 removed\n", ""},
        {"arl flush --static --port 8 --vid 1", 0, "all addresses of port 8 in VLAN 1 removed\n", ""},
        {"arl show", 0, "no addresses\n", ""},
        {"arl flush --static", 0, "all addresses removed\n", ""},
        {"arl add 02:00:5e:00:53:01 1 0,8", 2, "", "PORTS: a unicast address is at one port; use 0, 1 or 8"},
        {"arl show --static --dynamic", 2, "", "--static and --dynamic exclude each other"},
        {"arl bin-full off", 0, "bin-full count       0\nbin-full forwarding  no\n", ""},
    });
}

TEST_F(Eswctl, AddressesAgeAndBucketsFill)
{
    eswctl("aging set 300", two_stations);
    expect({{"arl show", 0, "02:00:5e:00:53:01", ""}},
           "--elapse 299 --learn 02:00:5e:00:53:0a,2,8"); // heard again, behind another port
    expect({{"arl show", 0, "class\n  2  02:00:5e:00:53:0a  8", ""}}, "--elapse 1");
    eswctl("aging set 0", "--elapse 298");
    expect({{"arl show", 0, "2  02:00:5e:00:53:0a", ""}}, "--elapse 4000000000");
    std::string colliding;
    for (const char *mac : {"00:01", "04:00", "08:03", "0c:02", "10:05", "14:04"})
        colliding += fmt::format(" --learn 02:00:00:00:{},1,0", mac);
    expect({{"arl bin-full", 0, "bin-full count       2\n", ""}}, colliding);
}

TEST_F(Eswctl, SearchesThatFail)
{
    for (const char *launcher : {"--fault stuck=arl-search", "--latency 101"})
        expect({{"arl show", 1, "", "cannot search the address table: ETH_E_TIMEOUT"}}, launcher);
    expect({{"arl show", 1, "", "cannot search the address table: the switch does not answer"}},
           two_stations + " --fault nth=7");
    for (const char *station : {"02:00:5e:00:53,1,0", "03:00:5e:00:53:01,1,0", "02:00:5e:00:53:01,1,2"})
        EXPECT_EQ(launch(fmt::format("--learn {}", station), {}).code, 2) << station;
}

TEST_F(Eswctl, L2ControlsAndCache)
{
    expect({
        {"aging set 0", 0, "aging     no\nage time  0\n", ""},
        {"mcast control 0x21", 0, "multicast control register  0x21\n", ""},
        {"mcast learn on", 0, "multicast learning          yes\nmulticast control register  0xa1\n", ""},
        {"bpdu set 01:80:C2:00:00:0E --json", 0, "\"bpdu_address\": \"01:80:c2:00:00:0e\"", ""},
        {"protect set 8 on", 0, "   1  no\n   8  yes\n", ""},
        {"l2cache show", 0, "the L2 cache is empty\n", ""},
        {"l2cache set 02:00:5e:00:53:01 5 --slot 5", 0, "02:00:5e:00:53:01 set in slot 5\n", ""},
        {"l2cache set 02:00:5e:00:53:02 0xfedcba98", 0, "02:00:5e:00:53:02 set in slot 0\n", ""},
        {"l2cache show", 0, "   0  02:00:5e:00:53:02  0xfedcba98\n   5  02:00:5e:00:53:01  0x00000005\n", ""},
        {"l2cache del 0", 0, "slot 0 freed\n", ""},
        {"l2cache clear --json", 0, "\"removed\": 1", ""},
    });
}

} // namespace
} // namespace test
