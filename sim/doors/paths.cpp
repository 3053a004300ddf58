// SPDX-License-Identifier: LGPL-2.1-or-later
// Doors for paths: the control device and the files that the library keeps under /dev/shm, under every name
// that the C library has for opening, inspecting, changing, moving and removing a file.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <utime.h>

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
    Redirected(int directory, const char *path) : path_(path)
    {
        if (const sim::Session *session = sim::session()) {
            if (const char *stand_in = session->redirect(directory, path, stand_in_)) {
                path_ = stand_in;
                is_control_ = session->is_control_stand_in(stand_in);
            }
        }
    }
    operator const char *() const { return path_; }
    [[nodiscard]] bool is_control() const { return is_control_; }

    // Of what was inspected at the path.
    template <typename Status>
    int show(int result, Status *status) const
    {
        if (result == 0 && is_control_)
            sim::show_device(*status);
        return result;
    }
    int show(int result, struct statx *status) const
    {
        struct stat device = {};
        if (result == 0 && is_control_) {
            device.st_mode = status->stx_mode;
            sim::show_device(device);
            status->stx_mode = static_cast<uint16_t>(device.st_mode);
            status->stx_rdev_major = major(device.st_rdev);
            status->stx_rdev_minor = minor(device.st_rdev);
            status->stx_size = status->stx_blocks = 0;
        }
        return result;
    }

private:
    const char *path_;
    bool is_control_ = false;
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

#define OPEN_AT(directory, given, ...)                                                                       \
    const Redirected where(directory, given);                                                                \
    if (where.is_control())                                                                                  \
        return sim::open_control(where, flags);                                                              \
    return __VA_ARGS__
