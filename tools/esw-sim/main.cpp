// SPDX-License-Identifier: LGPL-2.1-or-later
// esw-sim: runs a program on a simulated switch.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "sim/board/board.h"
#include "sim/model/families.h"
#include "sim/model/options.h"

namespace {

namespace fs = std::filesystem;

constexpr int exit_failed = 1;
constexpr int exit_usage = 2;
constexpr int exit_cannot_run = 126;
constexpr int exit_not_found = 127;

struct Failure {
    std::string message;
    int code = exit_failed;
};

struct Arguments {
    std::string device = "0x2404";
    std::string route = "device";
    std::string state;
    std::string latency = "0";
    std::vector<std::string> faults;
    std::vector<std::string> links;
    std::vector<std::string> traffic;
    std::string elapsed;
    std::vector<std::string> stations;
    std::vector<std::string> contents;
    std::vector<std::string> interfaces;
    std::string trace;
    bool unprivileged = false;
    bool reset = false;
    std::vector<std::string> command;
};

// Something that happens to the switch from outside, before the program starts.
using Event = std::function<void(sim::Switch &)>;

Failure not_accepted(const char *option, const std::string &text, const char *accepted)
{
    return {fmt::format("{}: '{}' is not accepted; use {}", option, text, accepted), exit_usage};
}

uint32_t parse_number(const char *option, const std::string &text, const char *accepted)
{
    uint64_t number = 0;
    if (!sim::parse_number(text.c_str(), number) || number > UINT32_MAX)
        throw not_accepted(option, text, accepted);
    return static_cast<uint32_t>(number);
}

// Refuses what the preloaded library would refuse silently.
uint32_t check(const Arguments &arguments)
{
    sim::Options options;
    if (!sim::parse_route(arguments.route.c_str(), options))
        throw not_accepted("--route", arguments.route, "device or interface");
    for (const std::string &fault : arguments.faults) {
        if (!sim::parse_fault(fault.c_str(), options))
            throw not_accepted("--fault", fault,
                               "nth=N, from=N, all, mii, eee, stuck=REGISTER, socket or lock");
    }
    for (const std::string &interface : arguments.interfaces) {
        if (!sim::parse_interface(interface.c_str(), options))
            throw not_accepted("--interface", interface, "up to 8 names of 1 to 15 characters");
    }
    parse_number("--latency", arguments.latency, "a number of reads");
    return parse_number("--device", arguments.device, "a 32-bit number");
}

// "PORT=WHAT", split.
std::pair<std::string, std::string> at_equals(const std::string &text)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos)
        return {text, ""};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

Event link_event(const std::string &text)
{
    const auto [port, state] = at_equals(text);
    if ((port != "0" && port != "1") || (state != "up" && state != "down"))
        throw not_accepted("--link", text, "0=up, 0=down, 1=up or 1=down");
    return [number = static_cast<unsigned>(port[0] - '0'), up = state == "up"](sim::Switch &simulated) {
        sim::plug_cable(simulated, number, up);
    };
}

Event traffic_event(const std::string &text)
{
    constexpr const char *accepted = "0, 1 or 8, = and frames per second";
    const auto [port, rate] = at_equals(text);
    if (port != "0" && port != "1" && port != "8")
        throw not_accepted("--traffic", text, accepted);
    return [number = static_cast<uint64_t>(port[0] - '0'),
            frames = parse_number("--traffic", rate, accepted)](sim::Switch &simulated) {
        sim::set_traffic(simulated, number, frames);
    };
}

// "PAGE:OFFSET=VALUE", page and offset in hexadecimal.
Event contents_event(const std::string &text)
{
    const auto [place, value] = at_equals(text);
    unsigned page = 0;
    unsigned offset = 0;
    int length = 0;
    uint64_t contents = 0;
    if (sscanf(place.c_str(), "%2x:%2x%n", &page, &offset, &length) != 2 ||
        place.size() != static_cast<size_t>(length) || !sim::parse_number(value.c_str(), contents))
        throw not_accepted("--set", text,
                           "PAGE:OFFSET=VALUE such as 20:98=7, page and offset in hexadecimal");
    return [=](sim::Switch &simulated) {
        simulated.cell(static_cast<uint8_t>(page), static_cast<uint8_t>(offset)) = contents;
    };
}

Event station_event(const std::string &text)
{
    sim::Station station{};
    if (!sim::parse_station(text.c_str(), station))
        throw not_accepted("--learn", text, "MAC,VID,PORT such as 02:00:5e:00:53:01,1,0");
    return [station](sim::Switch &simulated) { sim::learn(simulated.state(), station); };
}

