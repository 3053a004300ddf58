// SPDX-License-Identifier: LGPL-2.1-or-later
// Doors for the status of open files: the control device looks like one.
#include <sys/stat.h>

#include "sim/doors/next.h"
#include "sim/doors/session.h"

#define DOOR_FSTAT(name, record)                                                                             \
    static constinit sim::Next next_##name{&name, #name};                                                    \
    extern "C" int name(int descriptor, struct record *status) noexcept                                      \
    {                                                                                                        \
        const int result = next_##name(descriptor, status);                                                  \
        const sim::Session *session = sim::session();                                                        \
        if (result == 0 && session && sim::kind_of(descriptor) == sim::Kind::control)                        \
            sim::show_device(*status);                                                                       \
        return result;                                                                                       \
    }

DOOR_FSTAT(fstat, stat)
DOOR_FSTAT(fstat64, stat64)
