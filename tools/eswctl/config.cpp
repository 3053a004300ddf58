// SPDX-License-Identifier: LGPL-2.1-or-later
// save, restore, diff: the switch's whole configuration as one document.
#include "eswctl/config.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>

#include <sys/wait.h>
#include <unistd.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/pending.h"
#include "eswctl/terminal.h"
#include "eswctl/turn.h"

namespace eswctl {
namespace {

// ---- Applying

void write(const Place &place, const Json &value, const std::string &name)
{
    check(place.setting->write(place.instance->number, value),
          fmt::format("set {} to {}", name, in_words(value)));
    check_requests();
}

std::map<Json, Json> by_key(const Place &place, const Json &entries)
{
    std::map<Json, Json> all;
    for (const Json &entry : entries)
        all.emplace(place.key_of(entry), entry);
    return all;
}

// Between any two changes, a user may end the work; a way back goes on through failures.
void step(bool goes_on, const std::function<void()> &change)
{
    if (was_interrupted() && !goes_on)
        throw Interrupted{};
    try {
        change();
    } catch (const Refused &) {
        if (!goes_on)
            throw;
        forget_failures();
    }
}

// Room first: a full table takes new entries only once the old ones are gone.
void apply_table(const Place &place, const Json &wanted, const Json &present, bool goes_on)
{
    const auto after = by_key(place, wanted);
    const auto before = by_key(place, present);
    for (const auto &[key, entry] : before) {
        if (!after.contains(key))
            step(goes_on, [&, &entry = entry] {
                check(place.setting->remove(entry), fmt::format("remove {}", place.words_of(entry)));
                check_requests();
            });
    }
    for (const auto &[key, entry] : after) {
        const auto same = before.find(key);
        if (same == before.end() || same->second != entry)
            step(goes_on, [&, &entry = entry] { write(place, entry, place.words_of(entry)); });
    }
}

// A single setting is read anew: what was written until then may have changed it.
void attempt(const Place &place, const Json &wanted, const Json &present, bool goes_on)
{
    if (place.is_table())
        apply_table(place, wanted, present, goes_on);
    else if (place.setting->read(place.instance->number) != wanted)
        step(goes_on, [&] { write(place, wanted, place.words()); });
}

Report account_of(const Json &changes, const std::string &sentence)
{
    Report report{{{"changes", changes}}};
    report.text = differences_in_words(changes) + sentence + '\n';
    return report;
}

std::string count_changes(size_t changes)
{
    return fmt::format("{} change{}", changes, changes == 1 ? "" : "s");
}

// ---- Commands

Report as_commands(const Json &document)
{
    const std::vector<std::string> commands = commands_for(document);
    return {.value = {{"commands", commands}}, .text = fmt::format("{}\n", fmt::join(commands, "\n"))};
}

Report save(const Arguments &arguments)
{
    Reading reading = read_switch();
    const bool strict = arguments["--strict"].get<bool>();
    for (const std::string &left_out : reading.left_out)
        tell(fmt::format("eswctl: {}: {}\n", strict ? "cannot be saved" : "left out", left_out));
    if (strict && !reading.left_out.empty())
        throw Refused{"not saved: no call of the library sets the above"};
    const auto file = arguments["FILE"].get<std::string>();
    Report document{std::move(reading.document)};
    if (arguments["--commands"].get<bool>())
        document = as_commands(document.value);
    return write_document(file, std::move(document),
                          done(fmt::format("configuration saved to {}", file), {{"file", file}}));
}

// What the switch does not hold of a document, although it was told to.
void verify(const Json &document)
{
    const Json wrong = differences(document, read_switch().document);
    Json unsettled = Json::array();
    for (const Json &row : wrong) {
        if (!row["from"].is_null())
            unsettled.push_back(row);
    }
    if (!unsettled.empty())
        throw Refused{
            fmt::format("the switch did not keep what it was told:\n{}", differences_in_words(unsettled))};
}

// Half a restore is told whole: what is done, and what another one would still do.
std::string interrupted(const Json &before, const Json &document)
{
    const Json now = read_switch().document;
    return fmt::format("interrupted; done until then:\n{}left, for another restore to do:\n{}",
                       differences_in_words(differences(before, now)),
                       differences_in_words(differences(now, document)));
}

std::string failed(const Json &before, bool keeps)
{
    forget_failures(); // they are told already
    return keeps ? "kept what was reached:\n" +
                       differences_in_words(differences(before, read_switch().document))
                 : way_back_in_words(go_back_to(before));
}

// Asks where the user shall be asked; others have the switch meanwhile.
Json agreed(const Json &document, const Arguments &arguments)
{
    refuse_while_pending();
    const Json planned = differences(read_switch().document, document);
    if (planned.empty() || arguments["--yes"])
        return planned;
    hide_progress();
    tell(differences_in_words(planned));
    if (!confirm(count_changes(planned.size())))
        throw Refused{"not done"};
    refuse_while_pending();
    return planned;
}

// The one way from a document to the switch, with its way back.
Report make_so(const Json &document, const Arguments &arguments, const std::string &what)
{
    const bool keeps = arguments["--keep"];
    const Json &seconds = arguments["--confirm"];
    if (keeps && !seconds.is_null())
        throw UsageError{"--keep: --confirm is there, too, which goes back; use one of them"};
    Report report = account_of(Json::array(), "nothing to change");
    if (!agreed(document, arguments).empty()) {
        const Json before = read_switch().document;
        check_requests();
        const Interruptible interruptible;
        std::optional<Pending> pending;
        if (!seconds.is_null() && !withholds_writes())
            pending.emplace(before, seconds, what);
        std::string reason;
        try {
            apply(document);
            if (!withholds_writes())
                verify(document);
        } catch (const Refused &refused) {
            reason = fmt::format("{}\n{}", refused.message, failed(before, keeps));
        } catch (const Interrupted &) {
            reason = pending ? "interrupted; " + failed(before, false) : interrupted(before, document);
        }
        if (!reason.empty() && pending)
            pending->settle(reason);
        if (!reason.empty())
            throw Refused{reason};
        const Json changes = differences(before, read_switch().document);
        report =
            account_of(changes, count_changes(changes.size()) + (withholds_writes() ? " to make" : " made"));
        if (pending)
            pending->await();
    }
    report.of_settings = !arguments["--registers"];
    return report;
}

Report restore(const Arguments &arguments)
{
    const auto file = arguments["FILE"].get<std::string>();
    return make_so(read_document(file, arguments["--skip-unsupported"].get<bool>()), arguments,
                   "restore " + file);
}

// ---- edit

// A text that stays when something was wrong with it.
std::string make_draft(const std::string &text)
{
    std::string path = std::filesystem::temp_directory_path() / "eswctl-XXXXXX.json";
    const int file = mkstemps(path.data(), 5);
    const bool written = file >= 0 && ::write(file, text.data(), text.size()) == std::ssize(text);
    const std::string reason = strerror(errno);
    close(file);
    if (!written)
        throw Refused{fmt::format("cannot write {}: {}", path, reason)};
    return path;
}

void run_editor(const std::string &path)
{
    const char *visual = getenv("VISUAL");
    const char *editor = visual && *visual ? visual : getenv("EDITOR");
    const std::string command = editor && *editor ? editor : "vi";
    const UnlockedWhile editing;
    const Interruptible of_the_editor;
    const pid_t child = start("/bin/sh", {"sh", "-c", command + " \"$1\"", "sh", path}, false);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw Refused{fmt::format("the editor {} failed", command)};
}

Report edit(const Arguments &arguments)
{
    refuse_while_pending();
    const std::string original = read_switch().document.dump(2) + '\n';
    const std::string path = make_draft(original);
    for (;;) {
        try {
            run_editor(path);
            const Json document =
                understand(read_file(path), "this", arguments["--skip-unsupported"].get<bool>());
            Report report = make_so(document, arguments, "edit");
            unlink(path.c_str());
            return report;
        } catch (const Refused &refused) {
            forget_failures();
            if (read_file(path) == original) {
                unlink(path.c_str());
                throw;
            }
            const std::string reason = fmt::format("{}\nthe text is still in {}", refused.message, path);
            if (arguments["--yes"] || !can_ask())
                throw Refused{reason};
            tell(fmt::format("eswctl: {}\n", reason));
            if (!confirm("Back into the editor"))
                throw Refused{"not done"};
        }
    }
}

Report diff(const Arguments &arguments)
{
    const Json document = read_document(arguments["FILE"].get<std::string>(), true);
    const Json &other = arguments["OTHER"];
    const Json changes = other.is_null()
                             ? differences(read_switch().document, document)
                             : differences(document, read_document(other.get<std::string>(), true));
    Report report = account_of(changes, count_changes(changes.size()) + " to make");
    report.text = changes.empty() ? "no difference\n" : differences_in_words(changes);
    report.different = !changes.empty();
    return report;
}

Report schema(const Arguments &)
{
    Report report{configuration_schema()};
    report.text = as_json(report);
    return report;
}

} // namespace

void apply(const Json &document, bool goes_on)
{
    const Json before = read_switch().document;
    const std::vector<Place> all = places_here();
    Progress progress("changing the switch", all.size());
    size_t done = 0;
    for (const Place &place : all) {
        const Json wanted = place.in(document);
        if (!wanted.is_null())
            attempt(place, wanted, place.in(before), goes_on);
        progress.advance_to(++done);
    }
}

// What failed once may have come of what was still in its way.
std::string go_back_to(const Json &before)
{
    std::string left = "?";
    for (int attempt = 0; attempt < 2 && !left.empty(); ++attempt) {
        try {
            apply(before, true);
            left = differences_in_words(differences(read_switch().document, before));
        } catch (const Refused &refused) {
            left = refused.message;
        }
        forget_failures();
    }
    return left;
}

std::string way_back_in_words(const std::string &left)
{
    return left.empty() ? "went back: the switch is what it was" : "could not go back in all; left:\n" + left;
}

void add_configuration_commands(Family &family)
{
    const Argument file = required("FILE", "file that save made; - for standard input", file_name());
    const Argument skip = flag("--skip-unsupported", "leave out what this switch does not have");
    const Argument changing[] = {
        skip, flag("--keep", "when it fails, stay with what was reached instead of going back"),
        optional("--confirm",
                 "seconds after which the switch is what it was, unless eswctl confirm or Enter comes",
                 number(1, 86400, "seconds")),
        flag("--registers", "with --dry-run: show registers in place of settings")};
    const auto asking = [&](Command &command) {
        std::ranges::copy(changing, std::back_inserter(command.arguments));
        command.asks = command.asks_itself = true;
    };
    family.add("save", "Save the switch's configuration as one JSON document, or as command lines", save,
               required("FILE", "file to write; - for standard output", file_name()),
               flag("--commands", "as command lines, which batch takes: they first clear what is a table"),
               flag("--strict", "save nothing when something of it can't be saved"));
    asking(family.add("restore",
                      "Make the switch what a saved configuration says, changing only what differs", restore,
                      file));
    asking(family.add("edit", "Change the configuration in $VISUAL or $EDITOR, as restore does", edit));
    family.add("diff", "Show what a restore of FILE would change; or what differs between FILE and OTHER",
               diff, file, optional("OTHER", "another file that save made", file_name()), skip);
    family.add("schema", "Print the JSON Schema of saved configurations", schema).offline = true;
}

} // namespace eswctl
