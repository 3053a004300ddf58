// SPDX-License-Identifier: LGPL-2.1-or-later
// One process's view of the simulated board, and the requests that it serves.
#pragma once

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/types.h>

#include "sim/board/board.h"
#include "sim/doors/descriptors.h"
#include "sim/model/driver.h"

namespace sim {

class Session {
public:
    Session(SharedSwitch &shared, const Options &options, const char *directory);

    // True when the request is one of the simulated drivers'; `result` is then what ioctl() returns, and
    // errno is set as they set it.
    bool serve(int descriptor, unsigned long number, void *argument, int &result);

    // Where a path of the board really lies; null when the path is none of the board's. Relative paths begin
    // at the directory.
    const char *redirect(int directory, const char *path, char (&to)[path_size]) const;
    [[nodiscard]] bool is_control_stand_in(const char *path) const;

    // Whether a file stands in for one under /dev/shm.
    [[nodiscard]] bool is_stand_in(dev_t device, ino_t inode) const;

    [[nodiscard]] const Options &options() const { return options_; }
    Driver &driver() { return driver_; }

private:
    [[nodiscard]] bool is_simulated(const char *interface) const;
    [[nodiscard]] bool is_cut_short() const;
    int serve_register(Route route, bool write, void *argument);
    int serve_mii(bool write, esw::MiiRequest &request, void *argument);
    int serve_eee(bool write, void *argument);
    bool serve_interface(unsigned long number, void *argument, int &error);

    SharedSwitch &shared_;
    const Options &options_;
    const char *directory_;
    Driver driver_;
};

// Makes the status of the control device's stand-in that of a device.
template <typename Status>
void show_device(Status &status)
{
    status.st_mode = S_IFCHR | (status.st_mode & 0777);
    status.st_rdev = makedev(10, 120); // a miscellaneous device
    status.st_size = 0;
    status.st_blocks = 0;
}

// The process's session; null when nothing is simulated, and then every call passes through.
Session *session();

} // namespace sim