// Time passes first: what is heard afterwards is fresh.
std::vector<Event> parse_events(const Arguments &arguments)
{
    std::vector<Event> events;
    if (!arguments.elapsed.empty()) {
        const uint32_t seconds = parse_number("--elapse", arguments.elapsed, "a number of seconds");
        events.emplace_back([=](sim::Switch &simulated) { sim::let_time_pass(simulated.state(), seconds); });
    }
    std::ranges::transform(arguments.links, std::back_inserter(events), link_event);
    std::ranges::transform(arguments.traffic, std::back_inserter(events), traffic_event);
    std::ranges::transform(arguments.contents, std::back_inserter(events), contents_event);
    std::ranges::transform(arguments.stations, std::back_inserter(events), station_event);
    return events;
}

fs::path default_state()
{
    if (const char *state = getenv("XDG_STATE_HOME"); state && *state)
        return fs::path(state) / "esw-sim";
    if (const char *home = getenv("HOME"); home && *home)
        return fs::path(home) / ".local/state/esw-sim";
    return fs::temp_directory_path() / fmt::format("esw-sim-{}", getuid());
}

// Each device ID has a board of its own below the state directory.
fs::path open_board(const Arguments &arguments, uint32_t device_id)
{
    const fs::path state =
        fs::absolute(arguments.state.empty() ? default_state() : fs::path(arguments.state));
    const fs::path board = state / fmt::format("{:#x}", device_id);
    std::error_code error;
    fs::create_directories(state, error);
    if (error || !sim::create_board(board.c_str(), device_id))
        throw Failure{fmt::format("cannot create the switch in {}: {}", board.string(),
                                  error ? error.message() : strerror(errno))};
    return board;
}

void change_switch(const fs::path &board, uint32_t device_id, bool reset, const std::vector<Event> &events)
{
    sim::SharedSwitch *shared = sim::attach_board(board.c_str());
    if (!shared)
        throw Failure{fmt::format("cannot reach the switch in {}: {}", board.string(), strerror(errno))};
    const sim::Behaviour plain;
    const sim::BoardLock lock(*shared);
    if (lock.error() != 0)
        throw Failure{
            fmt::format("cannot hold the switch in {}: {}", board.string(), strerror(lock.error()))};
    sim::Switch simulated(shared->state, plain);
    if (reset) {
        simulated.power_on(device_id);
        for (const auto &file : fs::directory_iterator(board / sim::shm_directory))
            fs::remove(file);
    }
    for (const Event &event : events)
        event(simulated);
}

fs::path preload_library()
{
    std::error_code failure;
    const fs::path here = fs::read_symlink("/proc/self/exe", failure).parent_path();
    if (failure)
        throw Failure{"/proc is not mounted: it tells where esw-sim and its library are"};
    for (const char *libraries : {LIBDIR_FROM_BINDIR, "../lib"}) {
        const fs::path library = (here / libraries / "libesw-sim.so").lexically_normal();
        if (fs::exists(library))
            return library;
    }
    throw Failure{"libesw-sim.so is missing: it belongs into the library directory beside this program's"};
}

