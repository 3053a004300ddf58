// SPDX-License-Identifier: LGPL-2.1-or-later
// Every setting that can be read back, family by family.
#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/arl.h"
#include "eswctl/config.h"
#include "eswctl/port.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

constexpr uint32_t ports_with_phy[] = {0, 1};
constexpr uint32_t cpu_port = 8;

uint32_t from_hex(const Json &text)
{
    return static_cast<uint32_t>(std::stoul(text.get<std::string>(), nullptr, 16));
}

std::string port_name(uint32_t port) { return fmt::format("port{}", port); }

// `count` values behind one index each, as an array; null when the switch has none of them.
template <typename Out, typename Get>
Json got_each(unsigned count, Get get)
{
    Json values = Json::array();
    for (unsigned index = 0; index < count; ++index) {
        Json value = got<Out>([&](Out *out) { return get(index, out); });
        if (value.is_null())
            return nullptr;
        values.push_back(std::move(value));
    }
    return values;
}

template <typename Set>
int32_t set_each(const Json &values, Set set)
{
    for (size_t index = 0; index < values.size(); ++index) {
        if (const int32_t result = set(static_cast<uint32_t>(index), values.at(index)); result != ETH_E_NONE)
            return result;
    }
    return ETH_E_NONE;
}

// A port set whose bits are read and written one by one.
template <typename Get, typename Set>
Setting port_flags(Path path, Get get, Set set)
{
    return {std::move(path),
            [=] {
                Json ports = Json::array();
                for (const uint32_t port : all_ports) {
                    uint32_t on = 0;
                    if (get(port, &on) == ETH_E_NONE && on != 0)
                        ports.push_back(port);
                }
                return ports;
            },
            [=](const Json &wanted) {
                const uint32_t ports = to_port_set(wanted);
                for (const uint32_t port : all_ports)
                    set(port, (ports >> port & 1) != 0);
                return ETH_E_NONE;
            }};
}

// Of a call pair over one value of the whole switch.
template <typename Out, typename Get, typename Set>
Setting value_of(Path path, Get get, Set set)
{
    return {std::move(path), [=] { return got<Out>(get); }, [=](const Json &value) { return set(value); }};
}

template <typename Out, typename Get, typename Set>
Setting flag_of(Path path, Get get, Set set)
{
    return {std::move(path), [=] { return got_flag<Out>(get); },
            [=](const Json &value) { return set(value.get<bool>()); }};
}

// Null for a value that the switch may hold, but that can't be set.
Json only(const Json &value, std::initializer_list<int> settable)
{
    const bool found = std::ranges::any_of(settable, [&](int one) { return value == one; });
    return found ? value : Json();
}

// ---- ports

Setting mac_bits(uint32_t port)
{
    return {{"ports", port_name(port), "mac"},
            [=]() -> Json {
                int32_t bit1 = 0;
                int32_t bit0 = 0;
                ethHw_mac_enable_get(port, &bit1, &bit0);
                return {{"bit1", bit1 == 1}, {"bit0", bit0 == 1}};
            },
            [=](const Json &value) {
                return ethHw_mac_enable_set(port, value.at("bit1").get<bool>(), value.at("bit0").get<bool>());
            }};
}

Setting stp_state_of(uint32_t port)
{
    return {{"ports", port_name(port), "stp_state"},
            [=] {
                const Json state = got<int32_t>([=](int32_t *out) { return eth_stg_stp_get(0, port, out); });
                const Json known = only(state, {0, 1, 2, 3, 4});
                return known.is_null() ? known : Json(stp_states.at(known.get<size_t>()));
            },
            [=](const Json &value) {
                const auto found = std::ranges::find(stp_states, value.get<std::string>());
                return eth_stg_stp_set(0, port, static_cast<uint32_t>(found - stp_states.begin()));
            }};
}

Setting frame_max_of(uint32_t port)
{
    return {{"ports", port_name(port), "frame_max"},
            [=] {
                const Json size =
                    got<int32_t>([=](int32_t *out) { return eth_port_frame_max_get(port, out); });
                return only(size, {1518, 2000, 9720});
            },
            [=](const Json &value) { return eth_port_frame_max_set(port, value); }};
}

} // namespace

