// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/turn.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <fmt/format.h>

#include "eswctl/errors.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

// The second one is for systems without the first one's directory.
constexpr const char *lock_files[] = {"/run/lock/esw.lock", "/dev/shm/esw.lock"};

int lock_file = -1;
std::string directory; // of the lock, with its slash
bool has_turn = false;

// Reading is enough for the lock. Whoever creates the file lets everybody else join.
int open_or_create(const char *path)
{
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int there = open(path, flags);
    if (there >= 0 || errno != ENOENT)
        return there;
    const int created = open(path, flags | O_CREAT | O_EXCL, 0644);
    if (created < 0)
        return errno == EEXIST ? open(path, flags) : created;
    fchmod(created, 0644); // whatever the umask
    return created;
}

void open_lock_file()
{
    const char *tried = nullptr;
    for (const char *path : lock_files) {
        tried = path;
        lock_file = open_or_create(path);
        if (lock_file >= 0) {
            directory.assign(path, strrchr(path, '/') + 1);
            return;
        }
        if (errno != ENOENT && errno != EROFS)
            break;
    }
    throw Refused{fmt::format("cannot open the lock {}, which keeps programs on the switch apart: {}", tried,
                              strerror(errno))};
}

// A timer ends the system call each second.
class Ticks {
public:
    Ticks()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &former_);
        const itimerval each_second{{1, 0}, {1, 0}};
        setitimer(ITIMER_REAL, &each_second, nullptr);
    }
    ~Ticks()
    {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
        sigaction(SIGALRM, &former_, nullptr);
    }
    Ticks(const Ticks &) = delete;
    Ticks &operator=(const Ticks &) = delete;

private:
    struct sigaction former_ = {};
};

void wait_for_turn(std::chrono::seconds limit)
{
    using namespace std::chrono;
    const auto start = steady_clock::now();
    const Ticks ticks;
    bool told = false;
    while (flock(lock_file, LOCK_EX) != 0) {
        const auto waited = steady_clock::now() - start;
        if (errno != EINTR)
            throw Refused{fmt::format("cannot wait for the lock: {}", strerror(errno))};
        if (was_interrupted())
            throw Refused{"interrupted while another program worked on the switch"};
        if (waited >= limit)
            throw Refused{fmt::format("another program has worked on the switch for {} s; wait longer with "
                                      "--wait, or find it with lslocks",
                                      limit.count())};
        if (waited >= seconds(1) && !std::exchange(told, true))
            tell("eswctl: another program works on the switch; waiting for its end (see --wait)\n");
    }
}

void take_turn(uint64_t limit)
{
    constexpr std::chrono::hours longest(100 * 365 * 24);
    if (flock(lock_file, LOCK_EX | LOCK_NB) != 0) {
        if (limit == 0)
            throw Refused{"another program works on the switch; try again, or wait with --wait"};
        wait_for_turn(limit == no_limit ? std::chrono::seconds(longest) : std::chrono::seconds(limit));
    }
    has_turn = true;
}

void end_turn()
{
    if (has_turn)
        flock(lock_file, LOCK_UN);
    has_turn = false;
}

} // namespace

Turn::Turn(uint64_t seconds)
{
    open_lock_file();
    take_turn(seconds);
}

Turn::~Turn()
{
    end_turn();
    close(std::exchange(lock_file, -1));
}

std::string beside_lock(const std::string &name) { return directory + name; }

UnlockedWhile::UnlockedWhile() : had_turn_(has_turn) { end_turn(); }

UnlockedWhile::~UnlockedWhile()
{
    try {
        if (had_turn_)
            take_turn(no_limit);
    } catch (const Refused &refused) { // an interrupted wait: the command goes on to its end
        tell(fmt::format("eswctl: {}\n", refused.message));
        has_turn = false;
    }
}

} // namespace eswctl
