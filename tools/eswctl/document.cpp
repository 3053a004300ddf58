// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/document.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include <esw.h>
#include <fmt/args.h>
#include <fmt/format.h>

#include "chip/devices.h"
#include "eswctl/families.h"
#include "eswctl/json_file.h"
#include "eswctl/output.h"

namespace eswctl {
namespace {

constexpr int format = 1; // of the document

const char *class_name() { return is_class_a() ? "A" : "B"; }

bool is_here(Devices devices)
{
    switch (devices) {
    case Devices::class_a:
        return is_class_a();
    case Devices::class_b:
        return is_class_b();
    case Devices::translating:
        return chip::device(gESWID).translates_egress;
    default:
        return true;
    }
}

std::vector<Place> places()
{
    std::vector<Place> all;
    for (const Setting *setting : all_settings()) {
        for (const Instance &instance : setting->each)
            all.push_back({setting, &instance});
    }
    return all;
}

Json::json_pointer pointer_to(std::string path)
{
    std::ranges::replace(path, '.', '/');
    return Json::json_pointer('/' + path);
}

Form form_of_object() { return {{"type", "object"}, {"additionalProperties", false}}; }

Form form_of_document()
{
    Form form = form_of_object();
    form["required"] = {"format", "class"};
    form["properties"] = {
        {"format", constant_form(format)},
        {"device_id", {{"type", "string"}, {"pattern", "^0x[0-9a-f]{1,8}$"}, {"examples", {"0x2404"}}}},
        {"class", words_form({"A", "B"})}};
    for (const char *part : {"ports", "l2", "vlan", "qos", "mirror", "controls", "cfp"})
        form["properties"][part] = form_of_object();
    return form;
}

// Devices may differ in what they accept at one place.
void add_place(Form &document, const Place &place, Form form)
{
    Form *at = &document;
    std::string path = place.path();
    for (size_t dot = 0; (dot = path.find('.')) != std::string::npos; path.erase(0, dot + 1)) {
        Form &next = (*at)["properties"][path.substr(0, dot)];
        if (next.is_null())
            next = form_of_object();
        at = &next;
    }
    Form &member = (*at)["properties"][path];
    member = member.is_null() ? std::move(form) : either_form({member, form});
}

Form of_place(const Place &place)
{
    return place.is_table() ? Form{{"type", "array"}, {"items", place.form()}} : place.form();
}

std::string among_settings(const Place &place, const Json &value)
{
    return place.setting->fault ? place.setting->fault(value) : "";
}

// What the switch makes of a value.
Json settled(const Place &place, const Json &value)
{
    const Json ordered = in_order(value, place.form());
    return place.setting->settled ? place.setting->settled(place.instance->number, ordered) : ordered;
}

Json settled_entries(const Place &place, const Json &entries)
{
    std::map<Json, Json> by_key;
    for (const Json &entry : entries)
        by_key.emplace(place.key_of(entry), settled(place, entry));
    Json ordered = Json::array();
    for (auto &[key, entry] : by_key)
        ordered.push_back(std::move(entry));
    return ordered;
}

bool can_be_set(const Place &place, const Json &value)
{
    return accepts(place.form(), value) && among_settings(place, value).empty() &&
           settled(place, value) == value;
}

// ---- Out of the switch

class Reader {
public:
    // The nearest that can be set; null when nothing can.
    Json take(const Place &place, const Json &value, const std::string &words)
    {
        if (can_be_set(place, value))
            return value;
        const Json nearest = place.is_table() && place.setting->settled
                                 ? place.setting->settled(place.instance->number, value)
                                 : Json();
        left_out.push_back(fmt::format("{}: {}", words, in_words(value)));
        return !nearest.is_null() && can_be_set(place, nearest) ? nearest : Json();
    }

    Json take_entries(const Place &place, const Json &entries)
    {
        Json taken = Json::array();
        std::set<Json> keys;
        for (const Json &entry : entries) {
            Json nearest = take(place, entry, place.words_of(entry));
            if (nearest.is_null())
                continue;
            if (keys.insert(place.key_of(nearest)).second)
                taken.push_back(std::move(nearest));
            else
                left_out.push_back(
                    fmt::format("{}: there twice: {}", place.words_of(entry), in_words(entry)));
        }
        return settled_entries(place, taken);
    }

