// SPDX-License-Identifier: LGPL-2.1-or-later
// Port mirroring.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array mirror_roles = {
    Role{.name = "mirror-control", .power_on = 8}, // to port 8
};

} // namespace sim
