// SPDX-License-Identifier: LGPL-2.1-or-later
// mirror: copies of frames to a capture port.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr int32_t last_divider = 0xFFFF;
constexpr uint64_t last_filter = 2;

constexpr Instance directions[] = {{"ingress", ETH_MIRROR_INGRESS}, {"egress", ETH_MIRROR_EGRESS}};

Json read_mirrored(uint32_t direction)
{
    return direction == ETH_MIRROR_INGRESS ? read_ports<eth_mirror_ingress_get>(0)
                                           : read_ports<eth_mirror_egress_get>(0);
}

int32_t write_mirrored(uint32_t direction, const Json &ports)
{
    return direction == ETH_MIRROR_INGRESS ? write_ports<eth_mirror_ingress_set>(0, ports)
                                           : write_ports<eth_mirror_egress_set>(0, ports);
}

// The divider can be read while it is on only.
Json read_divider(uint32_t direction)
{
    uint32_t divided = 0;
    uint32_t divider = 0;
    eth_mirror_div_get(static_cast<int32_t>(direction), &divided, &divider);
    return divided == 1 ? Json(divider) : Json("off");
}

int32_t write_divider(uint32_t direction, const Json &divider)
{
    const bool on = divider.is_number();
    return eth_mirror_div_set(static_cast<int32_t>(direction), on, on ? divider.get<int32_t>() : 0);
}

Json read_mac(uint32_t direction)
{
    Mac address{};
    eth_mirror_mac_get(static_cast<int32_t>(direction), address.data());
    return from_mac(address.data());
}

int32_t write_mac(uint32_t direction, const Json &address)
{
    return eth_mirror_mac_set(static_cast<int32_t>(direction), to_mac(address).data());
}

constexpr Setting to_setting = setting("mirror.to", "capture port", once, "mirror to {value}", accepted::port,
                                       by_value<eth_mirror_to_get, eth_mirror_to_set>);
constexpr Setting mac_setting =
    setting("mirror.{}.mac", "{} mirroring: filter MAC", directions, "mirror set {instance} --mac {value}",
            accepted::mac, by(read_mac, write_mac, "eth_mirror_mac_set"));
constexpr Setting filter_setting =
    setting("mirror.{}.filter", "{} mirroring: filter", directions, "mirror set {instance} --filter {value}",
            accepted::integer<0, last_filter>, by_value<eth_mirror_filter_get, eth_mirror_filter_set>);
constexpr Setting divider_setting = setting(
    "mirror.{}.divider", "{} mirroring: divider", directions, "mirror set {instance} --divider {value}",
    [](uint32_t) {
        return either_form({constant_form("off"), integer_form(0, last_divider)});
    },
    by(read_divider, write_divider, "eth_mirror_div_set"));
constexpr Setting ports_setting = setting(
    "mirror.{}.ports", "{} mirroring: ports", directions, "mirror set {instance} --ports {value}",
    accepted::ports, by(read_mirrored, write_mirrored, "eth_mirror_ingress_set eth_mirror_egress_set"));
// Last: all the rest is in place then.
constexpr Setting enabled_setting =
    setting("mirror.enabled", "mirroring", once, "mirror {value}", accepted::flag,
            by_flag<eth_mirror_mode_get, eth_mirror_mode_set>);
constexpr Setting settings[] = {to_setting,      mac_setting,   filter_setting,
                                divider_setting, ports_setting, enabled_setting};

uint32_t direction_of(const std::string &word)
{
    return word == directions[0].name ? directions[0].number : directions[1].number;
}

Json state_of(const Instance &direction)
{
    const Json divider = divider_setting.read(direction.number);
    return {{"direction", direction.name},
            {"ports", ports_setting.read(direction.number)},
            {"filter", filter_setting.read(direction.number)},
            {"divider", divider.is_number() ? divider : Json()},
            {"mac", mac_setting.read(direction.number)}};
}

Report state(const Arguments & = {})
{
    Report report = record({{"enabled", "enabled"}, {"to", "capture port"}},
                           {{"enabled", shown(enabled_setting)}, {"to", shown(to_setting)}});
    for (const Instance &direction : directions)
        report.value["directions"].push_back(state_of(direction));
    report.sections.push_back({"directions",
                               {{"direction", "direction"},
                                {"ports", "ports"},
                                {"filter", "filter"},
                                {"divider", "divider"},
                                {"mac", "filter MAC"}}});
    return report;
}

// Switched on last, when all the rest is in place.
Report mirror_to(const Arguments &arguments)
{
    const auto ports =
        ports_by_word(arguments["DIRECTIONS"], "",
                      "DIRECTIONS: use ingress PORTS, egress PORTS or both, as in ingress 0,1 egress 1");
    change(to_setting, 0, arguments["PORT"]);
    for (const auto &[direction, set] : ports)
        change(ports_setting, direction_of(direction), set);
    change(enabled_setting, 0, true);
    return changed(fmt::format("mirroring to port {} on", arguments["PORT"].dump()), state());
}

Kind divider_or_off()
{
    return {fmt::format("a number from 0 to {} or off", last_divider),
            [](const std::string &text) -> Json {
                return text == "off" ? Json(text) : number(0, last_divider).parse(text);
            },
            "N|off"};
}

Report set(const Arguments &arguments)
{
    const auto direction = arguments["DIRECTION"].get<std::string>();
    const std::pair<const char *, const Setting &> options[] = {{"--mac", mac_setting},
                                                                {"--filter", filter_setting},
                                                                {"--divider", divider_setting},
                                                                {"--ports", ports_setting}};
    if (std::ranges::all_of(options, [&](const auto &option) { return arguments[option.first].is_null(); }))
        throw UsageError{"nothing to set; use --ports, --filter, --divider or --mac"};
    for (const auto &[option, setting] : options) {
        if (!arguments[option].is_null())
            change(setting, direction_of(direction), arguments[option]);
    }
    return changed(fmt::format("{} mirroring set", direction), state());
}

template <bool on>
Report switch_mirroring(const Arguments &)
{
    change(enabled_setting, 0, on);
    return done(on ? "mirroring on" : "mirroring off", {{"enabled", on}});
}

} // namespace

Settings mirror_settings() { return settings; }

Family mirror_family()
{
    Family family{"mirror", "Copies of received (ingress) and sent (egress) frames to a capture port"};
    family.add("mirror show", "Show the mirroring", state);
    family.add(
        "mirror to", "Mirror to a port: mirror to 8 ingress 0,1 egress 1", mirror_to,
        required("PORT", "capture port: 0, 1 or 8", any_port()),
        several(optional(
            "DIRECTIONS",
            "ingress PORTS, egress PORTS or both: exactly these ports are mirrored; a direction that is "
            "not named stays as it is",
            word_or_ports({"ingress", "egress"}))));
    family.add("mirror on", "Switch mirroring on", switch_mirroring<true>);
    family.add("mirror off", "Switch mirroring off; all settings stay", switch_mirroring<false>);
    family.add("mirror set", "Set what a direction mirrors", set,
               required("DIRECTION", "ingress or egress", choice({"ingress", "egress"})),
               optional("--ports", "exactly these ports: such as 0,8, or all, or none", port_set()),
               optional("--filter", "0 mirrors every frame; 1 and 2 are the switch's filters",
                        number(0, last_filter)),
               optional("--divider", "the divider's value, 0 to 65535, or off", divider_or_off()),
               optional("--mac", "MAC address that the filters look at", mac_address()));
    return family;
}

} // namespace eswctl
