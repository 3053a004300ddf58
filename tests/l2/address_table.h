// SPDX-License-Identifier: LGPL-2.1-or-later
// A board whose address table a test fills and looks into behind the library's back.
#pragma once

#include "tests/support/board.h"

#include <esw.h>

#include "core/mac.h"

namespace test {

inline constexpr uint32_t dynamic_entry = sim::arl_valid;
inline constexpr uint32_t static_entry = sim::arl_valid | sim::arl_static;

class AddressTable : public StartedBoard {
protected:
    sim::ArlBin *bucket(uint64_t key) { return sim::arl_bucket(state().arl, key); }
    sim::ArlBin *all() { return state().arl.bins; }
};

inline eth_l2_addr_t entry_of(uint64_t key, uint32_t flags = ETH_L2_VALID)
{
    eth_l2_addr_t entry{};
    esw::unpack_mac(key, entry.mac);
    entry.vid = static_cast<uint16_t>(key >> 48);
    entry.flags = flags;
    return entry;
}

inline uint64_t key_of(const eth_l2_addr_t &entry)
{
    return esw::pack_mac(entry.mac) | uint64_t{entry.vid} << 48;
}

} // namespace test