void describe_ports(Configuration &configuration)
{
    for (const uint32_t port : ports_with_phy) {
        configuration.add(mac_bits(port));
        configuration.add(stp_state_of(port));
    }
    for (const uint32_t port : all_ports)
        configuration.add(frame_max_of(port));
    configuration.add(port_flags({"ports", "protected"}, eth_protect_get, eth_protect_set));
}

// ---- address table and cache

namespace {

Json static_entries()
{
    Json entries = Json::array();
    for (const eth_l2_addr_t &entry : walk_addresses()) {
        if ((entry.flags & ETH_L2_STATIC) != 0)
            entries.push_back(address_to_json(entry));
    }
    return entries;
}

int32_t put_static_entry(const Json &entry)
{
    eth_l2_addr_t record = address_from_json(entry);
    return eth_l2_addr_add(&record);
}

Json cache_entries()
{
    Json entries = Json::array();
    for (uint32_t slot = 0; slot < 6; ++slot) {
        eth_l2_cache_addr_t entry;
        if (eth_l2_cache_get(slot, &entry) == ETH_E_NONE)
            entries.push_back({{"slot", slot}, {"mac", from_mac(entry.mac)}, {"data", hex(entry.data, 32)}});
    }
    return entries;
}

int32_t put_cache_entry(const Json &entry)
{
    eth_l2_cache_addr_t record;
    eth_l2_cache_addr_t_init(&record);
    std::ranges::copy(to_mac(entry.at("mac")), record.mac);
    record.data = from_hex(entry.at("data"));
    int32_t slot = 0;
    return eth_l2_cache_set(entry.at("slot"), &record, &slot);
}

} // namespace

void describe_l2(Configuration &configuration)
{
    configuration.add(
        {{"l2", "static"}, {"mac", "vid"}, static_entries, put_static_entry, [](const Json &entry) {
             return eth_l2_addr_delete(to_mac(entry.at("mac")).data(), entry.at("vid"));
         }});
    configuration.add({{"l2", "cache"}, {"slot"}, cache_entries, put_cache_entry, [](const Json &entry) {
                           return eth_l2_cache_delete(entry.at("slot"));
                       }});
    configuration.add(value_of<uint32_t>(
        {"l2", "age_time"}, [](uint32_t *out) { return eth_l2_age_timer_get(out); }, eth_l2_age_timer_set));
    configuration.add({{"l2", "bpdu_address"},
                       [] {
                           Mac mac{};
                           eth_l2_bpdu_get(0, mac.data());
                           return Json(from_mac(mac.data()));
                       },
                       [](const Json &value) { return eth_l2_bpdu_set(0, to_mac(value).data()); }});
    configuration.add({{"l2", "multicast_control"},
                       [] {
                           const Json control = got<uint32_t>(eth_mcast_ctrl_get);
                           return control.is_null() ? control : Json(hex(control.get<uint32_t>(), 8));
                       },
                       [](const Json &value) { return eth_mcast_ctrl_set(from_hex(value)); }});
    configuration.add(
        flag_of<uint32_t>({"l2", "bin_full_forwarding"}, eth_arl_bin_full_fwd_get, eth_arl_bin_full_fwd_set));
}

// ---- VLANs

namespace {

Json vlans()
{
    const HeldBack messages; // a membership file that is missing just means no VLANs
    Json entries = Json::array();
    for (uint16_t vid = 0; vid < 4096; ++vid) {
        uint32_t members = 0;
        uint32_t untagged = 0;
        if (get_vid(vid) > 0 && eth_vlan_port_get(vid, &members, &untagged) == ETH_E_NONE)
            entries.push_back(
                {{"vid", vid}, {"members", from_port_set(members)}, {"untagged", from_port_set(untagged)}});
    }
    return entries;
}

int32_t put_vlan(const Json &entry)
{
    const uint16_t vid = entry.at("vid");
    if (const int32_t result = eth_vlan_create(vid); result != ETH_E_NONE && result != ETH_E_EXISTS)
        return result;
    const uint32_t members = to_port_set(entry.at("members"));
    const uint32_t untagged = to_port_set(entry.at("untagged"));
    if (const int32_t result = eth_vlan_port_remove(vid, 0x103); result != ETH_E_NONE)
        return result;
    return eth_vlan_port_add(vid, members, untagged);
}

Json translations()
{
    Json entries = Json::array();
    for (const uint32_t port : all_ports) {
        for (unsigned index = 0; index < 256; ++index) {
            uint32_t code = 0;
            uint16_t vid = 0;
            if (eth_vlan_evt_get(port, static_cast<uint8_t>(index), &code, &vid) == ETH_E_NONE &&
                (code != 0 || vid != 0))
                entries.push_back({{"port", port}, {"index", index}, {"vid", vid}, {"code", code}});
        }
    }
    return entries;
}

} // namespace

