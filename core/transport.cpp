// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/transport.h"

#include <cstdio>
#include <cstring>

#include <sys/ioctl.h>

#include <esw/core.h>

#include "core/interface_name.h"

namespace esw {
namespace {

RequestBlock process_block; // only its name is ever set

// A function of its own: the device route does without the block, and without the guard of its array.
// Each request goes out in a block of its own: two threads can't take each other's register request.
[[gnu::noinline]] int32_t transfer_by_interface(unsigned long number, void *request)
{
    RequestBlock block = process_block;
    block.data = request;
    return ioctl(gSocket, number, &block);
}

} // namespace

void address_requests_to(const char *ifname)
{
    process_block = {};
    readdress_requests_to(ifname);
}

void readdress_requests_to(const char *ifname) { copy_interface_name(process_block.name, ifname); }

Answer transfer(unsigned long number, uint64_t target, uint64_t value, const char *message)
{
    struct {
        uint64_t value;
        uint64_t target;
    } request{value, target}; // a RegisterRequest in two words: its padding is zero
    static_assert(sizeof request == sizeof(RegisterRequest) && offsetof(RegisterRequest, width) == 8);

    const int32_t result = gFd > 0 ? ioctl(gFd, number, &request) : transfer_by_interface(number, &request);
    if (result != 0)
        perror(message);
    return {request.value, result};
}

} // namespace esw

int32_t esw_send_ioctl(void *block, unsigned long request, uint8_t use_socket)
{
    const auto number = static_cast<esw::RequestNumber>(request);
    if (use_socket)
        return ioctl(gSocket, number, block);

    void *data; // the caller's block may have any alignment
    memcpy(&data, static_cast<const char *>(block) + offsetof(esw::RequestBlock, data), sizeof data);
    return ioctl(gFd, number, data);
}
