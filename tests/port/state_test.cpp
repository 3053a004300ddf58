// SPDX-License-Identifier: LGPL-2.1-or-later
// Port and MAC enable, spanning tree, reset, frame size.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class PortState : public StartedBoard {};

TEST_F(PortState, Sets)
{
    expect({
        {"abu", CALL(ethHw_port_enable_set(0, 5)), "0: [00:00 r64=ff w64=fc]"},
        {"b", CALL(ethHw_port_enable_set(1, 0)), "0: [00:01 r64=a0 w64=a3]"},
        {"b", CALL(ethHw_port_enable_set(8, 1)), "0: [02:00 r32=83 w64=43]"},
        {"b", CALL(ethHw_port_enable_set(8, 0)), "0: [02:00 r64=c3 w64=83]"}, // bit 7 stays
        {"abu", CALL(ethHw_mac_enable_set(1, 1, 0)), "0: [00:01 r64=a2 w64=a0 r64=a0 w64=a1]"},
        {"b", CALL(ethHw_mac_enable_set(0, 0, 1)), "0: [00:00 r64=fd w64=ff r64=ff w64=fe]"},
        {"abu", CALL(eth_stg_stp_set(99, 0, 4)), "0: [00:00 r32=3f w64=bf]"},
        {"b", CALL(eth_stg_stp_set(0, 1, 0)), "0: [00:01 r32=ff w64=3f]"},
        {"b", CALL(eth_stg_stp_set(0, 1, 5)), "-4"},
        {"b", CALL(eth_stg_stp_set(0, 1, -1)), "-4"},
        {"b", CALL(eth_stg_stp_set(0, 8, 5)), "-18"},
        {"abu", CALL(ethHw_switch_reset()), "0: 00:79 w64=90"},
        {"abu", CALL(eth_port_frame_max_set(8, 9720)), "0: 40:01 r64=1 w64=101"},
        {"b", CALL(eth_port_frame_max_set(1, 2000)), "0: 40:01 r64=103 w64=101 40:05 w64=7d0"},
        {"b", CALL(eth_port_frame_max_set(0, 1600)), "-4"},
        {"b", CALL(eth_port_frame_max_set(3, 1600)), "-18"},
    });
}

TEST_F(PortState, Gets)
{
    expect({
        {"abu", CALL(ethHw_port_enable_get(0, o)), "0 1: [00:00 r32=fc]"},
        {"b", CALL(ethHw_port_enable_get(1, o)), "0 0: [00:01 r32=2]"},
        {"b", CALL(ethHw_port_enable_get(8, o)), "0 0: [02:00 r32=40]"},
        {"b", CALL(ethHw_port_enable_get(8, o)), "0 1: [02:00 r32=80]"},
        {"abu", CALL(eth_stg_stp_get(1, 0, o)), "0 4: [00:00 r32=bf]"},
        {"b", CALL(eth_stg_stp_get(1, 1, o)), "0 -1: [00:01 r32=1f]"},
        {"b", CALL(eth_stg_stp_get(1, 1, o)), "0 6: [00:01 r32=ff]"},
        {"abu", CALL(eth_port_frame_max_get(8, o)), "0 9720: 40:01 r32=100"},
        {"b", CALL(eth_port_frame_max_get(1, o)), "0 1518: 40:01 r32=100 40:05 r32=5ee"},
        {"abu", CALL(ethHw_mac_enable_get(1, o, o + 1)), "0 1 0: [00:01 r32=a1*2]"},
    });
}

TEST_F(PortState, RefusedPortsTouchNothingAndLeaveThePresets)
{
    for (const uint32_t port : {2u, 7u, 9u, 0x100u, 0xFFFFFFFFu, 8u}) {
        expect({{"b", CALL(ethHw_mac_enable_set(port, 1, 1)), "-18"},
                {"b", CALL(ethHw_mac_enable_get(port, o, o + 1)), "-18 -1 -1"},
                {"b", CALL(eth_stg_stp_get(0, port, o)), "-18"}});
        if (port == 8)
            break;
        expect({{"b", CALL(ethHw_port_enable_set(port, 1)), "-18"},
                {"b", CALL(ethHw_port_enable_get(port, o)), "-18 -1"},
                {"b", CALL(eth_port_frame_max_get(port, o)), "-18 -1"}});
    }
}

TEST_F(PortState, AFailedReadIsDecodedLikeAnyOther)
{
    options().all_requests_fail = true;
    printed([&] {
        EXPECT_EQ(outcome(CALL(ethHw_port_enable_get(8, o))), "0 1: [02:00 r32!]");
        EXPECT_EQ(outcome(CALL(eth_stg_stp_get(0, 0, o))), "0 134217726: [00:00 r32!]");
        EXPECT_EQ(outcome(CALL(ethHw_switch_reset())), "0: 00:79 w64=90!");
    });
}

} // namespace
