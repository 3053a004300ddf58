// SPDX-License-Identifier: LGPL-2.1-or-later
// The switch itself.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

void switch_reset_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array core_registers = {
    Bank{.name = "device-id", .page = 0x02, .offset = 0x30, .width = 32},
    Bank{.name = "layer-selector", .page = 0x30, .offset = 0x00, .width = 8},
    Bank{.name = "switch-reset", .page = 0x00, .offset = 0x79, .width = 8, .written = switch_reset_written},
};

} // namespace sim
