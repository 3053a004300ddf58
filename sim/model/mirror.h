// SPDX-License-Identifier: LGPL-2.1-or-later
// Port mirroring.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array mirror_registers = {
    Bank{.name = "mirror-control", .page = 0x02, .offset = 0x10, .width = 16, .power_on = 8},
    Bank{.name = "mirror-ingress-control", .page = 0x02, .offset = 0x12, .width = 16},
    Bank{.name = "mirror-ingress-divider", .page = 0x02, .offset = 0x14, .width = 16},
    Bank{.name = "mirror-ingress-mac", .page = 0x02, .offset = 0x16, .width = 48},
    Bank{.name = "mirror-egress-control", .page = 0x02, .offset = 0x1C, .width = 16},
    Bank{.name = "mirror-egress-divider", .page = 0x02, .offset = 0x1E, .width = 16},
    Bank{.name = "mirror-egress-mac", .page = 0x02, .offset = 0x20, .width = 48},
};

} // namespace sim
