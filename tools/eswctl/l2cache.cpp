// SPDX-License-Identifier: LGPL-2.1-or-later
// l2cache: the six directly addressed entries beside the address table.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint32_t slots = 6;
constexpr int32_t first_free = -1;

Report show(const Arguments &)
{
    Json rows = Json::array();
    for (uint32_t slot = 0; slot < slots; ++slot) {
        eth_l2_cache_addr_t entry;
        eth_l2_cache_addr_t_init(&entry);
        const int32_t result = eth_l2_cache_get(slot, &entry);
        if (result == ETH_E_EMPTY)
            continue;
        check(result, "read the slot");
        rows.push_back({{"slot", slot}, {"mac", from_mac(entry.mac)}, {"data", hex(entry.data, 32)}});
    }
    return table("entries", {{"slot", "slot"}, {"mac", "MAC address"}, {"data", "data"}}, std::move(rows),
                 "no L2 cache entries");
}

Report set(const Arguments &arguments)
{
    eth_l2_cache_addr_t entry;
    eth_l2_cache_addr_t_init(&entry);
    std::ranges::copy(to_mac(arguments["MAC"]), entry.mac);
    entry.data = arguments["DATA"].get<uint32_t>();
    int32_t slot = first_free;
    check(eth_l2_cache_set(arguments["--slot"].get<int32_t>(), &entry, &slot), "set the entry",
          {{ETH_E_FULL, "all slots are in use; name one with --slot, or free one"}});
    return done(fmt::format("{} set in slot {}", from_mac(entry.mac), slot),
                {{"slot", slot}, {"mac", from_mac(entry.mac)}, {"data", hex(entry.data, 32)}});
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
