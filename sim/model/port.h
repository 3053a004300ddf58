// SPDX-License-Identifier: LGPL-2.1-or-later
// Ports: control, link and frame size.
#pragma once

#include <array>

#include "sim/model/bank.h"
#include "sim/model/phy.h"

namespace sim {

void cpu_port_control_written(Switch &, unsigned index, uint64_t value); // its bit 0 clears the counters

inline constexpr std::array port_roles = {
    Role{.name = "port-control", .power_on = 0xA0}, // enabled, spanning-tree field 5: forwarding
    Role{.name = "cpu-port-control", .power_on = 0x80, .written = cpu_port_control_written},
    Role{.name = "link-status",
         .power_on = 0x103,
         .reading = link_status_reading,
         .settled = links_are_settled},
    Role{.name = "link-change", .reading = link_change_reading},
    Role{.name = "speed", .power_on = 0x2000A, .reading = speed_reading, .settled = links_are_settled},
    Role{.name = "duplex", .power_on = 0x103, .reading = duplex_reading, .settled = links_are_settled},
    Role{.name = "pause", .reading = pause_reading, .settled = links_are_settled},
    Role{.name = "frame-size-limit", .power_on = 1518},
};

} // namespace sim
