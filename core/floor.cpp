// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/floor.h"

#include <algorithm>

uint32_t esw::floor_index(std::span<const int32_t> table, int32_t value)
{
    const auto above = std::ranges::upper_bound(table, value) - table.begin();
    return above == 0 ? 0 : static_cast<uint32_t>(above - 1);
}
