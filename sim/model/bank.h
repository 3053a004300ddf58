// SPDX-License-Identifier: LGPL-2.1-or-later
// What the simulated switch knows of its registers.
#pragma once

#include <cstdint>

namespace sim {

class Switch;

// One register, or `count` registers of one kind that stand `stride` offsets apart.
struct Bank {
    const char *name;
    uint8_t page;
    uint8_t offset;
    uint8_t width; // bits that the register really has; the rest reads as zero
    uint8_t count = 1;
    uint8_t stride = 0;
    uint64_t power_on = 0;

    // Bits that start an engine when written and read as set until it is done.
    uint64_t busy = 0;

    // Called after a write has been stored. `index` is the register's number within the bank.
    void (*written)(Switch &, unsigned index, uint64_t value) = nullptr;
    // Called before a read, to bring the contents up to date.
    void (*refresh)(Switch &) = nullptr;
    // Called before a read; its result is the reading.
    uint64_t (*reading)(Switch &, unsigned index, uint64_t stored) = nullptr;

    [[nodiscard]] constexpr uint64_t mask() const
    {
        return width == 64 ? ~uint64_t{0} : (uint64_t{1} << width) - 1;
    }
};

} // namespace sim
