// SPDX-License-Identifier: LGPL-2.1-or-later
// The session of a program that runs under the launcher: everything comes from the environment. Whatever is
// wrong there leaves the program without a simulated switch, as on a machine without drivers.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "sim/doors/session.h"

namespace sim {
namespace {

Options options;
char directory[path_size];
char trace_file[path_size];
alignas(Session) char storage[sizeof(Session)];
Session *attached = nullptr;
pthread_once_t once = PTHREAD_ONCE_INIT;

// The trace, kept open under a high number, out of the way of the program's own. Whatever the program does to
// that number, only the file that was opened is written to.
struct {
    int descriptor = -1;
    dev_t device = 0;
    ino_t inode = 0;
} trace;

constexpr int high_number = 768;

bool is_trace(int descriptor)
{
    struct stat status = {};
    return descriptor >= 0 && syscall(SYS_fstat, descriptor, &status) == 0 && status.st_ino == trace.inode &&
           status.st_dev == trace.device;
}

// Never waits: not for the reader of a pipe either.
void open_trace()
{
    struct stat status = {};
    const int low =
        raw_open(trace_file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
    trace.descriptor = low;
    if (low < 0)
        return;
    const int high = fcntl(low, F_DUPFD_CLOEXEC, high_number);
    if (high >= 0)
        syscall(SYS_close, low);
    trace.descriptor = high >= 0 ? high : low;
    syscall(SYS_fstat, trace.descriptor, &status);
    trace.device = status.st_dev;
    trace.inode = status.st_ino;
}

// A file-size limit and a pipe without a reader answer with a signal, which would end the program. The caller
// holds every signal back; one that our write has caused is taken away again.
void write_line(const char *text, size_t size)
{
    constexpr uint64_t caused = uint64_t{1} << (SIGXFSZ - 1) | uint64_t{1} << (SIGPIPE - 1);
    uint64_t before = 0;
    syscall(SYS_rt_sigpending, &before, sizeof before);
    const ssize_t written = write(trace.descriptor, text, size);
    const uint64_t ours = caused & ~before;
    const timespec at_once = {};
    if (written < 0 && ours != 0)
        syscall(SYS_rt_sigtimedwait, &ours, nullptr, &at_once, sizeof ours);
}

// The caller holds the board, so lines of all its programs come in order.
void append(void *, const char *line)
{
    char text[256];
    const size_t length = strnlen(line, sizeof text - 1);
    memcpy(text, line, length);
    text[length] = '\n';
    if (!is_trace(trace.descriptor))
        open_trace();
    if (trace.descriptor >= 0)
        write_line(text, length + 1);
}

bool copy(char (&to)[path_size], const char *from)
{
    const size_t length = from ? strnlen(from, path_size) : path_size;
    if (length >= path_size)
        return false;
    memcpy(to, from, length + 1);
    return true;
}

bool read_environment()
{
    const char *route = getenv(env_route);
    const char *latency = getenv(env_latency);
    const char *faults = getenv(env_faults);
    const char *interfaces = getenv(env_interfaces);
    options.unprivileged = getenv(env_unprivileged) != nullptr;
    uint64_t reads = 0;
    if (!copy(directory, getenv(env_board)) || (route && !parse_route(route, options)) ||
        (latency && !parse_number(latency, reads)) || (faults && !parse_faults(faults, options)) ||
        (interfaces && !parse_interfaces(interfaces, options)))
        return false;
    options.behaviour.latency = static_cast<uint32_t>(reads);
    return true;
}

void attach()
{
    const int kept = errno;
    if (read_environment()) {
        if (SharedSwitch *shared = attach_board(directory)) {
            attached = new (storage) Session(*shared, options, directory);
            if (copy(trace_file, getenv(env_trace))) {
                open_trace();
                attached->driver().trace_to(append, nullptr);
            }
        }
    }
    errno = kept;
}

} // namespace

Session *session()
{
    pthread_once(&once, attach);
    return attached;
}

namespace {

// Before the program can change its root directory, or be interrupted here.
[[gnu::constructor]] void attach_early() { session(); }

} // namespace

} // namespace sim
