// SPDX-License-Identifier: LGPL-2.1-or-later
// Why a command ends early, and the library's result codes in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <esw/types.h>

namespace eswctl {

// The command line is wrong: exit code 2.
struct UsageError {
    std::string message;
};

// The switch or the library refused: exit code 1.
struct Refused {
    std::string message;
};

// What a result code of the library means in one command, where that is more than it means everywhere.
struct Meaning {
    int32_t code;
    std::string text;
    const char *file = nullptr; // where it tells of this file of the library: which may be closed to the user
};
using Meanings = std::vector<Meaning>;

// Passes a library call's result on, or throws Refused: "cannot WHAT: ETH_E_PORT (...)".
int32_t check(int32_t result, const std::string &what, const Meanings &meanings = {});
std::string describe(int32_t result, const Meanings &meanings = {});

// Why this user can't use a file of the library; empty when nothing keeps him from it.
std::string why_closed(const char *file);

} // namespace eswctl
