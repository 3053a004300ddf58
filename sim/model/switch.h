// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulated switch: registers and the engines behind them. Knows nothing of drivers and processes.
#pragma once

#include <cstdint>

#include "sim/model/cfp.h"
#include "sim/model/l2.h"
#include "sim/model/phy.h"
#include "sim/model/registers.h"
#include "sim/model/stat.h"

namespace sim {

// Everything that the switch remembers. Plain data: it lives in memory that processes share.
struct State {
    uint32_t device_id;  // what the board is, whatever happens to it
    uint32_t reset_runs; // from the first to the last step of a reset
    uint32_t unplugged;  // ports whose cable is pulled
    uint32_t unused;     // keeps the rest aligned without gaps
    Traffic traffic[counting_ports.size()];
    // Addresses that no known register occupies keep whatever 64 bits were written there last.
    uint64_t cells[256][256];
    struct {
        uint32_t reads; // that still show the bits
        uint32_t bits;
    } busy[max_banks];
    AddressTable arl;
    Phy phys[phy_count];
    Eee eee[phy_count];
    uint32_t vlan_table[4096]; // by VID
    uint32_t evt[16][256];     // egress translation, by port and index
    CfpSlots cfp_slots;
};

// How the switch behaves towards one process.
struct Behaviour {
    uint32_t latency = 0;        // reads that show a busy bit before it clears
    const Bank *stuck = nullptr; // whose busy bits never clear
};

class Switch {
public:
    Switch(State &state, const Behaviour &behaviour) : state_(state), behaviour_(behaviour) {}

    // A new switch: nothing of what was there is left.
    void power_on(uint32_t device_id);

    // Brings every register and table back to its power-on contents. What comes from outside, traffic and
    // pulled cables, stays.
    void reset();

    // Goes on with a reset whose process died in the middle.
    void finish_reset();

    // Whether a request only reads or writes the contents of one register: no engine takes part.
    [[nodiscard]] bool is_passive(const Located &at, bool write) const;

    uint64_t read(uint8_t page, uint8_t offset);
    void write(uint8_t page, uint8_t offset, uint64_t value);

    // For the engines: a register's contents, without side effects.
    uint64_t &cell(uint8_t page, uint8_t offset) { return state_.cells[page][offset]; }
    State &state() { return state_; }
    [[nodiscard]] const State &state() const { return state_; }
    [[nodiscard]] const Behaviour &behaviour() const { return behaviour_; }

private:
    State &state_;
    const Behaviour &behaviour_;
};

} // namespace sim
