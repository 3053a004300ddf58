// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists on the command line, taken apart and put together, and input as messages show it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eswctl/report.h"

namespace eswctl {

std::vector<std::string> split(const std::string &list, char separator = ','); // an empty item is kept
std::vector<uint32_t> ascending(std::vector<uint32_t> numbers);                // each once
std::string enumerate(const std::vector<std::string> &words);                  // "a, b or c"
std::string ranges_of(const std::vector<uint32_t> &numbers);                   // "10-20,30"

// At most 80 characters of what somebody gave, in one line: control characters are escaped.
std::string excerpt(const std::string &text);
std::string excerpt_of(const Json &value); // as JSON

} // namespace eswctl
