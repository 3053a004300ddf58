// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/qos.h>

#include "core/device.h"
#include "core/lock.h"
#include "core/ports.h"
#include "core/setting.h"
#include "qos/registers.h"

namespace {

using namespace esw;

constexpr uint32_t every_port = 0xFFFFFFFF; // how the DSCP calls name the one map that all ports share
constexpr uint32_t last_dscp = 63;

// Sixteen classes to a register; 48 bits apart.
Register dscp_map(uint32_t dscp)
{
    constexpr Register early{0x30, 0x30, 64};
    constexpr Register late{0x30, 0x34, 64};
    return (is_late_class_b() ? late : early).at(6 * (dscp / 16));
}
constexpr Field class_of_dscp(uint32_t dscp) { return Field{0, 3}.up(3 * (dscp % 16)); }

constexpr Setting by_dscp{
    .place = dscp_ports[{0}],
    .of_port = true,
    .preset = true,
    .port_bits = 1,
};
constexpr uint32_t by_dscp_mode = 2; // 0: not by DSCP

constexpr Setting class_source{
    .place = Register(0x30, 0x50, 16)[{0, 2}],
    .kind = Kind::number,
    .only_on = DeviceClass::b,
    .of_port = true,
    .port_offsets = 2,
    .index_bits = 2,
    .last_index = last_priority,
};

// By traffic class.
constexpr Register class_queues{0x30, 0x70, 32};
constexpr Setting class_queue{
    .place = class_queues[{0, 3}],
    .kind = Kind::number,
    .only_on = DeviceClass::b,
    .of_port = true,
    .locked = true,
    .port_offsets = 4,
    .index_bits = 3,
    .last_index = last_priority,
    .last_value = last_priority,
};
constexpr Setting class_drops{
    .place = class_queues[{24}],
    .only_on = DeviceClass::b,
    .of_port = true,
    .locked = true,
    .port_offsets = 4,
    .index_bits = 1,
    .last_index = last_priority,
};

constexpr Setting default_class{
    .place = Register(0x30, 0x48, 32)[{0, 3}],
    .kind = Kind::number,
    .only_on = DeviceClass::b,
    .of_port = true,
    .port_bits = 3,
    .last_value = last_priority,
};

constexpr Register port_scheduler{0x46, 0x00, 8}; // of port 0; the others follow
constexpr Field scheduling{0, 3};
constexpr uint64_t not_scheduling = 0xF8;
constexpr uint8_t in_modes_3_and_7 = 5;
constexpr Field scheduling_and_flag{0, 4}; // the flag tells modes 3 and 7 apart
constexpr uint8_t flag = 0x08;

constexpr Register port_weights{0x46, 0x10, 64}; // of port 0; the others 8 offsets each further on
constexpr unsigned queues = 8;
constexpr int32_t largest_weight = 256; // held as 0: a weight has 8 bits

constexpr uint32_t no_mode = 0xFF;

int32_t check_class_b(uint32_t port)
{
    if (!is_class_b())
        return ETH_E_UNAVAIL;
    return is_port(port) ? ETH_E_NONE : ETH_E_PORT;
}

int32_t check_dscp(uint32_t port, int32_t dscp, uint32_t tc = 0)
{
    if (port != every_port)
        return ETH_E_PORT;
    return tc > last_priority || static_cast<uint32_t>(dscp) > last_dscp ? ETH_E_PARAM : ETH_E_NONE;
}

// False for a mode that can't be set. Mode 1 keeps the flag.
bool set_scheduling(Register reg, uint32_t mode) ESW_REQUIRES(switch_mutex)
{
    switch (mode) {
    case 1:
        write(reg, read64(reg) & not_scheduling);
        return true;
    case 3:
        write_field(reg[scheduling_and_flag], in_modes_3_and_7 | flag);
        return true;
    case 7:
        write_field(reg[scheduling_and_flag], in_modes_3_and_7);
        return true;
    default:
        return false;
    }
}

uint32_t scheduling_mode(uint32_t word)
{
    constexpr uint8_t modes[] = {1, 8, 8, 8, 8, 7, no_mode, no_mode};
    const uint8_t mode = modes[scheduling.get(word)];
    return mode == 7 && (word & flag) != 0 ? 3 : mode;
}

// Byte i for queue i. False when a weight is out of range.
bool pack_weights(const int32_t *weights, uint64_t &packed)
{
    for (unsigned queue = queues; queue-- != 0;) {
        if (weights[queue] < 1 || weights[queue] > largest_weight)
            return false;
        packed = packed << 8 | static_cast<uint8_t>(weights[queue]);
    }
    return true;
}

} // namespace