void export_environment(const Arguments &arguments, const fs::path &board)
{
    const auto set = [](const char *name, const std::string &value) { setenv(name, value.c_str(), 1); };
    set(sim::env_board, board);
    set(sim::env_route, arguments.route);
    set(sim::env_latency, arguments.latency);
    set(sim::env_interfaces, fmt::format("{}", fmt::join(arguments.interfaces, " ")));
    if (arguments.unprivileged)
        set(sim::env_unprivileged, "1");
    else
        unsetenv(sim::env_unprivileged);
    set(sim::env_faults, fmt::format("{}", fmt::join(arguments.faults, " ")));
    if (arguments.trace.empty()) {
        unsetenv(sim::env_trace);
    } else {
        const fs::path trace = fs::absolute(arguments.trace);
        // Waits for nobody to read a pipe.
        const int started = open(trace.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
        if (started < 0)
            throw Failure{fmt::format("cannot write the trace to {}: {}", trace.string(),
                                      errno == ENXIO ? "nobody reads this pipe" : strerror(errno))};
        close(started);
        set(sim::env_trace, trace);
    }
    std::string preload = preload_library();
    if (const char *others = getenv("LD_PRELOAD"); others && *others)
        preload += fmt::format(":{}", others);
    set("LD_PRELOAD", preload);
}

sighandler_t on_size_limit = SIG_DFL; // what the command finds

[[noreturn]] void run(const std::vector<std::string> &command)
{
    std::vector<char *> argv;
    for (const std::string &word : command)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    signal(SIGXFSZ, on_size_limit);
    execvp(argv[0], argv.data());
    throw Failure{fmt::format("cannot run {}: {}", command[0], strerror(errno)),
                  errno == ENOENT ? exit_not_found : exit_cannot_run};
}

void describe(CLI::App &app, Arguments &arguments)
{
    app.add_option("--device", arguments.device,
                   "device ID of the switch; each ID is a switch of its own (default 0x2404)");
    app.add_option(
        "--route", arguments.route,
        "device: /dev/esw-ctl exists (default); interface: only the interfaces lan and eth0 answer");
    app.add_option("--state", arguments.state,
                   "directory that holds the switches (default: esw-sim in your XDG state directory)");
    app.add_option("--latency", arguments.latency,
                   "reads that show a busy bit, or a link being negotiated, before it settles (default 0)");
    app.add_option(
           "--fault", arguments.faults,
           "nth=N: the Nth request of each process fails; from=N: so do all that follow; all: every request "
           "fails; mii, eee: every request to a PHY, or about EEE, fails; stuck=REGISTER: its busy bit never "
           "clears (a name, or PAGE:OFFSET in hexadecimal); socket: no socket can be created; lock: the "
           "switch lock can't be created. May be repeated")
        ->allow_extra_args(false);
    app.add_option("--link", arguments.links,
                   "0=down, 1=down: pull the cable of the port; 0=up, 1=up: plug it in. It stays so. May be "
                   "repeated")
        ->allow_extra_args(false);
    app.add_option(
           "--traffic", arguments.traffic,
           "PORT=FRAMES: so many frames a second, of mixed sizes, pass the port from now on; 0 ends it. "
           "May be repeated")
        ->allow_extra_args(false);
    app.add_option("--learn", arguments.stations,
                   "MAC,VID,PORT: a station is heard, and the switch learns its address. May be repeated")
        ->allow_extra_args(false);
    app.add_option("--set", arguments.contents,
                   "PAGE:OFFSET=VALUE: what the hardware shows in a register, read-only ones too (page and "
                   "offset in hexadecimal). May be repeated")
        ->allow_extra_args(false);
    app.add_option("--elapse", arguments.elapsed, "let this many seconds pass: learned addresses age");
    app.add_option(
           "--interface", arguments.interfaces,
           "an interface of this name is listed, and answers like lan and eth0, which are in no list. "
           "May be repeated")
        ->allow_extra_args(false);
    app.add_flag("--unprivileged", arguments.unprivileged,
                 "requests to PHYs need no CAP_NET_ADMIN, so that plain users can do everything");
    app.add_option("--trace", arguments.trace, "write a line for each driver request to this file");
    app.add_flag("--reset", arguments.reset, "start from power-on contents");
    app.set_version_flag("--version", "esw-sim " ESW_VERSION);
    app.prefix_command();
}

int launch(const Arguments &arguments)
{
    const uint32_t device_id = check(arguments);
    const std::vector<Event> events = parse_events(arguments);
    const bool changes = arguments.reset || !events.empty();
    if (arguments.command.empty() && !changes)
        throw Failure{"no command is given; use esw-sim [OPTIONS] COMMAND [ARG...]", exit_usage};
    const fs::path board = open_board(arguments, device_id);
    if (changes)
        change_switch(board, device_id, arguments.reset, events);
    if (arguments.command.empty())
        return 0;
    export_environment(arguments, board);
    run(arguments.command);
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app{"Runs a program on a simulated switch in place of the kernel drivers:\nesw-sim [OPTIONS] "
                 "COMMAND [ARG...]",
                 "esw-sim"};
    on_size_limit = signal(SIGXFSZ, SIG_IGN); // ours is told as a failure
    Arguments arguments;
    describe(app, arguments);
    try {
        app.parse(argc, argv);
        arguments.command = app.remaining();
        if (!arguments.command.empty() && arguments.command[0] == "--")
            arguments.command.erase(arguments.command.begin());
        return launch(arguments);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        fmt::print(stderr, "esw-sim: {}; see esw-sim --help\n", error.what());
        return exit_usage;
    } catch (const Failure &failure) {
        fmt::print(stderr, "esw-sim: {}\n", failure.message);
        return failure.code;
    } catch (const std::exception &error) {
        fmt::print(stderr, "esw-sim: {}\n", error.what());
        return exit_failed;
    }
}