void describe_vlans(Configuration &configuration)
{
    configuration.add(Entries{{"vlan", "table"}, {"vid"}, vlans, put_vlan, [](const Json &entry) {
                                  return eth_vlan_destroy(entry.at("vid"));
                              }});
    configuration.add(
        Entries{{"vlan", "translations"},
                {"port", "index"},
                translations,
                [](const Json &e) {
                    return eth_vlan_evt_add(e.at("port"), e.at("index"), e.at("code"), e.at("vid"));
                },
                [](const Json &e) { return eth_vlan_evt_add(e.at("port"), e.at("index"), 0, 0); }});
    for (const uint32_t port : all_ports) {
        configuration.add({{"vlan", port_name(port), "pvid"},
                           [=] {
                               return got<uint16_t>(
                                   [=](uint16_t *out) { return eth_port_untagged_vlan_get(port, out); });
                           },
                           [=](const Json &value) { return eth_port_untagged_vlan_set(port, value); }});
        configuration.add({{"vlan", port_name(port), "priority"},
                           [=] {
                               return got<uint32_t>(
                                   [=](uint32_t *out) { return eth_port_untagged_priority_get(port, out); });
                           },
                           [=](const Json &value) { return eth_port_untagged_priority_set(port, value); }});
    }
    for (uint32_t mode = 0; mode <= 6; ++mode) {
        configuration.add(
            {{"vlan", "modes", fmt::format("mode{}", mode)},
             [=] { return got_flag<uint32_t>([=](uint32_t *out) { return eth_vlan_mode_get(mode, out); }); },
             [=](const Json &value) { return eth_vlan_mode_set(mode, value.get<bool>()); }});
    }
    configuration.add({{"vlan", "learning"},
                       [] {
                           const Json field = only(got<uint32_t>(eth_vlan_learning_mode_get), {0, 3});
                           return field.is_null() ? field : Json(field == 3);
                       },
                       [](const Json &value) { return eth_vlan_learning_mode_set(value.get<bool>()); }});
    configuration.add(
        flag_of<uint32_t>({"vlan", "drop_miss"}, eth_vlan_drop_vtbl_miss_get, eth_vlan_drop_vtbl_miss_set));
    configuration.add(
        flag_of<uint32_t>({"vlan", "bypass_crc"}, eth_vlan_bypass_CRC_get, eth_vlan_bypass_CRC_set));
}

// ---- quality of service

