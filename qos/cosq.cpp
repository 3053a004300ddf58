// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/qos.h>

#include "core/device.h"
#include "core/lock.h"
#include "core/ports.h"
#include "qos/registers.h"

namespace {

using namespace esw;

// Class A; one field per priority.
constexpr Register queue_map{0x30, 0x62, 16};
constexpr Field queue_of(uint32_t priority) { return Field{0, 2}.up(2 * priority); }
constexpr uint32_t last_queue = 3;

constexpr Register scheduler{0x30, 0x80, 8}; // class A
constexpr uint8_t unweighted = 3;            // what it holds in mode 1; 0 in modes 2 and 3
constexpr Register weight{0x30, 0x81, 8};    // of queue 0; the others follow

} // namespace

int32_t eth_cosq_mapping_set(int32_t prio, uint32_t queue)
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    const auto priority = static_cast<uint32_t>(prio);
    if (priority > last_priority || queue > last_queue)
        return ETH_E_PARAM;
    const SwitchLock lock;
    write_field(queue_map, queue_of(priority), queue);
    return ETH_E_NONE;
}

int32_t eth_cosq_mapping_get(int32_t prio, uint32_t *queue)
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    const auto priority = static_cast<uint32_t>(prio);
    if (priority > last_priority)
        return ETH_E_PARAM;
    const SwitchLock lock;
    *queue = queue_of(priority).get(read32(queue_map));
    return ETH_E_NONE;
}

int32_t eth_cosq_sched_set(uint32_t mode, const int32_t weights[4])
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    const SwitchLock lock;
    if (mode < 1 || mode > 3)
        return ETH_E_UNAVAIL;
    write(scheduler, mode == 1 ? unweighted : 0);
    for (uint32_t queue = 0; mode != 1 && queue <= last_queue; ++queue)
        write(weight.at(queue), static_cast<uint64_t>(mode == 2 ? 1 : weights[queue]));
    return ETH_E_NONE;
}

int32_t eth_cosq_sched_get(uint32_t *mode, uint32_t weights[4])
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    bool equal = true;
    for (uint32_t queue = 0; queue <= last_queue; ++queue) {
        weights[queue] = read32(weight.at(queue));
        equal = equal && weights[queue] == 1;
    }
    const auto held = static_cast<uint8_t>(read32(scheduler));
    *mode = held == unweighted ? 1 : equal ? 2 : 3;
    return ETH_E_NONE;
}

int32_t eth_cosq_enable_set(uint32_t port, int32_t enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    assign_bits(cos_ports, port_bit(port), enable);
    return ETH_E_NONE;
}

int32_t eth_cosq_enable_get(uint32_t port, uint32_t *value)
{
    *value = 0xFFFFFFFF;
    if (!is_port(port))
        return ETH_E_PORT;
    *value = (read32(cos_ports) & port_bit(port)) != 0;
    return ETH_E_NONE;
}
