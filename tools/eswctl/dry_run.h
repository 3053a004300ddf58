// SPDX-License-Identifier: LGPL-2.1-or-later
// --dry-run: what would change the switch is withheld.
#pragma once

#include <string>

#include "eswctl/report.h"
#include "eswctl/request.h"

namespace eswctl {

// From now on, reads reach the switch, writes don't; later reads see what was withheld. The same holds for
// the library's files.
void withhold_writes();
bool withholds_writes();
bool withholds_file(const std::string &path, size_t size); // that a command is going to write

// What would have changed: registers, PHY registers, EEE and the library's files, in order.
Report withheld_changes();

// For the doors, while writes are withheld: answers a request as the driver would, and says which file is
// opened in the place of one.
int serve_withheld(const Request &request);
std::string withheld_place(const char *path, int flags);

} // namespace eswctl
