// SPDX-License-Identifier: LGPL-2.1-or-later
// The files under /dev/shm, which all programs of the board share and anyone may create.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <sys/stat.h>

#include <esw/types.h>

namespace esw {

inline constexpr size_t shm_path_size = 28;

struct ShmFile {
    char path[shm_path_size]; // in place: a pointer would have to be relocated
    int size;                 // bytes of the contents
    int least_written;        // when a store ends early with fewer bytes, what was behind them stays
    int sync;                 // O_SYNC when a store comes back only after the device has it
    mode_t mode;              // of a new file
    char other_sizes[6];      // that load() takes, as its warning names them
};

inline constexpr mode_t owner_only = 0600;
// Marks a new file whose maker has not come to fill it, or was killed before, and tells it from one that
// somebody has emptied. It means nothing to the kernel, and goes with the first contents.
inline constexpr mode_t unfinished = S_ISVTX;

inline int32_t fail(const char *what)
{
    perror(what);
    return ETH_E_FAIL;
}

// A descriptor, or below 0. Neither follows a link nor waits for a FIFO: anyone may have planted them.
int open_shm(const ShmFile &file, int flags);

// False with errno set, also for what is no regular file.
bool examine(int descriptor, struct stat &status);

inline constexpr off_t any_size = INT64_MAX;

// Replaces the contents without passing through an empty file; a file of more than `up_to` bytes stays as it
// is. A missing file is created. Prints what fails.
int32_t store(const ShmFile &file, const void *contents, off_t up_to = any_size);

inline constexpr size_t largest_record = 124;

// Fetches a record of at most that size as one store() left it; from an empty file, zeros. A missing file is
// created. Prints what fails, and leaves `record` alone then.
int32_t load(const ShmFile &file, void *record);

} // namespace esw
