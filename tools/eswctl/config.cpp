// SPDX-License-Identifier: LGPL-2.1-or-later
// save and restore: the switch's whole configuration as one document.
#include "eswctl/config.h"

#include <map>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/schema.h"

namespace eswctl {
namespace {

constexpr int format = 1; // of the document

std::string dotted(const Path &path) { return fmt::format("{}", fmt::join(path, ".")); }

Json &place(Json &document, const Path &path)
{
    Json *at = &document;
    for (const std::string &name : path)
        at = &(*at)[name];
    return *at;
}

// Null where the document does not name it.
Json found(const Json &document, const Path &path)
{
    const Json *at = &document;
    for (const std::string &name : path) {
        if (!at->is_object() || !at->contains(name))
            return nullptr;
        at = &at->at(name);
    }
    return *at;
}

// A document that people edited may hold anything: what the library refuses, and what has the wrong type.
int32_t attempt(const std::string &setting, const std::function<int32_t(const Json &)> &set,
                const Json &value)
{
    try {
        return check(set(value), fmt::format("restore {} to {}", setting, value.dump()));
    } catch (const std::exception &) {
        throw Refused{
            fmt::format("cannot restore {} to {}: not a value of the right kind", setting, value.dump())};
    }
}

void apply_setting(const Setting &setting, const Json &wanted, Changes &changes)
{
    if (wanted.is_null())
        return;
    const Json present = setting.get();
    if (present == wanted)
        return;
    attempt(dotted(setting.path), setting.set, wanted);
    // The switch may round, or not have it at all.
    if (const Json now = setting.get(); now != present)
        changes.note(dotted(setting.path), present, now);
}

Json key_of(const Entries &table, const Json &entry)
{
    Json key = Json::array();
    for (const std::string &name : table.key) {
        if (!entry.is_object() || !entry.contains(name))
            throw Refused{fmt::format("cannot restore {}: an entry has no {}", dotted(table.path), name)};
        key.push_back(entry.at(name));
    }
    return key;
}

std::string name_of(const Entries &table, const Json &key)
{
    std::string name = dotted(table.path);
    for (const Json &part : key)
        name += fmt::format("[{}]", part.is_string() ? part.get<std::string>() : part.dump());
    return name;
}

// As the switch would list them: ports in ascending order.
Json in_order(Json entry)
{
    for (const char *ports : {"ports", "members", "untagged"}) {
        if (entry.contains(ports))
            entry[ports] = from_port_set(to_port_set(entry[ports]));
    }
    return entry;
}

std::map<Json, Json> entries_by_key(const Entries &table, const Json &wanted)
{
    std::map<Json, Json> entries;
    for (const Json &entry : wanted) {
        const Json key = key_of(table, entry);
        if (!entries.emplace(key, in_order(entry)).second)
            throw Refused{fmt::format("cannot restore {}: it is there twice", name_of(table, key))};
    }
    return entries;
}

std::map<Json, Json> listed(const Entries &table)
{
    std::map<Json, Json> entries;
    for (const Json &entry : table.list())
        entries[key_of(table, entry)] = entry;
    return entries;
}

// What the switch lists afterwards counts: it may round, or not have what it was told.
void note_entries(const Entries &table, const std::map<Json, Json> &before, Changes &changes)
{
    const std::map<Json, Json> now = listed(table);
    for (const auto &[key, entry] : before) {
        const auto same = now.find(key);
        if (same == now.end() || same->second != entry)
            changes.note(name_of(table, key), entry, same == now.end() ? Json() : same->second);
    }
    for (const auto &[key, entry] : now) {
        if (!before.contains(key))
            changes.note(name_of(table, key), nullptr, entry);
    }
}

void apply_table(const Entries &table, const Json &wanted, Changes &changes)
{
    if (wanted.is_null())
        return;
    const std::map<Json, Json> present = listed(table);
    const std::map<Json, Json> missing = entries_by_key(table, wanted);
    if (present == missing)
        return;
    try {
        // Room first: a full table takes new entries only once the old ones are gone.
        for (const auto &[key, entry] : present) {
            if (!missing.contains(key))
                attempt(name_of(table, key), table.remove, entry);
        }
        for (const auto &[key, entry] : missing) {
            const auto same = present.find(key);
            if (same == present.end() || same->second != entry)
                attempt(name_of(table, key), table.put, entry);
        }
    } catch (...) {
        note_entries(table, present, changes);
        throw;
    }
    note_entries(table, present, changes);
}

Configuration configuration()
{
    Configuration all;
    for (const auto describe : {describe_ports, describe_l2, describe_vlans, describe_qos, describe_mirroring,
                                describe_controls, describe_cfp})
        describe(all);
    return all;
}

std::string class_name() { return is_class_a() ? "A" : "B"; }

Report save(const Arguments &arguments)
{
    Json document = {
        {"format", format}, {"device_id", fmt::format("{:#x}", gESWID)}, {"class", class_name()}};
    document.update(configuration().read());
    const auto file = arguments["FILE"].get<std::string>();
    return write_document(file, std::move(document),
                          done(fmt::format("configuration saved to {}", file), {{"file", file}}));
}

Json read_document(const std::string &file)
{
    const std::string text = read_file(file);
    if (const std::string fault = schema_fault("configuration.schema.json", text); !fault.empty())
        throw Refused{fmt::format("{} is not a configuration: {}", name_file(file), fault)};
    const Json document = Json::parse(text);
    if (document["class"] != class_name())
        throw Refused{fmt::format("{} is of a class {} switch, and this one is of class {}", name_file(file),
                                  document["class"].get<std::string>(), class_name())};
    return document;
}

Report account_of(const Json &changes)
{
    Report report = table("changes", {{"setting", "setting"}, {"from", "from"}, {"to", "to"}}, changes,
                          "nothing to change");
    if (!changes.empty())
        report.sentence = fmt::format("{} change{} made", changes.size(), changes.size() == 1 ? "" : "s");
    return report;
}

Report restore(const Arguments &arguments)
{
    const Json document = read_document(arguments["FILE"].get<std::string>());
    Changes changes;
    try {
        configuration().apply(document, changes);
    } catch (const Refused &) {
        forget_failures(); // they are told already
        if (!printing_json() && !changes.rows().empty())
            emit(account_of(changes.rows()));
        throw;
    }
    return account_of(changes.rows());
}

} // namespace

Json Configuration::read() const
{
    Json document = Json::object();
    Progress progress("save", settings_.size() + tables_.size());
    size_t done = 0;
    for (const Setting &setting : settings_) {
        Json value = setting.get();
        if (!value.is_null())
            place(document, setting.path) = std::move(value);
        progress.advance_to(++done);
    }
    for (const Entries &table : tables_) {
        place(document, table.path) = table.list();
        progress.advance_to(++done);
    }
    return document;
}

void Configuration::apply(const Json &document, Changes &changes) const
{
    for (const Entries &table : tables_)
        entries_by_key(table, found(document, table.path)); // refuses what it can't make sense of
    Progress progress("restore", settings_.size() + tables_.size());
    size_t done = 0;
    for (const Entries &table : tables_) {
        apply_table(table, found(document, table.path), changes);
        progress.advance_to(++done);
    }
    for (const Setting &setting : settings_) {
        apply_setting(setting, found(document, setting.path), changes);
        progress.advance_to(++done);
    }
}

Command save_command()
{
    return {"save",
            "Save the switch's configuration as one JSON document",
            {{"FILE", "file to write; - for standard output", file_name(), true}},
            save};
}

Command restore_command()
{
    return {"restore",
            "Make the switch what a saved configuration says, changing only what differs",
            {{"FILE", "file that save made; - for standard input", file_name(), true}},
            restore,
            true};
}

} // namespace eswctl
