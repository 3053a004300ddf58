#include "eswctl/cli.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <numeric>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

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

void add_command(CLI::App &parent, const std::string &words, const Command &command, Invocations &invocations)
{
    if (const size_t blank = words.find(' '); blank != std::string::npos) {
        CLI::App &group = *parent.get_subcommand(words.substr(0, blank));
        add_command(group, words.substr(blank + 1), command, invocations);
        return;
    }
    CLI::App *app = parent.add_subcommand(words, command.summary)->fallthrough();
    if (!command.run)
        return;
    Invocation &invocation = invocations.emplace_back(Invocation{&command, app, {}});
    for (const Argument &argument : command.arguments)
        invocation.given[argument.name] = add_argument(*app, argument);
    if (command.asks)
        app->add_flag("--yes")->description("do not ask");
}

void describe(CLI::App &app, Invocations &invocations)
{
    for (const Argument &option : global_options())
        add_argument(app, option);
    app.set_version_flag("--version", "eswctl " ESW_VERSION);
    for (const Family &family : families()) {
        CLI::App *parent = &app;
        if (!family.noun.empty())
            parent = app.add_subcommand(family.noun, family.summary)->fallthrough();
        for (const Command &command : family.commands) {
            const size_t verb = family.noun.empty() ? 0 : family.noun.size() + 1;
            add_command(*parent, command.words.substr(verb), command, invocations);
        }
    }
}

// How many letters must change to make one word of the other.
size_t distance(const std::string &a, const std::string &b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t substituted = diagonal + (a[i - 1] != b[j - 1]);
            diagonal = row[j];
            row[j] = std::min({substituted, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

// "; did you mean ...?" when one of the words is near enough. Numbers are never near.
std::string suggestion(const std::string &given, const std::vector<std::string> &words)
{
    if (given.empty() || isdigit(static_cast<unsigned char>(given.front())))
        return "";
    const auto near =
        std::ranges::min_element(words, {}, [&](const std::string &w) { return distance(given, w); });
    if (near == words.end() || distance(given, *near) > std::max<size_t>(1, near->size() / 2))
        return "";
    return fmt::format("; did you mean {}?", *near);
}

Json parse_one(const Argument &argument, const std::string &text)
{
    Json value = argument.kind.parse(text);
    if (value.is_null())
        throw UsageError{fmt::format("{}: '{}' is not accepted; use {}{}", argument.name, text,
                                     argument.kind.accepted, suggestion(text, argument.kind.words))};
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
    Arguments arguments = Json::object();
    for (const Argument &argument : invocation.command->arguments)
        arguments[argument.name] = parse_argument(argument, invocation);
    return arguments;
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

std::vector<std::string> commands_of(const CLI::App &app)
{
    std::vector<std::string> words;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        words.push_back(command->get_name());
    return words;
}

UsageError no_such_command(CLI::App &app)
{
    const CLI::App &at = reached(app);
    const auto rest = app.remaining(true);
    const std::vector<std::string> accepted = commands_of(at);
    if (rest.empty())
        return {fmt::format("'{}' needs a command behind it; use one of {}", full_name(at),
                            fmt::join(accepted, ", "))};
    if (rest.front().starts_with('-'))
        return {fmt::format("'{}' is not an option; see {} --help", rest.front(), full_name(at))};
    return {fmt::format("'{} {}' is not a command; use one of {}{}", full_name(at), rest.front(),
                        fmt::join(accepted, ", "), suggestion(rest.front(), accepted))};
}

UsageError explain(const CLI::ParseError &error, CLI::App &app)
{
    const CLI::App &at = reached(app);
    if (!commands_of(at).empty())
        return no_such_command(app);
    return {fmt::format("{}; see {} --help", error.what(), full_name(at))};
}

GlobalOptions global(const CLI::App &app)
{
    GlobalOptions options;
    if (const CLI::Option &interface = *app.get_option("--interface"); interface.count() != 0)
        options.interface = interface.results().back();
    options.json = app.count("--json") != 0;
    options.trace = app.count("--trace") != 0;
    options.dry_run = app.count("--dry-run") != 0;
    return options;
}

bool says_yes(const Invocation &invocation)
{
    return invocation.command->asks && invocation.app->count("--yes") != 0;
}

} // namespace

std::vector<Argument> global_options()
{
    return {
        {"-i,--interface", "network interface of the switch (default eth0)", text("an interface name")},
        {"--json", "print JSON", {}},
        {"--trace", "print each driver request on standard error", {}},
        {"--dry-run", "withhold every write, and print what would change", {}},
    };
}

Parsed parse(const std::vector<std::string> &words)
{
    CLI::App app{"Controls a managed Ethernet switch.", "eswctl"};
    Invocations invocations;
    describe(app, invocations);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp &) {
        throw Answer{help(app)};
    } catch (const CLI::CallForVersion &version) {
        throw Answer{std::string(version.what()) + '\n'};
    } catch (const CLI::ParseError &error) {
        throw explain(error, app);
    }
    for (const Invocation &invocation : invocations) {
        if (*invocation.app)
            return {invocation.command, parse_arguments(invocation), global(app), says_yes(invocation)};
    }
    throw no_such_command(app);
}

Report execute(const Parsed &parsed)
{
    const Command &command = *parsed.command;
    if (command.asks && !parsed.yes && !parsed.options.dry_run &&
        !confirm(fmt::format("{}. Go on?", command.summary)))
        throw Refused{"not done"};
    return command.run(parsed.arguments);
}

} // namespace eswctl
