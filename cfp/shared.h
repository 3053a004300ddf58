// SPDX-License-Identifier: LGPL-2.1-or-later
// What the files of the field processor share.
#pragma once

#include <cstdint>

#include "core/device.h"

namespace esw {

inline constexpr int32_t last_cfp_slot = 63;

// The class of the device at hand; when it is neither A nor B, says so in the function's name.
DeviceClass served_class(const char *function);

// The slot that the last search for a free one chose, shared by all processes: where the next one begins.
int32_t last_chosen_slot();
int32_t ethHw_cfp_last_idx_save(int32_t index);

} // namespace esw
