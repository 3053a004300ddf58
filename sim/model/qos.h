// SPDX-License-Identifier: LGPL-2.1-or-later
// Rate limiters, priority remapping, CoS queues and traffic classes. Every limiter is off.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

// Sixteen classes to a register, each of DSCP / 8.
constexpr uint64_t dscp_classes(unsigned index)
{
    uint64_t classes = 0;
    for (unsigned i = 0; i < 16; ++i)
        classes |= uint64_t{2 * index + i / 8} << 3 * i;
    return classes;
}

// Class 0 goes to queue 0, and so on: three bits each.
inline constexpr uint64_t identity_queues = [] {
    uint64_t queues = 0;
    for (unsigned i = 0; i < 8; ++i)
        queues |= uint64_t{i} << 3 * i;
    return queues;
}();

inline constexpr std::array qos_roles = {
    Role{.name = "dscp-map-0", .power_on = dscp_classes(0)},
    Role{.name = "dscp-map-1", .power_on = dscp_classes(1)},
    Role{.name = "dscp-map-2", .power_on = dscp_classes(2)},
    Role{.name = "dscp-map-3", .power_on = dscp_classes(3)},
    Role{.name = "late-dscp-map-0", .power_on = dscp_classes(0)},
    Role{.name = "late-dscp-map-1", .power_on = dscp_classes(1)},
    Role{.name = "late-dscp-map-2", .power_on = dscp_classes(2)},
    Role{.name = "late-dscp-map-3", .power_on = dscp_classes(3)},
    Role{.name = "queue-map", .power_on = 0xFA50}, // two priorities to a queue
    Role{.name = "class-queues", .power_on = identity_queues},
    Role{.name = "cpu-class-queues", .power_on = identity_queues},
    Role{.name = "weight", .power_on = 1},
    Role{.name = "port-weights", .power_on = 0x0101010101010101},
    Role{.name = "remap", .power_on = 0x76543210},
    Role{.name = "cpu-rate-index", .power_on = 63},
};

} // namespace sim
