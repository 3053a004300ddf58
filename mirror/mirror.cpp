// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/mirror.h>

#include "core/lock.h"
#include "core/mac.h"
#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register mirror_control{0x02, 0x10, 16};
constexpr Field mirror_enable{15, 1};
constexpr Field capture_port{0, 4};

// Of ingress; egress has the same registers further on.
constexpr Register direction_control{0x02, 0x12, 16}; // bits 8..0: the mirrored ports
constexpr Register direction_divider{0x02, 0x14, 16};
constexpr Register direction_mac{0x02, 0x16, 64};
constexpr unsigned direction_distance = 0x0A;

constexpr Field divider_enable{13, 1};
constexpr Field filter{14, 2};
constexpr uint32_t filter_1 = 0x4000; // wins when both are set
constexpr uint32_t filter_2 = 0x8000;
constexpr uint32_t last_filter = 2;

constexpr uint32_t preset = ~uint32_t{0};

constexpr bool is_direction(int32_t dir) { return dir == ETH_MIRROR_INGRESS || dir == ETH_MIRROR_EGRESS; }
constexpr Register of(int32_t dir, Register ingress)
{
    return dir == ETH_MIRROR_EGRESS ? ingress.at(direction_distance) : ingress;
}

int32_t set_mirrored(int32_t dir, uint32_t port, int32_t enable)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    assign_bits(of(dir, direction_control), port_bit(port), enable != 0);
    return ETH_E_NONE;
}

int32_t get_mirrored(int32_t dir, uint32_t port, uint32_t *enable)
{
    *enable = preset;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *enable = (read32(of(dir, direction_control)) & port_bit(port)) != 0;
    return ETH_E_NONE;
}

} // namespace

int32_t eth_mirror_mode_set(int32_t enable)
{
    const SwitchLock lock;
    if (enable != 0 && enable != 1)
        return ETH_E_PARAM;
    assign_bits(mirror_control, mirror_enable.mask(), enable != 0);
    return ETH_E_NONE;
}

int32_t eth_mirror_mode_get(uint32_t *enable)
{
    const SwitchLock lock;
    *enable = mirror_enable.get(read32(mirror_control));
    return ETH_E_NONE;
}

int32_t eth_mirror_to_set(uint32_t port)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    write_field(mirror_control, capture_port, port);
    return ETH_E_NONE;
}

int32_t eth_mirror_to_get(uint32_t *port)
{
    const SwitchLock lock;
    *port = capture_port.get(read32(mirror_control));
    return ETH_E_NONE;
}

int32_t eth_mirror_ingress_set(uint32_t port, int32_t enable)
{
    return set_mirrored(ETH_MIRROR_INGRESS, port, enable);
}

int32_t eth_mirror_ingress_get(uint32_t port, uint32_t *enable)
{
    return get_mirrored(ETH_MIRROR_INGRESS, port, enable);
}

int32_t eth_mirror_egress_set(uint32_t port, int32_t enable)
{
    return set_mirrored(ETH_MIRROR_EGRESS, port, enable);
}

int32_t eth_mirror_egress_get(uint32_t port, uint32_t *enable)
{
    return get_mirrored(ETH_MIRROR_EGRESS, port, enable);
}

int32_t eth_mirror_filter_set(uint32_t dir, uint32_t mode)
{
    const auto direction = static_cast<int32_t>(dir);
    const SwitchLock lock;
    if (!is_direction(direction) || mode > last_filter)
        return ETH_E_PARAM;
    write_field(of(direction, direction_control), filter, mode);
    return ETH_E_NONE;
}

int32_t eth_mirror_filter_get(int32_t dir, uint32_t *mode)
{
    *mode = preset;
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    const uint32_t control = read32(of(dir, direction_control));
    *mode = control & filter_1 ? 1 : control & filter_2 ? 2 : 0;
    return ETH_E_NONE;
}

int32_t eth_mirror_div_set(int32_t dir, int32_t enable, int32_t div)
{
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    assign_bits(of(dir, direction_control), divider_enable.mask(), enable != 0);
    if (enable)
        write(of(dir, direction_divider), static_cast<uint64_t>(int64_t{div}));
    return ETH_E_NONE;
}

int32_t eth_mirror_div_get(int32_t dir, uint32_t *enable, uint32_t *div)
{
    *enable = preset;
    *div = preset;
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    *enable = divider_enable.get(read32(of(dir, direction_control)));
    if (*enable)
        *div = read32(of(dir, direction_divider));
    return ETH_E_NONE;
}

int32_t eth_mirror_mac_set(int32_t dir, const uint8_t mac[6])
{
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    write(of(dir, direction_mac), pack_mac(mac));
    return ETH_E_NONE;
}

int32_t eth_mirror_mac_get(int32_t dir, uint8_t mac[6])
{
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    unpack_mac(read64(of(dir, direction_mac)), mac);
    return ETH_E_NONE;
}
