// esw-sim: runs a program on a simulated switch.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "sim/board/board.h"
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
    std::string trace;
    bool reset = false;
    std::vector<std::string> command;
};

// Refuses what the preloaded library would refuse silently.
uint32_t check(const Arguments &arguments)
{
    sim::Options options;
    uint64_t number = 0;
    if (!sim::parse_route(arguments.route.c_str(), options))
        throw Failure{fmt::format("--route: '{}' is not accepted; use device or interface", arguments.route),
                      exit_usage};
    if (!sim::parse_number(arguments.latency.c_str(), number) || number > UINT32_MAX)
        throw Failure{
            fmt::format("--latency: '{}' is not accepted; use a number of reads", arguments.latency),
            exit_usage};
    for (const std::string &fault : arguments.faults) {
        if (!sim::parse_fault(fault.c_str(), options))
            throw Failure{
                fmt::format(
                    "--fault: '{}' is not accepted; use nth=N, from=N, all, stuck=REGISTER, socket or lock",
                    fault),
                exit_usage};
    }
    if (!sim::parse_number(arguments.device.c_str(), number) || number > UINT32_MAX)
        throw Failure{fmt::format("--device: '{}' is not accepted; use a 32-bit number", arguments.device),
                      exit_usage};
    return static_cast<uint32_t>(number);
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

void reset(const fs::path &board, uint32_t device_id)
{
    sim::SharedSwitch *shared = sim::attach_board(board.c_str());
    if (!shared)
        throw Failure{fmt::format("cannot reset the switch in {}: {}", board.string(), strerror(errno))};
    const sim::Behaviour plain;
    const sim::BoardLock lock(*shared);
    sim::Switch(shared->state, plain).power_on(device_id);
    for (const auto &file : fs::directory_iterator(board / sim::shm_directory))
        fs::remove(file);
}

fs::path preload_library()
{
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
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
    set(sim::env_faults, fmt::format("{}", fmt::join(arguments.faults, " ")));
    if (arguments.trace.empty()) {
        unsetenv(sim::env_trace);
    } else {
        const fs::path trace = fs::absolute(arguments.trace);
        FILE *started = fopen(trace.c_str(), "w");
        if (!started)
            throw Failure{fmt::format("cannot write the trace to {}: {}", trace.string(), strerror(errno))};
        fclose(started);
        set(sim::env_trace, trace);
    }
    std::string preload = preload_library();
    if (const char *others = getenv("LD_PRELOAD"); others && *others)
        preload += fmt::format(":{}", others);
    set("LD_PRELOAD", preload);
}

[[noreturn]] void run(const std::vector<std::string> &command)
{
    std::vector<char *> argv;
    for (const std::string &word : command)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
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
    app.add_option("--latency", arguments.latency, "reads that show a busy bit before it clears (default 0)");
    app.add_option(
           "--fault", arguments.faults,
           "nth=N: the Nth register request of each process fails; from=N: so do all behind it; all: every "
           "request fails; "
           "stuck=REGISTER: its busy bit never clears (a name, or PAGE:OFFSET in hexadecimal); "
           "socket: no socket can be created; lock: the switch lock can't be created. May be repeated")
        ->allow_extra_args(false);
    app.add_option("--trace", arguments.trace, "write a line for each driver request to this file");
    app.add_flag("--reset", arguments.reset, "start from power-on contents; without a command, do only that");
    app.set_version_flag("--version", "esw-sim " ESW_VERSION);
    app.prefix_command();
}

int launch(const Arguments &arguments)
{
    const uint32_t device_id = check(arguments);
    if (arguments.command.empty() && !arguments.reset)
        throw Failure{"no command is given; use esw-sim [OPTIONS] COMMAND [ARG...]", exit_usage};
    const fs::path board = open_board(arguments, device_id);
    if (arguments.reset)
        reset(board, device_id);
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
    Arguments arguments;
    describe(app, arguments);
    try {
        app.parse(argc, argv);
        arguments.command = app.remaining();
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
