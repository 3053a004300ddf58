// SPDX-License-Identifier: LGPL-2.1-or-later
// prio: priority remapping.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint8_t priorities = 8;

Json read_replacement(uint32_t port, size_t priority)
{
    uint8_t replacement = 0;
    eth_prio_remap_get(port, static_cast<uint8_t>(priority), &replacement);
    return replacement;
}

int32_t write_replacement(uint32_t port, size_t priority, const Json &replacement)
{
    return eth_prio_remap_set(port, static_cast<uint8_t>(priority), replacement);
}

int32_t replace(uint32_t port, const Arguments &arguments)
{
    return write_replacement(port, arguments["PRIORITY"], arguments["NEW"]);
}

constexpr Setting map_setting = setting(
    "qos.port{}.priority_map", "port {}: replacement of priority", each_port,
    "each: prio remap set {instance} {index} {value}", accepted::integers<priorities, 0, priorities - 1>,
    by(read_each<read_replacement, priorities>, write_each<write_replacement>, "eth_prio_remap_set"));
constexpr Setting remap_setting =
    setting("qos.priority_remap", "ports that replace priorities", once,
            "prio remap enable {in} on\nprio remap enable {out} off", accepted::ports,
            by_ports<eth_prio_remap_enable_get, eth_prio_remap_enable_set>);
constexpr Setting settings[] = {map_setting, remap_setting};

Json remapping_of(uint32_t port)
{
    return {{"remapping", read_flag<eth_prio_remap_enable_get>(port)},
            {"new_priorities", map_setting.read(port)}};
}

Report show(const Arguments &arguments)
{
    std::vector<Column> columns = {{"remapping", "remapping"}};
    append_elements(columns, "new_priorities", "priority ", priorities);
    return port_table(arguments, std::move(columns), remapping_of);
}

Report init(const Arguments &)
{
    check(eth_prio_init(), "initialise the classification");
    return done(fmt::format("{}: CoS on, classification by DSCP off", name_ports(all_ports)),
                {{"initialised", true}});
}

} // namespace

Settings priority_settings() { return settings; }

Family priority_family()
{
    const Argument ports = ports_required(any_ports());
    const Kind priority = number(0, priorities - 1);
    Family family{"prio", "Priorities of frames"};
    family.add("prio show", "Show what becomes of each priority at ports", show, ports_to_show(any_ports()));
    family.group("prio remap", "Replace priorities");
    family.add("prio remap show", "The same as prio show", show, ports_to_show(any_ports()));
    family.add("prio remap set", "Choose what becomes of a priority",
               at_ports("priority {1} becomes {2}", "set the remapping of port {0}",
                        {{"priority", "PRIORITY"}, {"new_priority", "NEW"}}, replace),
               ports, required("PRIORITY", "of the incoming frame, 0 to 7", priority),
               required("NEW", "to use instead, 0 to 7", priority));
    family.add("prio remap enable", "Switch the remapping of ports on or off",
               at_ports("remapping {1}", "switch the remapping of port {0}", {{"remapping", "STATE"}},
                        by_call<eth_prio_remap_enable_set>("STATE")),
               ports, required("STATE", "on or off", on_off()));
    family.add("prio init", "Switch CoS on and classification by DSCP off, on all ports", init);
    return family;
}

} // namespace eswctl
