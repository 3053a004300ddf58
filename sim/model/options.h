// SPDX-License-Identifier: LGPL-2.1-or-later
// How one process wants its simulated switch: parsed from text, so that a launcher can hand it on.
#pragma once

#include <cstdint>

#include "core/wire.h"
#include "sim/model/switch.h"

namespace sim {

inline constexpr unsigned max_interfaces = 8;

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
    bool unprivileged = false; // requests to PHYs need no CAP_NET_ADMIN
    unsigned interface_count = 0;
    char interfaces[max_interfaces][esw::interface_name_size] =
        {}; // that are listed, and answer like lan and eth0
};

// All digits of a decimal, or of a hexadecimal number with 0x. False when text is something else.
bool parse_number(const char *text, uint64_t &number);

// "device" or "interface". False when text is neither.
bool parse_route(const char *text, Options &options);

// "nth=N", "from=N", "all", "mii", "eee", "stuck=NAME", "stuck=PAGE:OFFSET", "socket" or "lock". False when
// text is none of them, or names no register with a busy bit.
bool parse_fault(const char *text, Options &options);

// One more interface: 1 to 15 characters, no blank and no slash.
bool parse_interface(const char *text, Options &options);

// Several, separated by blanks.
bool parse_faults(const char *text, Options &options);
bool parse_interfaces(const char *text, Options &options);

// "MAC,VID,PORT": six pairs of hexadecimal digits with colons, not a group address; 0 to 4095; 0, 1 or 8.
bool parse_station(const char *text, Station &station);

} // namespace sim