namespace {

// Class B counts the processor's packets and limits port 8's egress with one enable bit; this one tells
// which.
constexpr uint8_t cpu_rate_page = 0x47;
constexpr uint8_t cpu_rate_select = 0xE8;
constexpr uint32_t packets_selected = 0x100;

bool counts_cpu_packets()
{
    return is_class_a() || (esw_reg_read32(cpu_rate_page, cpu_rate_select, 16) & packets_selected) != 0;
}

using RateGet = int32_t (*)(uint32_t, uint32_t *, uint32_t *);
using RateSet = int32_t (*)(uint32_t, uint32_t, uint32_t);

constexpr uint32_t burst_when_off = 0xFFFFFFFF;
constexpr uint32_t usual_burst = 500;

// {"rate": 0} when the limiter is off: its bucket can't be read then. One that is on may have been rounded
// down to 0 kbit/s: that comes of 1.
Setting rate_of(const char *direction, uint32_t port, RateGet get, RateSet set)
{
    return {{"qos", port_name(port), direction},
            [=]() -> Json {
                uint32_t rate = 0;
                uint32_t burst = 0;
                const bool taken = is_class_b() && port == cpu_port && counts_cpu_packets();
                if (taken || get(port, &rate, &burst) != ETH_E_NONE)
                    return nullptr;
                return burst == burst_when_off ? Json{{"rate", 0}} : Json{{"rate", rate}, {"burst", burst}};
            },
            [=](const Json &value) {
                const bool on = value.at("rate") != 0 || value.contains("burst");
                return set(port, on ? std::max(value.at("rate").get<uint32_t>(), 1U) : 0,
                           value.value("burst", usual_burst));
            }};
}

template <size_t count, typename Weight, typename Get>
Json scheduler(Get get, uint32_t mode_with_weights)
{
    uint32_t mode = 0;
    std::array<Weight, count> weights{};
    if (get(&mode, weights.data()) != ETH_E_NONE)
        return nullptr;
    Json value = {{"mode", mode}};
    if (mode_with_weights == 0 || mode == mode_with_weights)
        value["weights"] = weights;
    return value;
}

Json class_a_scheduler()
{
    constexpr uint32_t weighted = 3;
    return scheduler<4, uint32_t>(eth_cosq_sched_get, weighted);
}

int32_t set_class_a_scheduler(const Json &value)
{
    const auto weights = value.value("weights", std::array<int32_t, 4>{});
    return eth_cosq_sched_set(value.at("mode"), weights.data());
}

// A stored weight of 0 means 256. Modes that can only be read are left out.
Json port_scheduler(uint32_t port)
{
    Json value = scheduler<8, int32_t>(
        [=](uint32_t *mode, int32_t *weights) { return eth_cosq_port_sched_get(port, mode, weights); }, 0);
    if (value.is_null() || only(value["mode"], {1, 3, 7}).is_null())
        return nullptr;
    for (Json &weight : value["weights"])
        weight = weight == 0 ? Json(256) : weight;
    return value;
}

int32_t set_port_scheduler(uint32_t port, const Json &value)
{
    const auto weights = value.at("weights").get<std::array<int32_t, 8>>();
    return eth_cosq_port_sched_set(port, value.at("mode"), weights.data());
}

void describe_class_a(Configuration &configuration)
{
    configuration.add({{"qos", "queue_map"},
                       [] {
                           return got_each<uint32_t>(8, [](unsigned prio, uint32_t *out) {
                               return eth_cosq_mapping_get(static_cast<int32_t>(prio), out);
                           });
                       },
                       [](const Json &value) {
                           return set_each(value, [](uint32_t prio, const Json &queue) {
                               return eth_cosq_mapping_set(static_cast<int32_t>(prio), queue);
                           });
                       }});
    configuration.add({{"qos", "scheduler"}, class_a_scheduler, set_class_a_scheduler});
}

// Eight values of a port, behind a call pair of (port, index, value).
template <typename Get, typename Set>
Setting eight_of(uint32_t port, const char *name, Get get, Set set)
{
    return {{"qos", port_name(port), name},
            [=] {
                return got_each<uint32_t>(
                    8, [=](unsigned index, uint32_t *out) { return get(port, index, out); });
            },
            [=](const Json &values) {
                return set_each(values,
                                [=](uint32_t index, const Json &value) { return set(port, index, value); });
            }};
}

void describe_class_b(Configuration &configuration, uint32_t port)
{
    configuration.add(eight_of(port, "class_sources", eth_cosq_port_tc_src_get, eth_cosq_port_tc_src_set));
    configuration.add(eight_of(port, "class_queues", eth_cosq_port_mapping_get, eth_cosq_port_mapping_set));
    configuration.add(
        eight_of(port, "class_drops", eth_cosq_port_mapping_tc_drop_get, eth_cosq_port_mapping_tc_drop_set));
    configuration.add({{"qos", port_name(port), "scheduler"},
                       [=] { return port_scheduler(port); },
                       [=](const Json &value) { return set_port_scheduler(port, value); }});
    configuration.add(
        {{"qos", port_name(port), "default_class"},
         [=] { return got<uint32_t>([=](uint32_t *out) { return eth_cosq_port2tc_get(port, out); }); },
         [=](const Json &value) { return eth_cosq_port2tc_set(port, value); }});
}

Setting priority_map_of(uint32_t port)
{
    return {{"qos", port_name(port), "priority_map"},
            [=] {
                return got_each<uint8_t>(8, [=](unsigned prio, uint8_t *out) {
                    return eth_prio_remap_get(port, static_cast<uint8_t>(prio), out);
                });
            },
            [=](const Json &value) {
                return set_each(value, [=](uint32_t prio, const Json &to) {
                    return eth_prio_remap_set(port, static_cast<uint8_t>(prio), to);
                });
            }};
}

} // namespace

