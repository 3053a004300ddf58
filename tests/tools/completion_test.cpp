// SPDX-License-Identifier: LGPL-2.1-or-later
// Completion, in the shells themselves: what each of them offers behind the same lines.
#include "tests/tools/eswctl_test.h"

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <fmt/format.h>

namespace test {
namespace {

// A driver gets the script, then lines. It prints "LINE<tab>OFFER" for each offer, and leaves in the file
// "screen" what a user sees where the shell shows more than the offers.
struct Shell {
    const char *name;
    const char *driver;
    bool describes;
};

// Bash takes words apart at '=' and ':' too.
constexpr char bash_driver[] = R"sh(
source "$1" && shift || exit
for line; do
    read -ra COMP_WORDS <<< "$(sed 's/[=:]/ & /g' <<< "$line")"
    [[ $line != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _eswctl
    for offer in "${COMPREPLY[@]}"; do printf '%s\t%s\n' "$line" "$offer"; done
done)sh";

constexpr char fish_driver[] = R"sh(
source $argv[1]; or exit
for line in $argv[2..]
    for offer in (complete -C $line | tee -a screen | string replace -r '\t.*' '')
        printf '%s\t%s\n' $line $offer
    end
end)sh";

// An interactive shell of its own for each line, which notes what completion adds once it sees the tab.
constexpr char zsh_driver[] = R"sh(
export SCRIPT=$1 ZDOTDIR=$PWD
shift
cat > .zshrc <<'END'
autoload -U compinit && compinit -u -d $PWD/dump
source $SCRIPT
compadd()
{
    local -a hits
    if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
        builtin compadd -O hits "$@"
        (( ! $#hits )) || print -rl -- $hits >> hits
    fi
    builtin compadd "$@"
}
show() { zle list-choices; exit }
zle -N show
bindkey '^I' show
END
zmodload zsh/zpty
for line; do
    : > hits
    zpty shell zsh -i
    zpty -w -n shell $line$'\t'
    while zpty -r shell chunk; do print -rn -- $chunk >> screen; done
    zpty -d shell
    while read -r offer; do print -r -- $line$'\t'$offer; done < hits
done
! grep -a 'eswctl: \|not found' screen >&2
)sh";

void PrintTo(const Shell &shell, std::ostream *stream) { *stream << shell.name; }

class Completion : public Eswctl, public testing::WithParamInterface<Shell> {
protected:
    void SetUp() override
    {
        std::ofstream(scratch("script")) << run({BIN_DIR "/eswctl", "completion", GetParam().name}).out;
        std::ofstream(scratch("rule.json"));
    }

    // By line. An offer that repeats "--width=" is the same as one that does not.
    std::map<std::string, std::set<std::string>> offers(const std::vector<std::string> &lines,
                                                        const std::string &launcher = "")
    {
        std::vector<std::string> command =
            words_of(fmt::format("env -C {0} HOME={0} TERM=xterm PATH=" BIN_DIR ":/usr/bin:/bin {1} -c",
                                 scratch("."), GetParam().name));
        command.emplace_back(GetParam().driver);
        if (GetParam().name != std::string("fish"))
            command.emplace_back("driver");
        command.push_back(scratch("script"));
        command.insert(command.end(), lines.begin(), lines.end());
        const Finished got = launch(launcher, command);
        EXPECT_EQ(got.code, 0);
        EXPECT_EQ(got.error, "");
        std::map<std::string, std::set<std::string>> offers;
        std::istringstream rows(got.out);
        for (std::string line, offer; std::getline(rows, line, '\t') && std::getline(rows, offer);)
            offers[line].insert(offer.substr(offer.rfind('=') + 1));
        return offers;
    }
};

struct Case {
    const char *line;
    const char *offered;
    const char *absent; // "*": everything else
};

constexpr Case cases[] = {
    // Words of commands, and places where there are none.
    {"eswctl ", "show info port vlan completion", "set enable --json"},
    {"eswctl po", "port", "*"},
    {"eswctl port ", "show enable stp frame-max", "port 0 set"},
    {"eswctl rate egress ", "show set", "egress ingress"},
    {"eswctl port frob ", "", "*"},
    {"eswctl nosuch ", "", "*"},
    // Values by position; a word of a command may be a value too.
    {"eswctl port stp ", "0 1 all", "8 show blocking"},
    {"eswctl port stp 0 ", "disabled blocking listening learning forwarding", "*"},
    {"eswctl port stp 0 l", "listening learning", "*"},
    {"eswctl port stp show ", "blocking", "show enable 0"},
    {"eswctl vlan destroy 1 2 ", "1 2 10", "*"},
    {"eswctl arl find - ", "1 2 10", "*"},
    {"eswctl rate egress set ", "0 1 8", "set show"},
    {"eswctl reg read ", "", "*"},
    {"eswctl arl find 02:00:5e:00:53:01 ", "1 2 10", "*"},
    {"eswctl completion ", "bash zsh fish", "*"},
    // Options of the command, and those of all commands.
    {"eswctl reg write 1 1 1 --", "--width --mask --interface --json", "--yes --bit0"},
    {"eswctl reset --", "--yes --json --dry-run", "--width"},
    {"eswctl --", "--json --interface --help --version", "--yes"},
    {"eswctl --json port stp 0 --", "--trace", "--json"},
    {"eswctl --json --interface lan port stp ", "0 1", "lan --json"},
    {"eswctl arl show ", "--static --json", "show 0"},
    // Values of options.
    {"eswctl reg read 1 1 --width ", "8 16 32 64", "*"},
    {"eswctl reg read --width=", "8 16 32 64", "*"},
    {"eswctl reg read --width=3", "32", "*"},
    {"eswctl reg read --width 8 1 1 ", "", "8 read"},
    {"eswctl port mac 0 --bit1 on --bit0 ", "on off", "*"},
    {"eswctl --interface ", "lo", "port --json"},
    {"eswctl port show -i l", "lo", "--json 0"},
    // Files.
    {"eswctl save r", "rule.json", "reset"},
    {"eswctl cfp set auto --from ru", "rule.json", "*"},
    {"eswctl cfp set auto --from=ru", "rule.json", "*"},
    // What the switch knows.
    {"eswctl vlan show ", "1 2 10", "*"},
    {"eswctl vlan show 2,1", "2,1 2,10", "*"},
    {"eswctl -i lan arl flush --vid ", "1 2 10", "*"},
    {"eswctl cfp show ", "5 41", "*"},
    // A word between lists stands once; ports may come again.
    {"eswctl vlan add 10 0 ", "untagged 0 none", "10"},
    {"eswctl vlan add 10 0 untagged 1 ", "0 1 8", "untagged"},
    // The simulator's own options, and what is behind them.
    {"esw-sim --", "--device --route --state --reset --help", "eswctl"},
    {"esw-sim --reset --ro", "--route", "*"},
    {"esw-sim --link 0=up e", "eswctl", "0"},
    {"esw-sim --link 0=up eswctl port stp ", "0 1", "0=up"},
    {"esw-sim --state other --reset eswctl vlan show ", "7", "*"},
};

TEST_P(Completion, OffersWhatFits)
{
    for (const char *line :
         {"vlan create 1,2,10", "cfp set 5 --data 0x3 --drop", "cfp set 41 --data 0x5 --drop"})
        ASSERT_EQ(eswctl(line).code, 0);
    const std::string other =
        BIN_DIR "/esw-sim --state " + scratch("other") + " " BIN_DIR "/eswctl vlan create 7";
    ASSERT_EQ(launch("", words_of(other)).code, 0);
    std::vector<std::string> lines;
    for (const Case &c : cases)
        lines.emplace_back(c.line);
    auto got = offers(lines);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.line);
        const std::vector<std::string> wanted = words_of(c.offered);
        EXPECT_THAT(got[c.line], testing::IsSupersetOf(wanted));
        if (c.absent == std::string("*")) {
            EXPECT_EQ(got[c.line].size(), wanted.size()) << testing::PrintToString(got[c.line]);
        }
        for (const std::string &word : words_of(c.absent))
            EXPECT_THAT(got[c.line], testing::Not(testing::Contains(word)));
    }
    EXPECT_EQ(contents(scratch("screen")).find("Switch ports on") != std::string::npos, GetParam().describes);
}

TEST_P(Completion, SaysNothingWithoutSwitch)
{
    auto got = offers({"eswctl vlan show ", "eswctl port stp "}, "--fault all");
    EXPECT_THAT(got["eswctl vlan show "], testing::IsEmpty());
    EXPECT_THAT(got["eswctl port stp "], testing::IsSupersetOf({"0", "1"}));
}

INSTANTIATE_TEST_SUITE_P(Shells, Completion,
                         testing::Values(Shell{"bash", bash_driver, false}, Shell{"zsh", zsh_driver, true},
                                         Shell{"fish", fish_driver, true}),
                         [](const auto &shell) { return shell.param.name; });

} // namespace
} // namespace test
