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
inline constexpr std::array vlan_roles = {
    Role{.name = "vlan-table-command", .written = vlan_table_command_written},
    Role{.name = "vlan-control-0", .power_on = 0x60},
    Role{.name = "vlan-control-1", .power_on = 0x0C},
    Role{.name = "vlan-control-4", .power_on = 0x40},
    Role{.name = "vlan-control-5", .power_on = 0x08},
    Role{.name = "default-tag", .power_on = 1},
    Role{.name = "evt-command", .written = evt_command_written, .reading = evt_reading},
    Role{.name = "evt-data", .reading = evt_reading},
};

} // namespace sim
