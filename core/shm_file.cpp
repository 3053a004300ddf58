// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/shm_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <esw/types.h>

namespace esw {
namespace {

// Some seconds. Not for ever: whoever can open a file can lock it.
constexpr int lock_attempts = 20'000;
constexpr useconds_t lock_pause = 100; // microseconds

bool lock_and_examine(int descriptor, int kind, struct stat &status)
{
    for (int left = lock_attempts; flock(descriptor, kind | LOCK_NB) != 0; usleep(lock_pause)) {
        if (--left == 0)
            return false;
    }
    return examine(descriptor, status);
}

void unlock_and_close(int descriptor)
{
    flock(descriptor, LOCK_UN); // the close does not, while a child of fork() has the descriptor too
    close(descriptor);
}

ssize_t replace(int descriptor, const ShmFile &file, const void *contents, off_t up_to)
{
    struct stat status;
    if (!lock_and_examine(descriptor, LOCK_EX, status))
        return -1;
    if (status.st_size > up_to)
        return file.size;
    const ssize_t written = write(descriptor, contents, static_cast<size_t>(file.size));
    if (written >= file.least_written && ftruncate(descriptor, written) != 0)
        return -1;
    if (written > 0 && (status.st_mode & unfinished))
        fchmod(descriptor, status.st_mode & ~unfinished);
    return written;
}

int32_t fetch(int descriptor, const ShmFile &file, void *record)
{
    struct stat status;
    if (!lock_and_examine(descriptor, LOCK_SH, status))
        return fail("fstat");
    if (status.st_size != 0 && status.st_size != file.size) {
        printf("\nWARNING file size not equals to %d%s", file.size, file.other_sizes);
        fflush(stdout);
        return ETH_E_FAIL;
    }
    uint32_t words[largest_record / sizeof(uint32_t)] = {};
    const auto size = static_cast<size_t>(file.size);
    if (read(descriptor, words, size) != status.st_size)
        return ETH_E_FAIL;
    memcpy(record, words, size);
    return ETH_E_NONE;
}

} // namespace

int open_shm(const ShmFile &file, int flags)
{
    return open(file.path, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, file.mode);
}

bool examine(int descriptor, struct stat &status)
{
    if (fstat(descriptor, &status) != 0)
        return false;
    errno = ENXIO;
    return S_ISREG(status.st_mode);
}

int32_t store(const ShmFile &file, const void *contents, off_t up_to)
{
    const int descriptor = open_shm(file, O_WRONLY | O_CREAT | file.sync);
    if (descriptor < 0)
        return fail("open");
    const ssize_t written = replace(descriptor, file, contents, up_to);
    unlock_and_close(descriptor);
    if (written == file.size)
        return ETH_E_NONE;
    if (written == -1)
        return fail("write");
    printf("Warning: write doesn't return expected number of bytes");
    return ETH_E_FAIL;
}

int32_t load(const ShmFile &file, void *record)
{
    const int descriptor = open_shm(file, O_RDONLY | O_CREAT);
    if (descriptor < 0)
        return fail("open");
    const int32_t result = fetch(descriptor, file, record);
    unlock_and_close(descriptor);
    return result;
}

} // namespace esw
