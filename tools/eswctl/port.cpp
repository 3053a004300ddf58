// port: what a port lets through.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

// In the order of the library's numbers 0 to 4.
const std::vector<std::string> stp_states = {"disabled", "blocking", "listening", "learning", "forwarding"};

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

Json state_of(uint32_t port)
{
    int32_t enabled = 0;
    int32_t frame_max = 0;
    check(ethHw_port_enable_get(port, &enabled), "read the state of the port");
    check(eth_port_frame_max_get(port, &frame_max), "read the frame size of the port");
    Json row = {{"port", port}, {"enabled", enabled == 1}};
    row.update(mac_halves(port));
    row["stp_state"] = stp_state(port);
    row["frame_max"] = frame_max;
    return row;
}

Report show(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(arguments["PORT"]))
        rows.push_back(state_of(port));
    return table("ports",
                 {{"port", "port"},
                  {"enabled", "enabled"},
                  {"mac_bit1", "MAC bit 1"},
                  {"mac_bit0", "MAC bit 0"},
                  {"stp_state", "STP state"},
                  {"frame_max", "frame max", "bytes"}},
                 std::move(rows));
}

Report enable(const Arguments &arguments, bool on)
{
    Json ports = arguments["PORT"];
    std::string names;
    for (const Json &port : ports) {
        check(ethHw_port_enable_set(port, on), "switch the port");
        names += (names.empty() ? "" : ", ") + port.dump();
    }
    return done(fmt::format("port {} {}", names, on ? "enabled" : "disabled"),
                {{"ports", std::move(ports)}, {"enabled", on}});
}

// Both halves are written together: one that is not given keeps what it has.
Report mac(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    Json halves = mac_halves(port);
    if (arguments["--bit1"].is_boolean())
        halves["mac_bit1"] = arguments["--bit1"];
    if (arguments["--bit0"].is_boolean())
        halves["mac_bit0"] = arguments["--bit0"];
    if (arguments["--bit1"].is_boolean() || arguments["--bit0"].is_boolean())
        check(ethHw_mac_enable_set(port, halves["mac_bit1"].get<bool>(), halves["mac_bit0"].get<bool>()),
              "switch the port's MAC");
    Json value = {{"port", port}};
    value.update(halves);
    return record({{"port", "port"}, {"mac_bit1", "MAC bit 1 enabled"}, {"mac_bit0", "MAC bit 0 enabled"}},
                  std::move(value));
}

Report stp(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    if (!arguments["STATE"].is_null()) {
        const auto found = std::ranges::find(stp_states, arguments["STATE"].get<std::string>());
        check(eth_stg_stp_set(stg, port, static_cast<uint32_t>(found - stp_states.begin())),
              "set the spanning-tree state");
    }
    return record({{"port", "port"}, {"stp_state", "STP state"}},
                  {{"port", port}, {"stp_state", stp_state(port)}});
}

Report frame_max(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    if (!arguments["BYTES"].is_null())
        check(eth_port_frame_max_set(port, arguments["BYTES"].get<uint32_t>()), "set the frame size");
    int32_t size = 0;
    check(eth_port_frame_max_get(port, &size), "read the frame size");
    return record({{"port", "port"}, {"frame_max", "frame max", "bytes"}},
                  {{"port", port}, {"frame_max", size}});
}

} // namespace

Family port_family()
{
    const Argument any{"PORT", "port: 0, 1 or 8", any_port(), true};
    const Argument several{"PORT", "ports: 0, 1 or 8", any_port(), true, true};
    const Argument with_phy{"PORT", "port: 0 or 1", phy_port(), true};
    return {
        "port",
        "Switch ports, their MACs and spanning-tree states; frame size",
        {
            {"port show",
             "Show the state of one port, or of all",
             {{"PORT", "port: 0, 1 or 8", any_port()}},
             show},
            {"port enable", "Switch ports on", {several}, [](const Arguments &a) { return enable(a, true); }},
            {"port disable",
             "Switch ports off",
             {several},
             [](const Arguments &a) { return enable(a, false); }},
            {"port mac",
             "Show a port's MAC disable bits, or switch the halves of the MAC on or off",
             {with_phy,
              {"--bit1", "on or off: what bit 1 disables", on_off()},
              {"--bit0", "on or off: what bit 0 disables", on_off()}},
             mac},
            {"port stp",
             "Show or set a port's spanning-tree state",
             {with_phy,
              {"STATE", "disabled, blocking, listening, learning or forwarding", choice(stp_states)}},
             stp},
            {"port frame-max",
             "Show or set the largest frame of a port; 1518 and 2000 hold for all ports that are not at 9720",
             {any, {"BYTES", "1518, 2000 or 9720 bytes", one_of({1518, 2000, 9720})}},
             frame_max},
        }};
}

} // namespace eswctl
