// SPDX-License-Identifier: LGPL-2.1-or-later
// The settings that are tables: static addresses, L2 cache, VLANs, rules of the field processor.
#include <algorithm>
#include <array>
#include <cstring>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/arl.h"
#include "eswctl/cfp.h"
#include "eswctl/families.h"
#include "eswctl/settings.h"
#include "eswctl/terminal.h"
#include "eswctl/vlan.h"

namespace eswctl {
namespace {

// ---- Addresses

constexpr uint32_t cache_slots = 6;

Json read_static_addresses(uint32_t)
{
    Json entries = Json::array();
    for (const eth_l2_addr_t &entry : walk_addresses()) {
        if ((entry.flags & ETH_L2_STATIC) != 0)
            entries.push_back(address_to_json(entry));
    }
    return entries;
}

Form address_form(uint32_t)
{
    return record_form({{"vid", integer_form(0, 4095)},
                        {"mac", mac_form()},
                        {"ports", ports_form()},
                        {"static", constant_form(true)},
                        {"traffic_class", integer_form(0, 7)}});
}

std::string two_ports_of_one(const Json &entry)
{
    const bool multicast = (to_mac(entry["mac"])[0] & 1) != 0;
    return multicast || entry["ports"].size() == 1 ? "" : "a unicast address is at one port";
}

int32_t write_address(uint32_t, const Json &entry)
{
    eth_l2_addr_t record = address_from_json(entry);
    return eth_l2_addr_add(&record);
}

Json read_cache(uint32_t)
{
    Json entries = Json::array();
    for (uint32_t slot = 0; slot < cache_slots; ++slot) {
        eth_l2_cache_addr_t entry;
        if (eth_l2_cache_get(slot, &entry) == ETH_E_NONE)
            entries.push_back({{"slot", slot}, {"mac", from_mac(entry.mac)}, {"data", hex(entry.data, 32)}});
    }
    return entries;
}

int32_t write_cache_entry(uint32_t, const Json &entry)
{
    eth_l2_cache_addr_t record;
    eth_l2_cache_addr_t_init(&record);
    std::ranges::copy(to_mac(entry["mac"]), record.mac);
    record.data = from_hex(entry["data"]);
    int32_t slot = 0;
    return eth_l2_cache_set(entry["slot"], &record, &slot);
}

constexpr const char *address_key[] = {"mac", "vid"};
constexpr const char *slot_key[] = {"slot"};
constexpr Setting addresses[] = {
    setting("l2.static", "static address {mac}, VID {vid}", once,
            "first: arl flush --static --yes\narl add {mac} {vid} {ports} --static --tc {traffic_class}",
            address_form, by(read_static_addresses, write_address, "eth_l2_addr_add"))
        .with(&Setting::fault, two_ports_of_one)
        .with(&Setting::key, address_key)
        .with(
            &Setting::remove,
            [](const Json &entry) { return eth_l2_addr_delete(to_mac(entry["mac"]).data(), entry["vid"]); }),
    setting(
        "l2.cache", "L2 cache slot {slot}", once,
        "first: l2cache clear --yes\nl2cache set {mac} {data} --slot {slot}",
        [](uint32_t) {
            return record_form(
                {{"slot", integer_form(0, cache_slots - 1)}, {"mac", mac_form()}, {"data", hex_form(32)}});
        },
        by(read_cache, write_cache_entry, "eth_l2_cache_set"))
        .with(&Setting::key, slot_key)
        .with(&Setting::remove, [](const Json &entry) { return eth_l2_cache_delete(entry["slot"]); }),
};

// ---- VLANs

Json read_vlans(uint32_t)
{
    const HeldBack messages; // a membership file that is missing just means no VLANs
    Json entries = Json::array();
    for (const uint32_t vid : existing_vids()) {
        const VlanPorts ports = vlan_ports(vid);
        entries.push_back({{"vid", vid},
                           {"members", from_port_set(ports.members)},
                           {"untagged", from_port_set(ports.untagged)}});
    }
    return entries;
}

int32_t write_vlan(uint32_t, const Json &entry)
{
    const int32_t result = eth_vlan_create(entry["vid"]);
    if (result != ETH_E_NONE && result != ETH_E_EXISTS)
        return result;
    const VlanPorts left =
        set_vlan_ports(entry["vid"], {to_port_set(entry["members"]), to_port_set(entry["untagged"])});
    if (left != VlanPorts{})
        tell(fmt::format("eswctl: vlan {} keeps what no call takes away: ports {}, untagged {}\n",
                         in_words(entry["vid"]), in_words(from_port_set(left.members)),
                         in_words(from_port_set(left.untagged))));
    return ETH_E_NONE;
}

// No call takes ports out that there are not.
Json settle_vlan(uint32_t, const Json &entry)
{
    Json settled = entry;
    for (const char *set : {"members", "untagged"})
        settled[set] = from_port_set(to_port_set(entry[set]) & to_port_set(all_ports));
    return settled;
}

constexpr const char *vlan_key[] = {"vid"};
constexpr Setting vlans =
    setting(
        "vlan.table", "vlan {vid}", once,
        "first: vlan destroy-all --yes\nvlan create {vid}\nvlan add {vid} {members} untagged {untagged}",
        [](uint32_t) {
            return record_form(
                {{"vid", integer_form(0, 4095)}, {"members", ports_form()}, {"untagged", ports_form()}});
        },
        by(read_vlans, write_vlan, "eth_vlan_create eth_vlan_port_add set_vid"))
        .with(&Setting::settled, settle_vlan)
        .with(&Setting::key, vlan_key)
        .with(&Setting::remove, [](const Json &entry) { return eth_vlan_destroy(entry["vid"]); });

// ---- Field processor

struct Words {
    const char *name;
    size_t first, count;
    Devices devices = Devices::all; // that have some of them
    size_t of_class_a = count;      // that a class A switch has
};
constexpr size_t words_of_rule = sizeof(eth_cfp_rule_t) / sizeof(uint32_t);
using RuleWords = std::array<uint32_t, words_of_rule>;
constexpr Words rule_words[] = {{"data", 0, 8},
                                {"mask", 8, 8},
                                {"action", 16, 3, Devices::all, 2},
                                {"policer", 19, 7, Devices::all, 2},
                                {"ext_a", 26, 2, Devices::class_a},
                                {"ext_b", 28, 3, Devices::class_b, 0}};

size_t count_here(const Words &words)
{
    if (words.devices == Devices::class_a && is_class_b())
        return 0;
    return is_class_a() ? words.of_class_a : words.count;
}

Json read_rules(uint32_t)
{
    Json entries = Json::array();
    for (uint32_t slot = 0; slot <= last_slot; ++slot) {
        const eth_cfp_rule_t rule = read_rule(slot);
        if (describes_free_slot(rule))
            continue;
        RuleWords all{};
        memcpy(all.data(), &rule, sizeof rule);
        Json entry = {{"slot", slot}};
        for (const Words &words : rule_words) {
            for (size_t i = 0; i < words.count; ++i)
                entry[words.name].push_back(hex(all[words.first + i], 32));
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

eth_cfp_rule_t rule_of(const Json &entry)
{
    RuleWords all{};
    for (const Words &words : rule_words) {
        for (size_t i = 0; i < words.count; ++i)
            all[words.first + i] = from_hex(entry[words.name][i]);
    }
    eth_cfp_rule_t rule;
    memcpy(&rule, all.data(), sizeof rule);
    return rule;
}

std::string odd_rule(const Json &entry)
{
    if (describes_free_slot(rule_of(entry)))
        return "such a rule leaves its slot free; set bit 0 or 1 of the first word of data";
    for (const Words &words : rule_words) {
        for (size_t i = count_here(words); i < words.count; ++i) {
            if (from_hex(entry[words.name][i]) != 0)
                return fmt::format("a class {} switch has no {}[{}]; use 0x00000000",
                                   is_class_a() ? 'A' : 'B', words.name, i);
        }
    }
    return "";
}

Form rule_form(uint32_t)
{
    Form form = record_form({{"slot", integer_form(0, last_slot)}});
    for (const Words &words : rule_words) {
        form["properties"][words.name] = array_form(words.count, hex_form(32));
        form["required"].push_back(words.name);
    }
    return form;
}

int32_t remove_rule(const Json &entry)
{
    free_slot(entry["slot"]);
    return ETH_E_NONE;
}

using Selectors = std::array<uint8_t, sizeof(eth_cfp_udf_t)>;

Json read_selectors(uint32_t)
{
    eth_cfp_udf_t udfs;
    eth_cfp_udf_get(&udfs);
    Selectors bytes{};
    memcpy(bytes.data(), &udfs, sizeof udfs);
    Json values = Json::array();
    for (const uint8_t byte : bytes)
        values.push_back(hex(byte, 8));
    return values;
}

int32_t write_selectors(uint32_t, const Json &values)
{
    Selectors bytes{};
    std::ranges::transform(values, bytes.begin(),
                           [](const Json &value) { return static_cast<uint8_t>(from_hex(value)); });
    eth_cfp_udf_t udfs;
    memcpy(&udfs, bytes.data(), sizeof udfs);
    return eth_cfp_udf_set(udfs);
}

constexpr Setting field_processor_settings[] = {
    setting("cfp.rules", "cfp slot {slot}", once,
            "first: cfp clear --yes\ncfp set {slot} --words {data},{mask},{action},{policer},{ext_a},{ext_b}",
            rule_form,
            by(
                read_rules,
                [](uint32_t, const Json &entry) {
                    return std::min(eth_cfp_rule_set(entry["slot"], rule_of(entry)), int32_t{ETH_E_NONE});
                },
                "eth_cfp_rule_set"))
        .with(&Setting::fault, odd_rule)
        .with(&Setting::key, slot_key)
        .with(&Setting::remove, remove_rule),
    setting(
        "cfp.udf", "UDF selector", once,
        "cfp udf set a0 {0-8}\ncfp udf set a1 {9-17}\n"
        "cfp udf set a2 {18-26}\ncfp udf set b0 {27-35}\n"
        "cfp udf set b1 {36-44}\ncfp udf set b2 {45-53}\n"
        "cfp udf set c0 {54-62}\ncfp udf set c1 {63-71}\n"
        "cfp udf set c2 {72-80}\ncfp udf set d {81-92}",
        [](uint32_t) { return array_form(sizeof(eth_cfp_udf_t), hex_form(8)); },
        by(read_selectors, write_selectors, "eth_cfp_udf_set")),
    setting("cfp.ports", "ports with the field processor", once, "cfp enable {in}\ncfp disable {out}",
            accepted::ports, by_ports<eth_cfp_enable_get, eth_cfp_enable_set>),
};

} // namespace

Settings address_settings() { return addresses; }
Settings vlan_table() { return {&vlans, 1}; }
Settings cfp_settings() { return field_processor_settings; }

} // namespace eswctl
