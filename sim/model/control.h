// SPDX-License-Identifier: LGPL-2.1-or-later
// Switch-wide settings, named by the first control type that each register holds. Control 3 is a bit of
// cpu-port-control.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array control_registers = {
    Bank{.name = "control-0", .page = 0x00, .offset = 0x08, .width = 8},
    Bank{.name = "control-27", .page = 0x00, .offset = 0x0B, .width = 8},
    Bank{.name = "control-21", .page = 0x02, .offset = 0x50, .width = 32},
    Bank{.name = "control-4", .page = 0x36, .offset = 0x00, .width = 32},
    Bank{.name = "control-18", .page = 0x36, .offset = 0x04, .width = 8},
    Bank{.name = "control-19", .page = 0x36, .offset = 0x08, .width = 32},
    Bank{.name = "control-20", .page = 0x36, .offset = 0x0C, .width = 32},
};

} // namespace sim
