// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cstddef>
#include <cstring>

#include <esw/l2.h>

#include "core/lock.h"
#include "core/mac.h"
#include "core/poll.h"
#include "core/ports.h"
#include "core/setting.h"
#include "l2/entry.h"

static_assert(sizeof(eth_l2_addr_t) == 52);
static_assert(offsetof(eth_l2_addr_t, port) == 12 && offsetof(eth_l2_addr_t, tc) == 28);

namespace {

using namespace esw;

constexpr Register access_control{0x05, 0x00, 8};
constexpr Field access_busy{7}; // starts the access
constexpr Field access_is_read{0};
constexpr uint64_t write_bucket = access_busy.mask();
constexpr uint64_t read_bucket = access_busy.mask() | access_is_read.mask();
constexpr unsigned access_budget = 101;

// The VID index begins behind 48 bits of the MAC index, which is written as 64: the MAC goes first.
constexpr Register mac_index{0x05, 0x02, 64};
constexpr Register vid_index{0x05, 0x08, 16};

constexpr Register bin_key{0x05, 0x10, 64}; // of bin 0
constexpr Register bin_data{0x05, 0x18, 32};
constexpr unsigned bin_distance = 0x10;
constexpr int32_t bins = 4;
constexpr int32_t no_bin = -1;

constexpr Setting bin_full_counter{
    .place = Register(0x04, 0x70, 32)[{0, 32}],
    .kind = Kind::whole,
};
constexpr Register bin_full_forward{0x04, 0x74, 16};
constexpr Setting bin_full_forwarding{
    .place = bin_full_forward[{0, 32}],
    .kind = Kind::whole,
};

Register of_bin(Register first, int32_t bin) { return first.at(static_cast<unsigned>(bin) * bin_distance); }

uint64_t key_of(const eth_l2_addr_t &addr) { return pack_mac(addr.mac) | uint64_t{addr.vid} << vid_low; }

uint32_t data_of(const eth_l2_addr_t &addr)
{
    return addr.port | static_cast<uint32_t>(entry_written.mask()) | addr.tc << entry_tc.low |
           (addr.flags & l2_flags) << flags_low;
}

int32_t ethHw_arl_access_wait() { return poll(access_control[access_busy], 0, access_budget); }

// Runs a command on the bucket that the key selects.
int32_t access_bucket(uint64_t command, uint64_t key)
{
    write(mac_index, key & mac_bits);
    write(vid_index, key >> vid_low);
    write(access_control, command);
    return ethHw_arl_access_wait();
}

// The first bin that is free or holds the key; else the highest dynamic one.
int32_t choose_bin(uint64_t key) ESW_REQUIRES(switch_mutex)
{
    int32_t dynamic = no_bin;
    for (int32_t bin = 0; bin < bins; ++bin) {
        const uint32_t data = read32(of_bin(bin_data, bin));
        if (!entry_static.get(data))
            dynamic = bin;
        if (!entry_valid.get(data) || read64(of_bin(bin_key, bin)) == key)
            return bin;
    }
    return dynamic;
}

} // namespace

void eth_l2_addr_t_init(eth_l2_addr_t *addr, const uint8_t mac[6], uint16_t vid)
{
    uint8_t copy[sizeof addr->mac]; // the address may lie in the record
    memcpy(copy, mac, sizeof copy);
    *addr = {};
    memcpy(addr->mac, copy, sizeof copy);
    addr->vid = vid;
}

int32_t eth_l2_addr_add(eth_l2_addr_t *addr)
{
    const bool multicast = (addr->mac[0] & 1) != 0;
    if (multicast ? !is_port_set(addr->port) : !is_port(addr->port))
        return ETH_E_PORT;
    const uint64_t key = key_of(*addr);
    const SwitchLock lock;
    if (access_bucket(read_bucket, key) != ETH_E_NONE)
        return ETH_E_TIMEOUT;
    const int32_t bin = choose_bin(key);
    if (bin == no_bin)
        return ETH_E_FULL;
    write(of_bin(bin_data, bin), data_of(*addr));
    write(of_bin(bin_key, bin), key);
    return access_bucket(write_bucket, key);
}

int32_t eth_l2_addr_delete(const uint8_t mac[6], uint16_t vid)
{
    eth_l2_addr_t addr;
    eth_l2_addr_t_init(&addr, mac, vid);
    return eth_l2_addr_add(&addr);
}

int32_t eth_arl_entry_bin_check(const eth_l2_addr_t *probe, const eth_l2_addr_t *entry, uint32_t *found,
                                int32_t *bin)
{
    *found = 0;
    *bin = no_bin;
    const uint64_t probe_key = (probe->flags & ETH_L2_VALID) != 0 ? key_of(*probe) : 0;
    if ((entry->flags & ETH_L2_VALID) == 0)
        return ETH_E_NONE;
    const uint64_t entry_key = key_of(*entry);
    if (access_bucket(read_bucket, entry_key) != ETH_E_NONE)
        return ETH_E_TIMEOUT;
    for (int32_t candidate = 0; candidate < bins; ++candidate) {
        if (!entry_valid.get(read32(of_bin(bin_data, candidate))))
            continue;
        const uint64_t key = read64(of_bin(bin_key, candidate));
        if (key == entry_key)
            *bin = candidate;
        if (key == probe_key)
            *found = 1;
    }
    return ETH_E_NONE;
}

int32_t eth_arl_bin_full_counter_get(uint32_t *count) { return get(count, bin_full_counter); }

int32_t eth_arl_bin_full_fwd_get(uint32_t *value) { return get(value, bin_full_forwarding); }

int32_t eth_arl_bin_full_fwd_set(int32_t enable) { return write(bin_full_forward, enable != 0); }
