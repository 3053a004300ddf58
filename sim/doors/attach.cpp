// SPDX-License-Identifier: LGPL-2.1-or-later
// The session of a program that runs under the launcher: everything comes from the environment. Whatever is
// wrong there leaves the program without a simulated switch, as on a machine without drivers.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <pthread.h>
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

// Opened anew for each line: a descriptor kept open could be closed, and its number reused, by the program.
void append(void *, const char *line)
{
    char text[256];
    const size_t length = strnlen(line, sizeof text - 1);
    memcpy(text, line, length);
    text[length] = '\n';
    const int descriptor = raw_open(trace_file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return;
    [[maybe_unused]] const ssize_t written = write(descriptor, text, length + 1);
    close(descriptor);
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
    uint64_t reads = 0;
    if (!copy(directory, getenv(env_board)) || (route && !parse_route(route, options)) ||
        (latency && !parse_number(latency, reads)) || (faults && !parse_faults(faults, options)))
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
            if (copy(trace_file, getenv(env_trace)))
                attached->driver().trace_to(append, nullptr);
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

} // namespace sim
