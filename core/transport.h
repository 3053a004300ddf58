// SPDX-License-Identifier: LGPL-2.1-or-later
// The one way to the drivers.
#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/ioctl.h>

#include <esw/core.h>

#include "core/wire.h"

namespace esw {

// Clears the block that every interface request starts from, and names the interface in it.
void address_requests_to(const char *ifname);
// Replaces the name only.
void readdress_requests_to(const char *ifname);

// A RegisterRequest in two words, so that its padding is zero.
struct Request {
    uint64_t value;
    uint64_t target; // the three bytes that name what is accessed: width, page and offset, from the lowest up
};
static_assert(sizeof(Request) == sizeof(RegisterRequest) && offsetof(RegisterRequest, width) == 8);

int32_t send_by_interface(RequestNumber number, void *request);

// Sends a register request by the route that gFd chooses now. 0 when it was done.
inline int32_t send(RequestNumber number, Request &request)
{
    return gFd > 0 ? ioctl(gFd, number, &request) : send_by_interface(number, &request);
}

} // namespace esw
