// SPDX-License-Identifier: LGPL-2.1-or-later
// l2cache: the six directly addressed entries beside the address table.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t slots = 6;
constexpr int32_t first_free = -1;

Json entry_of(uint32_t slot, const eth_l2_cache_addr_t &entry)
{
    return {{"slot", slot}, {"mac", from_mac(entry.mac)}, {"data", hex(entry.data, 32)}};
}

Json read_entries(uint32_t)
{
    Json entries = Json::array();
    for (uint32_t slot = 0; slot < slots; ++slot) {
        eth_l2_cache_addr_t entry;
        const int32_t result = eth_l2_cache_get(slot, &entry);
        if (result != ETH_E_EMPTY && check(result, "read the slot") == ETH_E_NONE)
            entries.push_back(entry_of(slot, entry));
    }
    return entries;
}

eth_l2_cache_addr_t entry_with(const Json &mac, uint32_t data)
{
    eth_l2_cache_addr_t entry;
    eth_l2_cache_addr_t_init(&entry);
    std::ranges::copy(to_mac(mac), entry.mac);
    entry.data = data;
    return entry;
}

int32_t write_entry(uint32_t, const Json &entry)
{
    eth_l2_cache_addr_t record = entry_with(entry["mac"], from_hex(entry["data"]));
    int32_t slot = 0;
    return eth_l2_cache_set(entry["slot"], &record, &slot);
}

Form entry_form(uint32_t)
{
    return record_form({{"slot", integer_form(0, slots - 1)}, {"mac", mac_form()}, {"data", hex_form(32)}});
}

constexpr const char *slot_key[] = {"slot"};
constexpr Setting cache_setting =
    setting("l2.cache", "L2 cache slot {slot}", once,
            "first: l2cache clear --yes\nl2cache set {mac} {data} --slot {slot}", entry_form,
            by(read_entries, write_entry, "eth_l2_cache_set"))
        .with(&Setting::key, slot_key)
        .with(&Setting::remove, [](const Json &entry) { return eth_l2_cache_delete(entry["slot"]); });

Report show(const Arguments &)
{
    return table("entries", {{"slot", "slot"}, {"mac", "MAC address"}, {"data", "data"}},
                 cache_setting.read(0), "no L2 cache entries");
}

Report set(const Arguments &arguments)
{
    eth_l2_cache_addr_t entry = entry_with(arguments["MAC"], arguments["DATA"]);
    int32_t slot = first_free;
    check(eth_l2_cache_set(arguments["--slot"].get<int32_t>(), &entry, &slot), "set the entry",
          {{ETH_E_FULL, "all slots are in use; name one with --slot, or free one"}});
    return done(fmt::format("{} set in slot {}", from_mac(entry.mac), slot),
                entry_of(static_cast<uint32_t>(slot), entry));
}

Report remove(const Arguments &arguments)
{
    const auto slot = arguments["SLOT"].get<uint32_t>();
    eth_l2_cache_addr_t entry;
    if (eth_l2_cache_get(slot, &entry) == ETH_E_EMPTY)
        throw Refused{fmt::format("slot {} is free", slot)};
    check(eth_l2_cache_delete(slot), fmt::format("free slot {}", slot));
    return done(fmt::format("slot {} freed", slot), {{"slot", slot}});
}

Report clear(const Arguments &)
{
    uint32_t count = 0;
    check(eth_l2_cache_size_get(&count), "count the entries");
    check(eth_l2_cache_delete_all(), "clear the L2 cache");
    return done("L2 cache cleared", {{"removed", count}});
}

} // namespace

Settings cache_settings() { return {&cache_setting, 1}; }

Family l2_cache_family()
{
    const Kind slot = number(0, slots - 1);
    Family family{"l2cache", "The L2 cache: six slots of a MAC address and a data word"};
    family.add("l2cache show", "Show the slots in use", show);
    family.add("l2cache set", "Write an entry into a slot, or into the first free one", set,
               required("MAC", "MAC address", mac_address()),
               required("DATA", "data word, 32 bits", number(0, UINT32_MAX)),
               optional("--slot", "slot, 0 to 5, in use or not", slot, first_free));
    family.add("l2cache del", "Free a slot", remove, required("SLOT", "slot, 0 to 5", slot));
    family.add_asking("l2cache clear", "Free all slots", clear);
    return family;
}

} // namespace eswctl
