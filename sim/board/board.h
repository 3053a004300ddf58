// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulated board: one directory that holds a switch and the files of its /dev/shm, shared by every
// process that runs on it.
#pragma once

#include <cstddef>
#include <cstdint>

#include <pthread.h>
#include <sys/types.h>

#include "sim/model/switch.h"

namespace sim {

inline constexpr size_t path_size = 4096;

// Environment variables through which the launcher reaches the programs that it starts.
inline constexpr char env_board[] = "ESW_SIM_BOARD"; // the board's directory
inline constexpr char env_route[] = "ESW_SIM_ROUTE";
inline constexpr char env_latency[] = "ESW_SIM_LATENCY";
inline constexpr char env_faults[] = "ESW_SIM_FAULTS";
inline constexpr char env_trace[] = "ESW_SIM_TRACE"; // a file that lines are appended to

// The contents of the board's switch file.
struct SharedSwitch {
    uint64_t layout; // tells a file of this very layout
    pthread_mutex_t mutex;
    State state;
};

// Files of a board, below its directory.
inline constexpr char control_file[] = "esw-ctl"; // stands in for the control device
inline constexpr char shm_directory[] = "shm";    // stands in for /dev/shm

// Creates the board, powered on, when it is not there yet. False with errno set when that fails.
bool create_board(const char *directory, uint32_t device_id);

// Maps the board's switch. Null with errno set when there is no board.
SharedSwitch *attach_board(const char *directory);

// Makes memory a powered-on switch.
void initialise(SharedSwitch &shared, uint32_t device_id);

// Holds a board's switch to the end of its scope. A holder that dies leaves it usable.
class BoardLock {
public:
    explicit BoardLock(SharedSwitch &shared);
    ~BoardLock();
    BoardLock(const BoardLock &) = delete;
    BoardLock &operator=(const BoardLock &) = delete;

private:
    pthread_mutex_t &mutex_;
};

// System calls that no preloaded layer sees.
int raw_open(const char *path, int flags, mode_t mode = 0);
bool join_path(char (&to)[path_size], const char *directory, const char *name);

} // namespace sim
