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
    return {{"port", port}, {"remapping", on == 1}, {"new_priorities", std::move(map)}};
}

Report show(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(arguments["PORT"]))
        rows.push_back(remapping_of(port));
    std::vector<Column> columns = {{"port", "port"}, {"remapping", "remapping"}};
    append_elements(columns, "new_priorities", "priority ", priorities);
    return table("ports", std::move(columns), std::move(rows));
}

Report set(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto priority = arguments["PRIORITY"].get<uint8_t>();
    const auto replacement = arguments["NEW"].get<uint8_t>();
    check(eth_prio_remap_set(port, priority, replacement), "set the remapping");
    return done(fmt::format("port {}: priority {} becomes {}", port, priority, replacement),
                {{"port", port}, {"priority", priority}, {"new_priority", replacement}});
}

Report enable(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    check(eth_prio_remap_enable_set(port, on), "switch the remapping");
    return done(fmt::format("port {}: remapping {}", port, on ? "on" : "off"),
                {{"port", port}, {"remapping", on}});
}

Report init(const Arguments &)
{
    check(eth_prio_init(), "initialise the classification");
    return done("CoS on and classification by DSCP off on ports 0, 1 and 8", {{"initialised", true}});
}

} // namespace

Family priority_family()
{
    const Argument port{"PORT", "port: 0, 1 or 8", any_port(), true};
    const Kind priority = number(0, priorities - 1);
    return {"prio",
            "Priorities of frames",
            {
                {"prio remap", "Replace priorities", {}, {}},
                {"prio remap show",
                 "Show what becomes of each priority, at one port or at all",
                 {{"PORT", "port: 0, 1 or 8", any_port()}},
                 show},
                {"prio remap set",
                 "Choose what becomes of a priority",
                 {port,
                  {"PRIORITY", "of the incoming frame, 0 to 7", priority, true},
                  {"NEW", "to use instead, 0 to 7", priority, true}},
                 set},
                {"prio remap enable",
                 "Switch the remapping of a port on or off",
                 {port, {"STATE", "on or off", on_off(), true}},
                 enable},
                {"prio init", "Switch CoS on and classification by DSCP off, on all ports", {}, init},
            }};
}

} // namespace eswctl
