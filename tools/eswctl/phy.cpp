// SPDX-License-Identifier: LGPL-2.1-or-later
// phy, speed and eee: the clause 22 registers of a port's PHY, what they make of its link, and what saves energy.
#include <map>

#include <linux/ethtool.h>
#include <linux/mii.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint32_t aux = 0; // the library does not use it
constexpr unsigned register_bits = 16;

const Meanings mii_refused = {
    {ETH_E_TIMEOUT, "the driver refused the MII request"},
    {ETH_E_UNAVAIL, "class A switches have no such control; use eswctl phy write"},
};

// By the interface that -i names.
template <auto set>
PortCall through_interface(const char *argument)
{
    return [=](uint32_t port, const Arguments &arguments) {
        return set(interface_name().c_str(), port, aux, arguments[argument]);
    };
}

uint32_t read(uint32_t port, uint32_t reg)
{
    uint32_t value = 0;
    check(eth_port_phy_get(interface_name().c_str(), port, aux, reg, &value),
          fmt::format("read register {} of the PHY of port {} through {}", reg, port, interface_name()),
          mii_refused);
    return value;
}

Report show_registers(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_in(arguments["PORT"])) {
        for (const Json &reg : arguments["REGISTER"])
            rows.push_back({{"port", port},
                            {"register", reg},
                            {"value", hex(read(port, reg.get<uint32_t>()), register_bits)}});
    }
    return table("registers", {{"port", "port"}, {"register", "register"}, {"value", "value"}},
                 std::move(rows));
}

Report write(const Arguments &arguments)
{
    const auto reg = arguments["REGISTER"].get<uint32_t>();
    const auto value = arguments["VALUE"].get<uint32_t>();
    return set_ports(arguments, fmt::format("PHY register {} set to {}", reg, hex(value, register_bits)),
                     [=](uint32_t port) {
                         check(eth_port_phy_set(interface_name().c_str(), port, aux, reg, value),
                               fmt::format("write register {} of the PHY of port {} through {}", reg, port,
                                           interface_name()),
                               mii_refused);
                         return Json{{"register", reg}, {"value", hex(value, register_bits)}};
                     });
}

// Without a link the switch still reports the last speed.
Report show_speed(const Arguments &arguments)
{
    return port_table(arguments, {{"speed", "speed", "Mb/s"}}, [](uint32_t port) {
        int32_t up = 0;
        int32_t speed = 0;
        check(eth_port_link_status_get(port, &up), fmt::format("read the link of port {}", port));
        check(eth_port_speed_get(port, &speed), fmt::format("read the speed of port {}", port));
        return Json{{"speed", up ? Json(speed) : Json()}};
    });
}

// What both ends can offer, and where each has it.
struct Ability {
    const char *name;
    uint32_t own, partner; // registers
    uint32_t own_bit, partner_bit;
};
constexpr Ability abilities[] = {
    {"10 half", MII_ADVERTISE, MII_LPA, ADVERTISE_10HALF, LPA_10HALF},
    {"10 full", MII_ADVERTISE, MII_LPA, ADVERTISE_10FULL, LPA_10FULL},
    {"100 half", MII_ADVERTISE, MII_LPA, ADVERTISE_100HALF, LPA_100HALF},
    {"100 full", MII_ADVERTISE, MII_LPA, ADVERTISE_100FULL, LPA_100FULL},
    {"1000 half", MII_CTRL1000, MII_STAT1000, ADVERTISE_1000HALF, LPA_1000HALF},
    {"1000 full", MII_CTRL1000, MII_STAT1000, ADVERTISE_1000FULL, LPA_1000FULL},
    {"pause", MII_ADVERTISE, MII_LPA, ADVERTISE_PAUSE_CAP, LPA_PAUSE_CAP},
    {"asymmetric pause", MII_ADVERTISE, MII_LPA, ADVERTISE_PAUSE_ASYM, LPA_PAUSE_ASYM},
};

using Words = std::map<uint32_t, uint32_t>;

Json offered(const Words &words, uint32_t Ability::*reg, uint32_t Ability::*bit)
{
    Json names = Json::array();
    for (const Ability &ability : abilities) {
        if (words.at(ability.*reg) & ability.*bit)
            names.push_back(ability.name);
    }
    return names;
}

uint32_t selected_speed(uint32_t control)
{
    if (control & BMCR_SPEED1000)
        return 1000;
    return control & BMCR_SPEED100 ? 100 : 10;
}

