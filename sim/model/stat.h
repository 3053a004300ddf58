// SPDX-License-Identifier: LGPL-2.1-or-later
// MIB counters: a page for each port and one for the snapshot, and the traffic that is counted.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

// Frames that arrive from outside and leave again. Plain data, a part of the switch's state.
struct Traffic {
    uint64_t since;             // nanoseconds of the monotonic clock when the rate was set
    uint64_t counted;           // frames since then that the counters hold already
    uint32_t frames_per_second; // 0: no traffic
};

// The ports that count.
inline constexpr std::array<uint8_t, 3> counting_ports = {0, 1, 8};

// Lets traffic pass a port from now on. False when there is no such port.
bool set_traffic(Switch &, uint64_t port, uint32_t frames_per_second);

void count_traffic(Switch &); // up to now
void snapshot_control_written(Switch &, unsigned index, uint64_t value);

inline constexpr uint8_t first_mib_page = 0x20; // of port 0
inline constexpr uint8_t snapshot_page = 0x71;

constexpr std::array<Bank, 7> mib_page(const char *name, uint8_t page, void (*refresh)(Switch &))
{
    const auto bank = [=](uint8_t offset, uint8_t width, uint8_t count) {
        return Bank{.name = name,
                    .page = page,
                    .offset = offset,
                    .width = width,
                    .count = count,
                    .stride = 4,
                    .refresh = refresh};
    };
    return {bank(0x00, 64, 1), bank(0x08, 32, 18), bank(0x50, 64, 1), bank(0x58, 32, 12),
            bank(0x88, 64, 1), bank(0x90, 32, 10), bank(0xC0, 32, 6)};
}

inline constexpr auto port_0_counters = mib_page("port-0-counters", first_mib_page, count_traffic);
inline constexpr auto port_1_counters = mib_page("port-1-counters", first_mib_page + 1, count_traffic);
inline constexpr auto port_8_counters = mib_page("port-8-counters", first_mib_page + 8, count_traffic);
inline constexpr auto snapshot_counters = mib_page("snapshot-counters", snapshot_page, nullptr);

inline constexpr std::array stat_registers = {
    Bank{.name = "snapshot-control",
         .page = 0x70,
         .offset = 0x00,
         .width = 8,
         .written = snapshot_control_written},
};

} // namespace sim
