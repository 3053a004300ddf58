// SPDX-License-Identifier: LGPL-2.1-or-later
// VLAN table, VLAN control and egress translation.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

void vlan_table_command_written(Switch &, unsigned index, uint64_t value);
void evt_command_written(Switch &, unsigned index, uint64_t value);
uint64_t evt_reading(Switch &, unsigned index, uint64_t stored);

// Idle: VLANs off, every mode off, all ports in VLAN 1.
inline constexpr std::array vlan_registers = {
    Bank{.name = "vlan-table-command",
         .page = 0x05,
         .offset = 0x80,
         .width = 8,
         .busy = 0x80,
         .written = vlan_table_command_written},
    Bank{.name = "vlan-table-index", .page = 0x05, .offset = 0x81, .width = 16},
    Bank{.name = "vlan-table-entry", .page = 0x05, .offset = 0x83, .width = 32},

    Bank{.name = "vlan-control-0", .page = 0x34, .offset = 0x00, .width = 8, .power_on = 0x60},
    Bank{.name = "vlan-control-1", .page = 0x34, .offset = 0x01, .width = 8, .power_on = 0x0C},
    Bank{.name = "vlan-control-2", .page = 0x34, .offset = 0x02, .width = 8},
    Bank{.name = "vlan-control-3", .page = 0x34, .offset = 0x03, .width = 16},
    Bank{.name = "vlan-control-4", .page = 0x34, .offset = 0x05, .width = 8, .power_on = 0x40},
    Bank{.name = "vlan-control-5", .page = 0x34, .offset = 0x06, .width = 8, .power_on = 0x08},
    Bank{.name = "vlan-control-6", .page = 0x34, .offset = 0x0A, .width = 16},
    Bank{.name = "default-tag",
         .page = 0x34,
         .offset = 0x10,
         .width = 16,
         .count = 9,
         .stride = 2,
         .power_on = 1},

    Bank{.name = "evt-command",
         .page = 0x34,
         .offset = 0x40,
         .width = 32,
         .busy = 0x05,
         .written = evt_command_written,
         .reading = evt_reading},
    Bank{.name = "evt-data", .page = 0x34, .offset = 0x44, .width = 32, .reading = evt_reading},
};

} // namespace sim
