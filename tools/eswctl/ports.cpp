// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/ports.h"

#include <algorithm>
#include <utility>

#include <fmt/args.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/errors.h"
#include "eswctl/form.h"

namespace eswctl {
namespace {

// Where all of `among` are ports that can be named.
Kind port_list(const std::vector<uint32_t> &among, const std::string &other_words)
{
    std::vector<std::string> words;
    for (const uint32_t port : among)
        words.push_back(std::to_string(port));
    const std::string alone = enumerate(words);
    words.emplace_back("all");
    return {fmt::format("{}, several such as {},{}{}", alone, words[0], words[among.size() - 1], other_words),
            [=](const std::string &text) -> Json {
                if (text == "all")
                    return among;
                std::vector<uint32_t> ports;
                for (const std::string &item : split(text)) {
                    const Json port = one_of(among).parse(item);
                    if (port.is_null())
                        return nullptr;
                    ports.push_back(port.get<uint32_t>());
                }
                return ascending(ports);
            },
            "PORTS", words};
}

Json rows_of(const Arguments &arguments, const std::function<Json(uint32_t port)> &call)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_in(arguments["PORT"])) {
        Json &row = rows.emplace_back(Json{{"port", port}});
        row.update(call(port));
    }
    return rows;
}

} // namespace

Kind any_port()
{
    Kind kind = one_of(all_ports);
    kind.name = "PORT";
    return kind;
}

Kind any_ports() { return port_list(all_ports, ", or all"); }
Kind phy_ports() { return port_list({0, 1}, ", or all"); }

Kind port_set()
{
    Kind kind = port_list(all_ports, ", all or none");
    kind.words.emplace_back("none");
    kind.parse = [parse = kind.parse](const std::string &text) {
        return text == "none" ? Json::array() : parse(text);
    };
    return kind;
}

Kind word_or_ports(const std::vector<std::string> &words)
{
    std::vector<std::string> offered = words;
    std::ranges::copy(port_set().words, std::back_inserter(offered));
    return {fmt::format("{}, each with ports behind it: {}", enumerate(words), port_set().accepted),
            [=](const std::string &text) -> Json {
                return std::ranges::find(words, text) != words.end() ? Json(text) : port_set().parse(text);
            },
            "VALUE", offered};
}

Argument ports_to_show(const Kind &ports)
{
    return {"PORT", fmt::format("ports: {} (default all)", ports.accepted),
            ports,  false,
            true,   Json::array({ports.parse("all")})};
}

Argument ports_required(const Kind &ports)
{
    return {"PORT", fmt::format("ports: {}", ports.accepted), ports, true};
}

Argument ports_to_switch(const Kind &ports)
{
    Argument argument = ports_required(ports);
    argument.repeated = true;
    return argument;
}

std::vector<uint32_t> ports_in(const Json &given)
{
    std::vector<uint32_t> ports;
    for (const Json &item : given.flatten())
        ports.push_back(item.get<uint32_t>());
    return ascending(std::move(ports));
}

std::string name_ports(const std::vector<uint32_t> &ports)
{
    return fmt::format("port{} {}", ports.size() == 1 ? "" : "s", fmt::join(ports, ","));
}

Report port_table(const Arguments &arguments, std::vector<Column> columns,
                  const std::function<Json(uint32_t port)> &get)
{
    columns.insert(columns.begin(), {"port", "port"});
    return table("ports", std::move(columns), rows_of(arguments, get));
}

Report set_ports(const Arguments &arguments, const std::string &outcome,
                 const std::function<Json(uint32_t port)> &set)
{
    return done(fmt::format("{}: {}", name_ports(ports_in(arguments["PORT"])), outcome),
                {{"ports", rows_of(arguments, set)}});
}

std::function<Report(const Arguments &)> at_ports(const char *outcome, const char *what, const Told &told,
                                                  const PortCall &call, const Meanings &meanings)
{
    return [=](const Arguments &arguments) {
        const auto text = [&](const char *format, uint32_t port) {
            fmt::dynamic_format_arg_store<fmt::format_context> words;
            words.push_back(port);
            for (const auto &[member, argument] : told)
                words.push_back(in_words(arguments[argument]));
            return fmt::vformat(format, words);
        };
        return set_ports(arguments, text(outcome, 0), [&](uint32_t port) {
            check(call(port, arguments), text(what, port), meanings);
            Json row = Json::object();
            for (const auto &[member, argument] : told)
                row[member] = arguments[argument];
            return row;
        });
    };
}

std::string name_each(const std::string &noun, const std::vector<uint32_t> &items)
{
    return fmt::format("{}{} {}", noun, items.size() == 1 ? "" : "s", ranges_of(items));
}

void do_each(const std::vector<uint32_t> &items, const std::string &noun,
             const std::function<void(uint32_t item)> &call)
{
    std::vector<uint32_t> done;
    try {
        for (const uint32_t item : items) {
            call(item);
            check_requests();
            done.push_back(item);
        }
    } catch (Refused &refused) {
        if (items.size() > 1)
            refused.message += "; done until then: " + (done.empty() ? "none" : name_each(noun, done));
        throw;
    }
}

uint32_t to_port_set(const Json &ports)
{
    uint32_t set = 0;
    for (const Json &port : ports)
        set |= 1U << port.get<unsigned>();
    return set;
}

Json from_port_set(uint32_t ports)
{
    Json list = Json::array();
    for (unsigned port = 0; port < 32; ++port) {
        if (ports >> port & 1)
            list.push_back(port);
    }
    return list;
}

std::map<std::string, Json> ports_by_word(const Json &given, const std::string &first,
                                          const std::string &usage)
{
    std::map<std::string, Json> ports;
    std::string word = first;
    for (const Json &item : given) {
        if (item.is_string()) {
            word = item.get<std::string>();
        } else {
            if (word.empty() || ports.contains(word))
                throw UsageError{usage};
            ports[std::exchange(word, "")] = item;
        }
    }
    if (!given.empty() && given.back().is_string())
        throw UsageError{usage};
    return ports;
}

} // namespace eswctl
