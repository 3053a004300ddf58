// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz/calls.h"

#include <tuple>

#include <esw.h>
#include <linux/ethtool.h>

#include "core/wire.h"

namespace {

using calls::Arguments;

template <auto function>
struct Caller;

template <typename R, typename... T, R (*function)(T...)>
struct Caller<function> {
    static int64_t run(Arguments &arguments)
    {
        std::tuple<T...> values{arguments.next<T>()...}; // in order, because of the braces
        if constexpr (!std::is_void_v<R>)
            return static_cast<int64_t>(std::apply(function, values));
        std::apply(function, values);
        return 0;
    }
};

template <auto function>
constexpr auto call = Caller<function>::run;

// The numbers: use_socket, and the register's page and offset.
int64_t send_ioctl(Arguments &arguments)
{
    const auto use_socket = arguments.next<uint8_t>();
    esw::RegisterRequest request{
        .width = 64, .page = arguments.next<uint8_t>(), .offset = arguments.next<uint8_t>()};
    esw::RequestBlock block{.name = "eth0", .data = &request, .unused = {}};
    return esw_send_ioctl(&block, esw::request_read, use_socket);
}

#define CALL(name, ...)                                                                                      \
    {                                                                                                        \
#name, call < name>, 1, { __VA_ARGS__ }                                                              \
    }

constexpr calls::Call table[] = {
    {"esw_send_ioctl", send_ioctl, 1, {1, 0x02, 0x30}},
    CALL(esw_init),
    CALL(esw_exit),
    CALL(ethHw_init),
    CALL(ethHw_exit),
    CALL(esw_reg_read32, 0xE0, 1, 32),
    CALL(esw_reg_read, 0xE0, 1, 64),
    CALL(esw_reg_write, 0xE0, 1, 64, 7),
    CALL(esw_reg_mask_set, 0xE0, 1, 64, 2),
    CALL(esw_reg_mask_clear, 0xE0, 1, 64, 1),
    CALL(esw_reg_write32_masked, 0xE0, 1, 32, 3, 2),
    CALL(esw_reg_write64_masked, 0xE0, 1, 64, 3, 2),
    CALL(esw_reg_write_masked, 0xE0, 1, 16),
    CALL(ethHw_generate_refresh_count_list),
    CALL(ethHw_cfp_util_generate_refresh_count_list),
    CALL(ethHw_cfp_util_generate_cfp_rate_ref_cap_list),
    CALL(eth_cosq_ip_mac_layer_set, 2),
    CALL(eth_cosq_ip_mac_layer_get),
    CALL(ethHw_port_enable_set, 8, 1),
    CALL(ethHw_port_enable_get, 8),
    CALL(ethHw_mac_enable_set, 1, 1),
    CALL(ethHw_mac_enable_get, 1),
    CALL(eth_stg_stp_set, 0, 1, 3),
    CALL(eth_stg_stp_get, 0, 1),
    CALL(ethHw_switch_reset),
    CALL(eth_port_frame_max_set, 1, 2000),
    CALL(eth_port_frame_max_get, 1),
    CALL(ethHw_port_phy_get_ioctl, 1, 0, 4),
    CALL(ethHw_port_phy_set_ioctl, 1, 0, 4, 0x1E1),
    CALL(eth_port_phy_get, 1, 0, 4),
    CALL(eth_port_phy_set, 1, 0, 4, 0x1E1),
    CALL(eth_port_phy_enable, 1, 0, 0),
    CALL(eth_port_link_status_get, 1),
    CALL(eth_port_link_status_change_get, 1),
    CALL(eth_port_speed_get, 1),
    CALL(eth_port_duplex_get, 1),
    CALL(eth_port_pause_get, 1),
    CALL(eth_port_speed_set, 1, 0, 100),
    CALL(eth_eee_get, 1),
    CALL(eth_eee_set, 1, 0),
    CALL(eth_port_rate_egress_set, 8, 1000, 30),
    CALL(eth_port_rate_egress_get, 8),
    CALL(eth_port_rate_ingress_set, 1, 1000, 30),
    CALL(eth_port_rate_ingress_get, 1),
    CALL(eth_rate_set, 1000),
    CALL(eth_rate_get),
    CALL(eth_port_rate_ingress_control_set, 1, 7),
    CALL(eth_port_rate_ingress_control_get, 1),
    CALL(eth_prio_init),
    CALL(eth_prio_remap_enable_set, 1, 1),
    CALL(eth_prio_remap_enable_get, 1),
    CALL(eth_prio_remap_set, 1, 3, 6),
    CALL(eth_prio_remap_get, 1, 3),
    CALL(eth_cosq_mapping_set, 7, 2),
    CALL(eth_cosq_mapping_get, 7),
    CALL(eth_cosq_sched_set, 3),
    CALL(eth_cosq_sched_get),
    CALL(eth_cosq_enable_set, 1, 1),
    CALL(eth_cosq_enable_get, 1),
    CALL(eth_cosq_port_pcp2tc_set, 1, 2, 0, 3),
    CALL(eth_cosq_port_pcp2tc_get, 1, 2),
    CALL(eth_cosq_port_dscp2tc_set, 0xFFFFFFFF, 46, 0, 6),
    CALL(eth_cosq_port_dscp2tc_get, 0xFFFFFFFF, 46),
    CALL(eth_cosq_port_dscp2tc_mode_set, 1, 2),
    CALL(eth_cosq_port_dscp2tc_mode_get, 1),
    CALL(eth_cosq_port_tc_src_set, 1, 7, 2),
    CALL(eth_cosq_port_tc_src_get, 1, 7),
    CALL(eth_cosq_port_mapping_set, 1, 7, 5),
    CALL(eth_cosq_port_mapping_get, 1, 7),
    CALL(eth_cosq_port_mapping_tc_drop_set, 1, 7, 1),
    CALL(eth_cosq_port_mapping_tc_drop_get, 1, 7),
    CALL(eth_cosq_port_sched_set, 1, 3),
    CALL(eth_cosq_port_sched_get, 1),
    CALL(eth_cosq_port2tc_set, 1, 6),
    CALL(eth_cosq_port2tc_get, 1),
    CALL(eth_l2_addr_t_init, 7),
    CALL(eth_l2_addr_add),
    CALL(eth_l2_addr_delete, 7),
    {"eth_arl_entry_bin_check", call<eth_arl_entry_bin_check>, ETH_L2_VALID, {}},
    CALL(eth_arl_bin_full_counter_get),
    CALL(eth_arl_bin_full_fwd_get),
    CALL(eth_arl_bin_full_fwd_set, 1),
    CALL(eth_l2_search_start),
    CALL(eth_l2_search_next),
    CALL(eth_l2_clear),
    CALL(eth_l2_addr_delete_by_port, 0, 1, 1),
    CALL(eth_l2_addr_delete_by_vlan, 1, 1),
    CALL(eth_l2_addr_delete_by_vlan_port, 1, 0, 1, 1),
    CALL(eth_l2_age_timer_set, 300),
    CALL(eth_l2_age_timer_get),
    CALL(eth_l2_bpdu_set, 0),
    CALL(eth_l2_bpdu_get, 0),
    CALL(eth_learn_mcast_set, 1),
    CALL(eth_learn_mcast_get),
    CALL(eth_mcast_ctrl_set, 0x80),
    CALL(eth_mcast_ctrl_get),
    CALL(eth_protect_set, 1, 1),
    CALL(eth_protect_get, 1),
    CALL(eth_l2_cache_addr_t_init),
    CALL(eth_l2_cache_size_get),
    CALL(eth_l2_cache_set, 0xFFFFFFFF),
    CALL(eth_l2_cache_get, 1),
    CALL(eth_l2_cache_delete, 1),
    CALL(eth_l2_cache_delete_all),
    CALL(eth_l2_cache_init),
    CALL(eth_switch_control_get, 21),
    CALL(eth_switch_control_set, 21, 2),
    CALL(eth_mirror_mode_set, 1),
    CALL(eth_mirror_mode_get),
    CALL(eth_mirror_to_set, 8),
    CALL(eth_mirror_to_get),
    CALL(eth_mirror_ingress_set, 1, 1),
    CALL(eth_mirror_ingress_get, 1),
    CALL(eth_mirror_egress_set, 1, 1),
    CALL(eth_mirror_egress_get, 1),
    CALL(eth_mirror_filter_set, 1, 2),
    CALL(eth_mirror_filter_get, 1),
    CALL(eth_mirror_div_set, 1, 1, 99),
    CALL(eth_mirror_div_get, 1),
    CALL(eth_mirror_mac_set, 1),
    CALL(eth_mirror_mac_get, 1),
    CALL(ethHw_stat_get, 1, 4),
    CALL(eth_stat_get32, 1, 4),
    CALL(eth_stat_clear, 1),
    CALL(eth_stat_snapshot_start, 1),
    CALL(eth_stat_snapshot_mode_set, 1),
    CALL(eth_stat_snapshot_mode_get),
    CALL(init_vid_list),
    CALL(get_vid, 10),
    CALL(set_vid, 10, 1),
    CALL(eth_vlan_create, 11),
    CALL(eth_vlan_destroy, 10),
    CALL(eth_vlan_destroy_all),
    CALL(eth_vlan_port_get, 10),
    CALL(eth_vlan_port_add, 10, 0x103, 1),
    CALL(eth_vlan_port_remove, 10, 1),
    CALL(eth_port_untagged_vlan_set, 1, 100),
    CALL(eth_port_untagged_vlan_get, 1),
    CALL(eth_port_untagged_priority_set, 1, 5),
    CALL(eth_port_untagged_priority_get, 1),
    CALL(eth_vlan_mode_set, 4, 1),
    CALL(eth_vlan_mode_get, 4),
    CALL(eth_vlan_learning_mode_set, 1),
    CALL(eth_vlan_learning_mode_get),
    CALL(eth_vlan_drop_vtbl_miss_set, 1),
    CALL(eth_vlan_drop_vtbl_miss_get),
    CALL(eth_vlan_bypass_CRC_set, 1),
    CALL(eth_vlan_bypass_CRC_get),
    CALL(eth_vlan_init),
    CALL(eth_vlan_evt_add, 1, 5, 2, 100),
    CALL(eth_vlan_evt_get, 1, 5),
    CALL(eth_vlan_evt_clear),
    CALL(eth_cfp_rule_t_init),
    CALL(eth_cfp_rule_get, 5),
    CALL(eth_cfp_rule_set, 0xFFFFFFFF),
    CALL(eth_cfp_rule_clear),
    CALL(eth_cfp_enable_set, 1, 1),
    CALL(eth_cfp_enable_get, 1),
    CALL(eth_cfp_rule_store),
    CALL(eth_cfp_rule_load),
    CALL(eth_cfp_udf_t_init),
    CALL(eth_cfp_udf_set),
    CALL(eth_cfp_udf_get),
    CALL(eth_cfp_udf_init),
    CALL(eth_cfp_udf_clear),
    CALL(eth_cfp_init),
    CALL(eth_cfp_util_rule_t_rate_set, 1000, 100),
    CALL(eth_cfp_util_rule_t_rate_mode_set, 2),
    CALL(eth_cfp_util_rule_t_rate_policer_action_set, 1),
    CALL(eth_cfp_util_rule_t_rate_color_mode_set, 1),
    CALL(eth_cfp_util_rule_t_eir_set, 1000, 100),
    CALL(eth_cfp_util_rule_t_cir_set, 1000, 100),
    CALL(ethCfpRuleAction, 1, 1),
    CALL(ethCfpRuleActionDst, 1, 1),
    CALL(ethCfpRuleActionChangeTc, 3),
    CALL(ethCfpRuleActionChainId, 3),
    CALL(ethCfpRuleActionVlanBypass),
    CALL(ethCfpRuleActionDropAll),
};

} // namespace

const std::span<const calls::Call> calls::all = table;
