// SPDX-License-Identifier: LGPL-2.1-or-later
// eswctl: the library on the command line.
#include <exception>
#include <optional>

#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/connection.h"
#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/errors.h"
#include "eswctl/output.h"
#include "eswctl/pending.h"
#include "eswctl/terminal.h"
#include "eswctl/turn.h"

namespace {

using namespace eswctl;

enum ExitCode { exit_done = 0, exit_refused = 1, exit_usage = 2, exit_different = 3 };

int fail(int code, const std::string &message)
{
    fflush(stdout);
    tell(fmt::format("eswctl: {}\n", message));
    return code;
}

// A command that fails half way has changed something until then; as JSON, a failure prints nothing.
Report dry_run(const Parsed &parsed)
{
    withhold_writes();
    silence(true);
    std::exception_ptr failure;
    Report report;
    try {
        report = execute(parsed);
    } catch (...) {
        failure = std::current_exception();
    }
    silence(false);
    if (report.of_settings)
        return report;
    Report changes = withheld_changes();
    if (!failure)
        return changes;
    if (!printing_json())
        emit(changes);
    std::rethrow_exception(failure);
}

int run(const Parsed &parsed)
{
    const GlobalOptions &options = parsed.options;
    print_as_json(options.json);
    Report report;
    {
        std::optional<Turn> turn;
        std::optional<Connection> connection;
        if (!parsed.command->offline) {
            turn.emplace(options.wait);
            connection.emplace(options.interface);
        }
        if (options.trace)
            trace_requests();
        if (connection && !options.dry_run)
            go_back_when_overdue();
        report = options.dry_run ? dry_run(parsed) : execute(parsed);
    }
    emit(report);
    return report.different ? exit_different : exit_done;
}

} // namespace

int main(int argc, char **argv)
{
    separate_output();
    try {
        return run(parse({argv + 1, argv + argc}));
    } catch (const Answer &answer) {
        return print(answer.text) ? exit_done : exit_refused;
    } catch (const UsageError &error) {
        return fail(exit_usage, error.message);
    } catch (const Refused &refused) {
        return fail(exit_refused, refused.message);
    } catch (const std::exception &error) {
        return fail(exit_refused, error.what());
    }
}
