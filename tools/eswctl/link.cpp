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
        return {{"port", port},      {"link", "down"},       {"speed", nullptr},
                {"duplex", nullptr}, {"pause_low", nullptr}, {"pause_high", nullptr}};
    int32_t low = 0;
    int32_t high = 0;
    check(eth_port_pause_get(port, &low, &high), fmt::format("read the pause state of port {}", port));
    return {{"port", port},
            {"link", "up"},
            {"speed", read(eth_port_speed_get, port, "speed")},
            {"duplex", read(eth_port_duplex_get, port, "duplex") ? "full" : "half"},
            {"pause_low", low == 1},
            {"pause_high", high == 1}};
}

Report show(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(arguments["PORT"]))
        rows.push_back(link_of(port));
    return table("links",
                 {{"port", "port"},
                  {"link", "link"},
                  {"speed", "speed", "Mb/s"},
                  {"duplex", "duplex"},
                  {"pause_low", "pause low"},
                  {"pause_high", "pause high"}},
                 std::move(rows));
}

Report change(Json link)
{
    std::string sentence =
        fmt::format("port {}: link {}", link["port"].dump(), link["link"].get<std::string>());
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
    const std::vector<uint32_t> ports = ports_or_all(arguments["PORT"]);
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
            emit(change(now));
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
    const Argument port{"PORT", "port: 0, 1 or 8", any_port()};
    return {"link",
            "Links: up or down, speed, duplex and pause",
            {
                {"link show", "Show the link of one port, or of all", {port}, show},
                {"link watch",
                 "Tell each change of a port's link, or of any, as it comes; Ctrl-C ends it",
                 {port,
                  {"--count", "end after so many changes", number(1, UINT32_MAX)},
                  {"--interval", "seconds between two looks (default 1)", number(1, 3600, "seconds"), false,
                   false, 1}},
                 watch},
            }};
}

} // namespace eswctl