    std::vector<std::string> left_out;
};

// ---- Out of a file

[[noreturn]] void refuse(const std::string &name, const std::string &path, const std::string &reason)
{
    throw Refused{fmt::format("{} is not a configuration for this switch: {}{}{}", name, path,
                              path.empty() ? "" : ": ", reason)};
}

void check_head(const Json &document, const std::string &name)
{
    if (!document.is_object())
        refuse(name, "", fmt::format("{} is not accepted; use an object", excerpt_of(document)));
    const Form head = form_of_document()["properties"];
    for (const char *member : {"format", "class", "device_id"}) {
        const Json value = document.value(member, Json());
        if (value.is_null() && member == std::string("device_id"))
            continue;
        if (!document.contains(member))
            refuse(name, "", fmt::format("it lacks its member \"{}\"", member));
        if (const auto fault = fault_in(value, head[member]))
            refuse(name, member, fault->reason);
    }
    if (document["class"] != class_name())
        throw Refused{fmt::format("{} is of a class {} switch, and this one is of class {}", name,
                                  document["class"].get<std::string>(), class_name())};
    if (!document.contains("device_id"))
        return;
    const auto device_class = chip::device(from_hex(document["device_id"])).device_class;
    if (device_class != chip::device(gESWID).device_class)
        refuse(name, "device_id",
               fmt::format("{} is no switch of class {}", document["device_id"].dump(), class_name()));
}

// An empty table or a mode that is off can be left out in silence.
bool asks_for_nothing(const Json &value) { return value == false || (value.is_array() && value.empty()); }

void leave_out_unsupported(Json &document, const std::string &name, bool skip)
{
    std::set<std::string> here;
    for (const Place &place : places_here())
        here.insert(place.path());
    std::vector<std::string> lacking;
    for (const Place &place : places()) {
        const std::string path = place.path();
        if (here.contains(path) || place.in(document).is_null())
            continue;
        if (!asks_for_nothing(place.in(document)))
            lacking.push_back(path);
        const size_t dot = path.rfind('.');
        document[pointer_to(path.substr(0, dot))].erase(path.substr(dot + 1));
    }
    if (!lacking.empty() && !skip)
        throw Refused{fmt::format("{} has what a switch {:#x} lacks: {}; --skip-unsupported leaves it out",
                                  name, gESWID, fmt::join(lacking, ", "))};
}

void check_place(const Json &document, const Place &place, const std::string &name)
{
    const Json value = place.in(document);
    if (!place.is_table()) {
        if (const std::string fault = among_settings(place, value); !fault.empty())
            refuse(name, place.path(), fault);
        return;
    }
    std::set<Json> keys;
    for (const Json &entry : value) {
        if (const std::string fault = among_settings(place, entry); !fault.empty())
            refuse(name, place.name_of(entry), fault);
        if (!keys.insert(place.key_of(entry)).second)
            refuse(name, place.name_of(entry), "it is there twice");
    }
}

// ---- Differences

void note(Json &rows, const std::string &setting, const std::string &words, const Json &from, const Json &to)
{
    if (from != to)
        rows.push_back({{"setting", setting}, {"words", words}, {"from", from}, {"to", to}});
}

void note_entries(Json &rows, const Place &place, const Json &from, const Json &to)
{
    std::map<Json, std::pair<Json, Json>> pairs;
    for (const Json &entry : from)
        pairs[place.key_of(entry)].first = entry;
    for (const Json &entry : to)
        pairs[place.key_of(entry)].second = entry;
    for (const auto &[key, pair] : pairs) {
        const Json &named = pair.first.is_null() ? pair.second : pair.first;
        note(rows, place.name_of(named), place.words_of(named), pair.first, pair.second);
    }
}

std::string line(const std::string &words, const std::string &member, const Json &from, const Json &to)
{
    const char *behind = words.find(": ") == std::string::npos ? ":" : "";
    return fmt::format("{}{}{} {} -> {}\n", words, behind, member, in_words(from), in_words(to));
}

// Members that the words name already.
Json without_key(Json entry, const std::string &setting)
{
    for (const Place &place : places()) {
        if (place.is_table() && setting.starts_with(place.path() + '['))
            for (const char *name : place.setting->key)
                entry.erase(name);
    }
    return entry;
}

std::string row_in_words(const Json &row)
{
    const std::string words = row["words"];
    const Json &from = row["from"];
    const Json &to = row["to"];
    std::string lines;
    if (from.is_object() && to.is_object()) {
        Json names = from;
        names.update(to);
        for (const auto &[name, member] : names.items()) {
            if (from.value(name, Json()) != to.value(name, Json()))
                lines += line(words, ' ' + name, from.value(name, Json()), to.value(name, Json()));
        }
        return lines;
    }
    if (from.is_object() || to.is_object()) {
        const std::string setting = row["setting"];
        return line(words, "", from.is_null() ? from : without_key(from, setting),
                    to.is_null() ? to : without_key(to, setting));
    }
    if (!from.is_array() || !to.is_array() || from.size() != to.size() || from.size() <= all_ports.size())
        return line(words, "", from, to);
    for (size_t i = 0; i < from.size(); ++i) {
        if (from[i] != to[i])
            lines += fmt::format("{} {}: {} -> {}\n", words, i, in_words(from[i]), in_words(to[i]));
    }
    return lines;
}

} // namespace

std::string Place::path() const { return fmt::format(fmt::runtime(setting->path), instance->name); }
std::string Place::words() const { return words_for(*setting, instance->name); }

Json Place::in(const Json &document) const
{
    const Json *at = &document;
    std::istringstream names(path());
    for (std::string name; std::getline(names, name, '.');) {
        if (!at->is_object() || !at->contains(name))
            return nullptr;
        at = &at->at(name);
    }
    return *at;
}

Json Place::key_of(const Json &entry) const
{
    Json key = Json::array();
    for (const char *name : setting->key)
        key.push_back(entry[name]);
    return key;
}

std::string Place::name_of(const Json &entry) const
{
    std::string name = path();
    for (const Json &part : key_of(entry))
        name += fmt::format("[{}]", in_words(part));
    return name;
}

std::string Place::words_of(const Json &entry) const
{
    fmt::dynamic_format_arg_store<fmt::format_context> members;
    for (const char *name : setting->key)
        members.push_back(fmt::arg(name, in_words(entry[name])));
    return fmt::vformat(setting->words, members);
}

std::vector<Place> places_here()
{
    std::vector<Place> here = places();
    std::erase_if(here, [](const Place &place) { return !is_here(place.setting->devices); });
    return here;
}

Json configuration_schema()
{
    constexpr const char *classes[] = {"", " (class A)", " (class B)", " (not the first class B switches)"};
    Form schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                   {"$id", "configuration.schema.json"},
                   {"title",
                    "Configuration of a switch, as eswctl save writes it and eswctl restore reads it: "
                    "restoring leaves what is absent as it is"},
                   {"$comment", "not part of it:"}};
    for (const Omission &omission : omissions())
        schema["$comment"].get_ref<std::string &>() += fmt::format(" {}", omission.calls);
    schema.update(form_of_document());
    for (const Place &place : places()) {
        const std::string words = place.is_table() ? place.setting->words : place.words();
        Form form = {{"description", words + classes[static_cast<size_t>(place.setting->devices)]},
                     {"$comment", fmt::format("set by {}", place.setting->access.calls)}};
        form.update(of_place(place));
        add_place(schema, place, std::move(form));
    }
    return schema;
}

