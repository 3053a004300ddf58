// SPDX-License-Identifier: LGPL-2.1-or-later
// The one way to the drivers.
#pragma once

#include <cstdint>

#include "core/wire.h"

namespace esw {

// Clears the block that every interface request starts from, and names the interface in it.
void address_requests_to(const char *ifname);
// Replaces the name only.
void readdress_requests_to(const char *ifname);

struct Answer {
    uint64_t value;
    int32_t failure; // 0 when it was done
};

// Sends one register request by the route that gFd chooses now. `target` holds the three bytes that name what
// is accessed: width, page and offset, from the lowest up. A failure is reported with `message`.
Answer transfer(unsigned long number, uint64_t target, uint64_t value, const char *message);

} // namespace esw
