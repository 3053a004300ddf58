// SPDX-License-Identifier: LGPL-2.1-or-later
// Rounding down to a table of permitted values.
#pragma once

#include <cstdint>
#include <span>

namespace esw {

// Index of the largest entry of the ascending table that is not above value, clamped to the table.
uint32_t floor_index(std::span<const int32_t> table, int32_t value);

} // namespace esw
