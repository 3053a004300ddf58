// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include "cfp/shared.h"
#include "core/register.h"

namespace {

using namespace esw;

// Where an argument of a builder goes.
struct Place {
    uint8_t word; // of the action words
    Field field;
};

struct Layout {
    Place first;
    Place second;
};

// A builder's arguments as each class holds them.
struct Placement {
    Layout class_a;
    Layout class_b;
};

constexpr Place nowhere{0, {0, 0}};

constexpr Placement forwarding_actions{{{0, {7, 2}}, {0, {23, 2}}}, {{0, {24, 2}}, {1, {11, 2}}}};
constexpr Placement destinations{{{0, {0, 7}}, {0, {16, 7}}}, {{0, {14, 10}}, {1, {1, 10}}}};
constexpr Placement traffic_class{{{1, {10, 3}}, nowhere}, {{0, {10, 3}}, nowhere}};
constexpr Placement chain_id{{{1, {14, 8}}, nowhere}, {{1, {20, 8}}, nowhere}};
constexpr Placement vlan_bypass{{{1, {0, 1}}, nowhere}, {{0, {0, 1}}, nowhere}};

constexpr uint32_t traffic_class_mask = 0x7;
constexpr uint32_t change_traffic_class = 0x8; // the bit above the traffic class
constexpr uint32_t drop = 2;                   // forwarding action

void clear(eth_cfp_rule_t *rule, Place place)
{
    rule->action[place.word] &= ~static_cast<uint32_t>(place.field.mask());
}

// Not cut to the field.
void add(eth_cfp_rule_t *rule, Place place, uint32_t value)
{
    rule->action[place.word] |= value << place.field.low;
}

// Clears both fields before either is filled: on class A an argument that is too wide reaches the other.
void build(const char *builder, eth_cfp_rule_t *rule, const Placement &placement, uint32_t first,
           uint32_t second = 0)
{
    const DeviceClass device = served_class(builder);
    if (device == DeviceClass::unknown)
        return;
    const Layout layout = device == DeviceClass::a ? placement.class_a : placement.class_b;
    clear(rule, layout.first);
    clear(rule, layout.second);
    add(rule, layout.first, first);
    add(rule, layout.second, second);
}

// Bit 6 of a destination stands for the port that class B has at bit 7.
uint32_t class_b_destination(uint32_t ports)
{
    constexpr uint32_t bit6 = 0x40;
    constexpr uint32_t bit7 = 0x80;
    return ports & bit6 ? (ports & ~bit6) | bit7 : ports;
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
    build(__func__, rule, traffic_class, (tc & traffic_class_mask) | change_traffic_class);
}

void ethCfpRuleActionChainId(eth_cfp_rule_t *rule, uint8_t id) { build(__func__, rule, chain_id, id); }

void ethCfpRuleActionVlanBypass(eth_cfp_rule_t *rule) { build(__func__, rule, vlan_bypass, 1); }

void ethCfpRuleActionDropAll(eth_cfp_rule_t *rule)
{
    ethCfpRuleAction(rule, drop, drop);
    ethCfpRuleActionDst(rule, 0, 0);
}
