// SPDX-License-Identifier: LGPL-2.1-or-later
#include <array>

#include <esw/vlan.h>

#include "core/lock.h"
#include "core/ports.h"
#include "core/register.h"
#include "vlan/vid.h"

namespace {

using namespace esw;

constexpr Register control0{0x34, 0x00, 8};
constexpr Register control1{0x34, 0x01, 8};
constexpr Register control2{0x34, 0x02, 8};
constexpr Register control3{0x34, 0x03, 16};
constexpr Register control4{0x34, 0x05, 8};
constexpr Register control5{0x34, 0x06, 8};
constexpr Register control6{0x34, 0x0A, 16};

constexpr Field learning_mode{5, 2};
constexpr Field drop_on_table_miss{3, 1};
constexpr Field crc_bypass{0, 1};

constexpr Register default_tag{0x34, 0x10, 16}; // of port 0; the others' stand two apart
constexpr Field default_vid{0, 12};
constexpr Field default_priority{13, 3};
constexpr uint16_t first_default_vid = 1; // with priority 0, the whole default tag

struct Mode {
    Register reg;
    uint8_t mask;
};
constexpr std::array modes = {
    Mode{control0, 0x80}, Mode{control0, 0x08}, Mode{control4, 0x20}, Mode{control4, 0x10},
    Mode{control4, 0x0C}, Mode{control5, 0x04}, Mode{control5, 0x40},
};
constexpr uint32_t probed_mode = 4;
constexpr uint32_t probed_mode_on = 0x08;

// The egress translation command register, without a start bit: it holds the index where the switch has it.
constexpr Register mode_probe{0x34, 0x40, 32};
constexpr uint64_t probe_pattern = 0x5500;

// What eth_vlan_init() gives to bits that no other call reaches.
constexpr uint32_t control1_mask = 0x6C, control1_start = 0x0C;
constexpr uint32_t control2_mask = 0x64, control2_start = 0x60;
constexpr uint32_t control4_mask = 0xC0, control4_start = 0x40;
constexpr uint32_t control5_mask = 0x4C, control5_start = 0x08; // modes 5 and 6 off, drop on table miss on

Register default_tag_of(uint32_t port) { return default_tag.at(2 * port); }

int32_t set_default_tag(uint32_t port, Field field, uint32_t value, uint32_t last)
{
    if (!is_port(port))
        return ETH_E_PORT;
    if (value > last)
        return ETH_E_PARAM;
    const SwitchLock lock;
    write_field(default_tag_of(port), field, value);
    return ETH_E_NONE;
}

int32_t get_default_tag(uint32_t port, Field field, uint32_t *value)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    *value = field.get(read32(default_tag_of(port)));
    return ETH_E_NONE;
}

// All bits of the field on or off.
int32_t assign_switch(Register reg, Field field, int32_t enable)
{
    const auto mask = static_cast<uint32_t>(field.mask());
    const SwitchLock lock;
    write32_masked(reg, mask, enable ? mask : 0);
    return ETH_E_NONE;
}

int32_t read_switch(Register reg, Field field, uint32_t *value)
{
    const SwitchLock lock;
    *value = field.get(read32(reg));
    return ETH_E_NONE;
}

int32_t set_probed_mode(int32_t enable)
{
    write(mode_probe, probe_pattern);
    if (read32(mode_probe) == 0)
        return ETH_E_UNAVAIL;
    const auto [reg, mask] = modes[probed_mode];
    write32_masked(reg, mask, enable ? probed_mode_on : 0);
    return ETH_E_NONE;
}

} // namespace

int32_t eth_port_untagged_vlan_set(uint32_t port, uint16_t vid)
{
    return set_default_tag(port, default_vid, vid, last_vid);
}

int32_t eth_port_untagged_vlan_get(uint32_t port, uint16_t *vid)
{
    uint32_t value = 0xFFFF;
    const int32_t result = get_default_tag(port, default_vid, &value);
    *vid = static_cast<uint16_t>(value);
    return result;
}

int32_t eth_port_untagged_priority_set(uint32_t port, int32_t prio)
{
    return set_default_tag(port, default_priority, static_cast<uint32_t>(prio), 7);
}

int32_t eth_port_untagged_priority_get(uint32_t port, uint32_t *prio)
{
    return get_default_tag(port, default_priority, prio);
}

int32_t eth_vlan_mode_set(uint32_t mode, int32_t enable)
{
    if (mode >= modes.size())
        return ETH_E_UNAVAIL;
    if (mode == probed_mode)
        return set_probed_mode(enable);
    assign_bits(modes[mode].reg, modes[mode].mask, enable);
    return ETH_E_NONE;
}

int32_t eth_vlan_mode_get(uint32_t mode, uint32_t *value)
{
    *value = 0xFFFFFFFF;
    if (mode >= modes.size())
        return ETH_E_UNAVAIL;
    *value = (read32(modes[mode].reg) & modes[mode].mask) != 0;
    return ETH_E_NONE;
}

int32_t eth_vlan_learning_mode_set(int32_t enable) { return assign_switch(control0, learning_mode, enable); }

int32_t eth_vlan_learning_mode_get(uint32_t *value) { return read_switch(control0, learning_mode, value); }

int32_t eth_vlan_drop_vtbl_miss_set(int32_t enable)
{
    return assign_switch(control5, drop_on_table_miss, enable);
}

int32_t eth_vlan_drop_vtbl_miss_get(uint32_t *value)
{
    return read_switch(control5, drop_on_table_miss, value);
}

int32_t eth_vlan_bypass_CRC_set(int32_t enable) { return assign_switch(control5, crc_bypass, enable); }

int32_t eth_vlan_bypass_CRC_get(uint32_t *value) { return read_switch(control5, crc_bypass, value); }

int32_t eth_vlan_init(void)
{
    const SwitchLock lock; // all that follows takes none
    eth_vlan_mode_set(0, 0);
    eth_vlan_mode_set(1, 0);
    eth_vlan_mode_set(probed_mode, 0);
    set_bits(control0, learning_mode.mask());
    write32_masked(control1, control1_mask, control1_start);
    write32_masked(control2, control2_mask, control2_start);
    write(control3, 0);
    eth_vlan_mode_set(2, 0);
    eth_vlan_mode_set(3, 0);
    write32_masked(control4, control4_mask, control4_start);
    write32_masked(control5, control5_mask, control5_start);
    write(control6, 0);
    for (const uint32_t port : port_numbers)
        write(default_tag_of(port), first_default_vid);
    init_vid_list();
    eth_vlan_destroy_all();
    eth_vlan_evt_clear();
    return ETH_E_NONE;
}
