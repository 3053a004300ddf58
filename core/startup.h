// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists that ethHw_init() builds once: zeros before, constant after.
#pragma once

#include <array>
#include <cstdint>

namespace esw {

using RefreshCounts = std::array<int32_t, 241>;

extern RefreshCounts port_refresh_counts;    // kbit/s, ascending
extern RefreshCounts cfp_refresh_counts;     // ascending
extern std::array<int32_t, 11> cfp_ref_caps; // ascending

} // namespace esw
