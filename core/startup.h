// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists that ethHw_init() builds once: zeros before, constant after.
#pragma once

#include <array>
#include <cstdint>

namespace esw {

using RefreshCounts = std::array<int32_t, 241>;

[[gnu::visibility("hidden")]] extern RefreshCounts port_refresh_counts;    // kbit/s, ascending
[[gnu::visibility("hidden")]] extern RefreshCounts cfp_refresh_counts;     // ascending
[[gnu::visibility("hidden")]] extern std::array<int32_t, 11> cfp_ref_caps; // ascending

} // namespace esw
