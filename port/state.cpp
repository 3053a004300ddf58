// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/port.h>

#include "core/locked_register.h"
#include "core/management.h"
#include "core/ports.h"

namespace {

using namespace esw;

constexpr LockedRegister port_control{0x00, 0x00, 8}; // of port 0; port 1's is the next
constexpr Field disable_bit1{1};
constexpr Field disable_bit0{0};
constexpr Field disable_bits{0, 2};
constexpr Field stp_state{5, 3}; // holds the state plus 1
constexpr uint32_t last_stp_state = 4;

constexpr LockedRegister cpu_port_control = management;
constexpr Field cpu_port_on{6};        // set and cleared to switch the port
constexpr Field cpu_port_reported{7};  // what tells that the port is on; cleared when it is switched on
constexpr Field cpu_port_enable{6, 2}; // both

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
        assign_flag(port_control.at(port)[disable_bits], !enable);
    else if (enable)
        write_field(cpu_port_control[cpu_port_enable], 1);
    else
        assign_flag(cpu_port_control[cpu_port_on], false);
    return ETH_E_NONE;
}

int32_t ethHw_port_enable_get(uint32_t port, int32_t *enabled)
{
    *enabled = -1;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    if (port == cpu_port)
        *enabled = read_field(cpu_port_control[cpu_port_reported]) != 0;
    else
        *enabled = read_field(port_control.at(port)[disable_bits]) == 0;
    return ETH_E_NONE;
}

int32_t ethHw_mac_enable_set(uint32_t port, int32_t bit1_enable, int32_t bit0_enable)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    assign_flag(port_control.at(port)[disable_bit1], !bit1_enable);
    assign_flag(port_control.at(port)[disable_bit0], !bit0_enable);
    return ETH_E_NONE;
}

int32_t ethHw_mac_enable_get(uint32_t port, int32_t *bit1_enabled, int32_t *bit0_enabled)
{
    *bit1_enabled = -1;
    *bit0_enabled = -1;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *bit1_enabled = read_field(port_control.at(port)[disable_bit1]) == 0;
    *bit0_enabled = read_field(port_control.at(port)[disable_bit0]) == 0;
    return ETH_E_NONE;
}

int32_t eth_stg_stp_set(uint32_t, uint32_t port, uint32_t state)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    if (state > last_stp_state)
        return ETH_E_PARAM;
    const SwitchLock lock;
    write_field(port_control.at(port)[stp_state], state + 1);
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
        assign_flag(jumbo_ports[port_flag(port)], true);
        return ETH_E_NONE;
    case 1518:
    case 2000:
        assign_flag(jumbo_ports[port_flag(port)], false);
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
    const bool jumbo = read_field(jumbo_ports[port_flag(port)]) != 0;
    *size = jumbo ? static_cast<int32_t>(jumbo_size) : static_cast<int32_t>(read32(frame_size_limit));
    return ETH_E_NONE;
}
