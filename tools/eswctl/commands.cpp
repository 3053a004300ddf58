// SPDX-License-Identifier: LGPL-2.1-or-later
// A configuration as command lines, by the templates of its settings.
//
// A template has a command a line, or several with "|" between them, of which the first that fits is taken. Names
// in braces stand for the members of the value; {value} for the value itself, {instance} for the port or direction,
// {in} and {out} for the ports of a set and the others, {4-7} for items of an array. A command fits when there is
// all that it names, and in front of ": " only where the value reads so. "first: " comes once before the entries of
// a table, "each: " for each item of an array, as {index} and {value}, or as {switch} where 1 is on.
#include <cstdio>

#include <fmt/format.h>

#include "eswctl/document.h"
#include "eswctl/ports.h"

namespace eswctl {
namespace {

using Names = std::vector<std::pair<std::string, std::string>>;

// Cuts it off where it stands in front.
bool take(std::string &text, const std::string &mark)
{
    const bool is_there = text.starts_with(mark);
    text.erase(0, is_there ? mark.size() : 0);
    return is_there;
}

Names names_in(const Place &place, const Json &value)
{
    Names names = {{"value", in_words(value)}, {"instance", place.instance->name}};
    if (value.is_object()) {
        for (const auto &[name, member] : value.items())
            names.emplace_back(name, in_words(member));
    } else if (value.is_array() && value.size() <= all_ports.size()) {
        const uint32_t in = to_port_set(value);
        for (const auto &[name, ports] :
             {std::pair("in", in), std::pair("out", to_port_set(all_ports) & ~in)}) {
            if (ports != 0)
                names.emplace_back(name, in_words(from_port_set(ports)));
        }
    }
    return names;
}

// Empty where it names something that there is not.
std::string filled(std::string line, const Names &names, const Json &value)
{
    for (const auto &[name, text] : names) {
        const std::string mark = '{' + name + '}';
        for (size_t at = 0; (at = line.find(mark, at)) != std::string::npos; at += text.size())
            line.replace(at, mark.size(), text);
    }
    size_t first = 0;
    size_t last = 0;
    const size_t open = line.find('{');
    if (open == std::string::npos)
        return line;
    if (sscanf(line.c_str() + open, "{%zu-%zu}", &first, &last) != 2 || last >= value.size())
        return "";
    const std::vector<std::string> items(value.begin() + static_cast<ptrdiff_t>(first),
                                         value.begin() + static_cast<ptrdiff_t>(last) + 1);
    return line.replace(open, line.find('}') + 1 - open, fmt::format("{}", fmt::join(items, " ")));
}

std::string first_that_fits(const std::string &line, const Names &names, const Json &value)
{
    const std::string words = in_words(value);
    for (std::string command : split(line, '|')) {
        const size_t colon = command.find(": ");
        if (colon != std::string::npos && !words.starts_with(command.substr(0, colon)))
            continue;
        command.erase(0, colon == std::string::npos ? 0 : colon + 2);
        const std::string text = filled(command, names, value);
        if (!text.empty() || command.empty())
            return text;
    }
    return "";
}

void add_each(std::vector<std::string> &commands, const std::string &line, const Place &place,
              const Json &values)
{
    for (size_t i = 0; i < values.size(); ++i) {
        Names names = names_in(place, values[i]);
        names.emplace_back("index", std::to_string(i));
        names.emplace_back("switch", on_or_off(values[i] == 1));
        commands.push_back(filled(line, names, values[i]));
    }
}

// Of a setting, or of a table: all of its entries.
void add(std::vector<std::string> &commands, const Place &place, const Json &values)
{
    std::vector<std::string> lines = split(place.setting->commands, '\n');
    if (take(lines.front(), "first: ")) {
        commands.push_back(lines.front());
        lines.erase(lines.begin());
    }
    for (const Json &value : values) {
        for (std::string line : lines) {
            if (take(line, "each: "))
                add_each(commands, line, place, value);
            else
                commands.push_back(first_that_fits(line, names_in(place, value), value));
        }
    }
}

} // namespace

std::vector<std::string> commands_for(const Json &document)
{
    std::vector<std::string> commands;
    for (const Place &place : places_here()) {
        const Json value = place.in(document);
        if (!value.is_null())
            add(commands, place, place.is_table() ? value : Json::array({value}));
    }
    std::erase(commands, "");
    return commands;
}

} // namespace eswctl
