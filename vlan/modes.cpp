// SPDX-License-Identifier: LGPL-2.1-or-later
#include <iterator>

#include <esw/vlan.h>

#include "core/lock.h"
#include "core/ports.h"
#include "core/setting.h"
#include "vlan/registers.h"
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

constexpr Setting learning_mode{
    .place = control0[{5, 2}],
    .kind = Kind::narrow_flag,
    .locked = true,
};
constexpr Setting drop_on_table_miss{
    .place = control5[{3}],
    .kind = Kind::narrow_flag,
    .locked = true,
};
constexpr Setting crc_bypass{
    .place = control5[{0}],
    .kind = Kind::narrow_flag,
    .locked = true,
};

constexpr Register default_tag{0x34, 0x10, 16}; // of port 0
constexpr unsigned default_tag_distance = 2;
constexpr Setting default_vid{
    .place = default_tag[{0, 12}],
    .kind = Kind::number,
    .of_port = true,
    .locked = true,
    .port_offsets = default_tag_distance,
    .last_value = last_vid,
};
constexpr Setting default_priority{
    .place = default_tag[{13, 3}],
    .kind = Kind::number,
    .of_port = true,
    .locked = true,
    .port_offsets = default_tag_distance,
    .last_value = 7,
};
constexpr uint16_t first_default_vid = 1; // with priority 0, the whole default tag

// By number: the field that is all ones while the mode is on, but for the probed mode's.
constexpr Place modes[] = {
    control0[{7}],    control0[{3}], control4[{5}], control4[{4}],
    control4[{2, 2}], control5[{2}], control5[{6}],
};
constexpr uint32_t probed_mode = 4;
constexpr uint32_t probed_mode_on = 2;

// Without a start bit the egress translation's command register holds the index, where the switch has it.
constexpr uint64_t probe_pattern = 0x5500;

// What eth_vlan_init() gives to bits that no other call reaches.
constexpr uint32_t control1_mask = 0x6C, control1_start = 0x0C;
constexpr uint32_t control2_mask = 0x64, control2_start = 0x60;
constexpr uint32_t control4_mask = 0xC0, control4_start = 0x40;
constexpr uint32_t control5_mask = 0x4C, control5_start = 0x08; // modes 5 and 6 off, drop on table miss on

int32_t set_probed_mode(int32_t enable)
{
    write(translation_command, probe_pattern);
    if (read32(translation_command) == 0)
        return ETH_E_UNAVAIL;
    write_field(modes[probed_mode], enable ? probed_mode_on : 0);
    return ETH_E_NONE;
}

} // namespace

int32_t eth_port_untagged_vlan_set(uint32_t port, uint16_t vid) { return set(port, vid, default_vid); }

int32_t eth_port_untagged_vlan_get(uint32_t port, uint16_t *vid)
{
    uint32_t value = 0xFFFF;
    const int32_t result = get(port, &value, default_vid);
    *vid = static_cast<uint16_t>(value);
    return result;
}

int32_t eth_port_untagged_priority_set(uint32_t port, int32_t prio)
{
    return set(port, prio, default_priority);
}

int32_t eth_port_untagged_priority_get(uint32_t port, uint32_t *prio)
{
    return get(port, prio, default_priority);
}

int32_t eth_vlan_mode_set(uint32_t mode, int32_t enable)
{
    if (mode >= std::size(modes))
        return ETH_E_UNAVAIL;
    if (mode == probed_mode)
        return set_probed_mode(enable);
    assign_flag(modes[mode], enable);
    return ETH_E_NONE;
}

int32_t eth_vlan_mode_get(uint32_t mode, uint32_t *value)
{
    *value = 0xFFFFFFFF;
    if (mode >= std::size(modes))
        return ETH_E_UNAVAIL;
    *value = read_field(modes[mode]) != 0;
    return ETH_E_NONE;
}

int32_t eth_vlan_learning_mode_set(int32_t enable) { return set(enable, learning_mode); }

int32_t eth_vlan_learning_mode_get(uint32_t *value) { return get(value, learning_mode); }

int32_t eth_vlan_drop_vtbl_miss_set(int32_t enable) { return set(enable, drop_on_table_miss); }

int32_t eth_vlan_drop_vtbl_miss_get(uint32_t *value) { return get(value, drop_on_table_miss); }

int32_t eth_vlan_bypass_CRC_set(int32_t enable) { return set(enable, crc_bypass); }

int32_t eth_vlan_bypass_CRC_get(uint32_t *value) { return get(value, crc_bypass); }

int32_t eth_vlan_init(void)
{
    const SwitchLock lock; // all that follows takes none
    eth_vlan_mode_set(0, 0);
    eth_vlan_mode_set(1, 0);
    eth_vlan_mode_set(probed_mode, 0);
    assign_flag(learning_mode.place, true);
    write32_masked(control1, control1_mask, control1_start);
    write32_masked(control2, control2_mask, control2_start);
    write(control3, 0);
    eth_vlan_mode_set(2, 0);
    eth_vlan_mode_set(3, 0);
    write32_masked(control4, control4_mask, control4_start);
    write32_masked(control5, control5_mask, control5_start);
    write(control6, 0);
    for (const uint32_t port : port_numbers)
        write(default_tag.at(default_tag_distance * port), first_default_vid);
    init_vid_list();
    eth_vlan_destroy_all();
    eth_vlan_evt_clear();
    return ETH_E_NONE;
}
