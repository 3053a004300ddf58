// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/output.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <unistd.h>

#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/errors.h"
#include "eswctl/terminal.h"
#include "eswctl/turn.h"

namespace eswctl {
namespace {

bool as_json_documents = false;
bool silent_now = false;
const Progress *shown_progress = nullptr;
bool progress_is_visible = false;
std::chrono::steady_clock::time_point next_progress;
volatile sig_atomic_t interrupted = 0;

void note_interrupt(int signal)
{
    if (signal == SIGINT || signal == SIGTERM)
        interrupted = 1;
}

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

} // namespace

void print_as_json(bool json) { as_json_documents = json; }

bool printing_json() { return as_json_documents; }

void print_or_throw(const std::string &text)
{
    if (!print(text))
        throw Refused{fmt::format("cannot write the output: {}", strerror(errno))};
}

void silence(bool silent) { silent_now = silent; }

void hide_progress()
{
    if (shown_progress)
        shown_progress->hide();
}

void emit(const Report &report)
{
    check_requests();
    if (report.value.is_null() || silent_now)
        return;
    hide_progress();
    const auto terminal = output_terminal();
    const size_t columns = terminal ? terminal->columns : SIZE_MAX;
    std::optional<UnlockedWhile> printing;
    if (report.one_of_many)
        printing.emplace();
    print_or_throw(as_json_documents ? as_json(report) : as_text(report, columns));
}

void LiveView::emit(const Report &report)
{
    check_requests();
    const auto size = output_terminal();
    if (as_json_documents || silent_now || !size) {
        eswctl::emit(report);
        return;
    }
    std::vector<std::string> lines;
    std::istringstream text(as_text(report, size->columns));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    if (lines.size() + 1 > size->rows) { // the last row is the cursor's
        const size_t kept = size->rows < 3 ? 0 : size->rows - 2;
        const std::string rest = fmt::format("({} more lines)", lines.size() - kept);
        lines.resize(kept);
        lines.push_back(rest);
    }
    // Back to the first line; each line clears what the last state left in it, and the end what is below.
    std::string shown = lines_ == 0 ? "" : fmt::format("\033[{}A", lines_);
    for (const std::string &line : lines)
        shown += fmt::format("\r{:.{}}\033[K\n", line, size->columns);
    lines_ = lines.size();
    const UnlockedWhile printing;
    print_or_throw(shown + "\033[J");
}

bool wait_for_next(double seconds)
{
    if (silent_now) // of a watch that nobody sees, one look is enough
        return false;
    const UnlockedWhile sleeping;
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    timespec rest{};
    rest.tv_sec = static_cast<time_t>(seconds);
    rest.tv_nsec = static_cast<long>((seconds - static_cast<double>(rest.tv_sec)) * 1e9);
    while (!interrupted && nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
    return !interrupted;
}

bool was_interrupted() { return interrupted != 0; }

bool take_interrupt()
{
    const bool was = was_interrupted();
    interrupted = 0;
    return was;
}

Interruptible::Interruptible()
{
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    for (size_t i = 0; i < std::size(ending_signals); ++i)
        sigaction(ending_signals[i], &action, &former_[i]);
}

Interruptible::~Interruptible()
{
    for (size_t i = 0; i < std::size(ending_signals); ++i)
        sigaction(ending_signals[i], &former_[i], nullptr);
    take_interrupt();
}

// What is done soon needs no line, and no terminal is flooded.
constexpr std::chrono::milliseconds first_progress{200};
constexpr std::chrono::milliseconds further_progress{50};

Progress::Progress(std::string what, size_t total)
    : what_(std::move(what)), total_(total), columns_(error_terminal().value_or(TerminalSize{}).columns),
      outer_(std::exchange(shown_progress, this))
{
    if (!outer_)
        next_progress = std::chrono::steady_clock::now() + first_progress;
}

Progress::~Progress()
{
    hide();
    shown_progress = outer_;
}

void Progress::hide() const
{
    if (std::exchange(progress_is_visible, false))
        tell("\r\033[K");
}

// On one line: a line that wraps could not be taken back.
void Progress::advance_to(size_t done)
{
    const auto now = std::chrono::steady_clock::now();
    if (columns_ == 0 || now < next_progress)
        return;
    next_progress = now + further_progress;
    progress_is_visible = true;
    std::string line = fmt::format("{}: {}", what_, done);
    if (total_ != 0)
        line += fmt::format(" of {} [{:<30}]", total_, std::string(done * 30 / total_, '='));
    tell(fmt::format("\r{:.{}}", line, columns_ - 1));
}

void write_file(const std::string &path, const std::string &text)
{
    namespace fs = std::filesystem;
    if (withholds_file(path, text.size()))
        return;
    std::error_code none;
    const fs::file_status status = fs::status(path, none); // of what a link leads to
    const bool replaces = !fs::exists(status) || fs::is_regular_file(status);
    const std::string target = fs::exists(status) ? fs::canonical(path, none).string() : path;
    const std::string written = replaces ? fmt::format("{}.{}", target, getpid()) : path;
    std::ofstream file(written, std::ios::binary);
    file << text;
    file.close();
    if (file && replaces && fs::exists(status))
        fs::permissions(written, status.permissions(), none);
    if (file && (!replaces || rename(written.c_str(), target.c_str()) == 0))
        return;
    const std::string reason = strerror(errno);
    if (replaces)
        unlink(written.c_str());
    throw Refused{fmt::format("cannot write {}: {}", path, reason)};
}

std::string name_file(const std::string &path) { return path == "-" ? "standard input" : path; }

Report write_document(const std::string &path, Report document, const Report &done)
{
    if (document.text.empty())
        document.text = as_json(document);
    if (path == "-" || path == "/dev/stdout") // the latter leads to standard error here
        return document;
    write_file(path, document.text);
    return done;
}

std::string read_file(const std::string &path)
{
    const bool given = path == "-";
    const UnlockedWhile reading; // somebody may be typing
    FILE *file = given ? stdin : fopen(path.c_str(), "re");
    std::string text;
    char block[4096];
    while (const size_t size = file ? fread(block, 1, sizeof block, file) : 0)
        text.append(block, size);
    const bool failed = !file || ferror(file);
    const int reason = errno;
    if (file && !given)
        fclose(file);
    if (failed)
        throw Refused{fmt::format("cannot read {}: {}", name_file(path), strerror(reason))};
    return text;
}

} // namespace eswctl
