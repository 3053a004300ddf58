// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/l2.h>

#include "core/lock.h"
#include "core/mac.h"
#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register age_timer{0x02, 0x06, 32};
constexpr uint32_t age_time = 0xFFFFF;
constexpr uint32_t aging_enabled = 0x100000;

constexpr Register bpdu_address{0x04, 0x04, 64};

constexpr Register mcast_control{0x00, 0x2F, 8};
constexpr Field mcast_learning{7, 1};

constexpr Register protected_ports{0x00, 0x24, 16}; // a port set

} // namespace

int32_t eth_l2_age_timer_set(uint32_t age)
{
    if (age > age_time)
        return ETH_E_PARAM;
    if (age == 0)
        clear_bits(age_timer, aging_enabled | age_time);
    else
        write32_masked(age_timer, aging_enabled | age_time, aging_enabled | age);
    return ETH_E_NONE;
}

int32_t eth_l2_age_timer_get(uint32_t *age)
{
    *age = read32(age_timer) & ~aging_enabled;
    return ETH_E_NONE;
}

int32_t eth_l2_bpdu_set(int32_t index, const uint8_t mac[6])
{
    if (index != 0)
        return ETH_E_PARAM;
    write(bpdu_address, pack_mac(mac));
    return ETH_E_NONE;
}

int32_t eth_l2_bpdu_get(int32_t index, uint8_t mac[6])
{
    if (index != 0)
        return ETH_E_PARAM;
    unpack_mac(read64(bpdu_address), mac);
    return ETH_E_NONE;
}

int32_t eth_learn_mcast_set(int32_t enable)
{
    assign_bits(mcast_control, mcast_learning.mask(), enable);
    return ETH_E_NONE;
}

int32_t eth_learn_mcast_get(uint32_t *enable)
{
    *enable = mcast_learning.get(read32(mcast_control));
    return ETH_E_NONE;
}

int32_t eth_mcast_ctrl_set(uint32_t value)
{
    const SwitchLock lock;
    write(mcast_control, value);
    return ETH_E_NONE;
}

int32_t eth_mcast_ctrl_get(uint32_t *value)
{
    const SwitchLock lock;
    *value = read32(mcast_control);
    return ETH_E_NONE;
}

int32_t eth_protect_set(uint32_t port, int32_t enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    assign_bits(protected_ports, port_bit(port), enable);
    return ETH_E_NONE;
}

int32_t eth_protect_get(uint32_t port, uint32_t *enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    *enable = (read32(protected_ports) & port_bit(port)) != 0;
    return ETH_E_NONE;
}
