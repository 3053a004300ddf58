// SPDX-License-Identifier: LGPL-2.1-or-later
// link: what a port's link is like, and what becomes of it.
#include <map>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/output.h"

namespace eswctl {
namespace {

int32_t read(int32_t (*get)(uint32_t, int32_t *), uint32_t port, const char *what)
{
    int32_t value = 0;
    check(get(port, &value), fmt::format("read the {} of port {}", what, port));
    return value;
}

// Without a link the switch still reports the last speed and duplex: that would mislead.
Json link_of(uint32_t port)
{
    if (read(eth_port_link_status_get, port, "link") == 0)
        return {{"link", "down"},
                {"speed", nullptr},
                {"duplex", nullptr},
                {"pause_low", nullptr},
                {"pause_high", nullptr}};
    int32_t low = 0;
    int32_t high = 0;
    check(eth_port_pause_get(port, &low, &high), fmt::format("read the pause state of port {}", port));
    return {{"link", "up"},
            {"speed", read(eth_port_speed_get, port, "speed")},
            {"duplex", read(eth_port_duplex_get, port, "duplex") ? "full" : "half"},
            {"pause_low", low == 1},
            {"pause_high", high == 1}};
}

Report show(const Arguments &arguments)
{
    return port_table(arguments,
                      {{"link", "link"},
                       {"speed", "speed", "Mb/s"},
                       {"duplex", "duplex"},
                       {"pause_low", "pause low"},
                       {"pause_high", "pause high"}},
                      link_of);
}

Report change(uint32_t port, const Json &state)
{
    Json link = {{"port", port}};
    link.update(state);
    std::string sentence = fmt::format("port {}: link {}", port, link["link"].get<std::string>());
    if (!link["speed"].is_null())
        sentence +=
            fmt::format(", {} Mb/s, {} duplex", link["speed"].dump(), link["duplex"].get<std::string>());
    Report report = done(sentence, std::move(link));
    report.one_of_many = true;
    return report;
}

// A link that went and came back between two looks is a change as well: the switch remembers it.
Report watch(const Arguments &arguments)
{
    const std::vector<uint32_t> ports = ports_in(arguments["PORT"]);
    const auto interval = arguments["--interval"].get<double>();
    std::map<uint32_t, Json> known;
    for (const uint32_t port : ports) {
        read(eth_port_link_status_change_get, port, "link");
        known[port] = link_of(port);
    }
    uint64_t left = arguments["--count"].is_null() ? UINT64_MAX : arguments["--count"].get<uint64_t>();
    while (wait_for_next(interval)) {
        for (const uint32_t port : ports) {
            const bool changed = read(eth_port_link_status_change_get, port, "link") == 1;
            Json now = link_of(port);
            if (!changed && now == known[port])
                continue;
            emit(change(port, now));
            known[port] = std::move(now);
            if (--left == 0)
                return {nullptr};
        }
    }
    return {nullptr};
}

} // namespace

Family link_family()
{
    const Argument ports = ports_to_show(any_ports());
    return {
        "link",
        "Links: up or down, speed, duplex and pause",
        {
            {"link show", "Show the links of ports", {ports}, show},
            {"link watch",
             "Tell each change of a link as it comes, until Ctrl-C",
             {ports,
              {"--count", "end after so many changes", number(1, UINT32_MAX)},
              {"--interval", "between two looks (default 1)", number(1, 3600, "seconds"), false, false, 1}},
             watch,
             false,
             false,
             true},
        }};
}

} // namespace eswctl
