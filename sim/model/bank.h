// SPDX-License-Identifier: LGPL-2.1-or-later
// What the simulated switch adds to the register map: power-on contents, and the engines behind registers.
#pragma once

#include <cstdint>

#include "chip/registers.h"

namespace sim {

class Switch;

struct Role {
    const char *name; // of the registers in the map
    uint64_t power_on = 0;

    // Called after a write has been stored. `index` is the register's number within the bank.
    void (*written)(Switch &, unsigned index, uint64_t value) = nullptr;
    // Called before a read, to bring the contents up to date.
    void (*refresh)(Switch &) = nullptr;
    // Called before a read; its result is the reading.
    uint64_t (*reading)(Switch &, unsigned index, uint64_t stored) = nullptr;
    // Whether that would change nothing now: the reading is what is stored.
    bool (*settled)(const Switch &) = nullptr;
};

// A row of the map with its role.
struct Bank : chip::Register {
    Role role;
};

} // namespace sim
