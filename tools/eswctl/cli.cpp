// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/cli.h"

#include <algorithm>
#include <cctype>
#include <map>

#include <net/if.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/errors.h"
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
        return app.add_flag(argument.name)->description(argument.help)->disable_flag_override();
    return app.add_option(argument.name)
        ->description(argument.help)
        ->required(argument.required)
        ->type_name(argument.name.starts_with('-') ? argument.kind.name : "")
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
        app->add_flag("--yes")->description("do not ask")->disable_flag_override();
}

// All commands, or one and the words that lead to it.
void describe(const Family &family, const Command *only, CLI::App &app, Invocations &invocations)
{
    CLI::App *parent = &app;
    if (!family.noun.empty())
        parent = app.add_subcommand(family.noun, family.summary)->fallthrough();
    for (const Command &command : family.commands) {
        if (only && &command != only && !only->words.starts_with(command.words + ' '))
            continue;
        const size_t verb = family.noun.empty() ? 0 : family.noun.size() + 1;
        add_command(*parent, command.words.substr(verb), command, invocations);
    }
}

const std::string version = "eswctl " ESW_VERSION;

// A command line as CLI11 knows it, with one command, with a family of them, or with all.
struct Tree {
    Tree(const std::vector<const Family *> &families, const Command *only)
    {
        for (const Argument &option : global_options())
            add_argument(app, option);
        app.set_version_flag("--version", version);
        for (const Family *family : families)
            describe(*family, only, app, invocations);
    }

    CLI::App app{"Controls a managed Ethernet switch.", "eswctl"};
    Invocations invocations;
};

bool takes_value(const std::string &word) // of the options that stand before a command
{
    return word == "-i" || word == "--interface" || word == "--wait";
}

size_t first_command_word(const std::vector<std::string> &words)
{
    size_t i = 0;
    while (i < words.size() && words[i].starts_with('-'))
        i += takes_value(words[i]) ? 2 : 1;
    return std::min(i, words.size());
}

// The command that a line names in full, with no option between its words.
const Command *find_command(const Family &family, const std::vector<std::string> &words, size_t first)
{
    std::string line;
    for (size_t i = first; i < words.size() && !words[i].starts_with('-'); ++i)
        line += words[i] + ' ';
    const auto found = std::ranges::find_if(family.commands, [&](const Command &command) {
        return command.run && line.starts_with(command.words + ' ');
    });
    return found == family.commands.end() ? nullptr : &*found;
}

// Made once for all lines of a batch. What is no command gets the tree of its family, or of all, to be told
// what is.
Tree &tree_for(const std::vector<std::string> &words)
{
    static std::map<std::string, Tree> trees;
    const size_t first = first_command_word(words);
    const std::string word = first < words.size() ? words[first] : "";
    const Family *own = word.empty() ? nullptr : family(word);
    if (!own && std::ranges::count(family("")->commands, word, &Command::words) != 0)
        own = family("");
    const Command *only = own ? find_command(*own, words, first) : nullptr;
    const std::string key = only ? only->words : own ? own->noun + " *" : "*";
    auto found = trees.find(key);
    if (found == trees.end())
        found = trees.try_emplace(key, own ? std::vector{own} : families(), only).first;
    return found->second;
}

