// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/board.h"

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include <dlfcn.h>
#include <net/if.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syslog.h>

#include <esw.h>

#include "sim/doors/next.h"

namespace {

[[maybe_unused]] constinit sim::Next next_lock{&pthread_mutex_lock, "pthread_mutex_lock"};
[[maybe_unused]] constinit sim::Next next_unlock{&pthread_mutex_unlock, "pthread_mutex_unlock"};

struct World {
    World()
    {
        options.unprivileged = true;                 // plain users run the tests, too
        char pattern[] = "/dev/shm/esw-test-XXXXXX"; // thousands of flushes to a disk would take minutes
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
            [](void *self, const char *line) { static_cast<World *>(self)->note(line); }, this);
    }

    void note(const std::string &line)
    {
        if (!counts)
            log.push_back(line);
        else
            ++(line == "lock" ? counts->locks : line == "unlock" ? counts->unlocks : counts->requests);
    }

    std::string directory;
    sim::SharedSwitch *shared;
    sim::Options options;
    std::optional<sim::Session> session;
    test::Lines log;
    std::optional<test::Counts> counts;
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
[[maybe_unused]] void note_lock(const char *event, const pthread_mutex_t *mutex, const void *caller)
{
    if (!world || mutex == &world->shared->mutex)
        return;
    static const void *const library = [] {
        Dl_info info = {};
        dladdr(dlsym(RTLD_DEFAULT, "ethHw_init"), &info);
        return info.dli_fbase;
    }();
    Dl_info info = {};
    if (dladdr(caller, &info) && info.dli_fbase == library)
        world->note(event);
}

} // namespace

sim::Session *sim::session() { return world && world->session ? &*world->session : nullptr; }

extern "C" {

#ifndef __SANITIZE_THREAD__ // which must see them itself
int pthread_mutex_lock(pthread_mutex_t *mutex) noexcept
{
    const int result = next_lock(mutex);
    note_lock("lock", mutex, __builtin_return_address(0));
    return result;
}

int pthread_mutex_unlock(pthread_mutex_t *mutex) noexcept
{
    note_lock("unlock", mutex, __builtin_return_address(0));
    return next_unlock(mutex);
}
#endif

void syslog(int priority, const char *format, ...)
{
    char text[512];
    va_list rest;
    va_start(rest, format);
    vsnprintf(text, sizeof text, format, rest);
    va_end(rest);
    if (world && !world->counts)
        world->note(fmt::format("syslog {}: {}", priority, text));
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

void Board::become(uint32_t device_id)
{
    power_on(device_id);
    gESWID = device_id;
}

sim::SharedSwitch *Board::shared() { return world->shared; }
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

std::string Board::traffic(const std::function<void()> &call)
{
    constexpr const char *shorter[][2] = {
        {"interface mii read phy ", ""},
        {"interface mii write phy ", ""},
        {"interface eee read enabled on ports 0x", "eee"},
        {"interface eee write enabled on ports 0x", "eee"},
        {" reg ", "."},
        {" -> 0x", ":"},
        {" <- 0x", "="},
        {" failed", "!"},
        {"unlock", "]"},
        {"lock", "["},
    };
    std::string all, last_line, last_word, last_address;
    size_t times = 1;
    const auto add = [&](const std::string &word) {
        const bool joined =
            all.empty() || last_word == "[" || word == "]" || (last_word == "]" && word == "[");
        all += (joined ? "" : " ") + word;
        last_word = word;
    };
    const auto end_repetition = [&] {
        all += times > 1 ? fmt::format("*{}", times) : "";
        times = 1;
    };
    for (const std::string &line : requests(call)) {
        if (line == last_line) {
            ++times;
            continue;
        }
        end_repetition();
        last_line = line;
        std::istringstream words(line);
        std::string route, verb, address, width, arrow, value;
        if (line.starts_with("interface "))
            words >> route;
        words >> verb >> address >> width >> arrow >> value;
        if (address.find(':') == 2) {
            address = route + (route.empty() ? "" : " ") + address;
            if (std::exchange(last_address, address) != address)
                add(address);
            add(verb[0] + width.substr(1) + (value.empty() ? "" : '=' + value.substr(2)) +
                (line.ends_with(" failed") ? "!" : ""));
            continue;
        }
        std::string text = line;
        for (const auto &[from, to] : shorter) {
            if (const size_t at = text.find(from); at != std::string::npos)
                text.replace(at, strlen(from), to);
        }
        last_address = text == "[" || text == "]" ? "" : last_address;
        add(text);
    }
    end_repetition();
    return all;
}

std::string Board::outcome(const Call &call)
{
    uint32_t values[10];
    std::ranges::fill(values, Out::untouched);
    int64_t result = 0;
    const std::string requests = traffic([&] { result = call({values}); });
    std::string text = fmt::format("{}", result), gap;
    for (const uint32_t value : values) {
        const bool untouched = value == Out::untouched || value == uint16_t(Out::untouched);
        (untouched ? gap : text += std::exchange(gap, "") + ' ') +=
            untouched ? " ." : fmt::format("{}", static_cast<int32_t>(value));
    }
    return text + (requests.empty() ? "" : ": ") + requests;
}

// Each register that is read first.
void Board::hold(std::string requests)
{
    std::ranges::replace_if(
        requests, [](char c) { return c == '[' || c == ']'; }, ' ');
    std::istringstream words(requests);
    std::set<std::string> touched;
    for (std::string word, address; words >> word;) {
        if (word.find(':') == 2)
            address = word;
        else if (!address.empty() && touched.insert(address).second && word[0] == 'r')
            reg(static_cast<uint8_t>(std::stoul(address, nullptr, 16)),
                static_cast<uint8_t>(std::stoul(address.substr(3), nullptr, 16))) =
                std::stoull(word.substr(word.find('=') + 1), nullptr, 16);
    }
}

void Board::expect(const std::vector<Case> &cases)
{
    static const std::map<char, uint32_t> ids = {
        {'a', class_a}, {'b', class_b}, {'e', early_class_b}, {'u', unknown_device}};
    for (const Case &c : cases) {
        for (const char device : std::string(c.devices)) {
            become(ids.at(device));
            hold(c.outcome.substr(std::min(c.outcome.find(": "), c.outcome.size())));
            EXPECT_EQ(outcome(c.call), c.outcome) << "case " << &c - cases.data() << " on device " << device;
        }
    }
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

Counts &Board::count_only() { return world->counts.emplace(); }
sim::Options &Board::options() { return world->options; }
void Board::interfaces(std::vector<std::string> names) { world->interfaces = std::move(names); }
void Board::no_interface_list() { world->has_interface_list = false; }
std::string Board::directory() const { return world->directory; }

size_t open_descriptors()
{
    const auto list = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(list), end(list)));
}

std::string contents(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace test
