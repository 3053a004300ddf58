// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/transport.h"

#include <cstring>

#include <sys/ioctl.h>

#include <esw/core.h>

#include "core/interface_name.h"

namespace esw {
namespace {

RequestBlock process_block; // only its name is ever set

} // namespace

void address_requests_to(const char *ifname)
{
    process_block = {};
    readdress_requests_to(ifname);
}

void readdress_requests_to(const char *ifname) { copy_interface_name(process_block.name, ifname); }

// Each request goes out in a block of its own: two threads can't take each other's register request.
int32_t send_by_interface(RequestNumber number, void *request)
{
    RequestBlock block = process_block;
    block.data = request;
    return ioctl(gSocket, number, &block);
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
