// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/tools/process.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

std::string contents(const std::string &path)
{
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

Finished run(const std::vector<std::string> &words, const std::string &input)
{
    const ScratchDirectory files;
    const std::string in = files.path() + "/in";
    const std::string out = files.path() + "/out";
    const std::string error = files.path() + "/error";
    std::ofstream(in) << input;
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        dup2(open(in.c_str(), O_RDONLY), 0);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), 1);
        dup2(open(error.c_str(), O_WRONLY | O_CREAT, 0600), 2);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, contents(out), contents(error)};
}

std::vector<std::string> words_of(const std::string &line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

ScratchDirectory::ScratchDirectory()
{
    char pattern[] = "/tmp/esw-tool-test-XXXXXX";
    path_ = mkdtemp(pattern);
}

ScratchDirectory::~ScratchDirectory() { std::filesystem::remove_all(path_); }

} // namespace test
