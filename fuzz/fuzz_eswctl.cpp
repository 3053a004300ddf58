// SPDX-License-Identifier: LGPL-2.1-or-later
// eswctl in this process: command lines, batches, configurations and rule files. Whatever it is given, it
// ends with one of its exit codes.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

int eswctl_main(int argc, char **argv);

namespace {

int eswctl(std::vector<std::string> words)
{
    words.insert(words.begin(), "eswctl");
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    return eswctl_main(static_cast<int>(words.size()), arguments.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data) + (size != 0), size - (size != 0));
    // Commands that go on until they are stopped, start others, or write to files which the input names.
    if (size == 0 || text.find("watch") != text.npos || text.find("save") != text.npos ||
        text.find("confirm") != text.npos || text.find("edit") != text.npos ||
        text.find("output") != text.npos || text.find("/") != text.npos)
        return 0;
    std::ofstream("input") << text;
    const int out = dup(1), error = dup(2), null = open("/dev/null", O_RDWR);
    for (const int number : {0, 1, 2})
        dup2(null, number);
    int code = 0;
    switch (data[0] % 4) {
    case 0: {
        std::istringstream stream(text);
        std::vector<std::string> words;
        for (std::string word; stream >> word;)
            words.push_back(word);
        code = eswctl(words);
        break;
    }
    case 1:
        code = eswctl({"batch", "--yes", "input"});
        break;
    case 2:
        code = eswctl({"restore", "--yes", "input"});
        break;
    case 3:
        code = eswctl({"cfp", "restore", "--yes", "input"});
        break;
    }
    dup2(out, 1);
    dup2(error, 2);
    for (const int number : {out, error, null})
        close(number);
    if (code < 0 || code > 2)
        abort();
    return 0;
}
