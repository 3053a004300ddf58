// SPDX-License-Identifier: LGPL-2.1-or-later
// What steers forwarding, and the L2 cache.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class L2Controls : public StartedBoard {};

constexpr uint8_t bridge_group[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};

TEST_F(L2Controls, SetAndGet)
{
    uint8_t mac[6] = {};
    expect({
        {"abu", CALL(eth_l2_age_timer_set(300)), "0: 02:06 r32=ffe00005 w64=fff0012c"},
        {"b", CALL(eth_l2_age_timer_set(0xFFFFF)), "0: 02:06 r32=0 w64=1fffff"},
        {"b", CALL(eth_l2_age_timer_set(0)), "0: 02:06 r64=ffffffff w64=ffe00000"},
        {"b", CALL(eth_l2_age_timer_set(0x100000)), "-4"},
        {"abu", CALL(eth_l2_age_timer_get(o)), "0 -2096852: 02:06 r32=ffe0012c"},
        {"abu", CALL(eth_learn_mcast_set(-1)), "0: 00:2f r64=51 w64=d1"},
        {"b", CALL(eth_learn_mcast_set(0)), "0: 00:2f r64=ff w64=7f"},
        {"abu", CALL(eth_learn_mcast_get(o)), "0 1: 00:2f r32=80"},
        {"b", CALL(eth_learn_mcast_get(o)), "0 0: 00:2f r32=7f"},
        {"abu", CALL(eth_mcast_ctrl_set(0x800000FF)), "0: [00:2f w64=800000ff]"},
        {"abu", CALL(eth_mcast_ctrl_get(o)), "0 255: [00:2f r32=ff]"},
        {"abu", CALL(eth_protect_set(8, 256)), "0: 00:24 r64=1 w64=101"},
        {"b", CALL(eth_protect_set(1, 0)), "0: 00:24 r64=103 w64=101"},
        {"b", CALL(eth_protect_set(2, 1)), "-18"},
        {"abu", CALL(eth_protect_get(0, o)), "0 0: 00:24 r32=102"},
        {"b", CALL(eth_protect_get(8, o)), "0 1: 00:24 r32=102"},
        {"b", CALL(eth_protect_get(7, o)), "-18"},
        {"abu", CALL(eth_l2_bpdu_set(0, bridge_group)), "0: 04:04 w64=180c200000e"},
        {"b", CALL(eth_l2_bpdu_set(1, bridge_group)), "-4"},
        {"abu", CALL(eth_l2_bpdu_get(0, mac)), "0: 04:04 r64=180c200000e"},
        {"b", CALL(eth_l2_bpdu_get(-1, nullptr)), "-4"},
    });
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
    eth_l2_cache_addr_t got, expected;
    memset(&got, 0xAA, sizeof got);
    expected = got;
    memcpy(expected.mac, bridge_group, 6);
    expected.data = cached_.data;
    std::string all_clear = "0:";
    uint64_t valid = 0xFFFF;
    for (unsigned slot = 0; slot < 6; ++slot) {
        const uint64_t left = valid & ~(3U << 2 * slot);
        all_clear += fmt::format(" 04:0e r64={:x} w64={:x} 04:{:x}0 w64=0 04:{:x}8 w64=0", valid, left,
                                 slot + 1, slot + 1);
        valid = left;
    }
    // Slot 0 is taken by its low bit; the bits beyond slot 5 don't count.
    expect({
        {"abu", CALL(eth_l2_cache_set(-1, &cached_, o)),
         "0 1: 04:0e r32=f001 r64=f001 w64=f009 04:20 w64=180c200000e 04:28 w64=fedcba98"},
        {"abu", CALL(eth_l2_cache_size_get(o)), "0 2: 04:0e r32=f009"},
        {"b", CALL(eth_l2_cache_size_get(o)), "0 6: 04:0e r32=fd56"},
        {"abu", CALL(eth_l2_cache_get(2, &got)), "-12: 04:0e r32=f009"},
        {"abu", CALL(eth_l2_cache_get(6, &got)), "-4"},
        {"b", CALL(eth_l2_cache_get(all_ones, &got)), "-4"},
        {"abu", CALL(eth_l2_cache_get(1, &got)), "0: 04:0e r32=8 04:20 r64=180c200000e 04:28 r32=fedcba98"},
        {"abu", CALL(eth_l2_cache_delete(1)), "0: 04:0e r64=f00d w64=f001 04:20 w64=0 04:28 w64=0"},
        {"abu", CALL(eth_l2_cache_delete(6)), "-4"},
        {"abu", CALL(eth_l2_cache_delete_all()), all_clear},
        {"abu", CALL(eth_l2_cache_init()), all_clear},
    });
    EXPECT_EQ(memcmp(&got, &expected, sizeof got), 0) << "MAC address and data, and nothing else";
    eth_l2_cache_addr_t_init(&got);
    expected = {};
    EXPECT_EQ(memcmp(&got, &expected, sizeof got), 0);
}

} // namespace