// How many letters must change, or neighbours swap, to make one word of the other.
size_t distance(const std::string &a, const std::string &b)
{
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            d[i][j] = std::min({d[i - 1][j - 1] + (a[i - 1] != b[j - 1]), d[i - 1][j] + 1, d[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    }
    return d[a.size()][b.size()];
}

// "; did you mean ...?" when one of the words is near enough. Nothing is near numbers and the shortest words.
std::string suggestion(const std::string &given, const std::vector<std::string> &words)
{
    const auto letters = [](const std::string &word) {
        const size_t first = word.find_first_not_of('-');
        return first == std::string::npos ? "" : word.substr(first);
    };
    const std::string wanted = letters(given);
    if (wanted.size() < 3 || isdigit(static_cast<unsigned char>(wanted.front())))
        return "";
    const auto away = [&](const std::string &word) { return distance(wanted, letters(word)); };
    const auto near = std::ranges::min_element(words, {}, away);
    if (near == words.end() || away(*near) > letters(*near).size() / 2)
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

// Those of the command, and those that stand anywhere.
std::vector<std::string> options_of(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::App *level = &app; level; level = level->get_parent()) {
        for (const CLI::Option *option : level->get_options()) {
            const std::string &name = option->get_name(); // a positional has its own
            if (name.starts_with('-') && std::ranges::find(names, name) == names.end())
                names.push_back(name);
        }
    }
    return names;
}

UsageError no_such_option(const std::string &given, const CLI::App &at)
{
    const std::vector<std::string> accepted = options_of(at);
    return {fmt::format("'{}' is not an option of {}; use one of {}{}", given, full_name(at),
                        fmt::join(accepted, ", "), suggestion(given, accepted))};
}

UsageError needs_command(const CLI::App &at)
{
    return {fmt::format("'{}' needs a command behind it; use one of {}", full_name(at),
                        fmt::join(commands_of(at), ", "))};
}

// Each word down to a command must be one: CLI11 would take a later word for a command, and this for its
// argument.
void check_commands(const CLI::App &app, const std::vector<std::string> &words)
{
    const CLI::App *at = &app;
    for (size_t i = 0; i < words.size() && !commands_of(*at).empty(); ++i) {
        if (takes_value(words[i]))
            ++i;
        else if (!words[i].starts_with('-')) {
            const auto accepted = commands_of(*at);
            if (std::ranges::find(accepted, words[i]) == accepted.end())
                throw UsageError{fmt::format("'{} {}' is not a command; use one of {}{}", full_name(*at),
                                             words[i], fmt::join(accepted, ", "),
                                             suggestion(words[i], accepted))};
            at = at->get_subcommand(words[i]);
        }
    }
}

// The argument of the command, or of all commands, that an error begins with.
const Argument *find_argument(const std::string &error, const Command *command)
{
    static const std::vector<Argument> everywhere = global_options();
    const auto begins = [&](const Argument &argument) {
        const size_t comma = argument.name.find(',');
        return error.starts_with(argument.name.substr(comma == std::string::npos ? 0 : comma + 1));
    };
    const Argument *longest = nullptr; // "--rate-mode", and not "--rate"
    for (const auto *arguments : {&everywhere, command ? &command->arguments : &everywhere}) {
        for (const Argument &argument : *arguments) {
            if (begins(argument) && (!longest || argument.name.size() > longest->name.size()))
                longest = &argument;
        }
    }
    return longest;
}

// CLI11 knows what is wrong, but not what is accepted.
UsageError explain(const CLI::ParseError &error, CLI::App &app, const Invocations &invocations)
{
    const CLI::App &at = reached(app);
    const auto invocation = std::ranges::find(invocations, &at, &Invocation::app);
    const Command *command = invocation == invocations.end() ? nullptr : invocation->command;
    const Argument *argument = find_argument(error.what(), command);
    if (error.get_name() == "RequiredError" && argument)
        return {fmt::format("{} is missing; use {}", argument->name, argument->kind.accepted)};
    if (error.get_name() == "ArgumentMismatch" && argument) {
        const bool once = std::string_view(error.what()).find("At Most") != std::string_view::npos;
        return {fmt::format("{}{}; use {}", argument->name,
                            once ? " is there more than once" : " needs a value", argument->kind.accepted)};
    }
    if (const auto rest = app.remaining(true); !rest.empty()) {
        const auto option = std::ranges::find_if(
            rest, [](const std::string &word) { return word.size() > 1 && word.starts_with('-'); });
        if (option != rest.end())
            return no_such_option(*option, at);
        return {fmt::format("'{}' is one argument too many; see {} --help", rest.back(), full_name(at))};
    }
    return {fmt::format("{}; see {} --help", error.what(), full_name(at))};
}

// The last one given counts.
Json parse_last(const CLI::App &app, const std::string &name)
{
    const std::vector<Argument> options = global_options();
    const auto option = std::ranges::find_if(
        options, [&](const Argument &argument) { return argument.name.ends_with(name); });
    return parse_one(*option, app.get_option(name)->results().back());
}

GlobalOptions global(const CLI::App &app)
{
    GlobalOptions options;
    if (app.count("--interface") != 0)
        options.interface = parse_last(app, "--interface");
    if (app.count("--wait") != 0)
        options.wait = parse_last(app, "--wait");
    options.json = app.count("--json") != 0;
    options.trace = app.count("--trace") != 0;
    options.dry_run = app.count("--dry-run") != 0;
    for (const char *option : {"--interface", "--wait", "--json", "--trace", "--dry-run"}) {
        if (app.count(option) != 0)
            options.given = option;
    }
    return options;
}

bool says_yes(const Invocation &invocation)
{
    return invocation.command->asks && invocation.app->count("--yes") != 0;
}

} // namespace

std::vector<Argument> global_options()
{
    Kind interface = text("an interface name of at most 15 characters");
    interface.parse = [](const std::string &name) {
        return name.empty() || name.size() >= IFNAMSIZ ? Json() : Json(name); // the kernel cuts longer ones
    };
    interface.source = "interface";
    interface.name = "INTERFACE";
    return {
        {"-i,--interface", "network interface of the switch (default eth0)", interface},
        {"-j,--json", "print JSON", {}},
        {"--wait",
         "wait at most so long while another program works on the switch; 0 fails at once (default no "
         "limit)",
         number(0, 86400, "seconds")},
        {"--trace", "print each driver request on standard error", {}},
        {"--dry-run", "withhold every write, and print what would change", {}},
    };
}

Parsed parse(const std::vector<std::string> &given)
{
    if (given == std::vector<std::string>{"--version"}) // needs no description of the commands
        throw Answer{version + '\n'};
    std::vector<std::string> words = given;
    if (const size_t first = first_command_word(words); first < words.size() && words[first] == "help") {
        words.erase(words.begin() + static_cast<ptrdiff_t>(first));
        words.emplace_back("--help");
    }
    auto &[app, invocations] = tree_for(words);
    check_commands(app, words);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp &) {
        throw Answer{help(app)};
    } catch (const CLI::CallForVersion &) {
        throw Answer{version + '\n'};
    } catch (const CLI::ParseError &error) {
        throw explain(error, app, invocations);
    }
    for (const Invocation &invocation : invocations) {
        if (*invocation.app)
            return {invocation.command, parse_arguments(invocation), global(app), says_yes(invocation)};
    }
    throw needs_command(reached(app));
}

void check_can_ask(const Parsed &parsed)
{
    if (parsed.command->asks && !parsed.yes && !withholds_writes() && !can_ask())
        throw UsageError{
            fmt::format("{}: there is no terminal to ask on; use --yes", parsed.command->summary)};
}

Report execute(const Parsed &parsed)
{
    const Command &command = *parsed.command;
    check_can_ask(parsed);
    const bool yes = !command.asks || parsed.yes || withholds_writes();
    if (!yes && !command.asks_itself && !confirm(command.summary))
        throw Refused{"not done"};
    Arguments arguments = parsed.arguments;
    if (command.asks_itself)
        arguments["--yes"] = yes;
    Report report = command.run(arguments);
    check_requests();
    return report;
}

} // namespace eswctl
