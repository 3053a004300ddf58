// SPDX-License-Identifier: LGPL-2.1-or-later
// Policer setters and action builders: bits of a record, on both classes.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

using Change = void (*)(eth_cfp_rule_t *);
using Words = std::array<uint32_t, 31>;
constexpr size_t action = 16;
constexpr size_t policer = 19;

// What a call makes of a record full of `fill`.
Words changed(uint32_t fill, const std::function<void(eth_cfp_rule_t *)> &change)
{
    Words words;
    words.fill(fill);
    change(reinterpret_cast<eth_cfp_rule_t *>(words.data()));
    return words;
}

Words expected(uint32_t fill, size_t first, std::initializer_list<uint32_t> values)
{
    Words words;
    words.fill(fill);
    std::ranges::copy(values, words.begin() + static_cast<ptrdiff_t>(first));
    return words;
}

class CfpRecord : public StartedBoard {};

TEST_F(CfpRecord, ClassARatesRoundDown)
{
    const std::pair<int32_t, uint32_t> indexes[] = {
        {INT32_MIN, 0}, {0, 0},        {63, 0},        {64, 1},        {1000, 15},
        {1792, 28},     {1800, 28},    {2048, 29},     {102400, 127},  {102401, 127},
        {106495, 127},  {106496, 128}, {1023999, 239}, {1024000, 240}, {INT32_MAX, 240}};
    const std::pair<int32_t, uint32_t> shifts[] = {{-5, 10}, {0, 10},    {16, 10},   {31, 10},      {32, 9},
                                                   {100, 8}, {16383, 1}, {16384, 0}, {INT32_MAX, 0}};
    const auto expect = [](int32_t rate, int32_t burst, const Words &wanted, int32_t code) {
        const auto set = [=](auto *rule) {
            EXPECT_EQ(eth_cfp_util_rule_t_rate_set(rule, rate, burst), code);
        };
        EXPECT_EQ(changed(7, set), wanted) << rate << ' ' << burst;
    };
    gESWID = class_a;
    for (const auto &[rate, index] : indexes)
        expect(rate, 16, expected(7, policer, {0x3FFF, 0x80000A00 | index}), 0);
    for (const auto &[burst, shift] : shifts)
        expect(1000, burst, expected(7, policer, {0xFFFFFFu >> shift, 0x8000000F | shift << 8}), 0);
    for (const uint32_t other : {class_b, 0x1234u}) {
        gESWID = other;
        expect(1000, 100, expected(7, 0, {}), ETH_E_UNSUPPORTED);
    }
}

int32_t result; // of the setter that ran last

#define SET(name, ...) [](eth_cfp_rule_t *r) { result = eth_cfp_util_rule_t_##name##_set(r, __VA_ARGS__); }
#define BUILD(name, ...) [](eth_cfp_rule_t *r) { ethCfpRuleAction##name(r __VA_OPT__(, ) __VA_ARGS__); }

TEST_F(CfpRecord, ClassBPolicers)
{
    const struct {
        uint32_t fill;
        Change set;
        size_t first;
        std::initializer_list<uint32_t> words;
    } cases[] = {
        {7, SET(rate_mode, 6), 0, {0x17}},
        {all_ones, SET(rate_mode, 4), 0, {0xFFFFFFE7}},
        {all_ones, SET(rate_policer_action, 2), 0, {0xFFFFFFFD}},
        {0, SET(rate_policer_action, 3), 0, {2}},
        {all_ones, SET(rate_color_mode, 0x100), 0, {0xFFFFFFFE}},
        {0, SET(rate_color_mode, all_ones), 0, {1}},
        {9, SET(eir, 3000000, 2000), 1, {0x7FE000, 0xFFC00, 500000}},
        {9, SET(eir, 7, 1024), 1, {0x7FE000, 0xFFC00, 1}},
        {9, SET(cir, 1999999, 1022), 4, {0x7FC000, 0xFF800, 499999}},
    };
    for (const auto &c : cases) {
        gESWID = 0x5075;
        EXPECT_EQ(changed(c.fill, c.set), expected(c.fill, policer + c.first, c.words));
        EXPECT_EQ(result, 0);
        gESWID = class_a;
        EXPECT_EQ(changed(c.fill, c.set), expected(c.fill, 0, {}));
        EXPECT_EQ(result, ETH_E_UNSUPPORTED);
    }
}

