// Between the library and the drivers: shows requests (--trace), or withholds what would change the switch
// (--dry-run). The library calls ioctl() and open() by name, so the program's own come first.
#pragma once

#include "eswctl/report.h"

namespace eswctl {

// Prints a line on standard error for each driver request from now on.
void trace_requests();

// From now on, reads reach the switch, writes don't; later reads see what was withheld. The same holds for
// the library's files.
void withhold_writes();
bool withholds_writes();

// What would have changed: registers, PHY registers, EEE and the library's files, in order.
Report withheld_changes();

} // namespace eswctl
