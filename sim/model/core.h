// SPDX-License-Identifier: LGPL-2.1-or-later
// The switch itself.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

void switch_reset_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array core_roles = {
    Role{.name = "switch-reset", .written = switch_reset_written},
};

} // namespace sim
