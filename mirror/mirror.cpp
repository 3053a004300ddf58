// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/mirror.h>

#include "core/locked_register.h"
#include "core/mac.h"
#include "core/ports.h"
#include "core/setting.h"

namespace {

using namespace esw;

constexpr LockedRegister mirror_control{0x02, 0x10, 16};
constexpr Field mirror_enable{15};
constexpr Field capture_port{0, 4};

// Of ingress; egress has the same registers further on.
constexpr LockedRegister direction_control{0x02, 0x12, 16}; // bits 8..0: the mirrored ports
constexpr LockedRegister direction_divider{0x02, 0x14, 16};
constexpr LockedRegister direction_mac{0x02, 0x16, 64};
constexpr unsigned direction_distance = 0x0A;

constexpr Field divider_enable{13};
constexpr Field filter{14, 2};
constexpr uint32_t both_filters = 3; // count as filter 1
constexpr uint32_t last_filter = 2;

constexpr uint32_t preset = ~uint32_t{0};

constexpr Setting enabled{.place = mirror_control[mirror_enable], .locked = true};
constexpr Setting captured_by{
    .place = mirror_control[capture_port],
    .kind = Kind::number,
    .locked = true,
};
constexpr Setting ingress_mirrored{
    .place = direction_control[{0}],
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_bits = 1,
};
constexpr Setting egress_mirrored{
    .place = direction_control.at(direction_distance)[{0}],
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_bits = 1,
};

constexpr bool is_direction(int32_t dir) { return dir == ETH_MIRROR_INGRESS || dir == ETH_MIRROR_EGRESS; }
constexpr Register of(int32_t dir, Register ingress)
{
    return dir == ETH_MIRROR_EGRESS ? ingress.at(direction_distance) : ingress;
}

} // namespace

int32_t eth_mirror_mode_set(int32_t enable)
{
    const SwitchLock lock;
    if (enable != 0 && enable != 1)
        return ETH_E_PARAM;
    assign_flag(mirror_control[mirror_enable], enable != 0);
    return ETH_E_NONE;
}

int32_t eth_mirror_mode_get(uint32_t *enable) { return get(enable, enabled); }

int32_t eth_mirror_to_set(uint32_t port) { return is_port(port) ? set(port, captured_by) : ETH_E_PORT; }

int32_t eth_mirror_to_get(uint32_t *port) { return get(port, captured_by); }

int32_t eth_mirror_ingress_set(uint32_t port, int32_t enable) { return set(port, enable, ingress_mirrored); }

int32_t eth_mirror_ingress_get(uint32_t port, uint32_t *enable)
{
    return get(port, enable, ingress_mirrored);
}

int32_t eth_mirror_egress_set(uint32_t port, int32_t enable) { return set(port, enable, egress_mirrored); }

int32_t eth_mirror_egress_get(uint32_t port, uint32_t *enable) { return get(port, enable, egress_mirrored); }

int32_t eth_mirror_filter_set(uint32_t dir, uint32_t mode)
{
    const auto direction = static_cast<int32_t>(dir);
    const SwitchLock lock;
    if (!is_direction(direction) || mode > last_filter)
        return ETH_E_PARAM;
    write_field(of(direction, direction_control)[filter], mode);
    return ETH_E_NONE;
}

int32_t eth_mirror_filter_get(int32_t dir, uint32_t *mode)
{
    *mode = preset;
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    const uint32_t held = read_field(of(dir, direction_control)[filter]);
    *mode = held == both_filters ? 1 : held;
    return ETH_E_NONE;
}

int32_t eth_mirror_div_set(int32_t dir, int32_t enable, int32_t div)
{
    const SwitchLock lock;
    if (!is_direction(dir))
        return ETH_E_PARAM;
    assign_flag(of(dir, direction_control)[divider_enable], enable != 0);
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
    *enable = read_field(of(dir, direction_control)[divider_enable]);
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
