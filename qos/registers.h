// SPDX-License-Identifier: LGPL-2.1-or-later
// Registers that more than one topic of this folder writes.
#pragma once

#include "core/register.h"

namespace esw {

inline constexpr Register cos_ports{0x30, 0x04, 16};  // as a port set
inline constexpr Register dscp_ports{0x30, 0x06, 16}; // that classify by DSCP, as a port set

inline constexpr uint32_t last_priority = 7; // traffic classes and the queues of a port end there, too

} // namespace esw
