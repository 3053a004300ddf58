// SPDX-License-Identifier: LGPL-2.1-or-later
// rate: limits of what ports send and receive.
#include <algorithm>
#include <cctype>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint64_t largest_rate = INT32_MAX; // kbit/s; more would count as negative
constexpr uint32_t largest_burst = 0x3FFFFF;
constexpr uint32_t usual_burst = 500;
constexpr uint32_t off = 0xFFFFFFFF; // burst of a limiter that is off

constexpr uint32_t cpu_port = 8;
constexpr uint32_t largest_packet_rate = 1388889;
constexpr uint32_t largest_class_b_packet_rate = 262143;

struct Direction {
    const char *name;
    int32_t (*set)(uint32_t port, uint32_t rate, uint32_t burst);
    int32_t (*get)(uint32_t port, uint32_t *rate, uint32_t *burst);
    std::vector<uint32_t> ports;
};
const Direction egress{"egress", eth_port_rate_egress_set, eth_port_rate_egress_get, {0, 1, 8}};
const Direction ingress{"ingress", eth_port_rate_ingress_set, eth_port_rate_ingress_get, {0, 1}};

// In kbit/s, which is the unit of a number without one. "1.5G" has as many decimals as come out whole.
Json parse_bit_rate(const std::string &text)
{
    if (text == "off")
        return 0;
    const size_t unit_at = text.find_first_not_of("0123456789.");
    const std::string unit = unit_at == std::string::npos ? "" : text.substr(unit_at);
    std::string digits = text.substr(0, unit_at);
    const size_t point = digits.find('.');
    size_t decimals = unit == "M" ? 3 : unit == "G" ? 6 : 0;
    if (!unit.empty() && unit != "k" && decimals == 0)
        return nullptr;
    if (point != std::string::npos) {
        const size_t given = digits.size() - point - 1;
        if (point == 0 || given == 0 || given > decimals)
            return nullptr;
        digits.erase(point, 1);
        decimals -= given;
    }
    return number(0, largest_rate).parse(digits + std::string(decimals, '0'));
}

const Kind bit_rate{"a rate such as 64k, 100M or 1.5G, or a number of kbit/s, up to 2147483647, or off",
                    parse_bit_rate};

const Kind packet_rate{fmt::format("a number of packets per second up to {}, or off", largest_packet_rate),
                       [](const std::string &text) {
                           return text == "off" ? Json(0) : number(0, largest_packet_rate).parse(text);
                       }};

// A line of its own, when the switch rounds.
std::string rounding(const Json &asked, const Json &used, const char *unit)
{
    return asked == used
               ? ""
               : fmt::format("\nasked {0} {2}, switch uses {1} {2}", asked.dump(), used.dump(), unit);
}

// Whether the limiter of a class B switch's CPU port is on and counts packets. Its registers keep both rates.
bool counts_packets()
{
    const bool selected = (esw_reg_read32(0x47, 0xE8, 16) & 0x100) != 0;
    const bool on = (esw_reg_read32(0x47, 0xE6, 16) & 0x100) != 0;
    return selected && on;
}

Json limit_of(const Direction &direction, uint32_t port)
{
    uint32_t rate = 0;
    uint32_t burst = 0;
    check(direction.get(port, &rate, &burst), fmt::format("read the {} limit", direction.name));
    const bool of_packets = &direction == &egress && port == cpu_port && is_class_b() && counts_packets();
    if (burst == off || of_packets)
        return {{"limited", false}, {"rate", nullptr}, {"burst", nullptr}};
    return {{"limited", true}, {"rate", rate}, {"burst", burst}};
}

Report show(const Direction &direction, const Arguments &arguments)
{
    return port_table(arguments,
                      {{"limited", "limited"}, {"rate", "rate", "kbit/s"}, {"burst", "burst", "kB"}},
                      [&](uint32_t port) { return limit_of(direction, port); });
}

std::string account_of(const Direction &direction, const Json &limit)
{
    if (!limit["limited"].get<bool>())
        return fmt::format("port {}: {} limit off", limit["port"].dump(), direction.name);
    return fmt::format("port {}: {} limited to {} kbit/s with bursts of {} kB{}{}", limit["port"].dump(),
                       direction.name, limit["rate"].dump(), limit["burst"].dump(),
                       rounding(limit["asked_rate"], limit["rate"], "kbit/s"),
                       rounding(limit["asked_burst"], limit["burst"], "kB"));
}

Report set(const Direction &direction, const Arguments &arguments)
{
    const Json &rate = arguments["RATE"];
    const Json &burst = arguments["--burst"];
    Report report = set_ports(arguments, "", [&](uint32_t port) {
        check(direction.set(port, rate.get<uint32_t>(), burst.get<uint32_t>()),
              fmt::format("set the {} limit of port {}", direction.name, port));
        Json limit = limit_of(direction, port);
        limit["asked_rate"] = rate;
        limit["asked_burst"] = burst;
        return limit;
    });
    report.sentence = "";
    for (const Json &row : report.value["ports"])
        report.sentence += (report.sentence.empty() ? "" : "\n") + account_of(direction, row);
    return report;
}