// The fills show which bits a builder clears (all all_ones) and which it sets (zeros).
TEST_F(CfpRecord, ActionsByClass)
{
    const struct {
        uint32_t fill;
        Change build;
        std::initializer_list<uint32_t> on_a, on_b;
    } cases[] = {
        {all_ones, BUILD(, 0, 0), {0xFE7FFE7F}, {0xFCFFFFFF, 0xFFFFE7FF}},
        {0, BUILD(, 3, 1), {0x00800180}, {0x03000000, 0x0800}},
        {0, BUILD(, 0x10000, 4), {0x02800000}, {0, 0x2000}}, // not cut
        {all_ones, BUILD(Dst, 0, 0), {0xFF80FF80}, {0xFF003FFF, 0xFFFFF801}},
        {0, BUILD(Dst, 0x41, 3), {0x00030041}, {0x00204000, 0x6}},
        {0, BUILD(Dst, 0xC0, 0x340), {0x034000C0}, {0x00200000, 0x700}},
        {0, BUILD(Dst, 0x10000, 2), {0x00030000}, {0x40000000, 0x4}},
        {all_ones, BUILD(ChangeTc, 9), {all_ones, 0xFFFFE7FF}, {0xFFFFE7FF}},
        {0, BUILD(ChangeTc, 0xF8), {0, 0x2000}, {0x2000}},
        {all_ones, BUILD(ChainId, 0xAB), {all_ones, 0xFFEAFFFF}, {all_ones, 0xFABFFFFF}},
        {0, BUILD(VlanBypass), {0, 1}, {1}},
        {all_ones, BUILD(VlanBypass), {all_ones}, {all_ones}},
        {0, BUILD(DropAll), {0x01000100}, {0x02000000, 0x1000}},
        {all_ones, BUILD(DropAll), {0xFF00FF00}, {0xFE003FFF, 0xFFFFF001}},
    };
    for (const auto &c : cases) {
        gESWID = class_a;
        EXPECT_EQ(changed(c.fill, c.build), expected(c.fill, action, c.on_a));
        gESWID = 0xD314;
        EXPECT_EQ(changed(c.fill, c.build), expected(c.fill, action, c.on_b));
    }
    EXPECT_THAT(log(), IsEmpty()) << "no register is touched";
}

TEST_F(CfpRecord, BuildersNameThemselvesOnOtherDevices)
{
    const auto build = [](auto *rule) {
        gESWID = 0x1234;
        ethCfpRuleAction(rule, 1, 1);
        ethCfpRuleActionDst(rule, 1, 1);
        ethCfpRuleActionChangeTc(rule, 1);
        ethCfpRuleActionChainId(rule, 1);
        ethCfpRuleActionVlanBypass(rule);
        gESWID = 0xBEEF;
        ethCfpRuleActionDropAll(rule);
    };
    EXPECT_EQ(printed([&] { EXPECT_EQ(changed(0, build), expected(0, 0, {})); }).out,
              "ethCfpRuleAction: switch (0x1234) NOT supported!\n"
              "ethCfpRuleActionDst: switch (0x1234) NOT supported!\n"
              "ethCfpRuleActionChangeTc: switch (0x1234) NOT supported!\n"
              "ethCfpRuleActionChainId: switch (0x1234) NOT supported!\n"
              "ethCfpRuleActionVlanBypass: switch (0x1234) NOT supported!\n"
              "ethCfpRuleAction: switch (0xBEEF) NOT supported!\n"
              "ethCfpRuleActionDst: switch (0xBEEF) NOT supported!\n");
}

} // namespace
