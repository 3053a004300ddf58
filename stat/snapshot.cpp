// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/stat.h>

#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register snapshot_control{0x70, 0x00, 8};
constexpr Field snapshot_port{0, 4};
constexpr Field snapshot_mode{6, 1};
constexpr Field snapshot_latch{7, 1}; // pulsed

} // namespace

int32_t eth_stat_snapshot_start(uint32_t port)
{
    if (!is_port(port))
        return ETH_E_PORT;
    clear_bits(snapshot_control, snapshot_port.mask());
    set_bits(snapshot_control, port);
    set_bits(snapshot_control, snapshot_latch.mask());
    clear_bits(snapshot_control, snapshot_latch.mask());
    return ETH_E_NONE;
}

int32_t eth_stat_snapshot_mode_set(int32_t mode)
{
    if (mode != 0 && mode != 1)
        return ETH_E_UNAVAIL;
    assign_bits(snapshot_control, snapshot_mode.mask(), mode != 0);
    return ETH_E_NONE;
}

int32_t eth_stat_snapshot_mode_get(uint32_t *mode)
{
    *mode = snapshot_mode.get(read32(snapshot_control));
    return ETH_E_NONE;
}