#define DOOR_OPEN(name)                                                                                      \
    int name(const char *path, int flags, ...)                                                               \
    {                                                                                                        \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = mode_of(flags, rest);                                                            \
        va_end(rest);                                                                                        \
        OPEN_AT(AT_FDCWD, path, next_##name(WHERE, flags, mode));                                            \
    }
#define DOOR_OPENAT(name)                                                                                    \
    int name(int directory, const char *path, int flags, ...)                                                \
    {                                                                                                        \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = mode_of(flags, rest);                                                            \
        va_end(rest);                                                                                        \
        OPEN_AT(directory, path, next_##name(directory, WHERE, flags, mode));                                \
    }
// What the open family becomes in programs built with _FORTIFY_SOURCE.
#define DOOR_OPEN_2(name)                                                                                    \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    int name(const char *path, int flags) { OPEN_AT(AT_FDCWD, path, next_##name(WHERE, flags)); }
#define DOOR_OPENAT_2(name)                                                                                  \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    int name(int directory, const char *path, int flags)                                                     \
    {                                                                                                        \
        OPEN_AT(directory, path, next_##name(directory, WHERE, flags));                                      \
    }
#define DOOR_FOPEN(name)                                                                                     \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    FILE *name(const char *path, const char *mode)                                                           \
    {                                                                                                        \
        const Redirected where(AT_FDCWD, path);                                                              \
        return where.is_control() ? open_stream(where, mode) : next_##name(WHERE, mode);                     \
    }
// A function whose other arguments pass unchanged; the path is relative to a directory, or to the working
// one.
#define DOOR_AT(result, name, parameters, exception, ...)                                                    \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    result name parameters exception                                                                         \
    {                                                                                                        \
        const Redirected where(directory, path);                                                             \
        return next_##name(__VA_ARGS__);                                                                     \
    }
#define DOOR(result, name, parameters, exception, ...)                                                       \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    result name parameters exception                                                                         \
    {                                                                                                        \
        const Redirected where(AT_FDCWD, path);                                                              \
        return next_##name(__VA_ARGS__);                                                                     \
    }
#define DOOR_STAT(name, record)                                                                              \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    int name(const char *path, struct record *status) noexcept                                               \
    {                                                                                                        \
        const Redirected where(AT_FDCWD, path);                                                              \
        return where.show(next_##name(WHERE, status), status);                                               \
    }
#define DOOR_STATAT(name, record)                                                                            \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    int name(int directory, const char *path, struct record *status, int flags) noexcept                     \
    {                                                                                                        \
        const Redirected where(directory, path);                                                             \
        return where.show(next_##name(directory, WHERE, status, flags), status);                             \
    }
// Two paths.
#define DOOR_TWO(name, parameters, directory, other_directory, ...)                                          \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    int name parameters noexcept                                                                             \
    {                                                                                                        \
        const Redirected where(directory, path);                                                             \
        const Redirected there(other_directory, other);                                                      \
        return next_##name(__VA_ARGS__);                                                                     \
    }
#define WHERE static_cast<const char *>(where)
#define THERE static_cast<const char *>(there)

namespace {

FILE *open_stream(const char *stand_in, const char *mode)
{
    const bool updates = strchr(mode, '+') != nullptr;
    const int flags = updates ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
    const int descriptor = sim::open_control(stand_in, flags | (strchr(mode, 'e') ? O_CLOEXEC : 0));
    return descriptor < 0 ? nullptr : fdopen(descriptor, mode);
}

// A name of shared memory as the path of its file.
class SharedMemory {
public:
    explicit SharedMemory(const char *name) : name_(name + strspn(name, "/"))
    {
        snprintf(path_, sizeof path_, "/dev/shm/%s", name_);
    }
    operator const char *() const { return path_; }

private:
    const char *name_;
    char path_[300]; // longer names there are none
};

} // namespace

extern "C" {

DOOR_OPEN(open)
DOOR_OPEN(open64)
DOOR_OPENAT(openat)
DOOR_OPENAT(openat64)
DOOR_OPEN_2(__open_2)
DOOR_OPEN_2(__open64_2)
DOOR_OPENAT_2(__openat_2)
DOOR_OPENAT_2(__openat64_2)

DOOR(int, creat, (const char *path, mode_t mode), , WHERE, mode)
DOOR(int, creat64, (const char *path, mode_t mode), , WHERE, mode)
DOOR_FOPEN(fopen)
DOOR_FOPEN(fopen64)
DOOR(FILE *, freopen, (const char *path, const char *mode, FILE *stream), , WHERE, mode, stream)
DOOR(FILE *, freopen64, (const char *path, const char *mode, FILE *stream), , WHERE, mode, stream)

DOOR_STAT(stat, stat)
DOOR_STAT(stat64, stat64)
DOOR_STAT(lstat, stat)
DOOR_STAT(lstat64, stat64)
DOOR_STATAT(fstatat, stat)
DOOR_STATAT(fstatat64, stat64)
static constinit sim::Next next_statx{&statx, "statx"};
int statx(int directory, const char *path, int flags, unsigned mask, struct statx *status) noexcept
{
    const Redirected where(directory, path);
    return where.show(next_statx(directory, WHERE, flags, mask, status), status);
}
DOOR(int, access, (const char *path, int mode), noexcept, WHERE, mode)
DOOR(int, eaccess, (const char *path, int mode), noexcept, WHERE, mode)
DOOR(int, euidaccess, (const char *path, int mode), noexcept, WHERE, mode)
DOOR_AT(int, faccessat, (int directory, const char *path, int mode, int flags), noexcept, directory, WHERE,
        mode, flags)
DOOR(ssize_t, readlink, (const char *path, char *text, size_t size), noexcept, WHERE, text, size)
DOOR_AT(ssize_t, readlinkat, (int directory, const char *path, char *text, size_t size), noexcept, directory,
        WHERE, text, size)

DOOR(int, chmod, (const char *path, mode_t mode), noexcept, WHERE, mode)
DOOR_AT(int, fchmodat, (int directory, const char *path, mode_t mode, int flags), noexcept, directory, WHERE,
        mode, flags)
DOOR(int, chown, (const char *path, uid_t user, gid_t group), noexcept, WHERE, user, group)
DOOR(int, lchown, (const char *path, uid_t user, gid_t group), noexcept, WHERE, user, group)
DOOR_AT(int, fchownat, (int directory, const char *path, uid_t user, gid_t group, int flags), noexcept,
        directory, WHERE, user, group, flags)
DOOR(int, truncate, (const char *path, off_t size), noexcept, WHERE, size)
DOOR(int, truncate64, (const char *path, off64_t size), noexcept, WHERE, size)
DOOR(int, utime, (const char *path, const struct utimbuf *times), noexcept, WHERE, times)
DOOR(int, utimes, (const char *path, const struct timeval times[2]), noexcept, WHERE, times)
DOOR(int, lutimes, (const char *path, const struct timeval times[2]), noexcept, WHERE, times)
DOOR_AT(int, utimensat, (int directory, const char *path, const struct timespec times[2], int flags),
        noexcept, directory, WHERE, times, flags)
DOOR_AT(int, futimesat, (int directory, const char *path, const struct timeval times[2]), noexcept, directory,
        WHERE, times)

DOOR_TWO(rename, (const char *path, const char *other), AT_FDCWD, AT_FDCWD, WHERE, THERE)
DOOR_TWO(renameat, (int from, const char *path, int to, const char *other), from, to, from, WHERE, to, THERE)
DOOR_TWO(renameat2, (int from, const char *path, int to, const char *other, unsigned flags), from, to, from,
         WHERE, to, THERE, flags)
DOOR_TWO(link, (const char *path, const char *other), AT_FDCWD, AT_FDCWD, WHERE, THERE)
DOOR_TWO(linkat, (int from, const char *path, int to, const char *other, int flags), from, to, from, WHERE,
         to, THERE, flags)
DOOR(int, symlink, (const char *target, const char *path), noexcept, target, WHERE)
DOOR_AT(int, symlinkat, (const char *target, int directory, const char *path), noexcept, target, directory,
        WHERE)

DOOR(int, unlink, (const char *path), noexcept, WHERE)
DOOR_AT(int, unlinkat, (int directory, const char *path, int flags), noexcept, directory, WHERE, flags)
DOOR(int, remove, (const char *path), noexcept, WHERE)

static constinit sim::Next next_shm_open{&shm_open, "shm_open"};
int shm_open(const char *name, int flags, mode_t mode)
{
    const SharedMemory path(name);
    const Redirected where(AT_FDCWD, path);
    const bool passes = static_cast<const char *>(path) == WHERE;
    return passes ? next_shm_open(name, flags, mode) : next_open(WHERE, flags | O_NOFOLLOW | O_CLOEXEC, mode);
}
static constinit sim::Next next_shm_unlink{&shm_unlink, "shm_unlink"};
int shm_unlink(const char *name)
{
    const SharedMemory path(name);
    const Redirected where(AT_FDCWD, path);
    return static_cast<const char *>(path) == WHERE ? next_shm_unlink(name) : next_unlink(WHERE);
}

} // extern "C"
