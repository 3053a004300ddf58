// SPDX-License-Identifier: LGPL-2.1-or-later
// save, restore, diff: the switch's whole configuration as one document.
#include "eswctl/config.h"

#include <csignal>
#include <map>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

volatile sig_atomic_t wants_end = 0;

// Until the end of its scope, a signal ends the work between two changes.
class Interruptible {
public:
    Interruptible()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { wants_end = 1; };
        for (size_t i = 0; i < std::size(signals); ++i)
            sigaction(signals[i], &action, &former_[i]);
    }
    ~Interruptible()
    {
        for (size_t i = 0; i < std::size(signals); ++i)
            sigaction(signals[i], &former_[i], nullptr);
    }
    Interruptible(const Interruptible &) = delete;
    Interruptible &operator=(const Interruptible &) = delete;

private:
    static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction former_[std::size(signals)];
};

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
    if (wants_end != 0 && !goes_on)
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
    report.text = differences_in_words(changes) + (sentence.empty() ? "" : sentence + '\n');
    return report;
}

std::string count_changes(const Json &changes)
{
    return changes.empty() ? "nothing to change"
                           : fmt::format("{} change{} made", changes.size(), changes.size() == 1 ? "" : "s");
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
Refused interrupted(const Json &before, const Json &document)
{
    const Json now = read_switch().document;
    return {fmt::format("interrupted; done until then:\n{}left, for another restore to do:\n{}",
                        differences_in_words(differences(before, now)),
                        differences_in_words(differences(now, document)))};
}

Report restore(const Arguments &arguments)
{
    const Json document =
        read_document(arguments["FILE"].get<std::string>(), arguments["--skip-unsupported"].get<bool>());
    const Json before = read_switch().document;
    check_requests();
    const Interruptible interruptible;
    try {
        apply(document);
        if (!withholds_writes())
            verify(document);
    } catch (const Refused &refused) {
        forget_failures(); // they are told already
        const std::string outcome =
            arguments["--keep"].get<bool>()
                ? "kept what was reached:\n" +
                      differences_in_words(differences(before, read_switch().document))
                : go_back_to(before);
        throw Refused{fmt::format("{}\n{}", refused.message, outcome)};
    } catch (const Interrupted &) {
        throw interrupted(before, document);
    }
    const Json changes = differences(before, read_switch().document);
    return account_of(changes, count_changes(changes));
}

Report diff(const Arguments &arguments)
{
    const Json document = read_document(arguments["FILE"].get<std::string>(), true);
    const Json &other = arguments["OTHER"];
    const Json changes = other.is_null()
                             ? differences(read_switch().document, document)
                             : differences(document, read_document(other.get<std::string>(), true));
    Report report = account_of(changes, changes.empty() ? "no difference" : "");
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

std::string go_back_to(const Json &before)
{
    apply(before, true);
    const Json left = differences(read_switch().document, before);
    forget_failures();
    return left.empty()
               ? "went back: the switch is what it was"
               : fmt::format("could not go back in all; left to do:\n{}", differences_in_words(left));
}

std::vector<Command> configuration_commands()
{
    const Argument file{"FILE", "file that save made; - for standard input", file_name(), true};
    const Argument skip{"--skip-unsupported", "leave out what this switch does not have", {}};
    return {
        {"save",
         "Save the switch's configuration as one JSON document, or as command lines",
         {{"FILE", "file to write; - for standard output", file_name(), true},
          {"--commands", "as command lines, which batch takes: they first clear what is a table", {}},
          {"--strict", "save nothing when something of it can't be saved", {}}},
         save},
        {"restore",
         "Make the switch what a saved configuration says, changing only what differs",
         {file, skip, {"--keep", "when it fails, stay with what was reached instead of going back", {}}},
         restore,
         true},
        {"diff",
         "Show what a restore of FILE would change; or what differs between FILE and OTHER",
         {file, {"OTHER", "another file that save made", file_name()}, skip},
         diff},
        {.words = "schema",
         .summary = "Print the JSON Schema of saved configurations",
         .arguments = {},
         .run = schema,
         .offline = true},
    };
}

} // namespace eswctl
