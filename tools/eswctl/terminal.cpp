// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/terminal.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fmt/format.h>

#include "eswctl/errors.h"
#include "eswctl/turn.h"

namespace eswctl {
namespace {

int own_output = -1;

// A program started with closed standard descriptors must not get the driver's in their place.
void occupy_standard_descriptors()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", O_RDWR);
    }
}

std::optional<TerminalSize> terminal_behind(int descriptor)
{
    const char *kind = getenv("TERM");
    const char *plain = getenv("NO_COLOR");
    winsize size{};
    if (!kind || strcmp(kind, "dumb") == 0 || (plain && *plain) || ioctl(descriptor, TIOCGWINSZ, &size) != 0)
        return std::nullopt;
    const auto known = [](size_t given, size_t usual) { return given == 0 ? usual : given; };
    return TerminalSize{known(size.ws_row, 24), known(size.ws_col, 80)};
}

} // namespace

void separate_output()
{
    own_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3); // -1 when it is closed: print() tells
    occupy_standard_descriptors();
    dup2(STDERR_FILENO, STDOUT_FILENO);
    setvbuf(stdout, nullptr, _IOLBF, 0);
}

bool print(const std::string &text)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(own_output, text.data() + done, text.size() - done);
        if (written < 0)
            return false;
        done += static_cast<size_t>(written);
    }
    return true;
}

void tell(const std::string &text)
{
    fputs(text.c_str(), stderr);
    fflush(stderr);
}

std::optional<TerminalSize> output_terminal() { return terminal_behind(own_output); }
std::optional<TerminalSize> error_terminal() { return terminal_behind(STDERR_FILENO); }

bool can_ask() { return isatty(STDIN_FILENO) && isatty(STDERR_FILENO); }

bool confirm(const std::string &question)
{
    const UnlockedWhile asking;
    tell(question + ". Go on? [y/N] ");
    char answer[16] = "";
    if (!fgets(answer, sizeof answer, stdin))
        return false;
    answer[strcspn(answer, "\n")] = '\0';
    return strcmp(answer, "y") == 0 || strcmp(answer, "Y") == 0 || strcmp(answer, "yes") == 0;
}

pid_t start(const std::string &program, const std::vector<std::string> &words, bool detached)
{
    std::vector<char *> argv;
    for (const std::string &word : words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (detached)
            posix_spawn_file_actions_addopen(&files, number, "/dev/null", O_RDWR, 0);
        else if (number == STDOUT_FILENO)
            posix_spawn_file_actions_adddup2(&files, own_output, number);
    }
    posix_spawnattr_setflags(&attributes, detached ? POSIX_SPAWN_SETSID : 0);
    pid_t child = 0;
    const int fault = posix_spawn(&child, program.c_str(), &files, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (fault != 0)
        throw Refused{fmt::format("cannot start {}: {}", program, strerror(fault))};
    return child;
}

HeldBack::HeldBack()
    : memory_(memfd_create("eswctl", MFD_CLOEXEC)), output_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)),
      error_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
{
    fflush(stdout);
    dup2(memory_, STDOUT_FILENO);
    dup2(memory_, STDERR_FILENO);
}

std::string HeldBack::release()
{
    if (memory_ < 0)
        return "";
    fflush(stdout);
    dup2(output_, STDOUT_FILENO);
    dup2(error_, STDERR_FILENO);
    std::string text(static_cast<size_t>(lseek(memory_, 0, SEEK_END)), '\0');
    const ssize_t size = pread(memory_, text.data(), text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<size_t>(size));
    close(memory_);
    close(output_);
    close(error_);
    memory_ = -1;
    return text;
}

HeldBack::~HeldBack() { release(); }

} // namespace eswctl
