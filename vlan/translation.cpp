// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/vlan.h>

#include "core/lock.h"
#include "core/poll.h"
#include "core/ports.h"
#include "core/register.h"
#include "vlan/registers.h"

namespace {

using namespace esw;

// Fields of the command register. Both start bits read as set while the switch works.
constexpr Field start_access{0};
constexpr Field access_is_write{1};
constexpr Field start_clear{2};
constexpr Field entry_port{4, 4};
constexpr Field entry_index{8, 8};
constexpr unsigned translation_read_budget = 10002;

constexpr Register translation_data{0x34, 0x44, 32};
constexpr Field entry_vid{0, 12};
constexpr Field entry_op{12, 2};
constexpr Field entry_valid{29};

constexpr unsigned first_cleared_index = 0x80;
constexpr unsigned last_cleared_index = 0xFF;

int32_t ethHw_evt_wait(Field started)
{
    return poll(translation_command[started], 0, translation_read_budget);
}

int32_t access_entry(uint32_t port, unsigned index, bool is_write)
{
    write(translation_command, entry_index.put(index) | entry_port.put(port) | access_is_write.put(is_write) |
                                   start_access.mask());
    return ethHw_evt_wait(start_access);
}

int32_t write_entry(uint32_t port, unsigned index, uint64_t data)
{
    write(translation_data, data);
    return access_entry(port, index, true);
}

} // namespace

int32_t eth_vlan_evt_add(uint32_t port, uint8_t index, uint8_t op, uint16_t vid)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    return write_entry(port, index, entry_op.put(op) | entry_vid.put(vid) | entry_valid.mask());
}

int32_t eth_vlan_evt_get(uint32_t port, uint8_t index, uint32_t *op, uint16_t *vid)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    if (const int32_t done = access_entry(port, index, false))
        return done;
    const uint32_t data = read32(translation_data);
    *op = entry_op.get(data);
    *vid = static_cast<uint16_t>(entry_vid.get(data));
    return ETH_E_NONE;
}

int32_t eth_vlan_evt_clear(void)
{
    int32_t result = ETH_E_NONE;
    for (unsigned index = first_cleared_index; index <= last_cleared_index; ++index) {
        for (const uint32_t port : port_numbers) {
            if (write_entry(port, index, 0) != ETH_E_NONE)
                result = ETH_E_TIMEOUT;
        }
    }
    write(translation_command, start_clear.mask());
    return ethHw_evt_wait(start_clear) == ETH_E_NONE ? result : ETH_E_TIMEOUT;
}
