// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/qos.h>

#include "core/lock.h"
#include "core/ports.h"
#include "qos/registers.h"

namespace {

using namespace esw;

constexpr Register remap_control{0x91, 0x00, 32};
constexpr uint64_t remapping(uint32_t port) { return uint64_t{port_bit(port)} << 16; }

// One field per incoming priority.
constexpr Register remap(uint32_t port)
{
    constexpr Register of_port_0{0x91, 0x10, 64};
    return of_port_0.at(8 * port);
}
constexpr Field new_priority(uint32_t priority) { return Field{0, 4}.up(4 * priority); }

} // namespace

int32_t eth_prio_init(void)
{
    const SwitchLock lock;
    write(cos_ports, all_ports);
    write(dscp_ports, 0);
    return ETH_E_NONE;
}

int32_t eth_prio_remap_enable_set(uint32_t port, int32_t enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    assign_bits(remap_control, remapping(port), enable);
    return ETH_E_NONE;
}

int32_t eth_prio_remap_enable_get(uint32_t port, uint32_t *value)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *value = (read32(remap_control) & remapping(port)) != 0;
    return ETH_E_NONE;
}

int32_t eth_prio_remap_set(uint32_t port, uint8_t prio, uint8_t new_prio)
{
    if (!is_port(port))
        return ETH_E_PORT;
    if (prio > last_priority || new_prio > last_priority)
        return ETH_E_PARAM;
    const SwitchLock lock;
    const Field field = new_priority(prio);
    write64_masked(remap(port), field.mask(), field.put(new_prio));
    return ETH_E_NONE;
}

int32_t eth_prio_remap_get(uint32_t port, uint8_t prio, uint8_t *new_prio)
{
    *new_prio = 0xFF;
    if (!is_port(port))
        return ETH_E_PORT;
    if (prio > last_priority)
        return ETH_E_PARAM;
    const SwitchLock lock;
    *new_prio = static_cast<uint8_t>(new_priority(prio).get(read64(remap(port))));
    return ETH_E_NONE;
}
