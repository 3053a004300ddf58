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
    return {{"port", port},
            {"enabled", eee.eee_enabled != 0},
            {"active", eee.eee_active != 0},
            {"tx_lpi_enabled", eee.tx_lpi_enabled != 0},
            {"tx_lpi_timer", eee.tx_lpi_timer},
            {"supported", speeds_of(eee.supported)},
            {"advertised", speeds_of(eee.advertised)},
            {"partner", speeds_of(eee.lp_advertised)}};
}

Report show(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : {0U, 1U}) {
        if (arguments["PORT"].is_null() || arguments["PORT"] == port)
            rows.push_back(settings_of(port));
    }
    return table("ports",
                 {{"port", "port"},
                  {"enabled", "enabled"},
                  {"active", "active"},
                  {"tx_lpi_enabled", "tx LPI"},
                  {"tx_lpi_timer", "tx LPI timer", "us"},
                  {"supported", "supported", "Mb/s"},
                  {"advertised", "advertised", "Mb/s"},
                  {"partner", "partner", "Mb/s"}},
                 std::move(rows));
}

Report set(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    check(eth_eee_set(port, on),
          fmt::format("switch EEE of port {} {} in the driver of eth0", port, on ? "on" : "off"));
    return done(fmt::format("EEE of port {} switched {}", port, on ? "on" : "off"),
                {{"port", port}, {"enabled", on}});
}

} // namespace

Family eee_family()
{
    return {"eee",
            "Energy Efficient Ethernet of ports 0 and 1, through the driver of eth0",
            {
                {"eee show",
                 "Show the settings of one port, or of both",
                 {{"PORT", "port: 0 or 1", phy_port()}},
                 show},
                {"eee set",
                 "Switch it on or off",
                 {{"PORT", "port: 0 or 1", phy_port(), true}, {"STATE", "on or off", on_off(), true}},
                 set},
            }};
}

} // namespace eswctl
