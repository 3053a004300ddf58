// VLAN table, VLAN control and egress translation.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array vlan_registers = {
    Bank{.name = "vlan-table-command", .page = 0x05, .offset = 0x80, .width = 8, .busy = 0x80},
    Bank{.name = "evt-command", .page = 0x34, .offset = 0x40, .width = 32, .busy = 0x05},
};

} // namespace sim
