// SPDX-License-Identifier: LGPL-2.1-or-later
// A door for msync. Files under /dev/shm live in memory, where flushing costs nothing; their stand-ins may
// lie on a disk, where each flush takes milliseconds and clearing all VLANs makes thousands.
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "sim/doors/next.h"
#include "sim/doors/session.h"

namespace sim {
namespace {

constinit Next next_msync{&msync, "msync"};

// A line such as "7f1c4a000000-7f1c4a001000 rw-s 00000000 fd:01 1234  /path".
bool maps_stand_in(const char *line, uintptr_t address)
{
    uintptr_t first = 0;
    uintptr_t end = 0;
    unsigned major_number = 0;
    unsigned minor_number = 0;
    unsigned long inode = 0;
    return sscanf(line, "%" SCNxPTR "-%" SCNxPTR " %*s %*s %x:%x %lu", &first, &end, &major_number,
                  &minor_number, &inode) == 5 &&
           first <= address && address < end &&
           session()->is_stand_in(makedev(major_number, minor_number), inode);
}

bool is_stand_in(const void *at)
{
    char text[2 * path_size];
    size_t kept = 0;
    bool found = false;
    const int maps = raw_open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    for (ssize_t size = 0; !found && (size = read(maps, text + kept, sizeof text - 1 - kept)) > 0;) {
        text[kept + static_cast<size_t>(size)] = '\0';
        char *line = text;
        while (char *line_end = strchr(line, '\n')) {
            *line_end = '\0';
            found = found || maps_stand_in(line, reinterpret_cast<uintptr_t>(at));
            line = line_end + 1;
        }
        kept = strlen(line);
        memmove(text, line, kept);
    }
    close(maps);
    return found;
}

} // namespace
} // namespace sim

extern "C" int msync(void *at, size_t size, int flags)
{
    const int kept = errno;
    if ((flags & MS_SYNC) && sim::session() && sim::is_stand_in(at))
        flags = (flags & ~MS_SYNC) | MS_ASYNC;
    errno = kept;
    return sim::next_msync(at, size, flags);
}
