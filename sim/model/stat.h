// SPDX-License-Identifier: LGPL-2.1-or-later
// MIB counters: a page for each port and one for the snapshot, and the traffic that is counted.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

// Frames that arrive from outside and leave again. Plain data, a part of the switch's state.
struct Traffic {
    uint64_t since;             // nanoseconds of the monotonic clock when the rate was set
    uint64_t counted;           // frames since then that the counters hold already
    uint32_t frames_per_second; // 0: no traffic
};

// The ports that count.
inline constexpr std::array<uint8_t, 3> counting_ports = {0, 1, 8};

// Lets traffic pass a port from now on. False when there is no such port.
bool set_traffic(Switch &, uint64_t port, uint32_t frames_per_second);

void count_traffic(Switch &); // up to now
void snapshot_control_written(Switch &, unsigned index, uint64_t value);

inline constexpr uint8_t first_mib_page = 0x20; // of port 0
inline constexpr uint8_t snapshot_page = 0x71;

inline constexpr std::array stat_roles = {
    Role{.name = "port-0-counters", .refresh = count_traffic},
    Role{.name = "port-1-counters", .refresh = count_traffic},
    Role{.name = "port-8-counters", .refresh = count_traffic},
    Role{.name = "snapshot-control", .written = snapshot_control_written},
};

} // namespace sim
