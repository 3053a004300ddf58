// SPDX-License-Identifier: LGPL-2.1-or-later
// The register map as the simulated switch has it: every row with its role.
#pragma once

#include <cstdint>

#include "sim/model/bank.h"

namespace sim {

inline constexpr unsigned max_banks = 160;

struct Located {
    const Bank *bank = nullptr; // null: no known register there
    unsigned number = 0;        // of the bank in the map
    unsigned index = 0;         // of the register in the bank
};

Located locate(uint8_t page, uint8_t offset);

// By bank name; null when there is none.
const Bank *find_bank(const char *name);

unsigned bank_count();
const Bank &bank(unsigned number);

} // namespace sim
