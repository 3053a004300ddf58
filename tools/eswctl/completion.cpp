// completion: scripts for shells, made from the same tables as the command line itself.
#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>

#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/families.h"

namespace eswctl {
namespace {

// Values that only the switch knows come from the tool's own JSON.
struct Source {
    const char *name;
    const char *shell; // prints the values
};
constexpr Source sources[] = {
    {"vlan", R"(eswctl vlan show --json 2>/dev/null | sed -n 's/.*"vid": \([0-9]*\).*/\1/p')"},
    {"cfp", R"(eswctl cfp show --json 2>/dev/null | sed -n 's/.*"slot": \([0-9]*\).*/\1/p')"},
};

std::string shell_of(const std::string &name)
{
    for (const Source &source : sources) {
        if (name == source.name)
            return source.shell;
    }
    return "";
}

std::vector<std::string> split_words(const std::string &text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// The words that may follow each sequence of words: "" (the first words), "rate", "rate egress", ...
std::map<std::string, std::vector<std::string>> next_words()
{
    std::map<std::string, std::vector<std::string>> next;
    for (const Family &family : families()) {
        for (const Command &command : family.commands) {
            std::string path;
            for (const std::string &word : split_words(command.words)) {
                std::vector<std::string> &words = next[path];
                if (std::ranges::find(words, word) == words.end())
                    words.push_back(word);
                path += (path.empty() ? "" : " ") + word;
            }
        }
    }
    return next;
}

// "-i,--interface" is two words.
std::vector<std::string> spellings(const std::string &name)
{
    const size_t comma = name.find(',');
    if (comma == std::string::npos)
        return {name};
    return {name.substr(0, comma), name.substr(comma + 1)};
}

std::vector<std::string> options_of(const std::vector<Argument> &arguments)
{
    std::vector<std::string> options;
    for (const Argument &argument : arguments) {
        if (argument.name.starts_with('-')) {
            for (const std::string &spelling : spellings(argument.name))
                options.push_back(spelling);
        }
    }
    return options;
}

// Behind the command's words: its options, and what its positional arguments accept.
struct Offer {
    std::vector<std::string> words;
    std::vector<std::string> sources;
    bool files = false;

    void add(const Kind &kind)
    {
        words.insert(words.end(), kind.words.begin(), kind.words.end());
        if (kind.source == "file")
            files = true;
        else if (!kind.source.empty())
            sources.push_back(shell_of(kind.source));
    }
};

Offer offer_of(const Command &command)
{
    Offer offer;
    for (const Argument &argument : command.arguments) {
        if (!argument.name.starts_with('-'))
            offer.add(argument.kind);
    }
    const auto options = options_of(command.arguments);
    offer.words.insert(offer.words.end(), options.begin(), options.end());
    if (command.asks)
        offer.words.emplace_back("--yes");
    return offer;
}

std::vector<std::string> always()
{
    std::vector<std::string> words = options_of(global_options());
    words.insert(words.end(), {"--help", "--version"});
    return words;
}

std::string bash_values(const Offer &offer)
{
    std::string text = fmt::format("words='{}'", fmt::join(offer.words, " "));
    for (const std::string &source : offer.sources)
        text += fmt::format("; words+=\" $({})\"", source);
    return offer.files ? text + "; files=yes" : text;
}

std::string bash_cases()
{
    std::string text;
    for (const auto &[path, words] : next_words())
        text += fmt::format("    '{}') words='{}' ;;\n", path, fmt::join(words, " "));
    for (const Family &family : families()) {
        for (const Command &command : family.commands) {
            if (!command.run)
                continue;
            text += fmt::format("    '{}') {} ;;\n", command.words, bash_values(offer_of(command)));
            for (const Argument &argument : command.arguments) {
                Offer value;
                value.add(argument.kind);
                if (argument.name.starts_with('-') && argument.kind.parse &&
                    (!value.words.empty() || value.files))
                    text +=
                        fmt::format("    '{} {}') {} ;;\n", command.words, argument.name, bash_values(value));
            }
        }
    }
    return text;
}

// Every sequence of words that is a command, or leads to one.
std::string bash_paths()
{
    std::string text;
    for (const auto &[path, words] : next_words()) {
        for (const std::string &word : words)
            text += fmt::format("{}'{} {}'", text.empty() ? "" : " | ", path.empty() ? "" : " " + path, word);
    }
    return text;
}

std::string bash()
{
    return fmt::format(R"(# bash completion for eswctl; made by "eswctl completion bash".
_eswctl()
{{
    local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} path= word words= files=
    local i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${{COMP_WORDS[i]}}
        case $word in
        -i | --interface) ((++i)) ;;
        -*) ;;
        *)
            case "$path $word" in
            {0}) path="$path $word" ;;
            *) [ -n "$path" ] || return ;;
            esac
            ;;
        esac
    done
    path=${{path# }}
    case $previous in
    -?*) _eswctl_words "$path $previous" ;;
    esac
    [ -n "$words$files" ] || _eswctl_words "$path"
    case $current in
    -*) words+=' {1}' ;;
    esac
    mapfile -t COMPREPLY < <(compgen ${{files:+-f}} -W "$words" -- "$current")
}}

