// SPDX-License-Identifier: LGPL-2.1-or-later
// Ports: control, link and frame size.
#pragma once

#include <array>

#include "sim/model/bank.h"
#include "sim/model/phy.h"

namespace sim {

void cpu_port_control_written(Switch &, unsigned index, uint64_t value); // its bit 0 clears the counters

inline constexpr std::array port_registers = {
    // Enabled, spanning-tree field 5: forwarding.
    Bank{.name = "port-control",
         .page = 0x00,
         .offset = 0x00,
         .width = 8,
         .count = 2,
         .stride = 1,
         .power_on = 0xA0},
    Bank{.name = "cpu-port-control",
         .page = 0x02,
         .offset = 0x00,
         .width = 8,
         .power_on = 0x80,
         .written = cpu_port_control_written},
    Bank{.name = "link-status",
         .page = 0x01,
         .offset = 0x00,
         .width = 16,
         .power_on = 0x103,
         .reading = link_status_reading},
    Bank{.name = "link-change", .page = 0x01, .offset = 0x02, .width = 16, .reading = link_change_reading},
    Bank{.name = "speed",
         .page = 0x01,
         .offset = 0x04,
         .width = 32,
         .power_on = 0x2000A,
         .reading = speed_reading},
    Bank{.name = "duplex",
         .page = 0x01,
         .offset = 0x08,
         .width = 16,
         .power_on = 0x103,
         .reading = duplex_reading},
    Bank{.name = "pause", .page = 0x01, .offset = 0x0A, .width = 32, .reading = pause_reading},
    Bank{.name = "jumbo-ports", .page = 0x40, .offset = 0x01, .width = 32},
    Bank{.name = "frame-size-limit", .page = 0x40, .offset = 0x05, .width = 16, .power_on = 1518},
};

} // namespace sim
