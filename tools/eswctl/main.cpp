// eswctl: the library on the command line. Builds the command line from the families' tables, runs one
// command, and prints its report.
#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "eswctl/connection.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace {

using namespace eswctl;

enum ExitCode { exit_done = 0, exit_refused = 1, exit_usage = 2 };

struct Global {
    std::string interface = "eth0";
    bool json = false;
};

// A command in the tree that CLI11 parses, with the texts that were given for its arguments.
struct Invocation {
    const Command *command;
    const CLI::App *app;
    std::map<std::string, const CLI::Option *> given;
};

using Invocations = std::vector<Invocation>;

const CLI::Option *add_argument(CLI::App &app, const Argument &argument)
{
    if (!argument.kind.parse)
        return app.add_flag(argument.name)->description(argument.help);
    return app.add_option(argument.name)
        ->description(argument.help)
        ->required(argument.required)
        ->type_name(argument.name.starts_with('-') ? "VALUE" : "")
        ->expected(1, argument.repeated ? CLI::detail::expected_max_vector_size : 1)
        ->allow_extra_args(argument.repeated);
}

void add_command(CLI::App &parent, const std::string &word, const Command &command, Invocations &invocations)
{
    CLI::App *app = parent.add_subcommand(word, command.summary)->fallthrough();
    Invocation &invocation = invocations.emplace_back(Invocation{&command, app, {}});
    for (const Argument &argument : command.arguments)
        invocation.given[argument.name] = add_argument(*app, argument);
    if (command.asks)
        app->add_flag("--yes")->description("do not ask");
}

// "cfp udf" lies below "cfp", whose family comes before it.
CLI::App *add_nouns(CLI::App &app, const std::string &nouns, const std::string &summary)
{
    if (nouns.empty())
        return &app;
    const size_t blank = nouns.find(' ');
    if (blank != std::string::npos)
        return add_nouns(*app.get_subcommand(nouns.substr(0, blank)), nouns.substr(blank + 1), summary);
    return app.add_subcommand(nouns, summary)->fallthrough();
}

void describe(CLI::App &app, Global &global, Invocations &invocations)
{
    app.add_option("-i,--interface", global.interface, "network interface of the switch (default eth0)")
        ->type_name("IFNAME");
    app.add_flag("--json", global.json, "print JSON");
    app.set_version_flag("--version", "eswctl " ESW_VERSION);
    for (const Family &family : families()) {
        CLI::App *parent = add_nouns(app, family.noun, family.summary);
        for (const Command &command : family.commands) {
            const size_t verb = family.noun.empty() ? 0 : family.noun.size() + 1;
            add_command(*parent, command.words.substr(verb), command, invocations);
        }
    }
}

Json parse_one(const Argument &argument, const std::string &text)
{
    Json value = argument.kind.parse(text);
    if (value.is_null())
        throw UsageError{
            fmt::format("{}: '{}' is not accepted; use {}", argument.name, text, argument.kind.accepted)};
    return value;
}

Json parse_argument(const Argument &argument, const Invocation &invocation)
{
    const CLI::Option &option = *invocation.given.at(argument.name);
    if (!argument.kind.parse)
        return option.count() != 0;
    const std::vector<std::string> &texts = option.results();
    if (texts.empty())
        return argument.fallback;
    if (!argument.repeated)
        return parse_one(argument, texts.front());
    Json values = Json::array();
    for (const std::string &text : texts)
        values.push_back(parse_one(argument, text));
    return values;
}

Arguments parse_arguments(const Invocation &invocation)
{
    Arguments arguments;
    for (const Argument &argument : invocation.command->arguments)
        arguments[argument.name] = parse_argument(argument, invocation);
    return arguments;
}

Report run(const Invocation &invocation, const Global &global)
{
    const Command &command = *invocation.command;
    const Arguments arguments = parse_arguments(invocation);
    const Connection connection(global.interface);
    if (command.asks && invocation.app->count("--yes") == 0 &&
        !confirm(fmt::format("{}. Go on?", command.summary)))
        throw Refused{"not done"};
    return command.run(arguments);
}

// The deepest app that the command line reached.
CLI::App &reached(CLI::App &app)
{
    const auto parsed = app.get_subcommands();
    return parsed.empty() ? app : reached(*parsed.front());
}

std::string full_name(const CLI::App &app)
{
    const CLI::App *parent = app.get_parent();
    return parent ? full_name(*parent) + ' ' + app.get_name() : app.get_name();
}

std::string help(CLI::App &app)
{
    const CLI::App &at = reached(app);
    return at.help(at.get_parent() ? full_name(*at.get_parent()) : "");
}

bool is_command(const CLI::App &app)
{
    return app.get_subcommands([](const CLI::App *) { return true; }).empty();
}

std::string accepted_commands(CLI::App &app)
{
    std::string words;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        words += (words.empty() ? "" : ", ") + command->get_name();
    return words;
}

UsageError no_such_command(CLI::App &app)
{
    CLI::App &at = reached(app);
    const auto rest = app.remaining(true);
    const std::string accepted = accepted_commands(at);
    if (rest.empty())
        return {fmt::format("'{}' needs a command behind it; use one of {}", full_name(at), accepted)};
    return {fmt::format("'{} {}' is not a command; use one of {}", full_name(at), rest.front(), accepted)};
}

UsageError explain(const CLI::ParseError &error, CLI::App &app)
{
    const CLI::App &at = reached(app);
    if (!is_command(at))
        return no_such_command(app);
    return {fmt::format("{}; see {} --help", error.what(), full_name(at))};
}

int fail(int code, const std::string &message)
{
    fflush(stdout);
    fmt::print(stderr, "eswctl: {}\n", message);
    return code;
}

int show(const std::string &text)
{
    return print(text) ? exit_done
                       : fail(exit_refused, fmt::format("cannot write the output: {}", strerror(errno)));
}

int interpret(CLI::App &app, int argc, char **argv)
{
    Global global;
    Invocations invocations;
    describe(app, global, invocations);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        return show(help(app));
    } catch (const CLI::CallForVersion &version) {
        return show(std::string(version.what()) + '\n');
    } catch (const CLI::ParseError &error) {
        throw explain(error, app);
    }
    for (const Invocation &invocation : invocations) {
        if (*invocation.app) {
            print_as_json(global.json);
            emit(run(invocation, global));
            return exit_done;
        }
    }
    throw no_such_command(app);
}

} // namespace

int main(int argc, char **argv)
{
    separate_output();
    CLI::App app{"Controls a managed Ethernet switch.", "eswctl"};
    try {
        return interpret(app, argc, argv);
    } catch (const UsageError &error) {
        return fail(exit_usage, error.message);
    } catch (const Refused &refused) {
        return fail(exit_refused, refused.message);
    } catch (const std::exception &error) {
        return fail(exit_refused, error.what());
    }
}
