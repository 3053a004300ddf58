// SPDX-License-Identifier: LGPL-2.1-or-later
// eee: Energy Efficient Ethernet.
#include <linux/ethtool.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

// Every mode that saves energy is a full duplex one: its speed names it.
Json speeds_of(uint32_t modes)
{
    Json speeds = Json::array();
    if (modes & ADVERTISED_100baseT_Full)
        speeds.push_back(100);
    if (modes & ADVERTISED_1000baseT_Full)
        speeds.push_back(1000);
    return speeds;
}

Json settings_of(uint32_t port)
{
    ethtool_eee eee = {};
    check(eth_eee_get(port, &eee),
          fmt::format("read the EEE settings of port {} from the driver of eth0", port));
    return {{"enabled", eee.eee_enabled != 0},           {"active", eee.eee_active != 0},
            {"tx_lpi_enabled", eee.tx_lpi_enabled != 0}, {"tx_lpi_timer", eee.tx_lpi_timer},
            {"supported", speeds_of(eee.supported)},     {"advertised", speeds_of(eee.advertised)},
            {"partner", speeds_of(eee.lp_advertised)}};
}

Report show(const Arguments &arguments)
{
    return port_table(arguments,
                      {{"enabled", "enabled"},
                       {"active", "active"},
                       {"tx_lpi_enabled", "tx LPI"},
                       {"tx_lpi_timer", "tx LPI timer", "us"},
                       {"supported", "supported", "Mb/s"},
                       {"advertised", "advertised", "Mb/s"},
                       {"partner", "partner", "Mb/s"}},
                      settings_of);
}

} // namespace

Family eee_family()
{
    Family family{"eee", "Energy Efficient Ethernet of ports 0 and 1, through the driver of eth0"};
    family.add("eee show", "Show the settings of ports", show, ports_to_show(phy_ports()));
    family.add("eee set", "Switch it on or off",
               at_ports("EEE {1}", "switch EEE of port {0} {1} in the driver of eth0", {{"enabled", "STATE"}},
                        by_call<eth_eee_set>("STATE")),
               ports_required(phy_ports()), required("STATE", "on or off", on_off()));
    return family;
}

} // namespace eswctl
