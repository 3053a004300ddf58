// SPDX-License-Identifier: LGPL-2.1-or-later
// What the tool calls the states of ports.
#pragma once

#include <string>
#include <vector>

namespace eswctl {

// In the order of the library's numbers 0 to 4.
inline const std::vector<std::string> stp_states = {"disabled", "blocking", "listening", "learning",
                                                    "forwarding"};

} // namespace eswctl
