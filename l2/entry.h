// SPDX-License-Identifier: LGPL-2.1-or-later
// How the address table holds an entry: a key word and a data word, in the bins of a bucket and in the
// results of a search alike.
#pragma once

#include <esw/l2.h>

#include "core/register.h"

namespace esw {

// The MAC address in bits 0 to 47; the VID, all 16 bits of it, above.
constexpr unsigned vid_low = 48;
constexpr uint64_t mac_bits = (uint64_t{1} << vid_low) - 1;

constexpr Field entry_port{0, 9}; // a port number, or a port set for a multicast address
constexpr Field entry_tc{11, 3};
constexpr Field entry_written{14}; // set in every entry that is added
constexpr Field entry_static{15};
constexpr Field entry_valid{16};

// The flags of a record stand in the same order in the data word.
constexpr unsigned flags_low = 10;
constexpr uint32_t l2_flags = ETH_L2_STATIC | ETH_L2_VALID;
static_assert(ETH_L2_STATIC << flags_low == entry_static.mask());
static_assert(ETH_L2_VALID << flags_low == entry_valid.mask());

} // namespace esw
