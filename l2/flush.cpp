// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/l2.h>

#include "core/lock.h"
#include "core/poll.h"
#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register fast_age_control{0x00, 0x88, 8};
constexpr uint32_t fast_age_start = 0x80; // stays set while the flush runs
constexpr uint32_t match_vid = 0x08;
constexpr uint32_t match_port = 0x04;
constexpr uint32_t flush_dynamic = 0x02;
constexpr uint32_t flush_static = 0x01;
constexpr unsigned fast_age_budget = 10001;

constexpr Register fast_age_port{0x00, 0x89, 8};
constexpr Register fast_age_vid{0x00, 0x8A, 16};

constexpr uint16_t last_vid = 0xFFF;

int32_t ethHw_fast_age_wait() { return poll(fast_age_control, fast_age_start, 0, fast_age_budget); }

// Waits for the engine, then brings back the control register, however the wait ended.
int32_t finish(uint32_t kept_control) ESW_REQUIRES(switch_mutex)
{
    const int32_t result = ethHw_fast_age_wait();
    write(fast_age_control, kept_control);
    return result;
}

// Flushes the entries that match the port, the VID or both.
int32_t flush(uint32_t matches, uint32_t port, uint32_t vid, bool include_static)
{
    const SwitchLock lock;
    const uint32_t kept = read32(fast_age_control);
    if ((matches & match_port) != 0)
        write(fast_age_port, port);
    if ((matches & match_vid) != 0)
        write(fast_age_vid, vid);
    write(fast_age_control, matches | flush_dynamic);
    if (include_static)
        set_bits(fast_age_control, flush_static);
    set_bits(fast_age_control, fast_age_start);
    return finish(kept);
}

} // namespace

int32_t eth_l2_clear(void)
{
    const SwitchLock lock;
    const uint32_t kept = read32(fast_age_control);
    write(fast_age_control, fast_age_start | flush_dynamic | flush_static);
    return finish(kept);
}

int32_t eth_l2_addr_delete_by_port(int32_t, uint32_t port, uint32_t include_static)
{
    if (!is_port(port))
        return ETH_E_PORT;
    return flush(match_port, port, 0, include_static == 1);
}

int32_t eth_l2_addr_delete_by_vlan(uint16_t vid, int32_t include_static)
{
    if (vid > last_vid)
        return ETH_E_PARAM;
    return flush(match_vid, 0, vid, include_static == 1);
}

int32_t eth_l2_addr_delete_by_vlan_port(uint16_t vid, int32_t, uint32_t port, uint32_t include_static)
{
    if (!is_port(port))
        return ETH_E_PORT;
    if (vid > last_vid)
        return ETH_E_PARAM;
    return flush(match_port | match_vid, port, vid, include_static == 1);
}
