// SPDX-License-Identifier: LGPL-2.1-or-later
// The PHYs of ports 0 and 1: clause 22 registers, links and Energy Efficient Ethernet.
#pragma once

#include <cstdint>

namespace sim {

class Switch;

inline constexpr unsigned phy_count = 2;
inline constexpr unsigned phy_register_count = 32;

struct Phy {
    uint16_t registers[phy_register_count];
    uint16_t link_was_lost; // since the status register was read last
    uint16_t negotiating;
    uint32_t reads_to_settle; // that still find the negotiation under way
};

struct Eee {
    uint32_t supported; // link modes, like the other two
    uint32_t advertised;
    uint32_t lp_advertised;
    uint32_t enabled;
    uint32_t tx_lpi_enabled;
    uint32_t tx_lpi_timer; // microseconds
};

// The port whose PHY answers at an MII address; phy_count when there is none.
unsigned port_of_phy(uint32_t device_id, uint32_t address);

void power_on_phys(Switch &);
uint16_t read_phy(Switch &, unsigned port, unsigned number);
void write_phy(Switch &, unsigned port, unsigned number, uint16_t value);

// Plugs the port's cable in or pulls it. The other end offers every speed up to 1000 Mb/s.
void plug_cable(Switch &, unsigned port, bool in);

// Energy is saved now: switched on here, and offered by both ends at the speed of the link.
bool is_eee_active(Switch &, unsigned port);

// Of the switch's status registers: a read sees how far negotiations are, and clears the link changes.
bool links_are_settled(const Switch &);
uint64_t link_status_reading(Switch &, unsigned index, uint64_t stored);
uint64_t link_change_reading(Switch &, unsigned index, uint64_t stored);
uint64_t speed_reading(Switch &, unsigned index, uint64_t stored);
uint64_t duplex_reading(Switch &, unsigned index, uint64_t stored);
uint64_t pause_reading(Switch &, unsigned index, uint64_t stored);

} // namespace sim
