// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/qos.h>

#include "core/lock.h"
#include "core/ports.h"
#include "core/setting.h"
#include "qos/registers.h"

namespace {

using namespace esw;

constexpr Setting remapping{
    .place = Register(0x91, 0x00, 32)[{16}],
    .of_port = true,
    .locked = true,
    .port_bits = 1,
};

// By incoming priority.
constexpr Setting new_priority{
    .place = Register(0x91, 0x10, 64)[{0, 4}],
    .kind = Kind::wide_number,
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_offsets = 8,
    .index_bits = 4,
    .last_index = last_priority,
    .last_value = last_priority,
};

} // namespace

int32_t eth_prio_init(void)
{
    const SwitchLock lock;
    write(cos_ports, all_ports);
    write(dscp_ports, 0);
    return ETH_E_NONE;
}

int32_t eth_prio_remap_enable_set(uint32_t port, int32_t enable) { return set(port, enable, remapping); }

int32_t eth_prio_remap_enable_get(uint32_t port, uint32_t *value) { return get(port, value, remapping); }

int32_t eth_prio_remap_set(uint32_t port, uint8_t prio, uint8_t new_prio)
{
    return set(port, prio, new_prio, new_priority);
}

int32_t eth_prio_remap_get(uint32_t port, uint8_t prio, uint8_t *new_prio)
{
    uint32_t value = 0;
    const int32_t result = get(port, prio, &value, new_priority);
    *new_prio = static_cast<uint8_t>(value);
    return result;
}
