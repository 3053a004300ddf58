// SPDX-License-Identifier: LGPL-2.1-or-later
// The field processor.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

inline constexpr unsigned cfp_slots = 64;
inline constexpr unsigned cfp_transfer_registers = 31; // every 4 offsets from 0x10 to 0x88

// What the rules' RAMs hold, by transfer register.
using CfpSlots = uint32_t[cfp_slots][cfp_transfer_registers];

void cfp_command_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array cfp_registers = {
    Bank{.name = "cfp-command",
         .page = 0xA0,
         .offset = 0x00,
         .width = 32,
         .busy = 0x01,
         .written = cfp_command_written},
    Bank{.name = "cfp-policer-control", .page = 0xA0, .offset = 0x04, .width = 32},
    Bank{.name = "cfp-transfer",
         .page = 0xA0,
         .offset = 0x10,
         .width = 32,
         .count = cfp_transfer_registers,
         .stride = 4},
    Bank{.name = "cfp-enabled-ports", .page = 0xA1, .offset = 0x00, .width = 16},
    Bank{.name = "cfp-udf-a0", .page = 0xA1, .offset = 0x10, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-a1", .page = 0xA1, .offset = 0x20, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-a2", .page = 0xA1, .offset = 0x30, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-b0", .page = 0xA1, .offset = 0x40, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-b1", .page = 0xA1, .offset = 0x50, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-b2", .page = 0xA1, .offset = 0x60, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-c0", .page = 0xA1, .offset = 0x70, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-c1", .page = 0xA1, .offset = 0x80, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-c2", .page = 0xA1, .offset = 0x90, .width = 8, .count = 9, .stride = 1},
    Bank{.name = "cfp-udf-d", .page = 0xA1, .offset = 0xA0, .width = 8, .count = 12, .stride = 1},
};

} // namespace sim
