// SPDX-License-Identifier: LGPL-2.1-or-later
// Port and MAC enable, spanning tree, reset, frame size.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class PortState : public StartedBoard {};

struct Case {
    const char *name;
    uint8_t page, offset;
    uint64_t contents;
    std::function<int32_t()> call;
    int32_t result;
    Lines requests;
};

TEST_F(PortState, CallsAndTheirRequests)
{
    const Case cases[] = {
        {"port 0 on",
         0,
         0,
         0xFF,
         [] { return ethHw_port_enable_set(0, 5); },
         0,
         {"lock", "read 00:00 w64 -> 0xff", "write 00:00 w64 <- 0xfc", "unlock"}},
        {"port 1 off",
         0,
         1,
         0xA0,
         [] { return ethHw_port_enable_set(1, 0); },
         0,
         {"lock", "read 00:01 w64 -> 0xa0", "write 00:01 w64 <- 0xa3", "unlock"}},
        {"port 8 on",
         2,
         0,
         0x83,
         [] { return ethHw_port_enable_set(8, 1); },
         0,
         {"lock", "read 02:00 w32 -> 0x83", "write 02:00 w64 <- 0x43", "unlock"}},
        {"port 8 off keeps bit 7",
         2,
         0,
         0xC3,
         [] { return ethHw_port_enable_set(8, 0); },
         0,
         {"lock", "read 02:00 w64 -> 0xc3", "write 02:00 w64 <- 0x83", "unlock"}},
        {"MAC halves, bit 1 first",
         0,
         1,
         0xA2,
         [] { return ethHw_mac_enable_set(1, 1, 0); },
         0,
         {"lock", "read 00:01 w64 -> 0xa2", "write 00:01 w64 <- 0xa0", "read 00:01 w64 -> 0xa0",
          "write 00:01 w64 <- 0xa1", "unlock"}},
        {"STP keeps the low bits",
         0,
         0,
         0x3F,
         [] { return eth_stg_stp_set(99, 0, 4); },
         0,
         {"lock", "read 00:00 w32 -> 0x3f", "write 00:00 w64 <- 0xbf", "unlock"}},
        {"STP state 5", 0, 0, 0x3F, [] { return eth_stg_stp_set(0, 1, 5); }, ETH_E_PARAM, {}},
        {"STP port before state", 0, 0, 0, [] { return eth_stg_stp_set(0, 8, 5); }, ETH_E_PORT, {}},
        {"reset", 0, 0, 0, [] { return ethHw_switch_reset(); }, 0, {"write 00:79 w64 <- 0x90"}},
        {"jumbo leaves the limit alone",
         0x40,
         1,
         0x1,
         [] { return eth_port_frame_max_set(8, 9720); },
         0,
         {"read 40:01 w64 -> 0x1", "write 40:01 w64 <- 0x101"}},
        {"2000 bytes",
         0x40,
         1,
         0x103,
         [] { return eth_port_frame_max_set(1, 2000); },
         0,
         {"read 40:01 w64 -> 0x103", "write 40:01 w64 <- 0x101", "write 40:05 w64 <- 0x7d0"}},
        {"1600 bytes", 0x40, 1, 0, [] { return eth_port_frame_max_set(0, 1600); }, ETH_E_PARAM, {}},
        {"port before size", 0x40, 1, 0, [] { return eth_port_frame_max_set(3, 1600); }, ETH_E_PORT, {}},
    };
    for (const Case &c : cases) {
        reg(c.page, c.offset) = c.contents;
        EXPECT_EQ(requests([&] { EXPECT_EQ(c.call(), c.result) << c.name; }), c.requests) << c.name;
    }
}

struct Reading {
    uint8_t page, offset;
    uint64_t contents;
    std::function<int32_t(int32_t *)> get;
    int32_t value;
    Lines requests;
};

