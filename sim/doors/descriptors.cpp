// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/doors/descriptors.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <dirent.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "sim/board/board.h"
#include "sim/doors/next.h"

namespace sim {
namespace {

// The signal that our descriptors would send: nobody else sets this one on an event poll, and it goes along
// with duplicates and through exec.
constexpr int mark = SIGSTKFLT;

constexpr int known_descriptors = 1024;

// Each entry tells the generation in which the descriptor was looked at, and what it was.
std::atomic<uint32_t> known[known_descriptors];
std::atomic<uint32_t> generation = 1;
constexpr unsigned kind_bits = 2;

void forget() { generation.fetch_add(1, std::memory_order_relaxed); }

Kind look_at(int descriptor)
{
    int type = 0;
    socklen_t size = sizeof type;
    if (fcntl(descriptor, F_GETSIG) == mark)
        return Kind::control;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 ? Kind::socket : Kind::other;
}

} // namespace

Kind kind_of(int descriptor)
{
    if (descriptor < 0 || descriptor >= known_descriptors)
        return look_at(descriptor);
    const uint32_t now = generation.load(std::memory_order_acquire) << kind_bits;
    const uint32_t found = known[descriptor].load(std::memory_order_relaxed);
    if ((found & ~uint32_t{3}) == now)
        return static_cast<Kind>(found & 3);
    const Kind kind = look_at(descriptor);
    if (kind != Kind::other) // whatever opens it next is not seen
        known[descriptor].store(now | static_cast<uint32_t>(kind), std::memory_order_relaxed);
    return kind;
}

int open_control(const char *stand_in, int flags)
{
    const int file = raw_open(stand_in, flags & ~(O_TRUNC | O_CREAT | O_EXCL));
    if (file < 0 || (flags & O_PATH) != 0)
        return file;
    close(file);
    if ((flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) {
        errno = EEXIST;
        return -1;
    }
    const int device = epoll_create1((flags & O_CLOEXEC) != 0 ? EPOLL_CLOEXEC : 0);
    if (device >= 0)
        fcntl(device, F_SETSIG, mark);
    if (device >= 0 && (flags & O_NONBLOCK) != 0)
        fcntl(device, F_SETFL, O_NONBLOCK);
    return device;
}

} // namespace sim

// Each of these gives a number back, or another meaning.
#define DOOR(result, name, parameters, exception, ...)                                                       \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    result name parameters exception                                                                         \
    {                                                                                                        \
        sim::forget();                                                                                       \
        const auto done = next_##name(__VA_ARGS__);                                                          \
        sim::forget(); /* of a request that came in between */                                               \
        return done;                                                                                         \
    }

extern "C" {

DOOR(int, close, (int descriptor), , descriptor)
DOOR(int, dup2, (int from, int to), noexcept, from, to)
DOOR(int, dup3, (int from, int to, int flags), noexcept, from, to, flags)
DOOR(int, close_range, (unsigned first, unsigned last, int flags), noexcept, first, last, flags)
DOOR(int, fclose, (FILE * stream), , stream)
DOOR(int, pclose, (FILE * stream), , stream)
DOOR(int, closedir, (DIR * directory), , directory)

static constinit sim::Next next_closefrom{&closefrom, "closefrom"};
void closefrom(int first) noexcept
{
    next_closefrom(first);
    sim::forget();
}

} // extern "C"
