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

// Sends one register request by the route that gFd chooses now. Zero when done; anything else is a failure.
int32_t transfer(RegisterRequest &request, RequestNumber number);

} // namespace esw
