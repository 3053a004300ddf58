// SPDX-License-Identifier: LGPL-2.1-or-later
// What the public headers say of each call.
#pragma once

#include <string>
#include <vector>

namespace test {

struct Documented {
    std::string name, parameters;
    std::string text; // its comment, behind that of its section
    std::string lock; // "none", "held, but not for the checks", ...
};

const std::vector<Documented> &documented_calls();

} // namespace test
