// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cerrno>

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <esw/port.h>

#include "core/file.h"
#include "core/ports.h"
#include "core/wire.h"

namespace {

using namespace esw;

[[gnu::noinline]] int32_t send(const File &socket, RequestNumber number, uint32_t command, uint32_t port,
                               ethtool_eee &eee)
{
    RequestBlock block{.name = "eth0", .data = &eee, .unused = {}};
    eee.cmd = command;
    eee.reserved[0] = port_bit(port);
    return ioctl(socket.descriptor(), number, &block);
}

// Reads a port's settings and, when `enable` is given, sends them back where they differ from it.
int32_t exchange(uint32_t port, ethtool_eee &eee, const uint32_t *enable)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const File own(socket(AF_INET, SOCK_DGRAM, 0));
    if (!own)
        return ETH_E_RESOURCE;
    eee.supported = 0;
    int32_t result = send(own, request_eee_read, ETHTOOL_GEEE, port, eee);
    if (result == 0 && enable && eee.eee_enabled != *enable) {
        eee.eee_enabled = *enable;
        result = send(own, request_eee_write, ETHTOOL_SEEE, port, eee);
    }
    const int error = errno;
    shutdown(own.descriptor(), SHUT_RDWR); // fails: nothing is connected
    errno = error;
    return result;
}

} // namespace

int32_t eth_eee_get(uint32_t port, struct ethtool_eee *eee) { return exchange(port, *eee, nullptr); }

int32_t eth_eee_set(uint32_t port, uint32_t enable)
{
    ethtool_eee eee{};
    return exchange(port, eee, &enable);
}
