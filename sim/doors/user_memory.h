// SPDX-License-Identifier: LGPL-2.1-or-later
// Memory that the host program names. The kernel answers a bad address with EFAULT; so must its stand-in.
#pragma once

#include <cstddef>

namespace sim {

bool is_readable(const void *at); // the word there
bool fetch(void *to, const void *from, size_t size);
bool store(void *to, const void *from, size_t size); // at most a page

} // namespace sim
