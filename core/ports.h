// SPDX-License-Identifier: LGPL-2.1-or-later
// The ports of the switch: 0 and 1 have PHYs, 8 faces the processor.
#pragma once

#include <cstdint>

#include "core/register.h"

namespace esw {

inline constexpr uint32_t cpu_port = 8;
inline constexpr uint32_t all_ports = 0x103; // as a port set
inline constexpr uint8_t port_numbers[] = {0, 1, cpu_port};

constexpr bool is_phy_port(uint32_t port) { return port <= 1; }
constexpr bool is_port(uint32_t port) { return is_phy_port(port) || port == cpu_port; }
constexpr bool is_port_set(uint32_t ports) { return (ports & ~all_ports) == 0; }

// Of registers that hold a port set.
constexpr uint32_t port_bit(uint32_t port) { return uint32_t{1} << port; }
constexpr Field port_flag(uint32_t port) { return Field{0}.up(port); }

} // namespace esw
