// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include "cfp/shared.h"
#include "core/ports.h"

namespace {

using namespace esw;

// Where an argument of a builder goes.
struct Target {
    uint8_t word; // of the action words
    Field field;
};

constexpr Target nowhere{.word = 0, .field = {.low = 0, .bits = 0}};

struct Targets {
    Target first;
    Target second = nowhere;
};

// A builder's arguments as each class holds them.
struct Layout {
    Targets class_a;
    Targets class_b;
};

constexpr Layout forwarding_actions{
    .class_a = {.first = {.word = 0, .field = {7, 2}}, .second = {.word = 0, .field = {23, 2}}},
    .class_b = {.first = {.word = 0, .field = {24, 2}}, .second = {.word = 1, .field = {11, 2}}},
};
constexpr Layout destinations{
    .class_a = {.first = {.word = 0, .field = {0, 7}}, .second = {.word = 0, .field = {16, 7}}},
    .class_b = {.first = {.word = 0, .field = {14, 10}}, .second = {.word = 1, .field = {1, 10}}},
};
constexpr Layout traffic_class{
    .class_a = {.first = {.word = 1, .field = {10, 3}}},
    .class_b = {.first = {.word = 0, .field = {10, 3}}},
};
constexpr Layout chain_id{
    .class_a = {.first = {.word = 1, .field = {14, 8}}},
    .class_b = {.first = {.word = 1, .field = {20, 8}}},
};
constexpr Layout vlan_bypass{
    .class_a = {.first = {.word = 1, .field = {0}}},
    .class_b = {.first = {.word = 0, .field = {0}}},
};

constexpr Field new_class{0, 3};
constexpr Field change_class{3}; // the bit above the traffic class
constexpr uint32_t drop = 2;     // forwarding action

void clear(eth_cfp_rule_t *rule, Target target)
{
    rule->action[target.word] &= ~static_cast<uint32_t>(target.field.mask());
}

// Not cut to the field.
void add(eth_cfp_rule_t *rule, Target target, uint32_t value)
{
    rule->action[target.word] |= value << target.field.low;
}

// Clears both fields before either is filled: on class A an argument that is too wide reaches the other.
void build(const char *builder, eth_cfp_rule_t *rule, const Layout &layout, uint32_t first,
           uint32_t second = 0)
{
    const DeviceClass device = served_class(builder);
    if (device == DeviceClass::unknown)
        return;
    const Targets targets = device == DeviceClass::a ? layout.class_a : layout.class_b;
    clear(rule, targets.first);
    clear(rule, targets.second);
    add(rule, targets.first, first);
    add(rule, targets.second, second);
}

// Bit 6 of a destination stands for the port that class B has at bit 7.
uint32_t class_b_destination(uint32_t ports)
{
    constexpr uint32_t bit6 = port_bit(6);
    return ports & bit6 ? (ports & ~bit6) | port_bit(7) : ports;
}

} // namespace

void ethCfpRuleAction(eth_cfp_rule_t *rule, uint32_t action1, uint32_t action2)
{
    build(__func__, rule, forwarding_actions, action1, action2);
}

void ethCfpRuleActionDst(eth_cfp_rule_t *rule, uint32_t dst1, uint32_t dst2)
{
    if (is_class_b()) {
        dst1 = class_b_destination(dst1);
        dst2 = class_b_destination(dst2);
    }
    build(__func__, rule, destinations, dst1, dst2);
}

void ethCfpRuleActionChangeTc(eth_cfp_rule_t *rule, uint8_t tc)
{
    build(__func__, rule, traffic_class, new_class.get(tc) | static_cast<uint32_t>(change_class.mask()));
}

void ethCfpRuleActionChainId(eth_cfp_rule_t *rule, uint8_t id) { build(__func__, rule, chain_id, id); }

void ethCfpRuleActionVlanBypass(eth_cfp_rule_t *rule) { build(__func__, rule, vlan_bypass, 1); }

void ethCfpRuleActionDropAll(eth_cfp_rule_t *rule)
{
    ethCfpRuleAction(rule, drop, drop);
    ethCfpRuleActionDst(rule, 0, 0);
}
