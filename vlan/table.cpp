// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/vlan.h>

#include "core/locked_register.h"
#include "core/poll.h"
#include "core/ports.h"
#include "vlan/vid.h"

namespace {

using namespace esw;

constexpr Register table_command{0x05, 0x80, 8};
constexpr Field table_busy{7};
constexpr uint64_t write_entry = 0x80;
constexpr uint64_t read_entry = 0x81;
constexpr uint64_t clear_table = 0x82;
constexpr unsigned table_read_budget = 10001;

constexpr LockedRegister table_index{0x05, 0x81, 16}; // VID
constexpr LockedRegister table_entry{0x05, 0x83, 32};
constexpr Field member_ports{0, 9};
constexpr Field untagged_ports{9, 9};

int32_t ethHw_vlan_table_wait() { return poll(table_command[table_busy], 0, table_read_budget); }

int32_t run(uint64_t command)
{
    write(table_command, command);
    return ethHw_vlan_table_wait();
}

// Brings the VID's entry into the entry register.
int32_t load_entry(uint16_t vid) ESW_REQUIRES(switch_mutex)
{
    write(table_index, vid);
    return run(read_entry);
}

// Writes the entry register to the VID whose entry was loaded.
int32_t store_entry() ESW_REQUIRES(switch_mutex) { return run(write_entry); }

int32_t find_vlan(uint16_t vid, uint32_t named_ports)
{
    if (vid > last_vid)
        return ETH_E_PARAM;
    if (!is_port_set(named_ports))
        return ETH_E_PORT;
    switch (get_vid(vid)) {
    case ETH_E_FAIL:
        return ETH_E_FAIL;
    case 0:
        return ETH_E_NOT_FOUND;
    default:
        return ETH_E_NONE;
    }
}

int32_t change_ports(uint16_t vid, uint32_t members, uint32_t untagged, bool on)
{
    if (const int32_t found = find_vlan(vid, members))
        return found;
    const SwitchLock lock;
    if (const int32_t loaded = load_entry(vid))
        return loaded;
    assign_bits(table_entry, members | untagged << untagged_ports.low, on);
    return store_entry();
}

} // namespace

int32_t eth_vlan_create(uint16_t vid)
{
    const int32_t found = find_vlan(vid, 0);
    if (found != ETH_E_NOT_FOUND)
        return found == ETH_E_NONE ? ETH_E_EXISTS : found;
    const SwitchLock lock;
    set_vid(vid, 1);
    return ETH_E_NONE;
}

int32_t eth_vlan_destroy(uint16_t vid)
{
    if (const int32_t found = find_vlan(vid, 0))
        return found;
    const SwitchLock lock;
    set_vid(vid, 0);
    if (const int32_t loaded = load_entry(vid))
        return loaded;
    write(table_entry, 0);
    return store_entry();
}

int32_t eth_vlan_destroy_all(void)
{
    for (uint16_t vid = 0; vid <= last_vid; ++vid)
        set_vid(vid, 0);
    return run(clear_table);
}

int32_t eth_vlan_port_get(uint16_t vid, uint32_t *members, uint32_t *untagged)
{
    *members = 0xFFFFFFFF;
    *untagged = 0xFFFFFFFF;
    if (const int32_t found = find_vlan(vid, 0))
        return found;
    const SwitchLock lock;
    if (const int32_t loaded = load_entry(vid))
        return loaded;
    const uint32_t entry = read32(table_entry);
    *members = member_ports.get(entry);
    *untagged = untagged_ports.get(entry);
    return ETH_E_NONE;
}

int32_t eth_vlan_port_add(uint16_t vid, uint32_t members, uint32_t untagged)
{
    return change_ports(vid, members, untagged, true);
}

int32_t eth_vlan_port_remove(uint16_t vid, uint32_t ports) { return change_ports(vid, ports, ports, false); }