int32_t eth_cosq_port_pcp2tc_set(uint32_t port, uint32_t, uint32_t, uint32_t)
{
    return is_port(port) ? ETH_E_PARAM : ETH_E_PORT;
}

int32_t eth_cosq_port_pcp2tc_get(uint32_t port, uint32_t, uint32_t, uint32_t *tc)
{
    *tc = 0xFFFFFFFF;
    return is_port(port) ? ETH_E_PARAM : ETH_E_PORT;
}

int32_t eth_cosq_port_dscp2tc_set(uint32_t port, int32_t dscp, uint32_t, uint32_t tc)
{
    if (const int32_t error = check_dscp(port, dscp, tc))
        return error;
    const auto number = static_cast<uint32_t>(dscp);
    write_field(dscp_map(number)[class_of_dscp(number)], tc, true);
    return ETH_E_NONE;
}

int32_t eth_cosq_port_dscp2tc_get(uint32_t port, int32_t dscp, uint32_t, uint32_t *tc)
{
    *tc = 0xFFFFFFFF;
    if (const int32_t error = check_dscp(port, dscp))
        return error;
    const auto number = static_cast<uint32_t>(dscp);
    *tc = class_of_dscp(number).get(read64(dscp_map(number)));
    return ETH_E_NONE;
}

int32_t eth_cosq_port_dscp2tc_mode_set(uint32_t port, uint32_t mode)
{
    if (!is_port(port))
        return ETH_E_PORT;
    if (mode != 0 && mode != by_dscp_mode)
        return ETH_E_PARAM;
    return set(port, mode, by_dscp);
}

int32_t eth_cosq_port_dscp2tc_mode_get(uint32_t port, uint32_t *mode)
{
    const int32_t result = get(port, mode, by_dscp);
    if (result == ETH_E_NONE)
        *mode *= by_dscp_mode;
    return result;
}

int32_t eth_cosq_port_tc_src_set(uint32_t port, uint32_t index, uint32_t value)
{
    return set(port, index, value, class_source);
}

int32_t eth_cosq_port_tc_src_get(uint32_t port, uint32_t index, uint32_t *value)
{
    return get(port, index, value, class_source);
}

int32_t eth_cosq_port_mapping_set(uint32_t port, uint32_t tc, uint32_t queue)
{
    return set(port, tc, queue, class_queue);
}

int32_t eth_cosq_port_mapping_get(uint32_t port, uint32_t tc, uint32_t *queue)
{
    return get(port, tc, queue, class_queue);
}

int32_t eth_cosq_port_mapping_tc_drop_set(uint32_t port, uint32_t tc, int32_t enable)
{
    return set(port, tc, static_cast<uint32_t>(enable), class_drops);
}

int32_t eth_cosq_port_mapping_tc_drop_get(uint32_t port, uint32_t tc, uint32_t *value)
{
    return get(port, tc, value, class_drops);
}

int32_t eth_cosq_port_sched_set(uint32_t port, uint32_t mode, const int32_t weights[8])
{
    if (const int32_t error = check_class_b(port))
        return error;
    uint64_t packed = 0;
    if (!pack_weights(weights, packed))
        return ETH_E_PARAM;
    const SwitchLock lock;
    if (!set_scheduling(port_scheduler.at(port), mode))
        return ETH_E_UNAVAIL;
    write(port_weights.at(8 * port), packed);
    return ETH_E_NONE;
}

int32_t eth_cosq_port_sched_get(uint32_t port, uint32_t *mode, int32_t weights[8])
{
    if (const int32_t error = check_class_b(port))
        return error;
    *mode = scheduling_mode(read32(port_scheduler.at(port)));
    if (*mode == no_mode)
        return ETH_E_NONE;
    uint64_t packed = read64(port_weights.at(8 * port));
    for (unsigned queue = 0; queue < queues; ++queue, packed >>= 8)
        weights[queue] = static_cast<uint8_t>(packed);
    return ETH_E_NONE;
}

int32_t eth_cosq_port2tc_set(uint32_t port, uint32_t tc) { return set(port, tc, default_class); }

int32_t eth_cosq_port2tc_get(uint32_t port, uint32_t *tc) { return get(port, tc, default_class); }
