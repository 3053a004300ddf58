// SPDX-License-Identifier: LGPL-2.1-or-later
// The calls that the library makes on files: while a test watches, it sees each and makes them fail.
#pragma once

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace test {

struct FileCalls {
    std::vector<std::string> log;
    unsigned made = 0; // that can fail
    // Of a line of the log, and which call it is: from 1 on.
    std::function<bool(const std::string &line, unsigned number)> fails;
    bool is_short = false; // then what fails transfers half of its bytes, if it is a transfer at all
    int error = EIO;
    std::function<void()> before_lock; // once
};

// Null when nobody watches. No call sleeps while somebody does.
extern FileCalls *watched;

} // namespace test
