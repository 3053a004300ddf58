// SPDX-License-Identifier: LGPL-2.1-or-later
// A library of its own, behind the doors and in front of the C library.
#include "tests/support/file_calls.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sim/doors/next.h"

test::FileCalls *test::watched = nullptr;

namespace {

using test::watched;

void note(const std::string &line)
{
    if (watched)
        watched->log.push_back(line);
}

bool is_meant(const std::string &line)
{
    note(line);
    if (!watched || ++watched->made == 0 || !watched->fails || !watched->fails(line, watched->made))
        return false;
    errno = watched->error;
    return true;
}

bool fails(const std::string &line) { return is_meant(line) && !watched->is_short; }

// How many bytes it shall be; -1 when it fails.
ssize_t allowed(const std::string &line, size_t size)
{
    const auto all = static_cast<ssize_t>(size);
    if (!is_meant(line))
        return all;
    return watched->is_short ? all / 2 : -1;
}

} // namespace

// A call with its parameters, the names of these, and what the log says.
#define CALL_STAND_IN(result, name, parameters, arguments, ...)                                              \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    extern "C" result name parameters { return fails(__VA_ARGS__) ? (result)-1 : next_##name arguments; }
#define TRANSFER_STAND_IN(name, memory, parameters, arguments)                                               \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    extern "C" ssize_t name(int descriptor, memory *bytes, size_t size parameters)                           \
    {                                                                                                        \
        const ssize_t part = allowed(#name, size);                                                           \
        return part < 0 ? -1 : next_##name(descriptor, bytes, static_cast<size_t>(part) arguments);          \
    }
#define AND ,

CALL_STAND_IN(int, fstat, (int descriptor, struct stat *status) noexcept, (descriptor, status), "fstat")
CALL_STAND_IN(int, ftruncate, (int descriptor, off_t size) noexcept, (descriptor, size), "ftruncate")
CALL_STAND_IN(int, fchmod, (int descriptor, mode_t mode) noexcept, (descriptor, mode), "fchmod")
CALL_STAND_IN(int, msync, (void *at, size_t size, int flags), (at, size, flags),
              fmt::format("msync {} flags {}", size, flags))
CALL_STAND_IN(void *, mmap,
              (void *at, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept,
              (at, size, protection, flags, descriptor, offset),
              fmt::format("mmap {} prot {} flags {}", size, protection, flags))
TRANSFER_STAND_IN(read, void, , )
TRANSFER_STAND_IN(write, const void, , )
TRANSFER_STAND_IN(pread, void, AND off_t offset, AND offset)
TRANSFER_STAND_IN(pwrite, const void, AND off_t offset, AND offset)

static constinit sim::Next next_open{&open, "open"};
static constinit sim::Next next_munmap{&munmap, "munmap"};
static constinit sim::Next next_fflush{&fflush, "fflush"};
static constinit sim::Next next_flock{&flock, "flock"};
static constinit sim::Next next_usleep{&usleep, "usleep"};

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    constexpr int safe = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    return fails(fmt::format("open {:#o}{}", flags & ~safe, (flags & safe) == safe ? "" : " unsafely"))
               ? -1
               : next_open(path, flags, mode);
}

int flock(int descriptor, int kind) noexcept
{
    if (watched && watched->before_lock)
        std::exchange(watched->before_lock, nullptr)();
    return fails(fmt::format("flock {}", kind)) ? -1 : next_flock(descriptor, kind);
}

int munmap(void *at, size_t size) noexcept
{
    note(fmt::format("munmap {}", size));
    return next_munmap(at, size);
}

int fflush(FILE *file)
{
    note("fflush");
    return next_fflush(file);
}

int usleep(useconds_t microseconds)
{
    if (!watched)
        return next_usleep(microseconds);
    note(fmt::format("usleep {}", microseconds));
    errno = EINTR;
    return -1;
}

} // extern "C"
