// SPDX-License-Identifier: LGPL-2.1-or-later
// How one process wants its simulated switch: parsed from text, so that a launcher can hand it on.
#pragma once

#include <cstdint>

#include "sim/model/switch.h"

namespace sim {

struct Options {
    Behaviour behaviour;
    bool device_route = true;     // /dev/esw-ctl exists
    uint64_t failing_request = 0; // the nth request of the process fails; 0: none
    uint64_t failing_from = 0;    // so do the nth and all that follow; 0: none
    bool all_requests_fail = false;
    bool mii_requests_fail = false;
    bool eee_requests_fail = false;
    bool no_socket = false;
    bool no_lock = false;
};

// All digits of a decimal, or of a hexadecimal number with 0x. False when text is something else.
bool parse_number(const char *text, uint64_t &number);

// "device" or "interface". False when text is neither.
bool parse_route(const char *text, Options &options);

// "nth=N", "from=N", "all", "mii", "eee", "stuck=NAME", "stuck=PAGE:OFFSET", "socket" or "lock". False when
// text is none of them, or names no register with a busy bit.
bool parse_fault(const char *text, Options &options);

// Faults separated by blanks.
bool parse_faults(const char *text, Options &options);

} // namespace sim
