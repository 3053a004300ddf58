// SPDX-License-Identifier: LGPL-2.1-or-later
// port: what a port lets through.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t stg = 0; // the library does not use it
constexpr uint32_t cpu_port = 8;
constexpr uint32_t largest_frame = 9720; // bytes

// In the order of the library's numbers 0 to 4.
const std::vector<std::string> stp_states = {"disabled", "blocking", "listening", "learning", "forwarding"};

Json read_mac(uint32_t port)
{
    int32_t bit1 = 0;
    int32_t bit0 = 0;
    ethHw_mac_enable_get(port, &bit1, &bit0);
    return {{"bit1", bit1 == 1}, {"bit0", bit0 == 1}};
}

int32_t write_mac(uint32_t port, const Json &halves)
{
    return ethHw_mac_enable_set(port, halves["bit1"].get<bool>(), halves["bit0"].get<bool>());
}

Json read_stp_state(uint32_t port)
{
    int32_t state = 0;
    eth_stg_stp_get(stg, port, &state);
    const auto number = static_cast<size_t>(state);
    return number < stp_states.size() ? Json(stp_states[number])
                                      : Json(fmt::format("code {}, unknown", state + 1));
}

int32_t write_stp_state(uint32_t port, const Json &state)
{
    const auto found = std::ranges::find(stp_states, state.get<std::string>());
    return eth_stg_stp_set(stg, port, static_cast<uint32_t>(found - stp_states.begin()));
}

// Port 8 has a field of two bits. Enabling makes it 1, disabling clears its lower bit; the upper one is what
// the library reads, and nothing but enabling clears it.
constexpr uint8_t cpu_control_page = 0x02;
constexpr uint8_t cpu_control_offset = 0x00;
constexpr unsigned cpu_field_position = 6;

Json read_switched(uint32_t)
{
    constexpr const char *states[] = {"off", "on", "off", "code 3, unknown"};
    return states[esw_reg_read32(cpu_control_page, cpu_control_offset, 8) >> cpu_field_position & 3];
}

int32_t write_switched(uint32_t port, const Json &state)
{
    return ethHw_port_enable_set(port, state == "on");
}

// One register holds the size of all ports that are not at the largest one.
std::string two_frame_sizes(const Json &document)
{
    std::string first;
    Json size;
    for (const Instance &port : each_port) {
        const std::string path = fmt::format("/ports/port{}/frame_max", port.name);
        const Json other = document.value(Json::json_pointer(path), Json());
        if (other.is_null() || other == largest_frame)
            continue;
        if (!size.is_null() && size != other)
            return fmt::format(
                "ports.port{}.frame_max is {}, and that of port {} is {}: ports that are not at "
                "{} share one size",
                port.name, other.dump(), first, size.dump(), largest_frame);
        size = other;
        first = port.name;
    }
    return "";
}

constexpr Setting mac_setting = setting(
    "ports.port{}.mac", "port {}: MAC", each_phy_port, "port mac {instance} --bit1 {bit1} --bit0 {bit0}",
    [](uint32_t) {
        return record_form({{"bit1", flag_form()}, {"bit0", flag_form()}});
    },
    by(read_mac, write_mac, "ethHw_mac_enable_set ethHw_port_enable_set"));
constexpr Setting stp_setting = setting(
    "ports.port{}.stp_state", "port {}: STP state", each_phy_port, "port stp {instance} {value}",
    [](uint32_t) { return words_form(stp_states); }, by(read_stp_state, write_stp_state, "eth_stg_stp_set"));
constexpr Setting switched_setting = setting(
    "ports.port{}.switched", "port {}: switched", cpu_port_only,
    "on: port enable {instance}|off: port disable {instance}",
    [](uint32_t) {
        return words_form({"on", "off"});
    },
    by(read_switched, write_switched, "ethHw_port_enable_set"));
constexpr Setting frame_setting =
    setting(
        "ports.port{}.frame_max", "port {}: frame max", each_port, "port frame-max {instance} {value}",
        [](uint32_t) {
            return numbers_form({1518, 2000, largest_frame});
        },
        by_value<eth_port_frame_max_get, eth_port_frame_max_set>)
        .with(&Setting::conflict, two_frame_sizes);
constexpr Setting settings[] = {mac_setting, stp_setting, switched_setting, frame_setting};

Json mac_halves(uint32_t port)
{
    if (port == cpu_port)
        return {{"mac_bit1", nullptr}, {"mac_bit0", nullptr}};
    const Json halves = read_mac(port);
    return {{"mac_bit1", halves["bit1"]}, {"mac_bit0", halves["bit0"]}};
}

