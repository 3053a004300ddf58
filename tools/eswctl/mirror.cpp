// SPDX-License-Identifier: LGPL-2.1-or-later
// mirror: copies of frames to a capture port.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

struct Direction {
    const char *name;
    int32_t number;
    int32_t (*set_port)(uint32_t port, int32_t enable);
    int32_t (*get_port)(uint32_t port, uint32_t *enable);
};
constexpr Direction directions[] = {
    {"ingress", ETH_MIRROR_INGRESS, eth_mirror_ingress_set, eth_mirror_ingress_get},
    {"egress", ETH_MIRROR_EGRESS, eth_mirror_egress_set, eth_mirror_egress_get},
};

constexpr int32_t last_divider = 0xFFFF;
constexpr uint64_t last_filter = 2;

const Direction *find_direction(const Json &word)
{
    const Direction *found =
        std::ranges::find_if(directions, [&](const Direction &d) { return word == d.name; });
    return found == std::end(directions) ? nullptr : found;
}

Json mirrored_ports(const Direction &direction)
{
    Json ports = Json::array();
    for (const uint32_t port : all_ports) {
        uint32_t mirrored = 0;
        check(direction.get_port(port, &mirrored), "read the mirrored ports");
        if (mirrored)
            ports.push_back(port);
    }
    return ports;
}

Json state_of(const Direction &direction)
{
    uint32_t filter = 0;
    uint32_t divided = 0;
    uint32_t divider = 0;
    Mac mac{};
    check(eth_mirror_filter_get(direction.number, &filter), "read the filter");
    check(eth_mirror_div_get(direction.number, &divided, &divider), "read the divider");
    check(eth_mirror_mac_get(direction.number, mac.data()), "read the filter's MAC");
    return {{"direction", direction.name},
            {"ports", mirrored_ports(direction)},
            {"filter", filter},
            {"divider", divided ? Json(divider) : Json()},
            {"mac", from_mac(mac.data())}};
}

Report state()
{
    uint32_t enabled = 0;
    uint32_t capture_port = 0;
    check(eth_mirror_mode_get(&enabled), "read whether mirroring is on");
    check(eth_mirror_to_get(&capture_port), "read the capture port");
    Report report = record({{"enabled", "enabled"}, {"to", "capture port"}},
                           {{"enabled", enabled == 1}, {"to", capture_port}});
    for (const Direction &direction : directions)
        report.value["directions"].push_back(state_of(direction));
    report.sections.push_back({"directions",
                               {{"direction", "direction"},
                                {"ports", "ports"},
                                {"filter", "filter"},
                                {"divider", "divider"},
                                {"mac", "filter MAC"}}});
    return report;
}

void mirror_ports(const Direction &direction, const Json &ports)
{
    const uint32_t set = to_port_set(ports);
    for (const uint32_t port : all_ports)
        check(direction.set_port(port, (set >> port & 1) != 0), "set the mirrored ports");
}

// Switched on last, when all the rest is in place.
Report mirror_to(const Arguments &arguments)
{
    const auto ports =
        ports_by_word(arguments["DIRECTIONS"], "",
                      "DIRECTIONS: use ingress PORTS, egress PORTS or both, as in ingress 0,1 egress 1");
    check(eth_mirror_to_set(arguments["PORT"].get<uint32_t>()), "set the capture port");
    for (const auto &[direction, set] : ports)
        mirror_ports(*find_direction(direction), set);
    check(eth_mirror_mode_set(1), "switch mirroring on");
    return changed(fmt::format("mirroring to port {} on", arguments["PORT"].dump()), state());
}

Kind divider_or_off()
{
    return {fmt::format("a number from 0 to {} or off", last_divider),
            [](const std::string &text) -> Json {
                return text == "off" ? Json(text) : number(0, last_divider).parse(text);
            },
            {},
            "",
            "N|off"};
}

Report set(const Arguments &arguments)
{
    const Direction &direction = *find_direction(arguments["DIRECTION"]);
    const Json &ports = arguments["--ports"];
    const Json &filter = arguments["--filter"];
    const Json &divider = arguments["--divider"];
    const Json &mac = arguments["--mac"];
    if (ports.is_null() && filter.is_null() && divider.is_null() && mac.is_null())
        throw UsageError{"nothing to set; use --ports, --filter, --divider or --mac"};
    if (!mac.is_null())
        check(eth_mirror_mac_set(direction.number, to_mac(mac).data()), "set the filter's MAC");
    if (!filter.is_null())
        check(eth_mirror_filter_set(static_cast<uint32_t>(direction.number), filter.get<uint32_t>()),
              "set the filter");
    if (!divider.is_null())
        check(eth_mirror_div_set(direction.number, divider.is_number(),
                                 divider.is_number() ? divider.get<int32_t>() : 0),
              "set the divider");
    if (!ports.is_null())
        mirror_ports(direction, ports);
    return changed(fmt::format("{} mirroring set", direction.name), state());
}

Report switch_mirroring(bool on)
{
    check(eth_mirror_mode_set(on), "switch mirroring");
    return done(on ? "mirroring on" : "mirroring off", {{"enabled", on}});
}

} // namespace

Family mirror_family()
{
    return {
        "mirror",
        "Copies of received (ingress) and sent (egress) frames to a capture port",
        {
            {"mirror show", "Show the mirroring", {}, [](const Arguments &) { return state(); }},
            {"mirror to",
             "Mirror to a port: mirror to 8 ingress 0,1 egress 1",
             {{"PORT", "capture port: 0, 1 or 8", any_port(), true},
              {"DIRECTIONS",
               "ingress PORTS, egress PORTS or both: exactly these ports are mirrored; a direction that is "
               "not named stays as it is",
               word_or_ports({"ingress", "egress"}), false, true}},
             mirror_to},
            {"mirror on",
             "Switch mirroring on",
             {},
             [](const Arguments &) { return switch_mirroring(true); }},
            {"mirror off",
             "Switch mirroring off; all settings stay",
             {},
             [](const Arguments &) { return switch_mirroring(false); }},
            {"mirror set",
             "Set what a direction mirrors",
             {{"DIRECTION", "ingress or egress", choice({"ingress", "egress"}), true},
              {"--ports", "exactly these ports: such as 0,8, or all, or none", port_set()},
              {"--filter", "0 mirrors every frame; 1 and 2 are the switch's filters", number(0, last_filter)},
              {"--divider", "the divider's value, 0 to 65535, or off", divider_or_off()},
              {"--mac", "MAC address that the filters look at", mac_address()}},
             set},
        }};
}

} // namespace eswctl
