// save and restore: the switch's whole configuration as one document.
#include "eswctl/config.h"

#include <map>

#include <esw.h>
#include <fmt/format.h>

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

class Changes {
public:
    void note(const std::string &setting, const Json &from, const Json &to)
    {
        rows_.push_back({{"setting", setting}, {"from", from}, {"to", to}});
    }
    [[nodiscard]] Json rows() const { return rows_; }

private:
    Json rows_ = Json::array();
};

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

void apply_table(const Entries &table, const Json &wanted, Changes &changes)
{
    if (wanted.is_null())
        return;
    if (!wanted.is_array())
        throw Refused{fmt::format("cannot restore {}: not an array", dotted(table.path))};
    std::map<Json, Json> present;
    for (const Json &entry : table.list())
        present[key_of(table, entry)] = entry;
    std::map<Json, Json> missing;
    for (const Json &entry : wanted)
        missing[key_of(table, entry)] = entry;
    // Room first: a full table takes new entries only once the old ones are gone.
    for (const auto &[key, entry] : present) {
        if (!missing.contains(key)) {
            attempt(name_of(table, key), table.remove, entry);
            changes.note(name_of(table, key), entry, nullptr);
        }
    }
    for (const auto &[key, entry] : missing) {
        const auto same = present.find(key);
        if (same != present.end() && same->second == entry)
            continue;
        attempt(name_of(table, key), table.put, entry);
        changes.note(name_of(table, key), same == present.end() ? Json() : same->second, entry);
    }
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

Report restore(const Arguments &arguments)
{
    Json changes = configuration().apply(read_document(arguments["FILE"].get<std::string>()));
    const size_t count = changes.size();
    Report report = table("changes", {{"setting", "setting"}, {"from", "from"}, {"to", "to"}},
                          std::move(changes), "nothing to change");
    if (count != 0)
        report.sentence = fmt::format("{} change{} made", count, count == 1 ? "" : "s");
    return report;
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

Json Configuration::apply(const Json &document) const
{
    Changes changes;
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
    return changes.rows();
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
