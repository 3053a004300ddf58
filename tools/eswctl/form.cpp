// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/form.h"

#include <algorithm>
#include <map>
#include <regex>

#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

// No pattern here matches more; a longer text could exhaust the matcher's stack.
constexpr size_t longest_text = 64;

Form pattern_form(const std::string &pattern, const std::string &example)
{
    return {{"type", "string"}, {"pattern", pattern}, {"examples", {example}}};
}

bool matches(const std::string &text, const std::string &pattern)
{
    static std::map<std::string, std::regex> compiled;
    return text.size() <= longest_text &&
           std::regex_search(text, compiled.try_emplace(pattern, pattern).first->second);
}

std::string quoted(const Json &value) { return value.is_string() ? value.dump() : in_words(value); }

std::string names_of(const Json &members)
{
    std::vector<std::string> names;
    for (const auto &[name, form] : members.items())
        names.push_back(name);
    return enumerate(names);
}

std::optional<Fault> in_array(const Json &value, const Form &form)
{
    const size_t most = form.value("maxItems", SIZE_MAX);
    if (!value.is_array() || value.size() < form.value("minItems", size_t{0}) || value.size() > most)
        return Fault{"", ""};
    for (size_t i = 0; i < value.size(); ++i) {
        if (auto fault = fault_in(value[i], form["items"]))
            return Fault{fmt::format("[{}]", i) + fault->path, fault->reason};
        const auto here = value.begin() + static_cast<std::ptrdiff_t>(i);
        if (form.contains("uniqueItems") && std::find(value.begin(), here, *here) != here)
            return Fault{fmt::format("[{}]", i), fmt::format("{} is there twice", excerpt_of(*here))};
    }
    return {};
}

std::optional<Fault> in_object(const Json &value, const Form &form)
{
    if (!value.is_object())
        return Fault{"", ""};
    const Json &members = form["properties"];
    for (const auto &[name, member] : value.items()) {
        if (!members.contains(name))
            return Fault{"", fmt::format("has no member \"{}\"; use {}", excerpt(name), names_of(members))};
        if (auto fault = fault_in(member, members[name]))
            return Fault{'.' + name + fault->path, fault->reason};
    }
    for (const Json &name : form.value("required", Json::array())) {
        if (!value.contains(name.get<std::string>()))
            return Fault{"", fmt::format("lacks its member {}", name.dump())};
    }
    return {};
}

bool is_scalar(const Json &value, const Form &form)
{
    if (value.is_number_float())
        return false;
    if (form.contains("const"))
        return value == form["const"];
    if (form.contains("enum"))
        return std::ranges::find(form["enum"], value) != form["enum"].end();
    const std::string type = form.value("type", "");
    if (type == "boolean")
        return value.is_boolean();
    if (type == "integer")
        return value.is_number_integer() && value >= form["minimum"] && value <= form["maximum"];
    return type != "string" ||
           (value.is_string() && matches(value.get_ref<const std::string &>(), form["pattern"]));
}

std::optional<Fault> in_part(const Json &value, const Form &form)
{
    const std::string type = form.value("type", "");
    if (type == "array")
        return in_array(value, form);
    if (type == "object")
        return in_object(value, form);
    if (!form.contains("anyOf"))
        return is_scalar(value, form) ? std::nullopt : std::optional<Fault>({"", ""});
    std::optional<Fault> deepest = Fault{"", ""};
    for (const Form &each : form["anyOf"]) {
        const auto fault = fault_in(value, each);
        if (!fault)
            return {};
        if (!fault->path.empty())
            deepest = fault;
    }
    return deepest;
}

} // namespace

Form integer_form(uint64_t first, uint64_t last)
{
    return {{"type", "integer"}, {"minimum", first}, {"maximum", last}};
}

Form words_form(const std::vector<std::string> &words) { return {{"enum", words}}; }
Form numbers_form(const std::vector<uint32_t> &numbers) { return {{"enum", numbers}}; }
Form constant_form(const Json &value) { return {{"const", value}}; }
Form flag_form() { return {{"type", "boolean"}}; }

