// The address table and what steers it.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array l2_registers = {
    Bank{.name = "arl-access", .page = 0x05, .offset = 0x00, .width = 8, .busy = 0x80},
    Bank{.name = "fast-age", .page = 0x00, .offset = 0x88, .width = 8, .busy = 0x80},
};

} // namespace sim
