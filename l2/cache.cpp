// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cstddef>

#include <esw/l2.h>

#include "core/mac.h"
#include "core/register.h"

static_assert(sizeof(eth_l2_cache_addr_t) == 52);
static_assert(offsetof(eth_l2_cache_addr_t, mac2) == 10 && offsetof(eth_l2_cache_addr_t, data) == 48);

namespace {

using namespace esw;

constexpr uint32_t slots = 6;

constexpr Register slots_valid{0x04, 0x0E, 16};
constexpr Register slot_key{0x04, 0x10, 64}; // of slot 0
constexpr Register slot_data{0x04, 0x18, 32};
constexpr unsigned slot_distance = 0x10;

// A slot is in use when either of its bits is set; a set writes the upper one only.
constexpr Field valid_bits(uint32_t slot) { return Field{0, 2}.up(2 * slot); }
constexpr Field valid_bit_written(uint32_t slot) { return Field{1}.up(2 * slot); }

void write_slot(uint32_t slot, uint64_t key, uint32_t data)
{
    write(slot_key.at(slot * slot_distance), key);
    write(slot_data.at(slot * slot_distance), data);
}

uint32_t first_free_slot()
{
    const uint32_t valid = read32(slots_valid);
    uint32_t slot = 0;
    while (slot < slots && valid_bits(slot).get(valid) != 0)
        ++slot;
    return slot;
}

} // namespace

void eth_l2_cache_addr_t_init(eth_l2_cache_addr_t *entry) { *entry = {}; }

int32_t eth_l2_cache_size_get(uint32_t *count)
{
    const uint32_t valid = read32(slots_valid);
    *count = 0;
    for (uint32_t slot = 0; slot < slots; ++slot)
        *count += valid_bits(slot).get(valid) != 0;
    return ETH_E_NONE;
}

int32_t eth_l2_cache_set(int32_t slot, const eth_l2_cache_addr_t *entry, int32_t *slot_out)
{
    if (slot >= static_cast<int32_t>(slots))
        return ETH_E_PARAM;
    const uint32_t chosen = slot < 0 ? first_free_slot() : static_cast<uint32_t>(slot);
    if (chosen == slots) {
        *slot_out = -1;
        return ETH_E_FULL;
    }
    *slot_out = static_cast<int32_t>(chosen);
    assign_flag(slots_valid[valid_bit_written(chosen)], true);
    write_slot(chosen, pack_mac(entry->mac), entry->data);
    return ETH_E_NONE;
}

int32_t eth_l2_cache_get(uint32_t slot, eth_l2_cache_addr_t *entry)
{
    if (slot >= slots)
        return ETH_E_PARAM;
    if (read_field(slots_valid[valid_bits(slot)]) == 0)
        return ETH_E_EMPTY;
    unpack_mac(read64(slot_key.at(slot * slot_distance)), entry->mac);
    entry->data = read32(slot_data.at(slot * slot_distance));
    return ETH_E_NONE;
}

int32_t eth_l2_cache_delete(uint32_t slot)
{
    if (slot >= slots)
        return ETH_E_PARAM;
    assign_flag(slots_valid[valid_bits(slot)], false);
    write_slot(slot, 0, 0);
    return ETH_E_NONE;
}

int32_t eth_l2_cache_delete_all(void)
{
    for (uint32_t slot = 0; slot < slots; ++slot)
        eth_l2_cache_delete(slot);
    return ETH_E_NONE;
}

int32_t eth_l2_cache_init(void) { return eth_l2_cache_delete_all(); }