void describe_qos(Configuration &configuration)
{
    constexpr uint32_t every_port = 0xFFFFFFFF;
    constexpr uint32_t by_dscp = 2;
    for (const uint32_t port : ports_with_phy) {
        configuration.add(
            rate_of("ingress_rate", port, eth_port_rate_ingress_get, eth_port_rate_ingress_set));
        configuration.add(
            {{"qos", port_name(port), "ingress_control"},
             [=] {
                 return got<uint32_t>(
                     [=](uint32_t *out) { return eth_port_rate_ingress_control_get(port, out); });
             },
             [=](const Json &value) { return eth_port_rate_ingress_control_set(port, value); }});
    }
    for (const uint32_t port : all_ports) {
        configuration.add(priority_map_of(port));
        if (is_class_b())
            describe_class_b(configuration, port);
    }
    for (const uint32_t port : all_ports)
        configuration.add(rate_of("egress_rate", port, eth_port_rate_egress_get, eth_port_rate_egress_set));
    // Behind the egress limiters: switching one of them on ends the packet rate.
    configuration.add({{"qos", "cpu_rate"},
                       [] { return counts_cpu_packets() ? got<int32_t>(eth_rate_get) : Json(0); },
                       [](const Json &value) { return eth_rate_set(value); }});
    configuration.add(
        port_flags({"qos", "priority_remap"}, eth_prio_remap_enable_get, eth_prio_remap_enable_set));
    configuration.add(port_flags({"qos", "cos"}, eth_cosq_enable_get, eth_cosq_enable_set));
    configuration.add(port_flags({"qos", "dscp"}, eth_cosq_port_dscp2tc_mode_get, [](uint32_t port, bool on) {
        return eth_cosq_port_dscp2tc_mode_set(port, on ? by_dscp : 0);
    }));
    configuration.add(
        {{"qos", "dscp_classes"},
         [] {
             return got_each<uint32_t>(64, [](unsigned dscp, uint32_t *out) {
                 return eth_cosq_port_dscp2tc_get(every_port, static_cast<int32_t>(dscp), 0, out);
             });
         },
         [](const Json &value) {
             return set_each(value, [](uint32_t dscp, const Json &tc) {
                 return eth_cosq_port_dscp2tc_set(every_port, static_cast<int32_t>(dscp), 0, tc);
             });
         }});
    if (is_class_a())
        describe_class_a(configuration);
}

// ---- mirroring and controls

void describe_mirroring(Configuration &configuration)
{
    configuration.add(flag_of<uint32_t>({"mirror", "enabled"}, eth_mirror_mode_get, eth_mirror_mode_set));
    configuration.add({{"mirror", "to"},
                       [] {
                           const Json port = got<uint32_t>(eth_mirror_to_get);
                           return only(port, {0, 1, 8});
                       },
                       [](const Json &value) { return eth_mirror_to_set(value); }});
    configuration.add(
        port_flags({"mirror", "ingress", "ports"}, eth_mirror_ingress_get, eth_mirror_ingress_set));
    configuration.add(
        port_flags({"mirror", "egress", "ports"}, eth_mirror_egress_get, eth_mirror_egress_set));
    for (const int32_t direction : {0, 1}) {
        const char *name = direction == 0 ? "ingress" : "egress";
        configuration.add({{"mirror", name, "filter"},
                           [=] {
                               return got<uint32_t>(
                                   [=](uint32_t *out) { return eth_mirror_filter_get(direction, out); });
                           },
                           [=](const Json &value) {
                               return eth_mirror_filter_set(static_cast<uint32_t>(direction), value);
                           }});
        configuration.add(
            {{"mirror", name, "mac"},
             [=] {
                 Mac mac{};
                 eth_mirror_mac_get(direction, mac.data());
                 return Json(from_mac(mac.data()));
             },
             [=](const Json &value) { return eth_mirror_mac_set(direction, to_mac(value).data()); }});
        // Its value can be read while it is on only.
        configuration.add({{"mirror", name, "divider"},
                           [=]() -> Json {
                               uint32_t enabled = 0;
                               uint32_t divider = 0;
                               eth_mirror_div_get(direction, &enabled, &divider);
                               return enabled == 1 ? Json(divider) : Json("off");
                           },
                           [=](const Json &value) {
                               const bool on = value != "off";
                               return eth_mirror_div_set(direction, on, on ? value.get<int32_t>() : 0);
                           }});
    }
}

