// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/settings.h"

#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr Omission omitted[] = {
    {"EEE", "eth_eee_set"},
    {"speeds", "eth_port_speed_set"},
    {"the registers and the power of PHYs", "eth_port_phy_set ethHw_port_phy_set_ioctl eth_port_phy_enable"},
    {"the snapshot mode", "eth_stat_snapshot_mode_set"},
    {"the parked rule", "eth_cfp_rule_store"},
    {"the layer to classify by, which each start of the library selects anew", "eth_cosq_ip_mac_layer_set"},
    {"classes of PCPs, which no device supports", "eth_cosq_port_pcp2tc_set"},
    {"learned addresses", ""},
    {"registers that have no setting of their own",
     "esw_reg_write esw_reg_mask_set esw_reg_mask_clear esw_reg_write32_masked esw_reg_write64_masked "
     "esw_reg_write_masked"},
    {"what only fills a rule in memory",
     "eth_cfp_util_rule_t_rate_set eth_cfp_util_rule_t_rate_mode_set "
     "eth_cfp_util_rule_t_rate_policer_action_set eth_cfp_util_rule_t_rate_color_mode_set "
     "eth_cfp_util_rule_t_eir_set eth_cfp_util_rule_t_cir_set ethCfpRuleAction ethCfpRuleActionDst "
     "ethCfpRuleActionChangeTc ethCfpRuleActionChainId ethCfpRuleActionVlanBypass ethCfpRuleActionDropAll"},
};

} // namespace

std::span<const Omission> omissions() { return omitted; }

Json shown(const Setting &setting, uint32_t instance)
{
    Json value = setting.read(instance);
    if (value.is_string() || value.is_null() || accepts(setting.accepts(instance), value))
        return value;
    return fmt::format("{}, unknown", in_words(value));
}

std::vector<const Setting *> all_settings()
{
    std::vector<const Setting *> all;
    for (const Settings some :
         {address_settings(), cache_settings(), vlan_table(), translation_settings(), port_settings(),
          l2_settings(), vlan_settings(), rate_settings(), priority_settings(), qos_settings(),
          mirror_settings(), control_settings(), rule_settings(), selector_settings(), cfp_settings()}) {
        for (const Setting &setting : some)
            all.push_back(&setting);
    }
    return all;
}

std::string words_for(const Setting &setting, const std::string &instance)
{
    return fmt::format(fmt::runtime(setting.words), instance);
}

void change(const Setting &setting, uint32_t instance, const Json &value)
{
    const std::string words = words_for(setting, std::to_string(instance));
    if (const auto fault = fault_in(value, setting.accepts(instance)))
        throw Refused{fmt::format("cannot set {}{}: {}", words, fault->path, fault->reason)};
    check(setting.write(instance, value), fmt::format("set {} to {}", words, in_words(value)));
}

Report show_or_set(const Setting &setting, const Json &arguments, const char *argument, const Column &column,
                   Json (*row)(uint32_t port))
{
    const Json &value = arguments[argument];
    if (value.is_null())
        return port_table(arguments, {column}, row);
    const std::string unit = column.unit.empty() ? "" : ' ' + column.unit;
    return set_ports(arguments, fmt::format("{} {}{}", column.title, in_words(value), unit),
                     [&](uint32_t port) {
                         change(setting, port, value);
                         return row(port);
                     });
}

} // namespace eswctl