Reading read_switch()
{
    Json document = {
        {"format", format}, {"device_id", fmt::format("{:#x}", gESWID)}, {"class", class_name()}};
    for (const char *part : {"ports", "l2", "vlan", "qos", "mirror", "controls", "cfp"})
        document[part] = Json::object();
    Reader reader;
    const std::vector<Place> all = places_here();
    Progress progress("reading the switch", all.size());
    size_t done = 0;
    for (const Place &place : all) {
        const Json value = place.setting->read(place.instance->number);
        const Json taken =
            place.is_table() ? reader.take_entries(place, value) : reader.take(place, value, place.words());
        if (!taken.is_null())
            document[pointer_to(place.path())] = taken;
        progress.advance_to(++done);
    }
    return {std::move(document), std::move(reader.left_out)};
}

Json understand(const std::string &text, const std::string &name, bool skip_unsupported)
{
    Json document;
    try {
        document = parse_json(text);
    } catch (const Refused &refused) {
        refuse(name, "", refused.message);
    }
    check_head(document, name);
    leave_out_unsupported(document, name, skip_unsupported);
    Form form = form_of_document();
    for (const Place &place : places_here())
        add_place(form, place, of_place(place));
    if (const auto fault = fault_in(document, form))
        refuse(name, fault->path.empty() ? "" : fault->path.substr(1), fault->reason);
    for (const Place &place : places_here()) {
        const Json value = place.in(document);
        if (value.is_null())
            continue;
        check_place(document, place, name);
        document[pointer_to(place.path())] =
            place.is_table() ? settled_entries(place, value) : settled(place, value);
    }
    for (const Place &place : places_here()) {
        const std::string conflict = place.setting->conflict ? place.setting->conflict(document) : "";
        if (!conflict.empty())
            refuse(name, "", conflict);
    }
    return document;
}

Json read_document(const std::string &file, bool skip_unsupported)
{
    return understand(read_file(file), name_file(file), skip_unsupported);
}

Json differences(const Json &from, const Json &to, bool absent_differs)
{
    Json rows = Json::array();
    for (const Place &place : places_here()) {
        const Json old = place.in(from);
        const Json wanted = place.in(to);
        if (wanted.is_null() && !absent_differs)
            continue;
        if (place.is_table())
            note_entries(rows, place, old, wanted);
        else
            note(rows, place.path(), place.words(), old, wanted);
    }
    return rows;
}

std::string differences_in_words(const Json &rows)
{
    std::string text;
    for (const Json &row : rows)
        text += row_in_words(row);
    return text;
}

} // namespace eswctl