void describe_controls(Configuration &configuration)
{
    constexpr uint32_t control_types = 30;
    for (uint32_t type = 0; type < control_types; ++type) {
        uint32_t value = 0;
        if (eth_switch_control_get(type, &value) != ETH_E_NONE)
            continue;
        configuration.add(
            {{"controls", fmt::format("{}", type)},
             [=] { return got<uint32_t>([=](uint32_t *out) { return eth_switch_control_get(type, out); }); },
             [=](const Json &wanted) {
                 return eth_switch_control_set(type, static_cast<int32_t>(wanted.get<uint32_t>()));
             }});
    }
}

// ---- field processor

namespace {

template <size_t count>
Json words_of(const uint32_t (&words)[count])
{
    Json values = Json::array();
    for (const uint32_t word : words)
        values.push_back(hex(word, 32));
    return values;
}

template <size_t count>
void read_words(const Json &values, uint32_t (&words)[count])
{
    for (size_t i = 0; i < count; ++i)
        words[i] = static_cast<uint32_t>(std::stoul(values.at(i).get<std::string>(), nullptr, 16));
}

// The words that the class does not have are zeros.
Json cfp_rules()
{
    constexpr uint32_t slots = 64;
    constexpr uint32_t in_use = 0x3; // of the first key word
    Json entries = Json::array();
    for (uint32_t slot = 0; slot < slots; ++slot) {
        eth_cfp_rule_t rule{};
        if (eth_cfp_rule_get(slot, &rule) == ETH_E_NONE && (rule.data[0] & in_use) != 0)
            entries.push_back({{"slot", slot},
                               {"data", words_of(rule.data)},
                               {"mask", words_of(rule.mask)},
                               {"action", words_of(rule.action)},
                               {"policer", words_of(rule.policer)},
                               {"ext_a", words_of(rule.ext_a)},
                               {"ext_b", words_of(rule.ext_b)}});
    }
    return entries;
}

int32_t put_cfp_rule(const Json &entry)
{
    eth_cfp_rule_t rule{};
    read_words(entry.at("data"), rule.data);
    read_words(entry.at("mask"), rule.mask);
    read_words(entry.at("action"), rule.action);
    read_words(entry.at("policer"), rule.policer);
    read_words(entry.at("ext_a"), rule.ext_a);
    read_words(entry.at("ext_b"), rule.ext_b);
    return std::min(eth_cfp_rule_set(entry.at("slot"), rule), int32_t{ETH_E_NONE});
}

int32_t remove_cfp_rule(const Json &entry)
{
    eth_cfp_rule_t rule;
    eth_cfp_rule_t_init(&rule);
    return std::min(eth_cfp_rule_set(entry.at("slot"), rule), int32_t{ETH_E_NONE});
}

Json udf_selectors()
{
    eth_cfp_udf_t udfs;
    eth_cfp_udf_get(&udfs);
    std::array<uint8_t, sizeof udfs> bytes{};
    memcpy(bytes.data(), &udfs, sizeof udfs);
    Json values = Json::array();
    for (const uint8_t byte : bytes)
        values.push_back(hex(byte, 8));
    return values;
}

int32_t set_udf_selectors(const Json &values)
{
    std::array<uint8_t, sizeof(eth_cfp_udf_t)> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(std::stoul(values.at(i).get<std::string>(), nullptr, 16));
    eth_cfp_udf_t udfs;
    memcpy(&udfs, bytes.data(), sizeof udfs);
    return eth_cfp_udf_set(udfs);
}

} // namespace

void describe_cfp(Configuration &configuration)
{
    configuration.add(Entries{{"cfp", "rules"}, {"slot"}, cfp_rules, put_cfp_rule, remove_cfp_rule});
    configuration.add({{"cfp", "udf"}, udf_selectors, set_udf_selectors});
    configuration.add(port_flags({"cfp", "ports"}, eth_cfp_enable_get, eth_cfp_enable_set));
}

} // namespace eswctl
