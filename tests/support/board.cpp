// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/board.h"

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include <dlfcn.h>
#include <net/if.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syslog.h>

#include <esw.h>

#include "sim/doors/next.h"

namespace {

constinit sim::Next next_lock{&pthread_mutex_lock, "pthread_mutex_lock"};
constinit sim::Next next_unlock{&pthread_mutex_unlock, "pthread_mutex_unlock"};

struct World {
    World()
    {
        char pattern[] = "/tmp/esw-test-XXXXXX";
        directory = mkdtemp(pattern);
        sim::create_board(directory.c_str(), test::class_b);
        shared = sim::attach_board(directory.c_str());
        restart();
    }
    ~World()
    {
        munmap(shared, sizeof *shared);
        std::filesystem::remove_all(directory);
    }

    // The driver counts its requests from here on.
    void restart()
    {
        session.emplace(*shared, options, directory.c_str());
        session->driver().trace_to(
            [](void *lines, const char *line) { static_cast<test::Lines *>(lines)->push_back(line); }, &log);
    }

    std::string directory;
    sim::SharedSwitch *shared;
    sim::Options options;
    std::optional<sim::Session> session;
    test::Lines log;
    std::vector<std::string> interfaces;
    bool has_interface_list = true;
};

std::unique_ptr<World> world;

// "device    read  02:30 w64 -> 0x2404" without the blanks that align a trace.
std::string squeezed(const std::string &line)
{
    std::string text;
    for (const char c : line) {
        if (c != ' ' || (!text.empty() && text.back() != ' '))
            text += c;
    }
    return text;
}

// The switch lock is the library's only mutex.
void note_lock(const char *event, const void *caller)
{
    static const void *const library = [] {
        Dl_info info = {};
        dladdr(dlsym(RTLD_DEFAULT, "ethHw_init"), &info);
        return info.dli_fbase;
    }();
    Dl_info info = {};
    if (world && dladdr(caller, &info) && info.dli_fbase == library)
        world->log.push_back(event);
}

} // namespace

sim::Session *sim::session() { return world && world->session ? &*world->session : nullptr; }

extern "C" {

int pthread_mutex_lock(pthread_mutex_t *mutex) noexcept
{
    const int result = next_lock(mutex);
    note_lock("lock", __builtin_return_address(0));
    return result;
}

int pthread_mutex_unlock(pthread_mutex_t *mutex) noexcept
{
    note_lock("unlock", __builtin_return_address(0));
    return next_unlock(mutex);
}

void syslog(int priority, const char *format, ...)
{
    char text[512];
    va_list rest;
    va_start(rest, format);
    vsnprintf(text, sizeof text, format, rest);
    va_end(rest);
    if (world)
        world->log.push_back(fmt::format("syslog {}: {}", priority, text));
}

struct if_nameindex *if_nameindex() noexcept
{
    if (!world->has_interface_list)
        return nullptr;
    auto *list = new struct if_nameindex[world->interfaces.size() + 1]();
    for (size_t i = 0; i < world->interfaces.size(); ++i)
        list[i] = {static_cast<unsigned>(i + 1), world->interfaces[i].data()};
    return list;
}

void if_freenameindex(struct if_nameindex *list) noexcept { delete[] list; }

} // extern "C"

namespace test {

Board::Board() { world = std::make_unique<World>(); }

Board::~Board()
{
    esw_exit();
    world.reset();
}

void Board::power_on(uint32_t device_id)
{
    const sim::Behaviour plain;
    sim::Switch(world->shared->state, plain).power_on(device_id);
}

void Board::start(uint32_t device_id)
{
    power_on(device_id);
    ASSERT_EQ(esw_init("eth0"), ETH_E_NONE);
    world->restart();
    log();
}

sim::State &Board::state() { return world->shared->state; }

uint64_t &Board::reg(uint8_t page, uint8_t offset) { return state().cells[page][offset]; }

Lines Board::log()
{
    Lines lines;
    for (const std::string &line : std::exchange(world->log, {})) {
        const std::string text = squeezed(line);
        lines.push_back(text.starts_with("device ") ? text.substr(7) : text);
    }
    return lines;
}

Lines Board::requests(const std::function<void()> &call)
{
    log();
    call();
    Lines lines = log();
    std::erase_if(lines, [](const std::string &line) { return line.starts_with("syslog"); });
    return lines;
}

std::string Board::short_requests(const std::function<void()> &call)
{
    constexpr const char *shorter[][2] = {
        {"interface mii read phy ", ""},
        {"interface mii write phy ", ""},
        {"interface eee read enabled on ports 0x", "eee"},
        {"interface eee write enabled on ports 0x", "eee"},
        {" reg ", "."},
        {" -> 0x", ":"},
        {" <- 0x", "="},
    };
    std::string text;
    for (std::string line : requests(call)) {
        const bool is_long = line.starts_with("interface mii") || line.starts_with("interface eee");
        for (const auto &[from, to] : shorter) {
            if (const size_t at = line.find(from); is_long && at != std::string::npos)
                line.replace(at, strlen(from), to);
        }
        text += (text.empty() ? "" : " ") + line;
    }
    return text;
}

Texts Board::printed(const std::function<void()> &call)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    call();
    fflush(stdout);
    std::string error = testing::internal::GetCapturedStderr();
    return {testing::internal::GetCapturedStdout(), error};
}

sim::Options &Board::options() { return world->options; }
void Board::interfaces(std::vector<std::string> names) { world->interfaces = std::move(names); }
void Board::no_interface_list() { world->has_interface_list = false; }
std::string Board::directory() const { return world->directory; }

} // namespace test
