// SPDX-License-Identifier: LGPL-2.1-or-later
// Rate limiters, priority remapping, CoS queues and traffic classes. Neither class of switch has all of
// these; where both have something at one address, it is the same register. Banks of per-port registers begin
// with port 0's and end with port 8's.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

constexpr unsigned ports_in_bank = 9;

// Sixteen classes to a register, each of DSCP / 8.
constexpr Bank dscp_map(const char *name, uint8_t first_offset, unsigned index)
{
    uint64_t classes = 0;
    for (unsigned i = 0; i < 16; ++i)
        classes |= uint64_t{2 * index + i / 8} << 3 * i;
    return {.name = name,
            .page = 0x30,
            .offset = static_cast<uint8_t>(first_offset + 6 * index),
            .width = 48,
            .power_on = classes};
}

constexpr Bank of_each_port(const char *name, uint8_t page, uint8_t offset, uint8_t width, uint8_t stride,
                            uint64_t power_on = 0)
{
    return {.name = name,
            .page = page,
            .offset = offset,
            .width = width,
            .count = ports_in_bank,
            .stride = stride,
            .power_on = power_on};
}

// Class 0 goes to queue 0, and so on.
inline constexpr uint64_t identity_queues = 076543210;

inline constexpr std::array qos_registers = {
    Bank{.name = "cos-ports", .page = 0x30, .offset = 0x04, .width = 16},
    Bank{.name = "dscp-ports", .page = 0x30, .offset = 0x06, .width = 16},
    dscp_map("dscp-map-0", 0x30, 0),
    dscp_map("dscp-map-1", 0x30, 1),
    dscp_map("dscp-map-2", 0x30, 2),
    dscp_map("dscp-map-3", 0x30, 3),
    // Later class B devices; nobody reads the ones above there.
    dscp_map("late-dscp-map-0", 0x34, 0),
    dscp_map("late-dscp-map-1", 0x34, 1),
    dscp_map("late-dscp-map-2", 0x34, 2),
    dscp_map("late-dscp-map-3", 0x34, 3),
    Bank{.name = "default-classes", .page = 0x30, .offset = 0x48, .width = 32},
    of_each_port("class-sources", 0x30, 0x50, 16, 2),
    // Class A: two priorities to a queue.
    Bank{.name = "queue-map", .page = 0x30, .offset = 0x62, .width = 16, .power_on = 0xFA50},
    // Class B; class A's scheduler stands in the gap.
    Bank{.name = "class-queues",
         .page = 0x30,
         .offset = 0x70,
         .width = 32,
         .count = 2,
         .stride = 4,
         .power_on = identity_queues},
    Bank{.name = "cpu-class-queues", .page = 0x30, .offset = 0x90, .width = 32, .power_on = identity_queues},
    Bank{.name = "scheduler", .page = 0x30, .offset = 0x80, .width = 8},
    Bank{.name = "weight", .page = 0x30, .offset = 0x81, .width = 8, .count = 4, .stride = 1, .power_on = 1},

    of_each_port("port-scheduler", 0x46, 0x00, 8, 1),
    of_each_port("port-weights", 0x46, 0x10, 64, 8, 0x0101010101010101),

    Bank{.name = "remap-control", .page = 0x91, .offset = 0x00, .width = 32},
    of_each_port("remap", 0x91, 0x10, 64, 8, 0x76543210),

    // Both classes' ingress, class A's egress. Every limiter is off.
    Bank{.name = "ingress-control", .page = 0x41, .offset = 0x00, .width = 32},
    Bank{.name = "ingress-limiter", .page = 0x41, .offset = 0x10, .width = 32, .count = 2, .stride = 4},
    Bank{.name = "port-ingress-control", .page = 0x41, .offset = 0x34, .width = 16, .count = 2, .stride = 2},
    of_each_port("egress-limiter", 0x41, 0x80, 16, 2),
    Bank{.name = "cpu-rate-index", .page = 0x41, .offset = 0xC0, .width = 8, .power_on = 63},

    // Class B's egress.
    of_each_port("egress-rate", 0x47, 0x00, 32, 4),
    of_each_port("egress-bucket", 0x47, 0x30, 32, 4),
    Bank{.name = "cpu-packet-rate", .page = 0x47, .offset = 0xB0, .width = 32},
    Bank{.name = "egress-limiters", .page = 0x47, .offset = 0xE6, .width = 16},
    Bank{.name = "cpu-rate-select", .page = 0x47, .offset = 0xE8, .width = 16},
};

} // namespace sim
