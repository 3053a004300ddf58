// SPDX-License-Identifier: LGPL-2.1-or-later
// The management register: its bits belong to several subsystems.
#pragma once

#include "core/register.h"

namespace esw {

inline constexpr Register management{0x02, 0x00, 8};

} // namespace esw
