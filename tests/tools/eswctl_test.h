// eswctl on a simulated switch: command lines, exit codes and output.
#pragma once

#include <gmock/gmock.h>

#include "tests/tools/process.h"

namespace test {

struct CommandLine {
    const char *line; // what follows "eswctl"
    int code;
    const char *out;   // a part of the output; empty: no output at all
    const char *error; // likewise of standard error
};

class Eswctl : public testing::Test {
protected:
    // Runs "eswctl LINE" on the switch, whose launcher gets these options.
    Finished eswctl(const std::string &line, const std::string &launcher = "");

    // Any program, launched likewise.
    Finished launch(const std::string &launcher, const std::vector<std::string> &command);

    // Runs each line in turn, all on one switch.
    void expect(const std::vector<CommandLine> &lines, const std::string &launcher = "");

    [[nodiscard]] std::string scratch(const std::string &name) const { return scratch_.path() + '/' + name; }

private:
    ScratchDirectory scratch_;
};

} // namespace test
