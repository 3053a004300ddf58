// The field processor.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr std::array cfp_registers = {
    Bank{.name = "cfp-command", .page = 0xA0, .offset = 0x00, .width = 32, .busy = 0x01},
};

} // namespace sim
