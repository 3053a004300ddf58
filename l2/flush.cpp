// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/l2.h>

#include "core/locked_register.h"
#include "core/poll.h"
#include "core/ports.h"

namespace {

using namespace esw;

constexpr LockedRegister fast_age_control{0x00, 0x88, 8};
constexpr Field fast_age_start{7}; // stays set while the flush runs
constexpr Field match_vid{3};
constexpr Field match_port{2};
constexpr Field flush_dynamic{1};
constexpr Field flush_static{0};
constexpr unsigned fast_age_budget = 10001;

constexpr LockedRegister fast_age_port{0x00, 0x89, 8};
constexpr LockedRegister fast_age_vid{0x00, 0x8A, 16};

constexpr uint16_t last_vid = 0xFFF;

int32_t ethHw_fast_age_wait() ESW_REQUIRES(switch_mutex)
{
    return poll(fast_age_control[fast_age_start], 0, fast_age_budget);
}

// Waits for the engine, then brings back the control register, however the wait ended.
int32_t finish(uint32_t kept_control) ESW_REQUIRES(switch_mutex)
{
    const int32_t result = ethHw_fast_age_wait();
    write(fast_age_control, kept_control);
    return result;
}

// Flushes the entries that match the port, the VID or both.
int32_t flush(uint64_t matches, uint32_t port, uint32_t vid, bool include_static)
{
    const SwitchLock lock;
    const uint32_t kept = read32(fast_age_control);
    if (match_port.get(matches))
        write(fast_age_port, port);
    if (match_vid.get(matches))
        write(fast_age_vid, vid);
    write(fast_age_control, matches | flush_dynamic.mask());
    if (include_static)
        assign_flag(fast_age_control[flush_static], true);
    assign_flag(fast_age_control[fast_age_start], true);
    return finish(kept);
}

} // namespace

int32_t eth_l2_clear(void)
{
    const SwitchLock lock;
    const uint32_t kept = read32(fast_age_control);
    write(fast_age_control, fast_age_start.mask() | flush_dynamic.mask() | flush_static.mask());
    return finish(kept);
}

int32_t eth_l2_addr_delete_by_port(int32_t, uint32_t port, uint32_t include_static)
{
    if (!is_port(port))
        return ETH_E_PORT;
    return flush(match_port.mask(), port, 0, include_static == 1);
}

int32_t eth_l2_addr_delete_by_vlan(uint16_t vid, int32_t include_static)
{
    if (vid > last_vid)
        return ETH_E_PARAM;
    return flush(match_vid.mask(), 0, vid, include_static == 1);
}

int32_t eth_l2_addr_delete_by_vlan_port(uint16_t vid, int32_t, uint32_t port, uint32_t include_static)
{
    if (!is_port(port))
        return ETH_E_PORT;
    if (vid > last_vid)
        return ETH_E_PARAM;
    return flush(match_port.mask() | match_vid.mask(), port, vid, include_static == 1);
}
