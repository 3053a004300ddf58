// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/stat.h>

#include "core/ports.h"
#include "core/setting.h"

namespace {

using namespace esw;

constexpr Register snapshot_control{0x70, 0x00, 8};
constexpr Field snapshot_port{0, 4};
constexpr Field snapshot_latch{7}; // pulsed

constexpr Setting snapshot_mode{.place = snapshot_control[{6}]};

} // namespace

int32_t eth_stat_snapshot_start(uint32_t port)
{
    if (!is_port(port))
        return ETH_E_PORT;
    assign_flag(snapshot_control[snapshot_port], false);
    set_bits(snapshot_control, port);
    assign_flag(snapshot_control[snapshot_latch], true);
    assign_flag(snapshot_control[snapshot_latch], false);
    return ETH_E_NONE;
}

int32_t eth_stat_snapshot_mode_set(int32_t mode)
{
    if (mode != 0 && mode != 1)
        return ETH_E_UNAVAIL;
    return set(mode, snapshot_mode);
}

int32_t eth_stat_snapshot_mode_get(uint32_t *mode) { return get(mode, snapshot_mode); }