Form ports_form()
{
    return {{"type", "array"},
            {"items", numbers_form(all_ports)},
            {"maxItems", all_ports.size()},
            {"uniqueItems", true}};
}

Form mac_form() { return pattern_form("^[0-9a-f]{2}(:[0-9a-f]{2}){5}$", "02:00:5e:00:53:01"); }

Form hex_form(unsigned bits)
{
    return pattern_form(fmt::format("^0x[0-9a-f]{{{}}}$", bits / 4), hex(0, bits));
}

Form array_form(size_t count, const Form &item)
{
    return {{"type", "array"}, {"items", item}, {"minItems", count}, {"maxItems", count}};
}

Form record_form(std::initializer_list<std::pair<std::string, Form>> members,
                 const std::vector<std::string> &optional)
{
    Form form = {{"type", "object"}, {"required", Json::array()}, {"additionalProperties", false}};
    for (const auto &[name, member] : members) {
        form["properties"][name] = member;
        if (std::ranges::find(optional, name) == optional.end())
            form["required"].push_back(name);
    }
    return form;
}

Form either_form(std::initializer_list<Form> forms) { return {{"anyOf", std::vector<Form>(forms)}}; }

std::string accepted_by(const Form &form)
{
    std::vector<std::string> all;
    if (form.contains("const"))
        return quoted(form["const"]);
    for (const Json &value : form.value("enum", Json::array()))
        all.push_back(quoted(value));
    for (const Form &each : form.value("anyOf", Json::array()))
        all.push_back(accepted_by(each));
    if (!all.empty())
        return enumerate(all);
    const std::string type = form.value("type", "");
    if (type == "boolean")
        return "true or false";
    if (type == "integer")
        return fmt::format("a number from {} to {}", form["minimum"].dump(), form["maximum"].dump());
    if (type == "string")
        return fmt::format("a text such as {}", form["examples"][0].dump());
    if (type == "object")
        return fmt::format("an object with {}", names_of(form["properties"]));
    if (form.contains("uniqueItems"))
        return fmt::format("an array of {}, each at most once", accepted_by(form["items"]));
    if (form.contains("minItems"))
        return fmt::format("an array of {} values, each {}", form["minItems"].dump(),
                           accepted_by(form["items"]));
    return fmt::format("an array of {}", accepted_by(form["items"]));
}

std::optional<Fault> fault_in(const Json &value, const Form &form)
{
    auto fault = in_part(value, form);
    if (fault && fault->reason.empty())
        fault->reason = fmt::format("{} is not accepted; use {}", excerpt_of(value), accepted_by(form));
    return fault;
}

bool accepts(const Form &form, const Json &value) { return !fault_in(value, form); }

Json in_order(const Json &value, const Form &form)
{
    for (const Form &each : form.value("anyOf", Json::array())) {
        if (accepts(each, value))
            return in_order(value, each);
    }
    if (value.is_array() && form.contains("items")) {
        std::vector<Json> items;
        for (const Json &item : value)
            items.push_back(in_order(item, form["items"]));
        if (form.contains("uniqueItems"))
            std::ranges::sort(items);
        return items;
    }
    if (!value.is_object() || !form.contains("properties"))
        return value;
    Json ordered = Json::object();
    for (const auto &[name, member] : form["properties"].items()) {
        if (value.contains(name))
            ordered[name] = in_order(value[name], member);
    }
    return ordered;
}

std::string in_words(const Json &value)
{
    if (value.is_boolean())
        return on_or_off(value.get<bool>());
    if (value.is_string())
        return value.get<std::string>();
    if (!value.is_structured())
        return value.is_null() ? "none" : value.dump();
    std::vector<std::string> parts;
    for (const auto &[name, member] : value.items())
        parts.push_back(value.is_array() ? in_words(member) : fmt::format("{} {}", name, in_words(member)));
    return parts.empty() ? "none" : fmt::format("{}", fmt::join(parts, value.is_array() ? "," : ", "));
}

uint32_t from_hex(const Json &text)
{
    return static_cast<uint32_t>(std::stoul(text.get<std::string>(), nullptr, 16));
}

} // namespace eswctl
