// SPDX-License-Identifier: LGPL-2.1-or-later
// Doors for paths: the control device and the files that the library keeps under /dev/shm, under every name
// that the C library has for opening, inspecting and removing a file.
#include <cstdarg>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sim/doors/next.h"
#include "sim/doors/session.h"

extern "C" {
int __open_2(const char *path, int flags);
int __open64_2(const char *path, int flags);
int __openat_2(int directory, const char *path, int flags);
int __openat64_2(int directory, const char *path, int flags);
}

namespace {

// A path as the board sees it.
class Redirected {
public:
    explicit Redirected(const char *path) : path_(path)
    {
        if (const sim::Session *session = sim::session()) {
            if (const char *stand_in = session->redirect(path, stand_in_))
                path_ = stand_in;
        }
    }
    operator const char *() const { return path_; }

private:
    const char *path_;
    char stand_in_[sim::path_size];
};

// The optional third argument of the open family.
mode_t mode_of(int flags, va_list rest)
{
    const bool given = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return given ? va_arg(rest, mode_t) : 0;
}

constinit sim::Next next_open{&open, "open"};
constinit sim::Next next_open64{&open64, "open64"};
constinit sim::Next next_openat{&openat, "openat"};
constinit sim::Next next_openat64{&openat64, "openat64"};

} // namespace

#define DOOR_OPEN(name)                                                                                      \
    int name(const char *path, int flags, ...)                                                               \
    {                                                                                                        \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = mode_of(flags, rest);                                                            \
        va_end(rest);                                                                                        \
        const Redirected where(path);                                                                        \
        return next_##name(static_cast<const char *>(where), flags, mode);                                   \
    }
#define DOOR_OPENAT(name)                                                                                    \
    int name(int directory, const char *path, int flags, ...)                                                \
    {                                                                                                        \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = mode_of(flags, rest);                                                            \
        va_end(rest);                                                                                        \
        const Redirected where(path);                                                                        \
        return next_##name(directory, static_cast<const char *>(where), flags, mode);                        \
    }
// A function whose path comes first, or second, and whose other arguments pass unchanged.
#define DOOR(result, name, parameters, exception, ...)                                                       \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    result name parameters exception                                                                         \
    {                                                                                                        \
        const Redirected where(path);                                                                        \
        return next_##name(__VA_ARGS__);                                                                     \
    }
#define WHERE static_cast<const char *>(where)

extern "C" {

DOOR_OPEN(open)
DOOR_OPEN(open64)
DOOR_OPENAT(openat)
DOOR_OPENAT(openat64)

// What the open family becomes in programs built with _FORTIFY_SOURCE.
DOOR(int, __open_2, (const char *path, int flags), , WHERE, flags)
DOOR(int, __open64_2, (const char *path, int flags), , WHERE, flags)
DOOR(int, __openat_2, (int directory, const char *path, int flags), , directory, WHERE, flags)
DOOR(int, __openat64_2, (int directory, const char *path, int flags), , directory, WHERE, flags)

DOOR(int, creat, (const char *path, mode_t mode), , WHERE, mode)
DOOR(int, creat64, (const char *path, mode_t mode), , WHERE, mode)
DOOR(FILE *, fopen, (const char *path, const char *mode), , WHERE, mode)
DOOR(FILE *, fopen64, (const char *path, const char *mode), , WHERE, mode)

DOOR(int, stat, (const char *path, struct stat *status), noexcept, WHERE, status)
DOOR(int, stat64, (const char *path, struct stat64 *status), noexcept, WHERE, status)
DOOR(int, lstat, (const char *path, struct stat *status), noexcept, WHERE, status)
DOOR(int, lstat64, (const char *path, struct stat64 *status), noexcept, WHERE, status)
DOOR(int, fstatat, (int directory, const char *path, struct stat *status, int flags), noexcept, directory,
     WHERE, status, flags)
DOOR(int, fstatat64, (int directory, const char *path, struct stat64 *status, int flags), noexcept, directory,
     WHERE, status, flags)
DOOR(int, statx, (int directory, const char *path, int flags, unsigned mask, struct statx *status), noexcept,
     directory, WHERE, flags, mask, status)
DOOR(int, access, (const char *path, int mode), noexcept, WHERE, mode)
DOOR(int, faccessat, (int directory, const char *path, int mode, int flags), noexcept, directory, WHERE, mode,
     flags)

DOOR(int, unlink, (const char *path), noexcept, WHERE)
DOOR(int, unlinkat, (int directory, const char *path, int flags), noexcept, directory, WHERE, flags)
DOOR(int, remove, (const char *path), noexcept, WHERE)

} // extern "C"
