// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulated board: one directory that holds a switch and the files of its /dev/shm, shared by every
// process that runs on it.
#pragma once

#include <cstddef>
#include <cstdint>

#include <pthread.h>
#include <sys/types.h>

#include "core/wire.h"
#include "sim/model/switch.h"

namespace sim {

inline constexpr size_t path_size = 4096;

// Environment variables through which the launcher reaches the programs that it starts.
inline constexpr char env_board[] = "ESW_SIM_BOARD"; // the board's directory
inline constexpr char env_route[] = "ESW_SIM_ROUTE";
inline constexpr char env_latency[] = "ESW_SIM_LATENCY";
inline constexpr char env_faults[] = "ESW_SIM_FAULTS";
inline constexpr char env_trace[] = "ESW_SIM_TRACE"; // a file that lines are appended to
inline constexpr char env_interfaces[] = "ESW_SIM_INTERFACES";
inline constexpr char env_unprivileged[] = "ESW_SIM_UNPRIVILEGED";

// The contents of the board's switch file.
struct SharedSwitch {
    uint64_t layout; // tells a file of this very layout
    pthread_mutex_t mutex;
    uint32_t turn; // odd while somebody holds the board
    State state;
    uint64_t end; // goes first when the file is cut short
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

// A holder needs microseconds. Whoever has been stopped inside, or a file that somebody has forged, shall not
// stop the others for ever.
inline int64_t lock_patience = 10'000; // milliseconds

// Holds a board's switch to the end of its scope. A holder that dies leaves it usable, and no signal handler
// runs in between: it could make a request of its own, or never come back.
class BoardLock {
public:
    explicit BoardLock(SharedSwitch &shared);
    ~BoardLock();
    BoardLock(const BoardLock &) = delete;
    BoardLock &operator=(const BoardLock &) = delete;

    // 0, or the errno value for which the switch is not held.
    [[nodiscard]] int error() const { return error_; }

private:
    SharedSwitch &shared_;
    uint64_t signals_ = 0; // that were blocked before
    int error_;
};

// Serves a request without holding the board, which only one that no engine takes part in can be: a single
// load or store of a register, as indivisible as the drivers' own. False when the board has to be held.
bool serve_alone(SharedSwitch &shared, const Switch &simulated, bool write, esw::RegisterRequest &request);

// System calls that no preloaded layer sees.
int raw_open(const char *path, int flags, mode_t mode = 0);
bool join_path(char (&to)[path_size], const char *directory, const char *name);

} // namespace sim
