// SPDX-License-Identifier: LGPL-2.1-or-later
// What the program's descriptors are: the control device, sockets, or none of our business.
#pragma once

#include <cstdint>

namespace sim {

enum class Kind : uint8_t { other, control, socket };

// By what the kernel says of the descriptor, or said since the program last closed or replaced any. Asking
// each time would cost more than the request. Closing behind the C library's back is not seen: a request on
// such a number is served still, other calls on it never come here.
Kind kind_of(int descriptor);

// Opens the control device in place of the file that stands for it: a descriptor that can be read, written
// and mapped as little as a device without such operations. -1 with errno set when the file can't be opened
// so.
int open_control(const char *stand_in, int flags);

} // namespace sim
