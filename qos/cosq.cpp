// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/qos.h>

#include "core/device.h"
#include "core/lock.h"
#include "core/setting.h"
#include "qos/registers.h"

namespace {

using namespace esw;

constexpr Setting queue_of_priority{
    .place = Register(0x30, 0x62, 16)[{0, 2}],
    .kind = Kind::number,
    .only_on = DeviceClass::a,
    .locked = true,
    .index_bits = 2,
    .last_index = last_priority,
    .last_value = 3,
};

constexpr Register scheduler{0x30, 0x80, 8}; // class A
constexpr uint8_t unweighted = 3;            // what it holds in mode 1; 0 in modes 2 and 3
constexpr Register weight{0x30, 0x81, 8};    // of queue 0; the others follow
constexpr uint32_t queues = 4;

constexpr Setting port_cos{
    .place = cos_ports[{0}],
    .of_port = true,
    .preset = true,
    .port_bits = 1,
};

} // namespace

int32_t eth_cosq_mapping_set(int32_t prio, uint32_t queue)
{
    return set(0, static_cast<uint32_t>(prio), queue, queue_of_priority);
}

int32_t eth_cosq_mapping_get(int32_t prio, uint32_t *queue)
{
    return get(0, static_cast<uint32_t>(prio), queue, queue_of_priority);
}

int32_t eth_cosq_sched_set(uint32_t mode, const int32_t weights[4])
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    const SwitchLock lock;
    if (mode < 1 || mode > 3)
        return ETH_E_UNAVAIL;
    write(scheduler, mode == 1 ? unweighted : 0);
    for (uint32_t i = 0; mode != 1 && i < queues; ++i)
        write(weight.at(i), static_cast<uint64_t>(mode == 2 ? 1 : weights[i]));
    return ETH_E_NONE;
}

int32_t eth_cosq_sched_get(uint32_t *mode, uint32_t weights[4])
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    bool equal = true;
    for (uint32_t i = 0; i < queues; ++i) {
        weights[i] = read32(weight.at(i));
        equal = equal && weights[i] == 1;
    }
    const auto held = static_cast<uint8_t>(read32(scheduler));
    *mode = held == unweighted ? 1 : equal ? 2 : 3;
    return ETH_E_NONE;
}

int32_t eth_cosq_enable_set(uint32_t port, int32_t enable) { return set(port, enable, port_cos); }

int32_t eth_cosq_enable_get(uint32_t port, uint32_t *value) { return get(port, value, port_cos); }
