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
    struct {
        int32_t (*get)(uint32_t, int32_t *);
        uint32_t port;
        uint8_t offset;
        uint64_t contents;
        int32_t value;
        const char *request;
    } const readings[] = {
        {eth_port_link_status_get, 0, 0, 0x102, 0, "read 01:00 w32 -> 0x102"},
        {eth_port_link_status_get, 8, 0, 0x102, 1, "read 01:00 w32 -> 0x102"},
        {eth_port_speed_get, 0, 4, 0x6, 1000, "read 01:04 w32 -> 0x6"},
        {eth_port_speed_get, 1, 4, 0x6, 100, "read 01:04 w32 -> 0x6"},
        {eth_port_speed_get, 8, 4, 0x2FFFF, 1000, "read 01:04 w32 -> 0x2ffff"},
        {eth_port_speed_get, 8, 4, 0xFFFCFFFF, 10, "read 01:04 w32 -> 0xfffcffff"},
        {eth_port_speed_get, 0, 4, 0x3, 1000, "read 01:04 w32 -> 0x3"},
        {eth_port_duplex_get, 1, 8, 0x2, 1, "read 01:08 w32 -> 0x2"},
        {eth_port_duplex_get, 8, 8, 0x3, 0, "read 01:08 w32 -> 0x3"},
        {eth_port_link_status_change_get, 8, 2, 0x100, 1, "read 01:02 w32 -> 0x100"},
    };
    for (const auto &r : readings) {
        reg(1, r.offset) = r.contents;
        int32_t value = 5;
        EXPECT_EQ(requests([&] { EXPECT_EQ(r.get(r.port, &value), 0); }),
                  (Lines{"lock", r.request, "unlock"}));
        EXPECT_EQ(value, r.value) << r.request;
        for (const uint32_t port : {2U, 7U, 9U, 0x100U, 0xFFFFFFFFU}) {
            EXPECT_EQ(requests([&] { EXPECT_EQ(r.get(port, &value), ETH_E_PORT); }), Lines{});
            EXPECT_EQ(std::exchange(value, 5), -1);
        }
    }

    int32_t low = 5, high = 5;
    reg(1, 0x0A) = 0x20400;
    EXPECT_EQ(requests([&] { EXPECT_EQ(eth_port_pause_get(1, &low, &high), 0); }),
              (Lines{"lock", "read 01:0a w32 -> 0x20400", "read 01:0a w32 -> 0x20400", "unlock"}));
    EXPECT_EQ(std::pair(low, high), std::pair(0, 1));
    EXPECT_EQ(eth_port_pause_get(8, &low, &high), 0);
    EXPECT_EQ(std::pair(low, high), std::pair(0, 1));
    EXPECT_EQ(eth_port_pause_get(3, &low, &high), ETH_E_PORT);
    EXPECT_EQ(std::pair(low, high), std::pair(-1, -1));
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
        EXPECT_EQ(short_requests([&] { EXPECT_EQ(eth_port_speed_set("eth0", 0, 0, c.speed), 0); }),
                  fmt::format("lock read 01:04 w32 -> {:#x} unlock{}", c.now, c.accesses));
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
    struct {
        uint32_t device_id, port, speed;
        int32_t result;
    } const cases[] = {
        {0x2404, 8, 100, ETH_E_PORT},     {0x2404, 2, 2500, ETH_E_PORT},     {0x2404, 0, 2500, ETH_E_PARAM},
        {0x11140, 8, 100, ETH_E_UNAVAIL}, {0x11140, 0, 2500, ETH_E_UNAVAIL}, {0xD315, 0, 100, ETH_E_UNAVAIL},
    };
    for (const auto &c : cases) {
        gESWID = c.device_id;
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_port_speed_set("eth0", c.port, 0, c.speed), c.result); }),
                  Lines{});
    }
}

// The simulated switch, as the library sees it.
TEST_F(Link, LinkFollowsThePhy)
{
    int32_t up = 5;
    uint32_t status = 0;
    const auto link = [&] {
        EXPECT_EQ(eth_port_link_status_get(1, &up), 0);
        return up;
    };
    options().behaviour.latency = 2;
    EXPECT_EQ(eth_port_phy_enable("eth0", 1, 0, 0), 0);
    EXPECT_EQ(link(), 0);
    EXPECT_EQ(changed(1), 1);
    EXPECT_EQ(eth_port_phy_enable("eth0", 1, 0, 1), 0);
    EXPECT_EQ(link(), 0);
    EXPECT_EQ(link(), 0);
    EXPECT_EQ(link(), 1);
    EXPECT_EQ(changed(1) + changed(0) + changed(1), 1);
    for (const uint32_t expected : {0x7969U, 0x796DU}) { // the loss of the link shows once
        EXPECT_EQ(eth_port_phy_get("eth0", 1, 0, 1, &status), 0);
        EXPECT_EQ(status, expected);
    }
    // With negotiation off, the control register alone decides: 10 Mb/s, half duplex.
    EXPECT_EQ(eth_port_phy_set("eth0", 1, 0, 0, 0), 0);
    EXPECT_EQ(link(), 1);
    EXPECT_EQ(reg(1, 4), 0x20002U);
    EXPECT_EQ(reg(1, 8), 0x101U);
    // A reset of the switch plugs no cable in.
    sim::Switch simulated(state(), options().behaviour);
    sim::plug_cable(simulated, 1, false);
    ethHw_switch_reset();
    EXPECT_EQ(link(), 0);
    EXPECT_EQ(reg(1, 4), 0x2000AU);
}

} // namespace
