// SPDX-License-Identifier: LGPL-2.1-or-later
// batch: many commands in one process.
#include <optional>
#include <sstream>

#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

struct Line {
    size_t number;
    std::string text;
    std::vector<std::string> words;
    std::optional<Parsed> parsed; // where it is understood
};

// As a shell splits a line: at blanks, but not within quotes; '#' begins a comment.
std::vector<std::string> split(const Line &line)
{
    std::vector<std::string> words;
    std::string word;
    char quote = '\0';
    bool in_word = false;
    for (const char c : line.text) {
        if (quote != '\0' ? c == quote : c == '\'' || c == '"') {
            quote = quote != '\0' ? '\0' : c;
            in_word = true;
        } else if (quote != '\0' || !isspace(static_cast<unsigned char>(c))) {
            if (c == '#' && !in_word)
                break;
            word += c;
            in_word = true;
        } else if (in_word) {
            words.push_back(std::exchange(word, {}));
            in_word = false;
        }
    }
    if (quote != '\0')
        throw UsageError{fmt::format("line {}: a quote is not closed", line.number)};
    if (in_word)
        words.push_back(word);
    return words;
}

std::vector<Line> read_lines(const std::string &path)
{
    std::istringstream stream(read_file(path));
    std::vector<Line> lines;
    size_t number = 0;
    for (std::string text; std::getline(stream, text);) {
        Line line{++number, text, {}, {}};
        line.words = split(line);
        if (!line.words.empty())
            lines.push_back(std::move(line));
    }
    return lines;
}

Parsed parse_line(const Line &line, bool yes)
{
    Parsed parsed = parse(line.words);
    if (parsed.command->words == "batch")
        throw UsageError{"batch does not nest"};
    if (parsed.command->goes_on)
        throw UsageError{"a watch is nothing for a batch"};
    if (!parsed.options.given.empty())
        throw UsageError{
            fmt::format("{} is for the whole batch: it stands before batch", parsed.options.given)};
    parsed.yes = parsed.yes || yes;
    check_can_ask(parsed);
    return parsed;
}

// What became of a batch. Text appears as it comes; JSON is one document in the end.
class Account {
public:
    void add(const Line &line, const Report &report)
    {
        if (printing_json())
            results_.push_back({{"line", line.number}, {"command", line.text}, {"result", report.value}});
        else
            emit(report);
    }

    void fail(const Line &line, const std::string &message)
    {
        results_.push_back({{"line", line.number}, {"command", line.text}, {"error", message}});
        ++failed_;
    }

    [[nodiscard]] size_t failed() const { return failed_; }

    void close() const
    {
        if (printing_json())
            emit(Report{{{"commands", results_}}});
    }

private:
    Json results_ = Json::array();
    size_t failed_ = 0;
};

// Every line is understood before the first one runs.
Report batch(const Arguments &arguments)
{
    std::vector<Line> lines = read_lines(arguments["FILE"].get<std::string>());
    const bool force = arguments["--force"].get<bool>();
    bool running = false;
    Account account;
    const auto refuse = [&](const Line &line, auto failure) {
        account.fail(line, failure.message);
        failure.message = fmt::format("line {}: {}", line.number, failure.message);
        if (force) {
            hide_progress();
            tell(fmt::format("eswctl: {}\n", failure.message));
            return;
        }
        if (running)
            account.close();
        throw failure;
    };
    const auto attempt = [&](const Line &line, const auto &step) {
        try {
            step();
        } catch (const UsageError &error) {
            refuse(line, error);
        } catch (const Refused &error) {
            refuse(line, error);
        } catch (const Answer &) {
            refuse(line, UsageError{"asks for help, and does nothing"});
        }
    };
    for (Line &line : lines)
        attempt(line, [&] { line.parsed = parse_line(line, arguments["--yes"].get<bool>()); });
    running = true;
    Progress progress("batch", lines.size());
    size_t done = 0;
    for (const Line &line : lines) {
        if (line.parsed)
            attempt(line, [&] { account.add(line, execute(*line.parsed)); });
        progress.advance_to(++done);
    }
    account.close();
    if (account.failed() != 0)
        throw Refused{fmt::format("{} of {} commands failed", account.failed(), lines.size())};
    return Report{nullptr};
}

} // namespace

void add_batch_command(Family &family)
{
    family.add("batch",
               "Run the commands of a file, one a line, until one fails; all lines are checked first", batch,
               required("FILE", "file with a command on each line, as behind eswctl; - for standard input",
                        file_name()),
               flag("--force", "go on after a command that failed"),
               flag("--yes", "do not ask before destructive commands"));
}

} // namespace eswctl
