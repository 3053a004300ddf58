// SPDX-License-Identifier: LGPL-2.1-or-later
// Link, speed, duplex, pause, and the speeds that a PHY is told.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Link : public Board {
protected:
    void SetUp() override { start(); }

    static int32_t changed(uint32_t port)
    {
        int32_t value = 5;
        EXPECT_EQ(eth_port_link_status_change_get(port, &value), 0);
        return value;
    }

    // The clause 22 registers that a speed depends on.
    void phy(uint16_t control, uint16_t advertisement, uint16_t gigabit)
    {
        auto &registers = state().phys[0].registers;
        registers[0] = control;
        registers[4] = advertisement;
        registers[9] = gigabit;
    }
};

TEST_F(Link, Readings)
{
    expect({
        {"abu", CALL(eth_port_link_status_get(0, o)), "0 0: [01:00 r32=102]"},
        {"b", CALL(eth_port_link_status_get(8, o)), "0 1: [01:00 r32=102]"},
        {"abu", CALL(eth_port_speed_get(0, o)), "0 1000: [01:04 r32=6]"},
        {"b", CALL(eth_port_speed_get(1, o)), "0 100: [01:04 r32=6]"},
        {"b", CALL(eth_port_speed_get(8, o)), "0 1000: [01:04 r32=2ffff]"},
        {"b", CALL(eth_port_speed_get(8, o)), "0 10: [01:04 r32=fffcffff]"},
        {"b", CALL(eth_port_speed_get(0, o)), "0 1000: [01:04 r32=3]"},
        {"abu", CALL(eth_port_duplex_get(1, o)), "0 1: [01:08 r32=2]"},
        {"b", CALL(eth_port_duplex_get(8, o)), "0 0: [01:08 r32=3]"},
        {"abu", CALL(eth_port_link_status_change_get(8, o)), "0 1: [01:02 r32=100]"},
        {"abu", CALL(eth_port_pause_get(1, o, o + 1)), "0 0 1: [01:0a r32=20400*2]"},
        {"b", CALL(eth_port_pause_get(8, o, o + 1)), "0 0 1: [01:0a r32=20400*2]"},
    });
    for (const uint32_t port : {2U, 7U, 9U, 0x100U, all_ones})
        expect({{"abu", CALL(eth_port_link_status_get(port, o)), "-18 -1"},
                {"abu", CALL(eth_port_speed_get(port, o)), "-18 -1"},
                {"abu", CALL(eth_port_duplex_get(port, o)), "-18 -1"},
                {"abu", CALL(eth_port_link_status_change_get(port, o)), "-18 -1"},
                {"abu", CALL(eth_port_pause_get(port, o, o + 1)), "-18 -1 -1"}});
}

TEST_F(Link, ChangesOfOtherPortsWaitUntilTheyAreAskedAbout)
{
    reg(1, 2) = 0x103;
    EXPECT_EQ(changed(0), 1);
    EXPECT_EQ(reg(1, 2), 0U) << "a read clears it";
    EXPECT_EQ(changed(0), 0);
    EXPECT_EQ(changed(1), 1);
    reg(1, 2) = 0x1;
    EXPECT_EQ(changed(8), 1);
    EXPECT_EQ(changed(8), 0);
    EXPECT_EQ(changed(0), 1);
    EXPECT_EQ(changed(0) + changed(1) + changed(8), 0);

    options().all_requests_fail = true;
    EXPECT_EQ(printed([&] { EXPECT_EQ(changed(8), 1); }).error,
              "ESW: read32 error !\n: Input/output error\n");
    options().all_requests_fail = false;
    EXPECT_EQ(changed(0) + changed(1), 2) << "it was read as a change of every port";
    EXPECT_EQ(changed(8), 0);
}

