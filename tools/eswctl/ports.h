// SPDX-License-Identifier: LGPL-2.1-or-later
// Ports as all commands take and show them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "eswctl/command.h"
#include "eswctl/errors.h"

namespace eswctl {

Kind any_port();                                           // 0, 1 or 8
Kind any_ports();                                          // "0,8" or "all"; yields an array of ports
Kind phy_ports();                                          // the same of 0 and 1
Kind port_set();                                           // any_ports(), or "none"
Kind word_or_ports(const std::vector<std::string> &words); // for "ingress 0,1 egress 1", word by word

// Ports as every command takes them: lists such as 0,8, one behind the other or not, or all. Those that are
// not required are all of them.
Argument ports_to_show(const Kind &ports);
Argument ports_required(const Kind &ports); // one list: other arguments follow
Argument ports_to_switch(const Kind &ports);
std::vector<uint32_t> ports_in(const Json &given);
inline const std::vector<uint32_t> all_ports = {0, 1, 8};

std::string name_ports(const std::vector<uint32_t> &ports); // "port 8", "ports 0,8"

// A row a port: what the call returns.
Report port_table(const Arguments &arguments, std::vector<Column> columns,
                  const std::function<Json(uint32_t port)> &get);

// Does something to each port. Says what came of it, with a row a port: what the call returns.
Report set_ports(const Arguments &arguments, const std::string &outcome,
                 const std::function<Json(uint32_t port)> &set);

// A command that does something to each port with its arguments, and tells these, by member: "TC {1} goes to
// queue {2}". `what` completes "cannot ...", where {0} is the port.
using PortCall = std::function<int32_t(uint32_t port, const Arguments &arguments)>;
using Told = std::vector<std::pair<const char *, const char *>>; // member and argument
std::function<Report(const Arguments &)> at_ports(const char *outcome, const char *what, const Told &told,
                                                  const PortCall &call, const Meanings &meanings = {});

template <auto set>
PortCall by_call(const char *argument)
{
    return [=](uint32_t port, const Arguments &arguments) { return set(port, arguments[argument]); };
}

// Does something for each of a list, named "slot" in messages. Where one is refused, tells which were done.
void do_each(const std::vector<uint32_t> &items, const std::string &noun,
             const std::function<void(uint32_t item)> &call);
std::string name_each(const std::string &noun, const std::vector<uint32_t> &items); // "slot 8", "slots 1-3,8"

uint32_t to_port_set(const Json &ports);

// The port sets behind each word; those before any word go to `first`, unless it is empty. Throws UsageError
// with `usage` where ports or a word are missing.
std::map<std::string, Json> ports_by_word(const Json &given, const std::string &first,
                                          const std::string &usage);
Json from_port_set(uint32_t ports);

} // namespace eswctl
