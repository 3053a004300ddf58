// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cerrno>
#include <cstring>

#include <sys/ioctl.h>
#include <syslog.h>

#include <esw/core.h>
#include <esw/port.h>

#include "core/device.h"
#include "core/interface_name.h"
#include "core/ports.h"
#include "core/wire.h"

namespace {

using namespace esw;

constexpr uint32_t late_phy_distance = 3; // of the address from the port number, on late class B devices

enum class Access : uint8_t { read, write };

int32_t access_register(Access access, const char *ifname, uint32_t port, uint32_t reg, uint32_t &value)
{
    const bool reads = access == Access::read;
    MiiRequest request{};
    copy_interface_name(request.name, ifname);
    request.mii.phy_id = static_cast<uint16_t>(is_late_class_b() ? port + late_phy_distance : port);
    request.mii.reg_num = static_cast<uint16_t>(reg);
    request.mii.val_in = reads ? 0 : static_cast<uint16_t>(value);
    if (ioctl(gSocket, reads ? request_mii_read : request_mii_write, &request) == 0) {
        if (reads)
            value = request.mii.val_out;
        return ETH_E_NONE;
    }
    request.mii.phy_id = 0; // ends a name that fills its field
    syslog(LOG_ERR, reads ? "%s: SIOCGMIIREG on %s failed: %s\n" : "%s:SIOCSMIIREG on %s failed: %s\n",
           reads ? "ethHw_port_phy_get_ioctl" : "ethHw_port_phy_set_ioctl", request.name, strerror(errno));
    return ETH_E_TIMEOUT;
}

} // namespace

int32_t ethHw_port_phy_get_ioctl(const char *ifname, uint32_t port, uint32_t, uint32_t reg, uint32_t *value)
{
    return access_register(Access::read, ifname, port, reg, *value);
}

int32_t ethHw_port_phy_set_ioctl(const char *ifname, uint32_t port, uint32_t, uint32_t reg, uint32_t value)
{
    return access_register(Access::write, ifname, port, reg, value);
}

int32_t eth_port_phy_get(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg, uint32_t *value)
{
    if (ethHw_port_phy_get_ioctl(ifname, port, aux, reg, value) == ETH_E_NONE)
        return ETH_E_NONE;
    syslog(LOG_ERR, "%s: read PHY register failed!\n", __func__);
    return ETH_E_PHY;
}

int32_t eth_port_phy_set(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg, uint32_t value)
{
    if (ethHw_port_phy_set_ioctl(ifname, port, aux, reg, value) == ETH_E_NONE)
        return ETH_E_NONE;
    syslog(LOG_ERR, "%s: set PHY register failed!\n", __func__);
    return ETH_E_PHY;
}

int32_t eth_port_phy_enable(const char *ifname, uint32_t port, uint32_t aux, int32_t enable)
{
    if (!is_class_b())
        return ETH_E_UNAVAIL;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    uint32_t control = 0;
    if (const int32_t failure = eth_port_phy_get(ifname, port, aux, MII_BMCR, &control))
        return failure;
    const bool enabled = (control & BMCR_PDOWN) == 0;
    if (enabled == (enable != 0))
        return ETH_E_NONE;
    return eth_port_phy_set(ifname, port, aux, MII_BMCR, control ^ BMCR_PDOWN);
}
