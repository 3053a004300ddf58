// SPDX-License-Identifier: LGPL-2.1-or-later
// Port mirroring.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Mirror : public StartedBoard {};

constexpr uint8_t mac[6] = {0x02, 0x00, 0x5E, 0x10, 0x20, 0x30};

TEST_F(Mirror, SettingsChangeTheirBitsOnly)
{
    expect({
        {"abu", CALL(eth_mirror_mode_set(1)), "0: [02:10 r64=8 w64=8008]"},
        {"b", CALL(eth_mirror_mode_set(0)), "0: [02:10 r64=ffff w64=7fff]"},
        {"abu", CALL(eth_mirror_to_set(8)), "0: [02:10 r32=8f07 w64=8f08]"},
        {"abu", CALL(eth_mirror_ingress_set(8, -1)), "0: [02:12 r64=e001 w64=e101]"},
        {"b", CALL(eth_mirror_ingress_set(0, 0)), "0: [02:12 r64=ffff w64=fffe]"},
        {"abu", CALL(eth_mirror_egress_set(1, 2)), "0: [02:1c r64=e001 w64=e003]"},
        {"b", CALL(eth_mirror_egress_set(1, 0)), "0: [02:1c r64=ffff w64=fffd]"},
        {"abu", CALL(eth_mirror_filter_set(0, 2)), "0: [02:12 r32=7103 w64=b103]"},
        {"b", CALL(eth_mirror_filter_set(1, 1)), "0: [02:1c r32=a000 w64=6000]"},
        {"b", CALL(eth_mirror_filter_set(1, 0)), "0: [02:1c r32=e103 w64=2103]"},
        {"abu", CALL(eth_mirror_div_set(0, 9, -2)),
         "0: [02:12 r64=4001 w64=6001 02:14 w64=fffffffffffffffe]"},
        {"b", CALL(eth_mirror_div_set(1, 1, 99)), "0: [02:1c r64=103 w64=2103 02:1e w64=63]"},
        {"b", CALL(eth_mirror_div_set(1, 0, 99)), "0: [02:1c r64=2103 w64=103]"},
        {"abu", CALL(eth_mirror_mac_set(0, mac)), "0: [02:16 w64=2005e102030]"},
        {"b", CALL(eth_mirror_mac_set(1, mac)), "0: [02:20 w64=2005e102030]"},
    });
}

TEST_F(Mirror, Readings)
{
    expect({
        {"abu", CALL(eth_mirror_mode_get(o)), "0 1: [02:10 r32=8000]"},
        {"b", CALL(eth_mirror_mode_get(o)), "0 0: [02:10 r32=7fff]"},
        {"abu", CALL(eth_mirror_to_get(o)), "0 15: [02:10 r32=800f]"},
        {"abu", CALL(eth_mirror_ingress_get(8, o)), "0 1: [02:12 r32=100]"},
        {"b", CALL(eth_mirror_ingress_get(8, o)), "0 0: [02:12 r32=feff]"},
        {"abu", CALL(eth_mirror_egress_get(1, o)), "0 1: [02:1c r32=2]"},
        {"b", CALL(eth_mirror_egress_get(1, o)), "0 0: [02:1c r32=fffd]"},
        {"abu", CALL(eth_mirror_filter_get(0, o)), "0 1: [02:12 r32=c000]"},
        {"b", CALL(eth_mirror_filter_get(0, o)), "0 1: [02:12 r32=7fff]"},
        {"b", CALL(eth_mirror_filter_get(1, o)), "0 2: [02:1c r32=bfff]"},
        {"b", CALL(eth_mirror_filter_get(1, o)), "0 0: [02:1c r32=3fff]"},
        // The divider is read only where it is on.
        {"b", CALL(eth_mirror_div_get(1, o, o + 1)), "0 0 -1: [02:1c r32=dfff]"},
        {"abu", CALL(eth_mirror_div_get(0, o, o + 1)), "0 1 65534: [02:12 r32=2000 02:14 r32=fffe]"},
    });
    for (const int32_t dir : {0, 1}) {
        uint8_t read[6] = {};
        reg(2, dir ? 0x20 : 0x16) = 0x2005e102030;
        EXPECT_EQ(outcome(CALL(eth_mirror_mac_get(dir, read))),
                  fmt::format("0: [02:{} r64=2005e102030]", dir ? 20 : 16));
        EXPECT_THAT(read, testing::ElementsAreArray(mac));
    }
}

// Ports are checked before the lock is taken, everything else inside it.
TEST_F(Mirror, Refusals)
{
    uint8_t untouched[6] = {1, 2, 3, 4, 5, 6};
    expect({
        {"abu", CALL(eth_mirror_to_set(2)), "-18"},
        {"abu", CALL(eth_mirror_ingress_set(9, 1)), "-18"},
        {"abu", CALL(eth_mirror_egress_set(all_ones, 1)), "-18"},
        {"abu", CALL(eth_mirror_ingress_get(7, o)), "-18 -1"},
        {"abu", CALL(eth_mirror_egress_get(3, o)), "-18 -1"},
        {"abu", CALL(eth_mirror_mode_set(2)), "-4: []"},
        {"b", CALL(eth_mirror_mode_set(-1)), "-4: []"},
        {"abu", CALL(eth_mirror_filter_set(2, 0)), "-4: []"},
        {"b", CALL(eth_mirror_filter_set(1, 3)), "-4: []"},
        {"b", CALL(eth_mirror_filter_set(1, -1)), "-4: []"},
        {"abu", CALL(eth_mirror_filter_get(-1, o)), "-4 -1: []"},
        {"abu", CALL(eth_mirror_div_set(2, 1, 1)), "-4: []"},
        {"abu", CALL(eth_mirror_div_get(2, o, o + 1)), "-4 -1 -1: []"},
        {"abu", CALL(eth_mirror_mac_set(-1, mac)), "-4: []"},
        {"abu", CALL(eth_mirror_mac_get(2, untouched)), "-4: []"},
    });
    EXPECT_THAT(untouched, ElementsAre(1, 2, 3, 4, 5, 6));
}

} // namespace
