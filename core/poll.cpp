// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/poll.h"

#include <esw/types.h>

int32_t esw::poll(Place flag, uint32_t wanted, unsigned budget)
{
    while (budget-- != 0) {
        if (read_field(flag) == wanted)
            return ETH_E_NONE;
    }
    return ETH_E_TIMEOUT;
}
