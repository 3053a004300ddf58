// Policer setters and action builders: bits of a record, on both classes.
#include "tests/support/board.h"

#include <map>

#include <esw.h>

namespace {

using namespace test;

class CfpRecord : public Board {
protected:
    // The words of a record full of `fill` that a call changes, as "policer[1]" and the like.
    static std::map<std::string, uint32_t> changes(uint32_t fill,
                                                   const std::function<void(eth_cfp_rule_t *)> &call)
    {
        eth_cfp_rule_t rule;
        auto *words = reinterpret_cast<uint32_t *>(&rule);
        std::fill_n(words, 31, fill);
        call(&rule);
        std::map<std::string, uint32_t> changed;
        for (unsigned i = 0; i < 31; ++i) {
            const bool policer = i >= 19 && i < 26;
            const bool action = i >= 16 && i < 19;
            if (words[i] != fill)
                changed[action    ? fmt::format("action[{}]", i - 16)
                        : policer ? fmt::format("policer[{}]", i - 19)
                                  : fmt::format("word {}", i)] = words[i];
        }
        return changed;
    }
};

using Changes = std::map<std::string, uint32_t>;

TEST_F(CfpRecord, ClassARatesRoundDown)
{
    start(class_a);
    const struct {
        int32_t rate, burst;
        uint32_t bucket, word;
    } cases[] = {
        {1000, 100, 0xFFFF, 0x8000080F},
        {0, 0, 0x3FFF, 0x80000A00},
        {64, 16, 0x3FFF, 0x80000A01},
        {63, 31, 0x3FFF, 0x80000A00},
        {-1, 32, 0x7FFF, 0x80000900},
        {INT32_MIN, -5, 0x3FFF, 0x80000A00},
        {1792, 16383, 0x7FFFFF, 0x8000011C},
        {1800, 16384, 0xFFFFFF, 0x8000001C},
        {2047, INT32_MAX, 0xFFFFFF, 0x8000001C},
        {2048, 20000, 0xFFFFFF, 0x8000001D},
        {102400, 64, 0xFFFF, 0x8000087F},
        {102401, 64, 0xFFFF, 0x8000087F},
        {106495, 64, 0xFFFF, 0x8000087F},
        {106496, 64, 0xFFFF, 0x80000880},
        {1023999, 8192, 0x7FFFFF, 0x800001EF},
        {1024000, 8192, 0x7FFFFF, 0x800001F0},
        {INT32_MAX, 8192, 0x7FFFFF, 0x800001F0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(
            changes(0xAAAAAAAA,
                    [&](auto *rule) { EXPECT_EQ(eth_cfp_util_rule_t_rate_set(rule, c.rate, c.burst), 0); }),
            (Changes{{"policer[0]", c.bucket}, {"policer[1]", c.word}}))
            << c.rate << ' ' << c.burst;
    }
}

TEST_F(CfpRecord, PolicersOfTheOtherClassAreRefused)
{
    const std::function<int32_t(eth_cfp_rule_t *)> class_b_setters[] = {
        [](auto *r) { return eth_cfp_util_rule_t_rate_mode_set(r, 1); },
        [](auto *r) { return eth_cfp_util_rule_t_rate_policer_action_set(r, 1); },
        [](auto *r) { return eth_cfp_util_rule_t_rate_color_mode_set(r, 1); },
        [](auto *r) { return eth_cfp_util_rule_t_eir_set(r, 1, 1); },
        [](auto *r) { return eth_cfp_util_rule_t_cir_set(r, 1, 1); },
    };
    start(class_a);
    for (const auto &set : class_b_setters)
        EXPECT_THAT(changes(0, [&](auto *rule) { EXPECT_EQ(set(rule), ETH_E_UNSUPPORTED); }), IsEmpty());
    for (const uint32_t other : {0x2409u, 0x1234u}) {
        gESWID = other;
        EXPECT_THAT(changes(0,
                            [&](auto *rule) {
                                EXPECT_EQ(eth_cfp_util_rule_t_rate_set(rule, 1, 1), ETH_E_UNSUPPORTED);
                            }),
                    IsEmpty());
    }
}

struct Build {
    const char *name;
    uint32_t fill;
    std::function<void(eth_cfp_rule_t *)> call;
    Changes on_a, on_b;
};

// The fills show which bits a call clears (all ones) and which it sets (zeros).
TEST_F(CfpRecord, BitsByClass)
{
    constexpr uint32_t ones = 0xFFFFFFFF;
    const Build builds[] = {
        {"rate mode, low two bits",
         0x7,
         [](auto *r) { eth_cfp_util_rule_t_rate_mode_set(r, 6); },
         {},
         {{"policer[0]", 0x17}}},
        {"rate mode 0",
         ones,
         [](auto *r) { eth_cfp_util_rule_t_rate_mode_set(r, 4); },
         {},
         {{"policer[0]", 0xFFFFFFE7}}},
        {"policer action",
         ones,
         [](auto *r) { eth_cfp_util_rule_t_rate_policer_action_set(r, 2); },
         {},
         {{"policer[0]", 0xFFFFFFFD}}},
        {"colour mode",
         ones,
         [](auto *r) { eth_cfp_util_rule_t_rate_color_mode_set(r, 0x100); },
         {},
         {{"policer[0]", 0xFFFFFFFE}}},
        {"policer action and colour mode",
         0,
         [](auto *r) {
             eth_cfp_util_rule_t_rate_policer_action_set(r, 3);
             eth_cfp_util_rule_t_rate_color_mode_set(r, ones);
         },
         {},
         {{"policer[0]", 0x3}}},
        {"EIR at its limits",
         0,
         [](auto *r) { eth_cfp_util_rule_t_eir_set(r, 3000000, 2000); },
         {},
         {{"policer[1]", 0x7FE000}, {"policer[2]", 0xFFC00}, {"policer[3]", 500000}}},
        {"CIR",
         ones,
         [](auto *r) { eth_cfp_util_rule_t_cir_set(r, 1999999, 1022); },
         {},
         {{"policer[4]", 0x7FC000}, {"policer[5]", 0xFF800}, {"policer[6]", 499999}}},
        {"actions clear",
         ones,
         [](auto *r) { ethCfpRuleAction(r, 0, 0); },
         {{"action[0]", 0xFE7FFE7F}},
         {{"action[0]", 0xFCFFFFFF}, {"action[1]", 0xFFFFE7FF}}},
        {"actions set",
         0,
         [](auto *r) { ethCfpRuleAction(r, 3, 1); },
         {{"action[0]", 0x00800180}},
         {{"action[0]", 0x03000000}, {"action[1]", 0x0800}}},
        {"actions are not cut",
         0,
         [](auto *r) { ethCfpRuleAction(r, 0x10000, 4); },
         {{"action[0]", 0x02800000}},
         {{"action[1]", 0x2000}}},
        {"destinations clear",
         ones,
         [](auto *r) { ethCfpRuleActionDst(r, 0, 0); },
         {{"action[0]", 0xFF80FF80}},
         {{"action[0]", 0xFF003FFF}, {"action[1]", 0xFFFFF801}}},
        {"destinations set",
         0,
         [](auto *r) { ethCfpRuleActionDst(r, 0x41, 0x03); },
         {{"action[0]", 0x00030041}},
         {{"action[0]", 0x00204000}, {"action[1]", 0x6}}},
        {"bit 6 of each moves to bit 7",
         0,
         [](auto *r) { ethCfpRuleActionDst(r, 0xC0, 0x340); },
         {{"action[0]", 0x034000C0}},
         {{"action[0]", 0x00200000}, {"action[1]", 0x700}}},
        {"a destination that reaches into the other",
         0,
         [](auto *r) { ethCfpRuleActionDst(r, 0x10000, 2); },
         {{"action[0]", 0x00030000}},
         {{"action[0]", 0x40000000}, {"action[1]", 0x4}}},
        {"traffic class",
         ones,
         [](auto *r) { ethCfpRuleActionChangeTc(r, 9); },
         {{"action[1]", 0xFFFFE7FF}},
         {{"action[0]", 0xFFFFE7FF}}},
        {"traffic class is marked as changed",
         0,
         [](auto *r) { ethCfpRuleActionChangeTc(r, 0xF8); },
         {{"action[1]", 0x2000}},
         {{"action[0]", 0x2000}}},
        {"chain ID",
         ones,
         [](auto *r) { ethCfpRuleActionChainId(r, 0xAB); },
         {{"action[1]", 0xFFEAFFFF}},
         {{"action[1]", 0xFABFFFFF}}},
        {"VLAN bypass, twice",
         0,
         [](auto *r) {
             ethCfpRuleActionVlanBypass(r);
             ethCfpRuleActionVlanBypass(r);
         },
         {{"action[1]", 1}},
         {{"action[0]", 1}}},
        {"drop",
         0,
         ethCfpRuleActionDropAll,
         {{"action[0]", 0x01000100}},
         {{"action[0]", 0x02000000}, {"action[1]", 0x1000}}},
        {"drop keeps the rest",
         ones,
         ethCfpRuleActionDropAll,
         {{"action[0]", 0xFF00FF00}},
         {{"action[0]", 0xFE003FFF}, {"action[1]", 0xFFFFF001}}},
    };
    start();
    for (const Build &build : builds) {
        for (const uint32_t device : {class_a, 0xD314u}) {
            gESWID = device;
            EXPECT_EQ(
                requests([&] {
                    EXPECT_EQ(changes(build.fill, build.call), device == class_a ? build.on_a : build.on_b)
                        << build.name << testing::PrintToString(device);
                }),
                Lines{});
        }
    }
}

TEST_F(CfpRecord, BuildersNameThemselvesOnOtherDevices)
{
    start();
    gESWID = 0x1234;
    const Texts texts = printed([] {
        EXPECT_THAT(changes(0,
                            [](eth_cfp_rule_t *rule) {
                                ethCfpRuleAction(rule, 1, 1);
                                ethCfpRuleActionDst(rule, 1, 1);
                                ethCfpRuleActionChangeTc(rule, 1);
                                ethCfpRuleActionChainId(rule, 1);
                                ethCfpRuleActionVlanBypass(rule);
                                gESWID = 0xBEEF;
                                ethCfpRuleActionDropAll(rule);
                            }),
                    IsEmpty());
    });
    EXPECT_EQ(texts.out, "ethCfpRuleAction: switch (0x1234) NOT supported!\n"
                         "ethCfpRuleActionDst: switch (0x1234) NOT supported!\n"
                         "ethCfpRuleActionChangeTc: switch (0x1234) NOT supported!\n"
                         "ethCfpRuleActionChainId: switch (0x1234) NOT supported!\n"
                         "ethCfpRuleActionVlanBypass: switch (0x1234) NOT supported!\n"
                         "ethCfpRuleAction: switch (0xBEEF) NOT supported!\n"
                         "ethCfpRuleActionDst: switch (0xBEEF) NOT supported!\n");
}

} // namespace
