// SPDX-License-Identifier: LGPL-2.1-or-later
// Programs run from tests, on a simulated board of the test's own.
#pragma once

#include <string>
#include <vector>

namespace test {

struct Finished {
    int code; // exit code; 128 + N after signal N
    std::string out;
    std::string error;
};

// Without a terminal.
Finished run(const std::vector<std::string> &words, const std::string &input = "");

// As a shell would split a line without quotes.
std::vector<std::string> words_of(const std::string &line);

class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory &) = delete;
    ScratchDirectory &operator=(const ScratchDirectory &) = delete;

    [[nodiscard]] const std::string &path() const { return path_; }

private:
    std::string path_;
};

std::string contents(const std::string &path);

} // namespace test
