// link, speed, phy and eee on the command line.
#include <thread>

#include "tests/tools/eswctl_test.h"

namespace test {
namespace {

TEST_F(Eswctl, LinksAndSpeeds)
{
    expect({
        {"link show", 0,
         "port  link  speed [Mb/s]  duplex  pause low  pause high\n"
         "   0  up            1000  full    no         no\n",
         ""},
        {"speed set 0 10", 0, "port 0 told to link at 10 Mb/s\n", ""},
        {"link show 0", 0, "   0  up              10  full    no         no\n", ""},
        {"phy power 1 off", 0, "PHY of port 1 switched off\n", ""},
        {"link show 1 --json", 0, "\"link\": \"down\",\n      \"speed\": null", ""},
        {"speed set 0 2500", 2, "", "SPEED: '2500' is not accepted; use 10, 100 or 1000"},
    });
    expect({{"link show 0", 0, "   0  down             -", ""}}, "--link 0=up --link 0=down");
    expect({{"link show 0", 0, "   0  up ", ""}}, "--link 0=up --latency 9");
    expect({{"link show", 0, "   1  up            1000", ""},
            {"speed set 0 10", 1, "", "cannot set the speed of port 0: ETH_E_UNAVAIL"},
            {"phy power 1 off", 1, "", "cannot switch the PHY of port 1 off: ETH_E_UNAVAIL"},
            {"phy read 1 1", 0, "0x796d\n", ""}},
           "--device 0x11140");
    EXPECT_EQ(eswctl("info", "--link 8=down").code, 2);
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
}

TEST_F(Eswctl, PhyRegisters)
{
    expect({
        {"phy read 1 0 9", 0, "   1         0  0x1140\n   1         9  0x0300\n", ""},
        {"phy write 0 4 0x5e1", 0, "register 4 of the PHY of port 0 written\n", ""},
        {"phy write 0 0 0x1340", 0, "written", ""},
        {"link show 0 --json", 0, "\"pause_high\": true", ""},
        {"phy show 0", 0, "advertised        10 half,10 full,100 half,100 full,1000 half,1000 full,pause\n",
         ""},
        {"phy show 0 --json", 0, "\"name\": \"status\",\n      \"value\": \"0x796d\"", ""},
        {"phy read 0 32", 2, "", "REGISTER: '32' is not accepted; use a number from 0 to 31"},
        {"-i lo phy read 0 1", 1, "", "cannot read register 1 of the PHY of port 0 through lo: ETH_E_PHY"},
    });
    expect({{"phy show 1", 1, "", "ETH_E_PHY"}, {"eee show 1", 0, "yes", ""}}, "--fault mii");
}

TEST_F(Eswctl, EnergyEfficientEthernet)
{
    expect({
        {"eee set 1 off", 0, "EEE of port 1 switched off\n", ""},
        {"eee show", 0,
         "   0  yes      yes     yes                    30  100,1000          100,1000           100,1000\n"
         "   1  no       no      yes                    30  100,1000          100,1000           100,1000\n",
         ""},
        {"eee show 1 --json", 0, "\"enabled\": false", ""},
        {"eee set 8 on", 2, "", "PORT: '8' is not accepted; use 0 or 1"},
    });
    expect({{"eee show", 1, "", "cannot read the EEE settings of port 0 from the driver of eth0: ETH_E_FAIL"},
            {"phy read 0 1", 0, "0x796d", ""}},
           "--fault eee");
}

} // namespace
} // namespace test
