// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists on the command line, taken apart and put together.
#pragma once

#include <string>
#include <vector>

#include "eswctl/report.h"

namespace eswctl {

std::vector<std::string> split(const std::string &list);      // at the commas; an empty item is kept
Json ascending(std::vector<uint32_t> numbers);                // each once
std::string enumerate(const std::vector<std::string> &words); // "a, b or c"
std::string ranges_of(const std::vector<uint16_t> &vids);     // "10-20,30"

} // namespace eswctl
