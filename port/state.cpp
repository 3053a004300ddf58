// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/port.h>

#include "core/lock.h"
#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register port_control{0x00, 0x00, 8}; // of port 0; port 1's is the next
constexpr uint32_t disable_bit1 = 0x02;
constexpr uint32_t disable_bit0 = 0x01;
constexpr uint32_t disable_bits = disable_bit1 | disable_bit0;
constexpr Field stp_state{5, 3}; // holds the state plus 1
constexpr uint32_t last_stp_state = 4;

constexpr Register cpu_port_control{0x02, 0x00, 8};
constexpr Field cpu_port_enable{6, 2};
constexpr uint32_t cpu_port_on = 0x40;       // set and cleared to switch the port
constexpr uint32_t cpu_port_reported = 0x80; // what tells that the port is on

constexpr Register switch_reset{0x00, 0x79, 8};
constexpr uint64_t reset_now = 0x90;

constexpr Register jumbo_ports{0x40, 0x01, 32};
constexpr Register frame_size_limit{0x40, 0x05, 16}; // of every port that is not a jumbo port
constexpr uint32_t jumbo_size = 9720;

} // namespace

int32_t ethHw_port_enable_set(uint32_t port, int32_t enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    if (port != cpu_port)
        assign_bits(port_control.at(port), disable_bits, !enable);
    else if (enable)
        write32_masked(cpu_port_control, cpu_port_enable.mask(), cpu_port_on);
    else
        clear_bits(cpu_port_control, cpu_port_on);
    return ETH_E_NONE;
}

int32_t ethHw_port_enable_get(uint32_t port, int32_t *enabled)
{
    *enabled = -1;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    if (port == cpu_port)
        *enabled = (read32(cpu_port_control) & cpu_port_reported) != 0;
    else
        *enabled = (read32(port_control.at(port)) & disable_bits) == 0;
    return ETH_E_NONE;
}

int32_t ethHw_mac_enable_set(uint32_t port, int32_t bit1_enable, int32_t bit0_enable)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    assign_bits(port_control.at(port), disable_bit1, !bit1_enable);
    assign_bits(port_control.at(port), disable_bit0, !bit0_enable);
    return ETH_E_NONE;
}

int32_t ethHw_mac_enable_get(uint32_t port, int32_t *bit1_enabled, int32_t *bit0_enabled)
{
    *bit1_enabled = -1;
    *bit0_enabled = -1;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *bit1_enabled = (read32(port_control.at(port)) & disable_bit1) == 0;
    *bit0_enabled = (read32(port_control.at(port)) & disable_bit0) == 0;
    return ETH_E_NONE;
}

int32_t eth_stg_stp_set(uint32_t, uint32_t port, uint32_t state)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    if (state > last_stp_state)
        return ETH_E_PARAM;
    const SwitchLock lock;
    write_field(port_control.at(port), stp_state, state + 1);
    return ETH_E_NONE;
}

int32_t eth_stg_stp_get(uint32_t, uint32_t port, int32_t *state)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *state = static_cast<int32_t>(read32(port_control.at(port)) >> stp_state.low) - 1;
    return ETH_E_NONE;
}

int32_t ethHw_switch_reset(void)
{
    write(switch_reset, reset_now);
    return ETH_E_NONE;
}

int32_t eth_port_frame_max_set(uint32_t port, uint32_t size)
{
    if (!is_port(port))
        return ETH_E_PORT;
    switch (size) {
    case jumbo_size:
        set_bits(jumbo_ports, port_bit(port));
        return ETH_E_NONE;
    case 1518:
    case 2000:
        clear_bits(jumbo_ports, port_bit(port));
        write(frame_size_limit, size);
        return ETH_E_NONE;
    default:
        return ETH_E_PARAM;
    }
}

int32_t eth_port_frame_max_get(uint32_t port, int32_t *size)
{
    *size = -1;
    if (!is_port(port))
        return ETH_E_PORT;
    const bool jumbo = (read32(jumbo_ports) & port_bit(port)) != 0;
    *size = jumbo ? static_cast<int32_t>(jumbo_size) : static_cast<int32_t>(read32(frame_size_limit));
    return ETH_E_NONE;
}