Json decoded(uint32_t port, const Words &words)
{
    const uint32_t control = words.at(MII_BMCR);
    const uint32_t status = words.at(MII_BMSR);
    return {{"port", port},
            {"id", hex(words.at(MII_PHYSID1) << register_bits | words.at(MII_PHYSID2), 2 * register_bits)},
            {"power", (control & BMCR_PDOWN) == 0},
            {"link", (status & BMSR_LSTATUS) ? "up" : "down"},
            {"negotiates", (control & BMCR_ANENABLE) != 0},
            {"negotiated", (status & BMSR_ANEGCOMPLETE) != 0},
            {"selected_speed", selected_speed(control)},
            {"selected_duplex", control & BMCR_FULLDPLX ? "full" : "half"},
            {"advertised", offered(words, &Ability::own, &Ability::own_bit)},
            {"partner", offered(words, &Ability::partner, &Ability::partner_bit)}};
}

struct Standard {
    uint32_t number;
    const char *name;
};
constexpr Standard standard_registers[] = {
    {MII_BMCR, "control"},
    {MII_BMSR, "status"},
    {MII_PHYSID1, "identifier 1"},
    {MII_PHYSID2, "identifier 2"},
    {MII_ADVERTISE, "advertisement"},
    {MII_LPA, "partner abilities"},
    {MII_CTRL1000, "1000BASE-T control"},
    {MII_STAT1000, "1000BASE-T status"},
    {MII_ESTATUS, "extended status"},
};

Json state_of(uint32_t port)
{
    read(port, MII_BMSR); // tells of a link lost in the past: the next read tells how it is
    Words words;
    Json rows = Json::array();
    for (const auto &[number, name] : standard_registers) {
        words[number] = read(port, number);
        rows.push_back({{"register", number}, {"name", name}, {"value", hex(words[number], register_bits)}});
    }
    Json state = decoded(port, words);
    state["registers"] = std::move(rows);
    return state;
}

const std::vector<Column> decoded_columns = {{"port", "port"},
                                             {"id", "identifier"},
                                             {"power", "powered"},
                                             {"link", "link"},
                                             {"negotiates", "negotiates"},
                                             {"negotiated", "negotiation done"},
                                             {"selected_speed", "selected speed", "Mb/s"},
                                             {"selected_duplex", "selected duplex"},
                                             {"advertised", "advertised"},
                                             {"partner", "partner offers"}};

// Two sections a port: what its registers say, and the registers.
Report show(const Arguments &arguments)
{
    Report report;
    Json &ports = report.value["ports"] = Json::array();
    for (const uint32_t port : ports_in(arguments["PORT"])) {
        const std::string key = fmt::format("/ports/{}", ports.size());
        ports.push_back(state_of(port));
        report.sections.push_back({key, decoded_columns});
        report.sections.push_back(
            {key + "/registers", {{"register", "register"}, {"name", "name"}, {"value", "value"}}});
    }
    return report;
}

// ---- Energy Efficient Ethernet

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

Report show_eee(const Arguments &arguments)
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

Family phy_family()
{
    const Argument ports = ports_required(phy_ports());
    const Argument reg = required("REGISTER", "register number, 0 to 31", number(0, 31));
    Argument registers = reg;
    registers.repeated = true;
    Family family{"phy", "PHYs of ports 0 and 1, through the MII requests of the interface that -i names"};
    family.add("phy show", "Show what PHYs are, do and offer", show, ports_to_show(phy_ports()));
    family.add("phy read", "Read registers", show_registers, ports, registers);
    family.add("phy write", "Write a register", write, ports, reg,
               required("VALUE", "value, 0 to 0xffff", number(0, 0xFFFF)));
    family.add("phy power", "Power PHYs up or down (class B): without power they have no link",
               at_ports("PHY {1}", "switch the PHY of port {0} {1}", {{"power", "STATE"}},
                        through_interface<eth_port_phy_enable>("STATE"), mii_refused),
               ports, required("STATE", "on or off", on_off()));
    return family;
}

Family speed_family()
{
    Family family{"speed", "Speed of ports"};
    family.add("speed show", "Show the speed of the ports that have a link", show_speed,
               ports_to_show(any_ports()));
    family.add(
        "speed set", "Make the PHYs of ports link at a speed (class B); link show tells what came of it",
        at_ports("told to link at {1} Mb/s", "set the speed of port {0}", {{"speed", "SPEED"}},
                 through_interface<eth_port_speed_set>("SPEED"), mii_refused),
        ports_required(phy_ports()), required("SPEED", "10, 100 or 1000, in Mb/s", one_of({10, 100, 1000})));
    return family;
}

Family eee_family()
{
    Family family{"eee", "Energy Efficient Ethernet of ports 0 and 1, through the driver of eth0"};
    family.add("eee show", "Show the settings of ports", show_eee, ports_to_show(phy_ports()));
    family.add("eee set", "Switch it on or off",
               at_ports("EEE {1}", "switch EEE of port {0} {1} in the driver of eth0", {{"enabled", "STATE"}},
                        by_call<eth_eee_set>("STATE")),
               ports_required(phy_ports()), required("STATE", "on or off", on_off()));
    return family;
}

} // namespace eswctl
