// SPDX-License-Identifier: LGPL-2.1-or-later
// Values that the limiters permit: the registers hold indexes into these.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace esw {

[[gnu::visibility("hidden")]] extern const std::array<int32_t, 8> burst_sizes; // kilobytes, ascending
[[gnu::visibility("hidden")]] extern const std::array<int32_t, 64>
    cpu_port_rates; // packets per second, ascending

[[gnu::visibility("hidden")]] extern const std::array<uint8_t, 10> ingress_control_codes; // by mode

// The last entry for an index behind the table: a register may hold more than the library ever writes.
int32_t entry(std::span<const int32_t> table, uint32_t index);

} // namespace esw