// From registers that hold other bits, too, each of which must stay.
TEST_F(Link, SpeedIsSetByWhatThePhyAdvertises)
{
    struct {
        uint64_t now;
        uint32_t speed;
        uint16_t control, advertisement, gigabit;
        const char *accesses;
        uint64_t then;
    } const cases[] = {
        {2, 100, 0x1140, 0x01E1, 0x0300, " 3.0:1140 3.9:300 3.9=0 3.4:1e1 3.4=1e1 3.0=3100 3.0=3300", 1},
        {2, 10, 0x3140, 0x0FE1, 0x1F00, " 3.0:3140 3.9:1f00 3.9=1c00 3.4:fe1 3.4=c61 3.0=1100 3.0=1300", 0},
        {1, 1000, 0x3100, 0x0C61, 0x1C00, " 3.0:3100 3.4:c61 3.4=de1 3.9:1c00 3.9=1f00 3.0=1140 3.0=1340", 2},
        {0, 100, 0x1100, 0x0061, 0, " 3.0:1100 3.9:0 3.9=0 3.4:61 3.4=1e1 3.0=3100 3.0=3300", 1},
        {3, 1000, 0, 0, 0, "", 3}, // it has that already
    };
    for (const auto &c : cases) {
        phy(c.control, c.advertisement, c.gigabit);
        reg(1, 4) = c.now;
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_port_speed_set("eth0", 0, 0, c.speed), 0); }),
                  fmt::format("[01:04 r32={:x}]{}", c.now, c.accesses));
        EXPECT_EQ(reg(1, 4) & 3, c.then);
    }
}

TEST_F(Link, ASpeedChangeStopsAtItsFirstFailure)
{
    constexpr unsigned accesses = 7;
    for (unsigned failing = 1; failing <= accesses + 1; ++failing) {
        esw_exit();
        start();
        phy(0x1140, 0x0061, 0x0300);
        options().failing_request = failing + 1; // the first one reads the speed
        Lines lines = requests(
            [&] { EXPECT_EQ(eth_port_speed_set("eth0", 0, 0, 100), failing > accesses ? 0 : ETH_E_PHY); });
        EXPECT_EQ(lines.size(), 3 + std::min(failing, accesses));
        EXPECT_EQ(lines.back().ends_with(" failed"), failing <= accesses);
        EXPECT_EQ(state().phys[0].registers[9], failing <= 3 ? 0x0300 : 0);
        EXPECT_EQ(state().phys[0].registers[4], failing <= 5 ? 0x0061 : 0x01E1);
        EXPECT_EQ(state().phys[0].registers[0], failing <= 6 ? 0x1140 : 0x3100);
    }
}

TEST_F(Link, SpeedChecksItsArgumentsInOrder)
{
    expect({
        {"be", CALL(eth_port_speed_set("eth0", 8, 0, 100)), "-18"},
        {"be", CALL(eth_port_speed_set("eth0", 2, 0, 2500)), "-18"},
        {"be", CALL(eth_port_speed_set("eth0", 0, 0, 2500)), "-4"},
        {"au", CALL(eth_port_speed_set("eth0", 8, 0, 2500)), "-16"},
        {"au", CALL(eth_port_speed_set("eth0", 0, 0, 100)), "-16"},
    });
}

// The simulated switch, as the library sees it.
TEST_F(Link, LinkFollowsThePhy)
{
    options().behaviour.latency = 2;
    for (const uint32_t port : {0U, 1U}) {
        const auto link = [=] {
            int32_t up = 5;
            EXPECT_EQ(eth_port_link_status_get(port, &up), 0);
            return up;
        };
        EXPECT_EQ(eth_port_phy_enable("eth0", port, 0, 0), 0);
        EXPECT_EQ(link(), 0);
        EXPECT_EQ(changed(port), 1);
        EXPECT_EQ(eth_port_phy_enable("eth0", port, 0, 1), 0);
        for (const int32_t expected : {0, 0, 1})
            EXPECT_EQ(link(), expected);
        EXPECT_EQ(changed(port) + changed(1 - port) + changed(port), 1);
        for (const uint32_t expected : {0x7969U, 0x796DU}) { // the loss of the link shows once
            uint32_t status = 0;
            EXPECT_EQ(eth_port_phy_get("eth0", port, 0, 1, &status), 0);
            EXPECT_EQ(status, expected);
        }
    }
    // A reset of the switch plugs no cable in.
    sim::Switch simulated(state(), options().behaviour);
    sim::plug_cable(simulated, 1, false);
    ethHw_switch_reset();
    EXPECT_EQ(reg(1, 0), 0x101U);
    EXPECT_EQ(reg(1, 4), 0x2000AU);
}

} // namespace