TEST_F(PortState, Readings)
{
    const auto port_enabled = [](uint32_t port) {
        return [=](int32_t *out) { return ethHw_port_enable_get(port, out); };
    };
    const auto stp = [](uint32_t port) {
        return [=](int32_t *out) { return eth_stg_stp_get(1, port, out); };
    };
    const auto frame = [](uint32_t port) {
        return [=](int32_t *out) { return eth_port_frame_max_get(port, out); };
    };
    const Reading readings[] = {
        {0, 0, 0xFC, port_enabled(0), 1, {"lock", "read 00:00 w32 -> 0xfc", "unlock"}},
        {0, 1, 0x02, port_enabled(1), 0, {"lock", "read 00:01 w32 -> 0x2", "unlock"}},
        {2, 0, 0x40, port_enabled(8), 0, {"lock", "read 02:00 w32 -> 0x40", "unlock"}},
        {2, 0, 0x80, port_enabled(8), 1, {"lock", "read 02:00 w32 -> 0x80", "unlock"}},
        {0, 0, 0xBF, stp(0), 4, {"lock", "read 00:00 w32 -> 0xbf", "unlock"}},
        {0, 1, 0x1F, stp(1), -1, {"lock", "read 00:01 w32 -> 0x1f", "unlock"}},
        {0, 1, 0xFF, stp(1), 6, {"lock", "read 00:01 w32 -> 0xff", "unlock"}},
        {0x40, 1, 0x100, frame(8), 9720, {"read 40:01 w32 -> 0x100"}},
        {0x40, 1, 0x100, frame(1), 1518, {"read 40:01 w32 -> 0x100", "read 40:05 w32 -> 0x5ee"}},
    };
    for (const Reading &r : readings) {
        reg(r.page, r.offset) = r.contents;
        int32_t value = 1234;
        EXPECT_EQ(requests([&] { EXPECT_EQ(r.get(&value), 0); }), r.requests);
        EXPECT_EQ(value, r.value) << testing::PrintToString(r.requests);
    }
}

TEST_F(PortState, MacHalvesAreReadSeparately)
{
    reg(0, 1) = 0xA1;
    int32_t bit1 = 5, bit0 = 5;
    EXPECT_EQ(requests([&] { EXPECT_EQ(ethHw_mac_enable_get(1, &bit1, &bit0), 0); }),
              (Lines{"lock", "read 00:01 w32 -> 0xa1", "read 00:01 w32 -> 0xa1", "unlock"}));
    EXPECT_EQ(std::pair(bit1, bit0), std::pair(1, 0));
}

TEST_F(PortState, RefusedPortsTouchNothingAndLeaveThePresets)
{
    for (const uint32_t port : {2u, 7u, 8u, 9u, 0x100u, 0xFFFFFFFFu}) {
        int32_t enabled = 5, bit1 = 5, bit0 = 5, state = 5, size = 5;
        EXPECT_EQ(requests([&] {
                      if (port != 8) {
                          EXPECT_EQ(ethHw_port_enable_set(port, 1), ETH_E_PORT);
                          EXPECT_EQ(ethHw_port_enable_get(port, &enabled), ETH_E_PORT);
                          EXPECT_EQ(eth_port_frame_max_get(port, &size), ETH_E_PORT);
                          EXPECT_EQ(std::pair(enabled, size), std::pair(-1, -1));
                      }
                      EXPECT_EQ(ethHw_mac_enable_set(port, 1, 1), ETH_E_PORT);
                      EXPECT_EQ(ethHw_mac_enable_get(port, &bit1, &bit0), ETH_E_PORT);
                      EXPECT_EQ(eth_stg_stp_get(0, port, &state), ETH_E_PORT);
                  }),
                  Lines{});
        EXPECT_EQ(std::pair(bit1, bit0), std::pair(-1, -1));
        EXPECT_EQ(state, 5);
    }
}

TEST_F(PortState, AFailedReadIsDecodedLikeAnyOther)
{
    options().all_requests_fail = true;
    int32_t enabled = 5, state = 5;
    printed([&] {
        EXPECT_EQ(ethHw_port_enable_get(8, &enabled), 0);
        EXPECT_EQ(eth_stg_stp_get(0, 0, &state), 0);
        EXPECT_EQ(ethHw_switch_reset(), 0);
    });
    EXPECT_EQ(enabled, 1);
    EXPECT_EQ(state, 0x7FFFFFE);
}

} // namespace
