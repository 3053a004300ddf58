// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/l2.h>

#include "core/mac.h"
#include "core/setting.h"

namespace {

using namespace esw;

constexpr Register age_timer{0x02, 0x06, 32};
constexpr Field age_time{0, 20};
constexpr Field aging_enabled{20};
constexpr Field aging{0, 21}; // both

constexpr Register bpdu_address{0x04, 0x04, 64};

constexpr Register mcast_control{0x00, 0x2F, 8};
constexpr Setting mcast_learning{.place = mcast_control[{7}]};
constexpr Setting mcast_settings{
    .place = mcast_control[{0, 32}],
    .kind = Kind::whole,
    .locked = true,
};

constexpr Setting port_protection{
    .place = Register(0x00, 0x24, 16)[{0}],
    .of_port = true,
    .port_bits = 1,
};

} // namespace

int32_t eth_l2_age_timer_set(uint32_t age)
{
    if (age > age_time.mask())
        return ETH_E_PARAM;
    if (age == 0)
        assign_flag(age_timer[aging], false);
    else
        write_field(age_timer[aging], static_cast<uint32_t>(aging_enabled.mask()) | age);
    return ETH_E_NONE;
}

int32_t eth_l2_age_timer_get(uint32_t *age)
{
    *age = read32(age_timer) & ~static_cast<uint32_t>(aging_enabled.mask());
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

int32_t eth_learn_mcast_set(int32_t enable) { return set(enable, mcast_learning); }

int32_t eth_learn_mcast_get(uint32_t *enable) { return get(enable, mcast_learning); }

int32_t eth_mcast_ctrl_set(uint32_t value) { return set(value, mcast_settings); }

int32_t eth_mcast_ctrl_get(uint32_t *value) { return get(value, mcast_settings); }

int32_t eth_protect_set(uint32_t port, int32_t enable) { return set(port, enable, port_protection); }

int32_t eth_protect_get(uint32_t port, uint32_t *enable) { return get(port, enable, port_protection); }
