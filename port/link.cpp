// SPDX-License-Identifier: LGPL-2.1-or-later
#include <algorithm>
#include <iterator>

#include <linux/mii.h>

#include <esw/port.h>

#include "core/device.h"
#include "core/locked_register.h"
#include "core/ports.h"
#include "core/setting.h"

namespace {

using namespace esw;

constexpr Setting link_status{
    .place = Register(0x01, 0x00, 16)[{0}],
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_bits = 1,
};
constexpr Setting speed_status{
    .place = Register(0x01, 0x04, 32)[{0, 2}],
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_bits = 2,
};
constexpr Setting duplex_status{
    .place = Register(0x01, 0x08, 16)[{0}],
    .of_port = true,
    .locked = true,
    .preset = true,
    .port_bits = 1,
};

constexpr LockedRegister link_change{0x01, 0x02, 16};
constexpr LockedRegister pause_status{0x01, 0x0A, 32};
constexpr uint32_t second_pause_bit = 9; // so far above the first

constexpr int16_t speeds[1 << 2] = {10, 100, 1000, 1000}; // Mb/s

// A read of the change register clears it: what it told of other ports waits here until they are asked about.
uint16_t untold_changes ESW_GUARDED_BY(switch_mutex);

struct Change {
    uint16_t cleared;
    uint16_t set;

    [[nodiscard]] constexpr uint32_t applied_to(uint32_t value) const { return (value & ~cleared) | set; }
};

struct RegisterChange {
    uint16_t reg;
    Change change;
};

// How a PHY is brought to a speed: what it advertises, in the order of the accesses, and what it selects.
struct SpeedSetting {
    uint32_t speed; // Mb/s
    RegisterChange advertisement[2];
    Change selection;
};

constexpr uint16_t fast = ADVERTISE_100HALF | ADVERTISE_100FULL;
constexpr uint16_t any_fast = fast | ADVERTISE_100BASE4;
constexpr uint16_t gigabit = ADVERTISE_1000HALF | ADVERTISE_1000FULL;

constexpr SpeedSetting speed_settings[] = {
    {10, {{MII_CTRL1000, {gigabit, 0}}, {MII_ADVERTISE, {any_fast, 0}}}, {BMCR_SPEED100 | BMCR_SPEED1000, 0}},
    {100, {{MII_CTRL1000, {gigabit, 0}}, {MII_ADVERTISE, {0, fast}}}, {BMCR_SPEED1000, BMCR_SPEED100}},
    {1000, {{MII_ADVERTISE, {0, fast}}, {MII_CTRL1000, {0, gigabit}}}, {BMCR_SPEED100, BMCR_SPEED1000}},
};

} // namespace

int32_t eth_port_link_status_get(uint32_t port, int32_t *link) { return get(port, link, link_status); }

int32_t eth_port_link_status_change_get(uint32_t port, int32_t *changed)
{
    *changed = -1;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    const uint32_t all = (read32(link_change) | untold_changes) & 0xFFFF;
    untold_changes = static_cast<uint16_t>(all & ~port_bit(port));
    *changed = (all & port_bit(port)) != 0;
    return ETH_E_NONE;
}

int32_t eth_port_speed_get(uint32_t port, int32_t *speed)
{
    const int32_t result = get(port, speed, speed_status);
    if (result == ETH_E_NONE)
        *speed = speeds[*speed];
    return result;
}

int32_t eth_port_duplex_get(uint32_t port, int32_t *duplex) { return get(port, duplex, duplex_status); }

int32_t eth_port_pause_get(uint32_t port, int32_t *pause_low, int32_t *pause_high)
{
    *pause_low = -1;
    *pause_high = -1;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *pause_low = static_cast<int32_t>(read_field(pause_status[port_flag(port)]));
    *pause_high = static_cast<int32_t>(read_field(pause_status[port_flag(port + second_pause_bit)]));
    return ETH_E_NONE;
}

int32_t eth_port_speed_set(const char *ifname, uint32_t port, uint32_t aux, uint32_t speed)
{
    if (!is_class_b())
        return ETH_E_UNAVAIL;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const auto *const setting = std::ranges::find(speed_settings, speed, &SpeedSetting::speed);
    if (setting == std::end(speed_settings))
        return ETH_E_PARAM;

    int32_t current = 0;
    eth_port_speed_get(port, &current); // can't fail: a PHY's port is a port
    if (static_cast<uint32_t>(current) == speed)
        return ETH_E_NONE;

    uint32_t control = 0;
    if (const int32_t failure = eth_port_phy_get(ifname, port, aux, MII_BMCR, &control))
        return failure;
    for (const auto &[reg, change] : setting->advertisement) {
        uint32_t value = 0;
        if (const int32_t failure = eth_port_phy_get(ifname, port, aux, reg, &value))
            return failure;
        if (const int32_t failure = eth_port_phy_set(ifname, port, aux, reg, change.applied_to(value)))
            return failure;
    }
    control = setting->selection.applied_to(control);
    if (const int32_t failure = eth_port_phy_set(ifname, port, aux, MII_BMCR, control))
        return failure;
    return eth_port_phy_set(ifname, port, aux, MII_BMCR, control | BMCR_ANRESTART);
}
