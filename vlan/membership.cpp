// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <esw/vlan.h>

#include "core/file.h"
#include "vlan/vid.h"

namespace {

using namespace esw;

constexpr char membership_file[] = "/dev/shm/vid_list.cfg";
constexpr int file_size = last_vid + 1; // one character a VID
constexpr char exists = '1';
constexpr char absent = '0';

constexpr useconds_t rest_after_failed_map = 1'000'000; // microseconds

bool is_vid(uint16_t vid)
{
    if (vid <= last_vid)
        return true;
    printf("\nError: vid>%d", last_vid);
    return false;
}

// `error` is the errno of what failed: steps in between may have changed it.
int32_t fail(int error, const char *what)
{
    errno = error;
    perror(what);
    return ETH_E_FAIL;
}

[[gnu::noinline]] ssize_t fill(const File &file) // its buffer is not its callers'
{
    char bytes[file_size];
    memset(bytes, absent, sizeof bytes);
    return write(file.descriptor(), bytes, sizeof bytes);
}

// The size; ETH_E_FAIL when it can't be told.
off_t size_of(const File &file)
{
    struct stat status;
    return fstat(file.descriptor(), &status) == 0 ? status.st_size : fail(errno, "fstat");
}

char *map(const File &file, int protection, int flags)
{
    void *at = mmap(nullptr, file_size, protection, flags, file.descriptor(), 0);
    return at == MAP_FAILED ? nullptr : static_cast<char *>(at);
}

int open_to_change() { return open(membership_file, O_RDWR | O_SYNC); }

} // namespace

int32_t init_vid_list(void)
{
    File file(open(membership_file, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    if (!file)
        return fail(errno, "open");
    const ssize_t written = fill(file);
    const int error = errno;
    file.close();
    if (written == -1)
        return fail(error, "write");
    if (written == file_size)
        return ETH_E_NONE;
    printf("Warning: write doesn't return expected number of bytes");
    return ETH_E_FAIL;
}

int32_t get_vid(uint16_t vid)
{
    if (!is_vid(vid))
        return ETH_E_FAIL;
    File file(open(membership_file, O_RDONLY));
    if (!file) {
        puts("No vlan file found, calling vlan init!");
        return init_vid_list();
    }

    const off_t size = size_of(file);
    if (size != file_size) {
        if (size > 0)
            printf("WARNING file size not equals to %d", file_size);
        return ETH_E_FAIL;
    }

    char *bytes = map(file, PROT_READ, MAP_PRIVATE);
    if (!bytes) {
        const int error = errno;
        file.close();
        return fail(error, "\nget_vid: mmap");
    }
    const auto byte = static_cast<uint8_t>(bytes[vid]);
    munmap(bytes, file_size);
    return byte - absent;
}

int32_t set_vid(uint16_t vid, int32_t value)
{
    if (!is_vid(vid))
        return ETH_E_FAIL;
    int descriptor = open_to_change();
    if (descriptor < 0) {
        puts("No vlan file found, calling vlan init");
        if (init_vid_list() != ETH_E_NONE)
            return ETH_E_FAIL;
        descriptor = open_to_change();
    }
    const File file(descriptor);
    if (!file)
        return ETH_E_FAIL;

    const off_t size = size_of(file);
    if (size < 0)
        return ETH_E_FAIL;
    if (size != file_size)
        printf("\nWARNING file size not equals to %d", file_size);
    fflush(stdout);
    // A store behind the end of the file would be lost, or kill the process.
    if (vid >= size && fill(file) != file_size)
        return ETH_E_FAIL;

    char *bytes = map(file, PROT_READ | PROT_WRITE, MAP_SHARED);
    if (!bytes) {
        const int error = errno;
        usleep(rest_after_failed_map);
        return fail(error, "\nset_vid: mmap");
    }
    bytes[vid] = value ? exists : absent;
    msync(bytes, file_size, MS_SYNC);
    munmap(bytes, file_size);
    return ETH_E_NONE;
}
