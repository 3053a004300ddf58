// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <esw/vlan.h>

#include "core/file.h"
#include "core/shm_file.h"
#include "vlan/vid.h"

namespace {

using namespace esw;

constexpr int file_size = last_vid + 1; // one character a VID
constexpr char exists = '1';
constexpr char absent = '0';

constexpr ShmFile membership_file = {
    .path = "/dev/shm/vid_list.cfg",
    .size = file_size,
    .least_written = file_size,
    .sync = 0,
    .mode = owner_only | unfinished,
    .other_sizes = "",
};

constexpr off_t block_size = 512;                       // what st_blocks counts
constexpr useconds_t rest_after_failed_map = 1'000'000; // microseconds

// Makes the file one without a VLAN, unless it has more than `up_to` bytes: others may be making it too, and
// may be further.
int32_t make_list(off_t up_to)
{
    uint64_t bytes[file_size / sizeof(uint64_t)]; // not of char, which the stack protector would guard
    memset(bytes, absent, sizeof bytes);
    return store(membership_file, bytes, up_to);
}

// Makes a missing list, after a message, or fills an unfinished one first. A descriptor; below 0 when
// something fails, which is told.
int open_list(uint16_t vid, int flags, const char *message, struct stat &status)
{
    if (vid > last_vid) {
        printf("\nError: vid>%d", last_vid);
        return ETH_E_FAIL;
    }
    int descriptor = open_shm(membership_file, flags);
    if (descriptor < 0) {
        const int error = errno;
        puts(message);
        errno = error;
        if (error != ENOENT)
            return fail("open");
        if (make_list(0) != ETH_E_NONE)
            return ETH_E_FAIL;
        descriptor = open_shm(membership_file, flags);
        if (descriptor < 0)
            return ETH_E_FAIL;
    }
    if (!examine(descriptor, status)) {
        close(descriptor);
        return fail("fstat");
    }
    if (status.st_size == 0 && (status.st_mode & unfinished)) {
        make_list(0);
        fstat(descriptor, &status);
    }
    return descriptor;
}

// Not through a mapping, which would kill where the file has a hole and its file system no room.
int32_t read_byte(int descriptor, uint16_t vid)
{
    uint8_t byte;
    return pread(descriptor, &byte, sizeof byte, vid) == sizeof byte ? byte - absent
                                                                     : fail("\nget_vid: mmap");
}

int32_t write_byte(int descriptor, const struct stat &status, uint16_t vid, char byte)
{
    // The mapping needs a page of the file: there is none behind its end, nor where it has a hole.
    if (vid >= status.st_size) {
        if (make_list(vid) != ETH_E_NONE)
            return ETH_E_FAIL;
    } else if (status.st_blocks * block_size < status.st_size &&
               pwrite(descriptor, &byte, sizeof byte, vid) != sizeof byte) {
        return fail("write");
    }
    void *at = mmap(nullptr, file_size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (at == MAP_FAILED) {
        const int error = errno;
        usleep(rest_after_failed_map);
        errno = error;
        return fail("\nset_vid: mmap");
    }
    static_cast<char *>(at)[vid] = byte;
    msync(at, file_size, MS_SYNC);
    munmap(at, file_size);
    return ETH_E_NONE;
}

} // namespace

int32_t init_vid_list(void) { return make_list(any_size); }

int32_t get_vid(uint16_t vid)
{
    struct stat status;
    const File file(open_list(vid, O_RDONLY, "No vlan file found, calling vlan init!", status));
    if (!file)
        return ETH_E_FAIL;
    if (status.st_size == file_size)
        return read_byte(file.descriptor(), vid);
    if (status.st_size > 0)
        printf("WARNING file size not equals to %d", file_size);
    return ETH_E_FAIL;
}

int32_t set_vid(uint16_t vid, int32_t value)
{
    struct stat status;
    const File file(open_list(vid, O_RDWR | O_SYNC, "No vlan file found, calling vlan init", status));
    if (!file)
        return ETH_E_FAIL;
    if (status.st_size != file_size)
        printf("\nWARNING file size not equals to %d", file_size);
    fflush(stdout);
    return write_byte(file.descriptor(), status, vid, value ? exists : absent);
}
