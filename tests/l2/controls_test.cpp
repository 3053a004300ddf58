// SPDX-License-Identifier: LGPL-2.1-or-later
// What steers forwarding, and the L2 cache.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class L2Controls : public StartedBoard {};

constexpr uint8_t bridge_group[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};

TEST_F(L2Controls, ReadModifyWrites)
{
    struct {
        uint8_t page, offset;
        unsigned width; // of the read
        uint64_t before, written;
        int32_t (*call)();
    } const cases[] = {
        {2, 6, 32, 0xFFE00005, 0xFFF0012C, [] { return eth_l2_age_timer_set(300); }},
        {2, 6, 32, 0, 0x1FFFFF, [] { return eth_l2_age_timer_set(0xFFFFF); }},
        {2, 6, 64, 0xFFFFFFFF, 0xFFE00000, [] { return eth_l2_age_timer_set(0); }},
        {0, 0x2F, 64, 0x51, 0xD1, [] { return eth_learn_mcast_set(-1); }},
        {0, 0x2F, 64, 0xFF, 0x7F, [] { return eth_learn_mcast_set(0); }},
        {0, 0x24, 64, 0x001, 0x101, [] { return eth_protect_set(8, 256); }},
        {0, 0x24, 64, 0x103, 0x101, [] { return eth_protect_set(1, 0); }},
    };
    for (const auto &c : cases) {
        reg(c.page, c.offset) = c.before;
        EXPECT_EQ(requests([&] { EXPECT_EQ(c.call(), 0); }),
                  (Lines{fmt::format("read {:02x}:{:02x} w{} -> {:#x}", c.page, c.offset, c.width, c.before),
                         fmt::format("write {:02x}:{:02x} w64 <- {:#x}", c.page, c.offset, c.written)}));
    }
}

TEST_F(L2Controls, ReadingsAndRefusals)
{
    uint32_t age = 7, learning = 7, control = 7, protected0 = 7, protected8 = 7;
    uint8_t mac[6];
    reg(2, 6) = 0xFFF0012C;
    reg(0, 0x24) = 0x102;
    EXPECT_EQ(requests([&] {
                  EXPECT_EQ(eth_l2_age_timer_get(&age) | eth_mcast_ctrl_set(0x800000FF), 0);
                  EXPECT_EQ(eth_learn_mcast_get(&learning) | eth_mcast_ctrl_get(&control), 0);
                  EXPECT_EQ(eth_protect_get(0, &protected0) | eth_protect_get(8, &protected8), 0);
                  EXPECT_EQ(eth_l2_bpdu_set(0, bridge_group) | eth_l2_bpdu_get(0, mac), 0);
                  EXPECT_EQ(eth_l2_age_timer_set(0x100000), ETH_E_PARAM);
                  EXPECT_EQ(eth_l2_bpdu_set(1, bridge_group), ETH_E_PARAM);
                  EXPECT_EQ(eth_l2_bpdu_get(-1, nullptr), ETH_E_PARAM);
                  EXPECT_EQ(eth_protect_set(2, 1), ETH_E_PORT);
                  EXPECT_EQ(eth_protect_get(7, nullptr), ETH_E_PORT);
              }),
              (Lines{"read 02:06 w32 -> 0xfff0012c", "lock", "write 00:2f w64 <- 0x800000ff", "unlock",
                     "read 00:2f w32 -> 0xff", "lock", "read 00:2f w32 -> 0xff", "unlock",
                     "read 00:24 w32 -> 0x102", "read 00:24 w32 -> 0x102", "write 04:04 w64 <- 0x180c200000e",
                     "read 04:04 w64 -> 0x180c200000e"}));
    EXPECT_THAT((std::array{age, learning, control, protected0, protected8}),
                ElementsAre(0xFFE0012C, 1, 0xFF, 0, 1));
    EXPECT_THAT(mac, testing::ElementsAreArray(bridge_group));
}

class L2Cache : public L2Controls {
protected:
    const eth_l2_cache_addr_t cached_{0, {0x01, 0x80, 0xC2, 0, 0, 0x0E}, {}, {}, 0xFEDCBA98};
};

TEST_F(L2Cache, SetTakesTheSlotGivenOrTheFirstFreeOne)
{
    struct {
        uint64_t valid;
        int32_t slot, result, slot_out;
    } const cases[] = {
        {0x000, -1, 0, 0}, {0x02A, -7, 0, 3}, {0x3D5, -1, 0, 5},           {0x555, -1, ETH_E_FULL, -1},
        {0xAAA, 5, 0, 5},  {0x000, 5, 0, 5},  {0x000, 6, ETH_E_PARAM, 77}, {0xF005, INT32_MIN, 0, 2},
    };
    for (const auto &c : cases) {
        reg(4, 0x0E) = c.valid;
        int32_t slot = 77;
        EXPECT_EQ(eth_l2_cache_set(c.slot, &cached_, &slot), c.result);
        EXPECT_EQ(slot, c.slot_out) << c.valid;
        EXPECT_EQ(reg(4, 0x0E), c.result == 0 ? c.valid | 2U << 2 * slot : c.valid);
    }
}

TEST_F(L2Cache, RequestsInOrder)
{
    int32_t slot = 77;
    uint32_t size = 77;
    reg(4, 0x0E) = 0xF001; // slot 0 by its low bit; the bits beyond slot 5 don't count
    eth_l2_cache_addr_t got, expected;
    memset(&got, 0xAA, sizeof got);
    expected = got;
    memcpy(expected.mac, bridge_group, 6);
    expected.data = cached_.data;
    EXPECT_EQ(
        requests([&] {
            EXPECT_EQ(eth_l2_cache_set(-1, &cached_, &slot), 0);
            EXPECT_EQ(eth_l2_cache_size_get(&size), 0);
            EXPECT_EQ(eth_l2_cache_get(1, &got), 0);
            EXPECT_EQ(eth_l2_cache_get(2, &got), ETH_E_EMPTY);
            EXPECT_EQ(eth_l2_cache_get(~0U, &got), ETH_E_PARAM);
            EXPECT_EQ(eth_l2_cache_delete(1), 0);
            EXPECT_EQ(eth_l2_cache_delete(6), ETH_E_PARAM);
        }),
        (Lines{"read 04:0e w32 -> 0xf001", "read 04:0e w64 -> 0xf001", "write 04:0e w64 <- 0xf009",
               "write 04:20 w64 <- 0x180c200000e", "write 04:28 w64 <- 0xfedcba98",
               "read 04:0e w32 -> 0xf009", "read 04:0e w32 -> 0xf009", "read 04:20 w64 -> 0x180c200000e",
               "read 04:28 w32 -> 0xfedcba98", "read 04:0e w32 -> 0xf009", "read 04:0e w64 -> 0xf009",
               "write 04:0e w64 <- 0xf001", "write 04:20 w64 <- 0x0", "write 04:28 w64 <- 0x0"}));
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(memcmp(&got, &expected, sizeof got), 0) << "MAC address and data, and nothing else";
    const Lines all = requests([] { EXPECT_EQ(eth_l2_cache_init(), 0); });
    EXPECT_EQ(all.size(), 6u * 4);
    EXPECT_EQ(all[3] + all.back(), "write 04:18 w64 <- 0x0write 04:68 w64 <- 0x0");
    EXPECT_EQ(reg(4, 0x0E), 0xF000u);
}

} // namespace
