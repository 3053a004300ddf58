// SPDX-License-Identifier: LGPL-2.1-or-later
// link: what a port's link is like, and what becomes of it.
#include <cstdlib>
#include <ctime>
#include <map>

#include <sys/wait.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"
#include "eswctl/turn.h"

namespace eswctl {
namespace {

int32_t read(int32_t (*get)(uint32_t, int32_t *), uint32_t port, const char *what)
{
    int32_t value = 0;
    check(get(port, &value), fmt::format("read the {} of port {}", what, port));
    return value;
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

// In UTC, as in "2026-01-31T12:00:00.250Z".
std::string time_now()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm date{};
    gmtime_r(&now.tv_sec, &date);
    char text[32];
    strftime(text, sizeof text, "%FT%T", &date);
    return fmt::format("{}.{:03}Z", text, now.tv_nsec / 1000000);
}

Report change(uint32_t port, const Json &state, bool stamped)
{
    Json link = {{"port", port}};
    link.update(state);
    std::string sentence = fmt::format("port {}: link {}", port, link["link"].get<std::string>());
    if (!link["speed"].is_null())
        sentence +=
            fmt::format(", {} Mb/s, {} duplex", link["speed"].dump(), link["duplex"].get<std::string>());
    if (stamped) {
        link["time"] = time_now();
        sentence = fmt::format("{} {}", link["time"].get<std::string>(), sentence);
    }
    Report report = done(sentence, std::move(link));
    report.one_of_many = true;
    return report;
}

// The shell's command finds the event in its environment. What it prints goes to standard error.
void run_command(const std::string &command, uint32_t port, const Json &link)
{
    const auto set = [](const char *name, const Json &value) {
        const std::string text = value.is_null()     ? ""
                                 : value.is_string() ? value.get<std::string>()
                                                     : value.dump();
        setenv(name, text.c_str(), 1);
    };
    set("ESW_PORT", port);
    set("ESW_LINK", link["link"]);
    set("ESW_SPEED", link["speed"]);
    set("ESW_DUPLEX", link["duplex"]);
    const UnlockedWhile running;
    const int status = system(command.c_str());
    if (status != 0)
        tell(fmt::format("eswctl: --exec: the command ended with {}\n",
                         WIFEXITED(status) ? fmt::format("exit code {}", WEXITSTATUS(status)) : "a signal"));
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
            emit(change(port, now, arguments["--time"].get<bool>()));
            if (!arguments["--exec"].is_null())
                run_command(arguments["--exec"].get<std::string>(), port, now);
            known[port] = std::move(now);
            if (--left == 0)
                return {nullptr};
        }
    }
    return {nullptr};
}

} // namespace

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

Family link_family()
{
    Kind command = text("a shell command");
    command.name = "COMMAND";
    const Argument ports = ports_to_show(any_ports());
    Family family{"link", "Links: up or down, speed, duplex and pause"};
    family.add("link show", "Show the links of ports", show, ports);
    family.add_watch(
        "link watch", "Tell each change of a link as it comes, until Ctrl-C", watch, ports,
        optional("--count", "end after so many changes", number(1, UINT32_MAX)),
        flag("--time", "stamp each change with the time, in UTC"),
        optional("--exec",
                 "run a shell command for each change, with ESW_PORT, ESW_LINK, ESW_SPEED and ESW_DUPLEX in "
                 "its "
                 "environment",
                 command),
        optional("--interval", "between two looks (default 1)", number(1, 3600, "seconds"), 1));
    return family;
}

} // namespace eswctl
