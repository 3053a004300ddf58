// SPDX-License-Identifier: LGPL-2.1-or-later
// What becomes of driver requests: shown with --trace, and remembered when the driver refuses one.
#pragma once

#include <string>

#include "eswctl/request.h"

namespace eswctl {

// Prints a line on standard error for each driver request from now on.
void trace_requests();

// Why the last request failed that a driver refused, and what to do about it; empty when none did since the
// last forget_failures().
std::string why_requests_failed();
int failed_with();              // its errno
std::string failed_interface(); // that it named; empty where it went to the control device
void forget_failures();

// Throws Refused when a request failed since: what a command has read then, or thinks to have written, is not
// so.
void check_requests();

// For the doors: a request was made. Leaves errno alone.
void observe(const Request &request, int result);

} // namespace eswctl
