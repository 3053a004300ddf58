// SPDX-License-Identifier: LGPL-2.1-or-later
// port: what a port lets through.
#include "eswctl/port.h"

#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint32_t stg = 0; // the library does not use it

Json stp_state(uint32_t port)
{
    int32_t state = 0;
    if (eth_stg_stp_get(stg, port, &state) != ETH_E_NONE)
        return nullptr;
    const auto number = static_cast<size_t>(state);
    return number < stp_states.size() ? Json(stp_states[number]) : Json(fmt::format("unknown ({})", state));
}

Json mac_halves(uint32_t port)
{
    int32_t bit1 = 0;
    int32_t bit0 = 0;
    if (ethHw_mac_enable_get(port, &bit1, &bit0) != ETH_E_NONE)
        return {{"mac_bit1", nullptr}, {"mac_bit0", nullptr}};
    return {{"mac_bit1", bit1 == 1}, {"mac_bit0", bit0 == 1}};
}

int32_t read_frame_max(uint32_t port)
{
    int32_t size = 0;
    check(eth_port_frame_max_get(port, &size), fmt::format("read the frame size of port {}", port));
    return size;
}

Json state_of(uint32_t port)
{
    int32_t enabled = 0;
    check(ethHw_port_enable_get(port, &enabled), fmt::format("read the state of port {}", port));
    Json row = {{"enabled", enabled == 1}};
    row.update(mac_halves(port));
    row["stp_state"] = stp_state(port);
    row["frame_max"] = read_frame_max(port);
    return row;
}

Report show(const Arguments &arguments)
{
    return port_table(arguments,
                      {{"enabled", "enabled"},
                       {"mac_bit1", "MAC bit 1"},
                       {"mac_bit0", "MAC bit 0"},
                       {"stp_state", "STP state"},
                       {"frame_max", "frame max", "bytes"}},
                      state_of);
}

Report enable(const Arguments &arguments, bool on)
{
    return set_ports(arguments, on ? "enabled" : "disabled", [=](uint32_t port) {
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
        check(ethHw_mac_enable_set(port, halves["mac_bit1"].get<bool>(), halves["mac_bit0"].get<bool>()),
              fmt::format("switch the MAC of port {}", port));
        return halves;
    });
}

Report stp(const Arguments &arguments)
{
    const Json &state = arguments["STATE"];
    if (state.is_null())
        return port_table(arguments, {{"stp_state", "STP state"}}, [](uint32_t port) {
            return Json{{"stp_state", stp_state(port)}};
        });
    const auto found = std::ranges::find(stp_states, state.get<std::string>());
    return set_ports(arguments, fmt::format("STP state {}", *found), [&](uint32_t port) {
        check(eth_stg_stp_set(stg, port, static_cast<uint32_t>(found - stp_states.begin())),
              fmt::format("set the STP state of port {}", port));
        return Json{{"stp_state", *found}};
    });
}

Report frame_max(const Arguments &arguments)
{
    const Json &bytes = arguments["BYTES"];
    if (bytes.is_null())
        return port_table(arguments, {{"frame_max", "frame max", "bytes"}}, [](uint32_t port) {
            return Json{{"frame_max", read_frame_max(port)}};
        });
    return set_ports(arguments, fmt::format("frame max {} bytes", bytes.dump()), [&](uint32_t port) {
        check(eth_port_frame_max_set(port, bytes.get<uint32_t>()),
              fmt::format("set the frame size of port {}", port));
        return Json{{"frame_max", read_frame_max(port)}};
    });
}

} // namespace

Family port_family()
{
    const Argument ports = ports_required(any_ports());
    const Argument several = ports_to_switch(any_ports());
    const Argument with_phy = ports_required(phy_ports());
    return {
        "port",
        "Switch ports, their MACs and spanning-tree states; frame size",
        {
            {"port show",
             "Show the state of ports; for port 8, a bit of the switch that enable and disable do not set",
             {ports_to_show(any_ports())},
             show},
            {"port enable", "Switch ports on", {several}, [](const Arguments &a) { return enable(a, true); }},
            {"port disable",
             "Switch ports off",
             {several},
             [](const Arguments &a) { return enable(a, false); }},
            {"port mac",
             "Show what the MAC disable bits of ports leave on, or switch it on or off",
             {with_phy,
              {"--bit1", "on or off: what bit 1 disables", on_off()},
              {"--bit0", "on or off: what bit 0 disables", on_off()}},
             mac},
            {"port stp",
             "Show or set the spanning-tree state of ports",
             {with_phy,
              {"STATE", "disabled, blocking, listening, learning or forwarding", choice(stp_states)}},
             stp},
            {"port frame-max",
             "Show or set the largest frame of ports; 1518 and 2000 hold for all ports that are not at 9720",
             {ports, {"BYTES", "1518, 2000 or 9720 bytes", one_of({1518, 2000, 9720})}},
             frame_max},
        }};
}

} // namespace eswctl
