// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/l2.h>

#include "core/locked_register.h"
#include "core/mac.h"
#include "core/poll.h"
#include "l2/entry.h"

namespace {

using namespace esw;

constexpr LockedRegister search_control{0x05, 0x50, 8};
constexpr Field search_start{7};
constexpr Field search_ready{0};
constexpr unsigned search_budget = 101;

constexpr LockedRegister result_key{0x05, 0x60, 64}; // of result 0
constexpr LockedRegister result_data{0x05, 0x68, 32};
constexpr unsigned result_distance = 0x10;

void decode(eth_l2_addr_t &addr, uint64_t key, uint32_t data)
{
    if (!entry_valid.get(data)) {
        addr = {};
        return;
    }
    addr.flags = (addr.flags & ~l2_flags) | (data >> flags_low & l2_flags);
    unpack_mac(key, addr.mac);
    addr.vid = static_cast<uint16_t>(key >> vid_low);
    addr.port = entry_port.get(data);
    addr.tc = entry_tc.get(data);
}

void take_result(unsigned number, eth_l2_addr_t &addr) ESW_REQUIRES(switch_mutex)
{
    const uint64_t key = read64(result_key.at(number * result_distance));
    decode(addr, key, read32(result_data.at(number * result_distance)));
}

} // namespace

int32_t eth_l2_search_start(void)
{
    const SwitchLock lock;
    assign_flag(search_control[search_start], true);
    return ETH_E_NONE;
}

int32_t eth_l2_search_next(eth_l2_addr_t *first, eth_l2_addr_t *second)
{
    const SwitchLock lock;
    const int32_t result = poll(search_control[search_ready], 1, search_budget);
    if (result == ETH_E_NONE) {
        take_result(0, *first);
        take_result(1, *second);
    }
    return result;
}
