// SPDX-License-Identifier: LGPL-2.1-or-later
// prio: priority remapping.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint8_t priorities = 8;

Json remapping_of(uint32_t port)
{
    uint32_t on = 0;
    check(eth_prio_remap_enable_get(port, &on), "read the state of the remapping");
    Json map = Json::array();
    for (uint8_t priority = 0; priority < priorities; ++priority) {
        uint8_t replacement = 0;
        check(eth_prio_remap_get(port, priority, &replacement), "read the remapping");
        map.push_back(replacement);
    }
    return {{"remapping", on == 1}, {"new_priorities", std::move(map)}};
}

Report show(const Arguments &arguments)
{
    std::vector<Column> columns = {{"remapping", "remapping"}};
    append_elements(columns, "new_priorities", "priority ", priorities);
    return port_table(arguments, std::move(columns), remapping_of);
}

Report set(const Arguments &arguments)
{
    const auto priority = arguments["PRIORITY"].get<uint8_t>();
    const auto replacement = arguments["NEW"].get<uint8_t>();
    return set_ports(arguments, fmt::format("priority {} becomes {}", priority, replacement),
                     [=](uint32_t port) {
                         check(eth_prio_remap_set(port, priority, replacement),
                               fmt::format("set the remapping of port {}", port));
                         return Json{{"priority", priority}, {"new_priority", replacement}};
                     });
}

Report enable(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    return set_ports(arguments, fmt::format("remapping {}", on_or_off(on)), [=](uint32_t port) {
        check(eth_prio_remap_enable_set(port, on), fmt::format("switch the remapping of port {}", port));
        return Json{{"remapping", on}};
    });
}

Report init(const Arguments &)
{
    check(eth_prio_init(), "initialise the classification");
    return done(fmt::format("{}: CoS on, classification by DSCP off", name_ports(all_ports)),
                {{"initialised", true}});
}

} // namespace

Family priority_family()
{
    const Argument ports = ports_required(any_ports());
    const Kind priority = number(0, priorities - 1);
    return {
        "prio",
        "Priorities of frames",
        {
            {"prio show", "Show what becomes of each priority at ports", {ports_to_show(any_ports())}, show},
            {"prio remap", "Replace priorities", {}, {}},
            {"prio remap show", "The same as prio show", {ports_to_show(any_ports())}, show},
            {"prio remap set",
             "Choose what becomes of a priority",
             {ports,
              {"PRIORITY", "of the incoming frame, 0 to 7", priority, true},
              {"NEW", "to use instead, 0 to 7", priority, true}},
             set},
            {"prio remap enable",
             "Switch the remapping of ports on or off",
             {ports, {"STATE", "on or off", on_off(), true}},
             enable},
            {"prio init", "Switch CoS on and classification by DSCP off, on all ports", {}, init},
        }};
}

} // namespace eswctl