Json packet_limit()
{
    int32_t rate = 0;
    if (is_class_b() && !counts_packets())
        return {{"limited", false}, {"packet_rate", nullptr}};
    check(eth_rate_get(&rate), "read the CPU port's packet rate");
    return {{"limited", true}, {"packet_rate", rate}};
}

Report show_cpu(const Arguments &)
{
    return record({{"limited", "limited"}, {"packet_rate", "packet rate", "packets/s"}}, packet_limit());
}

Report set_cpu(const Arguments &arguments)
{
    const Json &rate = arguments["RATE"];
    if (is_class_a() && rate == 0)
        throw Refused{"the switch is of class A: it can't turn the CPU port's limit off"};
    if (is_class_b() && rate > largest_class_b_packet_rate)
        throw Refused{
            fmt::format("the switch is of class B: its CPU port takes at most {} packets per second",
                        largest_class_b_packet_rate)};
    check(eth_rate_set(rate.get<int32_t>()), "limit the CPU port");
    Json value = packet_limit();
    if (!value["limited"].get<bool>())
        return done("CPU port: packet limit off", std::move(value));
    const std::string sentence =
        fmt::format("CPU port: limited to {} packets/s{}", value["packet_rate"].dump(),
                    rounding(rate, value["packet_rate"], "packets/s"));
    value["asked_packet_rate"] = rate;
    return done(sentence, std::move(value));
}

Json control_mode(uint32_t port)
{
    uint32_t mode = 0;
    check(eth_port_rate_ingress_control_get(port, &mode),
          fmt::format("read the ingress rate control of port {}", port));
    return {{"mode", mode}};
}

Report ingress_control(const Arguments &arguments)
{
    const Json &mode = arguments["MODE"];
    if (mode.is_null())
        return port_table(arguments, {{"mode", "ingress rate control mode"}}, control_mode);
    return set_ports(arguments, fmt::format("ingress rate control mode {}", mode.dump()), [&](uint32_t port) {
        check(eth_port_rate_ingress_control_set(port, mode.get<uint32_t>()),
              fmt::format("set the ingress rate control of port {}", port));
        return control_mode(port);
    });
}

// All of them at a glance: port 8 has no limit of what it receives.
Report show_all(const Arguments &)
{
    Json rows = Json::array();
    for (const uint32_t port : egress.ports) {
        const bool receives = std::ranges::find(ingress.ports, port) != ingress.ports.end();
        rows.push_back({{"port", port},
                        {"egress", limit_of(egress, port)},
                        {"ingress", receives ? limit_of(ingress, port) : Json()},
                        {"ingress_control", receives ? control_mode(port)["mode"] : Json()}});
    }
    Report report = table("ports",
                          {{"port", "port"},
                           {"/egress/rate", "egress", "kbit/s"},
                           {"/egress/burst", "burst", "kB"},
                           {"/ingress/rate", "ingress", "kbit/s"},
                           {"/ingress/burst", "burst", "kB"},
                           {"ingress_control", "ingress control"}},
                          std::move(rows));
    report.value["cpu"] = packet_limit();
    report.sections.push_back({"cpu", {{"packet_rate", "CPU port limit", "packets/s"}}});
    return report;
}

// "rate egress", "rate egress show" and "rate egress set".
void append_direction(std::vector<Command> &commands, const Direction &direction, const Kind &ports,
                      const std::string &what)
{
    const std::string words = fmt::format("rate {}", direction.name);
    commands.push_back({words, fmt::format("Limits of what ports {}", what), {}, {}});
    commands.push_back({words + " show",
                        fmt::format("Show how much ports may {}", what),
                        {ports_to_show(ports)},
                        [&direction](const Arguments &a) { return show(direction, a); }});
    commands.push_back({words + " set",
                        fmt::format("Limit how much ports may {}; the switch rounds down", what),
                        {ports_required(ports),
                         {"RATE", "64k, 100M, 1.5G or kbit/s; off for no limit", bit_rate, true},
                         {"--burst", fmt::format("bucket size in kB (default {})", usual_burst),
                          number(0, largest_burst, "kB"), false, false, usual_burst}},
                        [&direction](const Arguments &a) { return set(direction, a); }});
}

} // namespace

Family rate_family()
{
    Argument control_ports = ports_to_show(phy_ports());
    control_ports.repeated = false; // a mode may follow
    std::vector<Command> commands;
    commands.push_back({"rate show", "Show all limits", {}, show_all});
    append_direction(commands, egress, any_ports(), "send");
    append_direction(commands, ingress, phy_ports(), "receive");
    commands.push_back({"rate cpu", "Packet rate of the port that faces the processor", {}, {}});
    commands.push_back({"rate cpu show", "Show the packet limit of the CPU port", {}, show_cpu});
    commands.push_back({"rate cpu set",
                        "Limit the packets of the CPU port; the switch rounds down",
                        {{"RATE", "packets per second; off for no limit, on class B", packet_rate, true}},
                        set_cpu});
    commands.push_back({"rate ingress-control",
                        "Show or set the ingress rate control of ports",
                        {control_ports, {"MODE", "0 to 9", number(0, 9)}},
                        ingress_control});
    return {"rate", "Rate limits of ports", std::move(commands)};
}

} // namespace eswctl
