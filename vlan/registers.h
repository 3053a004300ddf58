// SPDX-License-Identifier: LGPL-2.1-or-later
// Registers that more than one topic of this folder accesses.
#pragma once

#include "core/register.h"

namespace esw {

inline constexpr Register translation_command{0x34, 0x40, 32}; // of the egress translation

} // namespace esw