Json stp_state(uint32_t port)
{
    return {{"stp_state", port == cpu_port ? Json() : shown(stp_setting, port)}};
}

Json frame_max_of(uint32_t port) { return {{"frame_max", frame_setting.read(port)}}; }

Json switched(uint32_t port)
{
    if (port == cpu_port)
        return shown(switched_setting, port);
    const Json halves = read_mac(port);
    if (halves["bit1"] != halves["bit0"])
        return "in part";
    return on_or_off(halves["bit1"].get<bool>());
}

Json state_of(uint32_t port)
{
    int32_t enabled = 0;
    check(ethHw_port_enable_get(port, &enabled), fmt::format("read the state of port {}", port));
    Json row = {{"switched", switched(port)}, {"enabled", enabled == 1}};
    for (const auto part : {mac_halves, stp_state, frame_max_of})
        row.update(part(port));
    return row;
}

Report show(const Arguments &arguments)
{
    return port_table(arguments,
                      {{"switched", "switched"},
                       {"enabled", "reads as enabled"},
                       {"mac_bit1", "MAC bit 1"},
                       {"mac_bit0", "MAC bit 0"},
                       {"stp_state", "STP state"},
                       {"frame_max", "frame max", "bytes"}},
                      state_of);
}

template <bool on>
Report enable(const Arguments &arguments)
{
    return set_ports(arguments, on ? "enabled" : "disabled", [](uint32_t port) {
        check(ethHw_port_enable_set(port, on), fmt::format("switch port {} {}", port, on_or_off(on)));
        return Json{{"enabled", on}};
    });
}

// Both halves are written together: one that is not given keeps what it has.
Report mac(const Arguments &arguments)
{
    const Json &bit1 = arguments["--bit1"];
    const Json &bit0 = arguments["--bit0"];
    std::string outcome;
    if (!bit1.is_null())
        outcome = fmt::format("MAC bit 1 {}", on_or_off(bit1.get<bool>()));
    if (!bit0.is_null())
        outcome += fmt::format("{}MAC bit 0 {}", outcome.empty() ? "" : ", ", on_or_off(bit0.get<bool>()));
    if (outcome.empty())
        return port_table(arguments, {{"mac_bit1", "MAC bit 1"}, {"mac_bit0", "MAC bit 0"}}, mac_halves);
    return set_ports(arguments, outcome, [&](uint32_t port) {
        Json halves = mac_halves(port);
        if (!bit1.is_null())
            halves["mac_bit1"] = bit1;
        if (!bit0.is_null())
            halves["mac_bit0"] = bit0;
        change(mac_setting, port, {{"bit1", halves["mac_bit1"]}, {"bit0", halves["mac_bit0"]}});
        return halves;
    });
}

Report stp(const Arguments &arguments)
{
    return show_or_set(stp_setting, arguments, "STATE", {"stp_state", "STP state"}, stp_state);
}

Report frame_max(const Arguments &arguments)
{
    const Json &bytes = arguments["BYTES"];
    Report report =
        show_or_set(frame_setting, arguments, "BYTES", {"frame_max", "frame max", "bytes"}, frame_max_of);
    if (!bytes.is_null() && bytes != largest_frame)
        report.sentence += fmt::format("; so have all ports that are not at {} bytes", largest_frame);
    return report;
}

} // namespace

Settings port_settings() { return settings; }

Family port_family()
{
    const Argument ports = ports_required(any_ports());
    const Argument several = ports_to_switch(any_ports());
    const Argument with_phy = ports_required(phy_ports());
    Family family{"port", "Switch ports, their MACs and spanning-tree states; frame size"};
    family.add(
        "port show",
        "Show the state of ports: what enable and disable have set, and whether the library reads them "
        "as enabled",
        show, ports_to_show(any_ports()));
    family.add("port enable", "Switch ports on", enable<true>, several);
    family.add("port disable", "Switch ports off", enable<false>, several);
    family.add("port mac", "Show what the MAC disable bits of ports leave on, or switch it on or off", mac,
               with_phy, optional("--bit1", "on or off: what bit 1 disables", on_off()),
               optional("--bit0", "on or off: what bit 0 disables", on_off()));
    family.add(
        "port stp", "Show or set the spanning-tree state of ports", stp, with_phy,
        optional("STATE", "disabled, blocking, listening, learning or forwarding", choice(stp_states)));
    family.add(
        "port frame-max",
        "Show or set the largest frame of ports; 1518 and 2000 hold for all ports that are not at 9720",
        frame_max, ports, optional("BYTES", "1518, 2000 or 9720 bytes", one_of({1518, 2000, 9720})));
    return family;
}

} // namespace eswctl
