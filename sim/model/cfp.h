// SPDX-License-Identifier: LGPL-2.1-or-later
// The field processor.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr unsigned cfp_slots = 64;

// What the rules' RAMs hold, by transfer register.
using CfpSlots = uint32_t[cfp_slots][chip::cfp_transfer_registers];

void cfp_command_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array cfp_roles = {
    Role{.name = "cfp-command", .written = cfp_command_written},
};

} // namespace sim
