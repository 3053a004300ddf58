// SPDX-License-Identifier: LGPL-2.1-or-later
// eswctl on a simulated switch: command lines, exit codes and output.
#pragma once

#include <gmock/gmock.h>

#include "tests/tools/process.h"

namespace test {

class Eswctl : public testing::Test {
protected:
    // Runs "eswctl LINE" on the switch, whose launcher gets these options.
    Finished eswctl(const std::string &line, const std::string &launcher = "", const std::string &input = "");

    // Any program, launched likewise.
    Finished launch(const std::string &launcher, const std::vector<std::string> &command,
                    const std::string &input = "");

    [[nodiscard]] std::string scratch(const std::string &name) const { return scratch_.path() + '/' + name; }

    std::string board_ = "state"; // boards of other names are other switches

private:
    ScratchDirectory scratch_;
};

} // namespace test
