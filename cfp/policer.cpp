// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include <algorithm>

#include "core/device.h"
#include "core/floor.h"
#include "core/register.h"
#include "core/startup.h"

namespace {

using namespace esw;

// Class A: policer[0] is the bucket, policer[1] holds these.
constexpr uint32_t full_bucket = 0xFFFFFF;
constexpr Field metered{31};
constexpr Field bucket_shift{8, 4};

// Class B: policer[0].
constexpr Field color_mode{0};
constexpr Field policer_action{1};
constexpr Field rate_mode{3, 2};

constexpr uint32_t largest_burst = 1023;
constexpr uint32_t largest_rate = 2000000;

int32_t set_control(eth_cfp_rule_t *rule, Field field, uint32_t value)
{
    if (!is_class_b())
        return ETH_E_UNSUPPORTED;
    uint32_t &control = rule->policer[0];
    control = static_cast<uint32_t>((control & ~field.mask()) | field.put(value));
    return ETH_E_NONE;
}

[[gnu::noinline]] int32_t set_meter(uint32_t words[3], uint32_t rate, uint32_t burst)
{
    if (!is_class_b())
        return ETH_E_UNSUPPORTED;
    burst = std::min(burst, largest_burst);
    words[0] = burst << 13;
    words[1] = burst << 10;
    words[2] = std::min(rate, largest_rate) >> 2;
    return ETH_E_NONE;
}

} // namespace

int32_t eth_cfp_util_rule_t_rate_set(eth_cfp_rule_t *rule, int32_t rate, int32_t burst)
{
    if (!is_class_a())
        return ETH_E_UNSUPPORTED;
    const uint32_t shift = static_cast<uint32_t>(cfp_ref_caps.size()) - 1 - floor_index(cfp_ref_caps, burst);
    rule->policer[0] = full_bucket >> shift;
    rule->policer[1] = static_cast<uint32_t>(metered.mask()) | shift << bucket_shift.low |
                       floor_index(cfp_refresh_counts, rate);
    return ETH_E_NONE;
}

int32_t eth_cfp_util_rule_t_rate_mode_set(eth_cfp_rule_t *rule, uint8_t mode)
{
    return set_control(rule, rate_mode, mode);
}

int32_t eth_cfp_util_rule_t_rate_policer_action_set(eth_cfp_rule_t *rule, uint8_t action)
{
    return set_control(rule, policer_action, action);
}

int32_t eth_cfp_util_rule_t_rate_color_mode_set(eth_cfp_rule_t *rule, uint32_t mode)
{
    return set_control(rule, color_mode, mode);
}

int32_t eth_cfp_util_rule_t_eir_set(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst)
{
    return set_meter(rule->policer + 1, rate, burst);
}

int32_t eth_cfp_util_rule_t_cir_set(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst)
{
    return set_meter(rule->policer + 4, rate, burst);
}