_eswctl_words()
{{
    case $1 in
{2}    esac
}}

complete -F _eswctl eswctl
)",
                       bash_paths(), fmt::join(always(), " "), bash_cases());
}

// zsh runs the bash functions.
std::string zsh()
{
    return "#compdef eswctl\n# zsh completion for eswctl; made by \"eswctl completion zsh\".\n"
           "autoload -U +X bashcompinit && bashcompinit\n" +
           bash();
}

std::string fish_quoted(const std::string &text)
{
    std::string quoted;
    for (const char c : text)
        quoted += c == '\'' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    return "'" + quoted + "'";
}

std::string fish_option(const std::string &condition, const Argument &argument)
{
    std::string text = fmt::format("complete -c eswctl -n {}", fish_quoted(condition));
    for (const std::string &spelling : spellings(argument.name))
        text += spelling.starts_with("--") ? " -l " + spelling.substr(2) : " -s " + spelling.substr(1);
    if (argument.kind.parse)
        text += argument.kind.source == "file" ? " -rF" : " -x";
    if (!argument.kind.words.empty())
        text += " -a " + fish_quoted(fmt::format("{}", fmt::join(argument.kind.words, " ")));
    return text + " -d " + fish_quoted(argument.help) + '\n';
}

// True once all these words stand on the command line.
std::string fish_seen(const std::vector<std::string> &words, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : "; and ") + ("__fish_seen_subcommand_from " + words[i]);
    return text.empty() ? "__fish_use_subcommand" : text;
}

std::string fish_word(const std::vector<std::string> &words, const std::string &summary)
{
    std::string condition = fish_seen(words, words.size() - 1);
    if (words.size() > 1)
        condition += "; and not __fish_seen_subcommand_from " + words.back();
    return fmt::format("complete -c eswctl -n {} -a {} -d {}\n", fish_quoted(condition), words.back(),
                       fish_quoted(summary));
}

std::string fish_command(const Command &command)
{
    const std::vector<std::string> words = split_words(command.words);
    const std::string here = fish_seen(words, words.size());
    std::string text = fish_word(words, command.summary);
    for (const Argument &argument : command.arguments) {
        if (argument.name.starts_with('-')) {
            text += fish_option(here, argument);
            continue;
        }
        Offer offer;
        offer.add(argument.kind);
        std::string values = fmt::format("{}", fmt::join(offer.words, " "));
        for (const std::string &source : offer.sources)
            values += fmt::format(" ({})", source);
        if (!values.empty())
            text += fmt::format("complete -c eswctl -n {} -a {}\n", fish_quoted(here), fish_quoted(values));
        if (offer.files)
            text += fmt::format("complete -c eswctl -n {} -F\n", fish_quoted(here));
    }
    return text;
}

std::string fish()
{
    std::string text =
        "# fish completion for eswctl; made by \"eswctl completion fish\".\ncomplete -c eswctl -f\n";
    for (const Argument &option : global_options())
        text += fish_option("true", option);
    for (const Family &family : families()) {
        if (!family.noun.empty())
            text += fish_word({family.noun}, family.summary);
        for (const Command &command : family.commands)
            text += fish_command(command);
    }
    return text;
}

Report completion(const Arguments &arguments)
{
    const auto shell = arguments["SHELL"].get<std::string>();
    const std::string script = shell == "bash" ? bash() : shell == "zsh" ? zsh() : fish();
    Report report{{{"shell", shell}, {"script", script}}};
    report.text = script;
    return report;
}

} // namespace

Command completion_command()
{
    return {.words = "completion",
            .summary = "Print a completion script for a shell",
            .arguments = {{"SHELL", "bash, zsh or fish", choice({"bash", "zsh", "fish"}), true}},
            .run = completion,
            .offline = true};
}

} // namespace eswctl
