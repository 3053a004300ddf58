// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/request.h"

#include <dlfcn.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <esw.h>
#include <fmt/format.h>

#include "chip/registers.h"

namespace eswctl {

bool Request::by_device() const { return descriptor == gFd && gFd > 0; }

std::string Request::interface() const
{
    const char *name = static_cast<ifreq *>(argument)->ifr_name;
    return by_device() ? "" : std::string(name, strnlen(name, IFNAMSIZ));
}

esw::RegisterRequest &Request::registers() const
{
    return *static_cast<esw::RegisterRequest *>(by_device() ? argument
                                                            : static_cast<ifreq *>(argument)->ifr_data);
}

mii_ioctl_data &Request::mii() const
{
    return *reinterpret_cast<mii_ioctl_data *>(&static_cast<ifreq *>(argument)->ifr_ifru);
}

ethtool_eee &Request::eee() const
{
    return *reinterpret_cast<ethtool_eee *>(static_cast<ifreq *>(argument)->ifr_data);
}

int Request::pass() const
{
    static const auto next = reinterpret_cast<int (*)(int, unsigned long, ...)>(dlsym(RTLD_NEXT, "ioctl"));
    return next(descriptor, number, argument);
}

std::string register_name(Address address)
{
    const auto [row, index] = chip::locate(address.first, address.second);
    if (!row)
        return "unnamed";
    return row->count == 1 ? row->name : fmt::format("{}-{}", row->name, index);
}

unsigned register_width(Address address)
{
    const chip::Register *row = chip::locate(address.first, address.second).row;
    return row ? row->width : 64;
}

std::string name_of(const Request &request)
{
    if (request.is_mii())
        return fmt::format("request for PHY {} register {}", request.mii().phy_id, request.mii().reg_num);
    if (request.is_eee())
        return fmt::format("request for EEE of port map {:#x}", request.eee().reserved[0]);
    const esw::RegisterRequest &wire = request.registers();
    return fmt::format("{} {:02x}:{:02x} ({})", request.writes() ? "write to" : "read of", wire.page,
                       wire.offset, register_name({wire.page, wire.offset}));
}

std::string account_of(const Request &request)
{
    const std::string verb = request.writes() ? "write" : "read ";
    const char *arrow = request.writes() ? "<-" : "->";
    if (request.is_register()) {
        const esw::RegisterRequest &wire = request.registers();
        return fmt::format("{} {:02x}:{:02x} w{} {} {:#x}  {}", verb, wire.page, wire.offset, wire.width,
                           arrow, wire.value, register_name({wire.page, wire.offset}));
    }
    if (request.is_mii()) {
        const mii_ioctl_data &mii = request.mii();
        return fmt::format("{} phy {} reg {} {} {:#x}", verb, mii.phy_id, mii.reg_num, arrow,
                           request.writes() ? mii.val_in : mii.val_out);
    }
    const ethtool_eee &eee = request.eee();
    return fmt::format("{} eee port map {:#x} {} enabled {}", verb, eee.reserved[0], arrow, eee.eee_enabled);
}

} // namespace eswctl
