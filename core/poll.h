// SPDX-License-Identifier: LGPL-2.1-or-later
// The one bounded wait for an engine of the switch.
#pragma once

#include <cstdint>

#include "core/register.h"

namespace esw {

// Reads the register back to back, without sleeping, until its flag is as wanted. Gives up with ETH_E_TIMEOUT
// after `budget` reads. A failed read counts as all ones.
int32_t poll(Place flag, uint32_t wanted, unsigned budget);

} // namespace esw
