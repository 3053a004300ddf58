// SPDX-License-Identifier: LGPL-2.1-or-later
// Between the library and the drivers: shows requests (--trace), or withholds what would change the switch
// (--dry-run). The library calls ioctl() and open() by name, so the program's own come first.
#pragma once

#include "eswctl/report.h"

namespace eswctl {

// Prints a line on standard error for each driver request from now on.
void trace_requests();

// Why the last request failed that a driver refused, and what to do about it; empty when none did since the
// last forget_failures().
std::string why_requests_failed();
void forget_failures();

// Throws Refused when a request failed since: what a command has read then, or thinks to have written, is not
// so.
void check_requests();

// From now on, reads reach the switch, writes don't; later reads see what was withheld. The same holds for
// the library's files.
void withhold_writes();
bool withholds_writes();
bool withholds_file(const std::string &path, size_t size); // that a command is going to write

// What would have changed: registers, PHY registers, EEE and the library's files, in order.
Report withheld_changes();

} // namespace eswctl
