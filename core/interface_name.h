// SPDX-License-Identifier: LGPL-2.1-or-later
// Interface names in requests to network drivers.
#pragma once

#include "core/wire.h"

namespace esw {

// Copies a name as strncpy does: zero-filled behind, no terminator when it has 16 or more characters.
void copy_interface_name(char (&to)[interface_name_size], const char *name);

} // namespace esw
