// SPDX-License-Identifier: LGPL-2.1-or-later
// What the files of this folder share.
#pragma once

#include <cstdint>

namespace esw {

inline constexpr uint16_t last_vid = 4095;

} // namespace esw
