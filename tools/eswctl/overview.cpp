// SPDX-License-Identifier: LGPL-2.1-or-later
// show: the whole switch on one screen, out of what the families' own commands report.
#include <algorithm>

#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr size_t one_line = 52; // beside the names of the lines, on 80 columns

// A command's value, as eswctl --json prints it.
Json value_of(const std::string &words)
{
    const Family *own = family(words.substr(0, words.find(' ')));
    const std::vector<Command> &commands = (own ? own : family(""))->commands;
    const Command &command = *std::ranges::find(commands, words, &Command::words);
    Arguments arguments = Json::object();
    for (const Argument &argument : command.arguments)
        arguments[argument.name] = argument.kind.parse ? argument.fallback : Json(false);
    return command.run(arguments).value;
}

// Adds members of the other's rows to the rows of the same ports.
void merge(Json &ports, const Json &others, const std::vector<std::string> &members)
{
    for (Json &row : ports) {
        const auto other =
            std::ranges::find_if(others, [&](const Json &each) { return each["port"] == row["port"]; });
        for (const std::string &member : members)
            row[member] = other == others.end() ? Json() : other->at(member);
    }
}

Json ports()
{
    Json rows = value_of("port show")["ports"];
    merge(rows, value_of("link show")["ports"], {"link", "speed", "duplex"});
    merge(rows, value_of("vlan pvid")["ports"], {"pvid"});
    merge(rows, value_of("protect show")["ports"], {"protected"});
    merge(rows, value_of("rate show")["ports"], {"egress", "ingress"});
    return rows;
}

Json vlans()
{
    std::vector<uint32_t> vids;
    const Json state = value_of("vlan show");
    for (const Json &row : state["vlans"])
        vids.push_back(row["vid"].get<uint32_t>());
    std::string ranges = ranges_of(vids);
    if (ranges.size() > one_line)
        ranges = ranges.substr(0, ranges.rfind(',', one_line)) + ",...";
    return {{"count", vids.size()}, {"vids", vids}, {"ranges", vids.empty() ? Json() : Json(ranges)}};
}

Json addresses()
{
    const Json entries = value_of("arl show")["entries"];
    const auto fixed =
        std::ranges::count_if(entries, [](const Json &entry) { return entry["static"].get<bool>(); });
    return {{"count", entries.size()},
            {"static", fixed},
            {"age_time", value_of("aging show")["age_time"]},
            {"l2_cache", value_of("l2cache show")["entries"].size()}};
}

Json mirroring()
{
    const Json state = value_of("mirror show");
    return {{"enabled", state["enabled"]},
            {"to", state["to"]},
            {"ingress", state["directions"][0]["ports"]},
            {"egress", state["directions"][1]["ports"]}};
}

Json field_processor()
{
    const Json state = value_of("cfp show");
    return {{"rules", state["rules"].size()}, {"ports", state["ports"]}};
}

} // namespace

Report overview(const Arguments &)
{
    Report report;
    report.value = {{"switch", value_of("info")}, {"ports", ports()},      {"vlans", vlans()},
                    {"addresses", addresses()},   {"mirror", mirroring()}, {"cfp", field_processor()}};
    report.sections = {
        {"",
         {{"/switch/device_id", "device ID"},
          {"/switch/class", "class"},
          {"/switch/route", "route to the driver"},
          {"/vlans/count", "VLANs"},
          {"/vlans/ranges", "VIDs"},
          {"/addresses/count", "addresses"},
          {"/addresses/static", "static addresses"},
          {"/addresses/age_time", "age time"},
          {"/addresses/l2_cache", "L2 cache entries"},
          {"/mirror/enabled", "mirroring"},
          {"/mirror/to", "capture port"},
          {"/cfp/rules", "CFP rules"},
          {"/cfp/ports", "ports with CFP"}}},
        {"ports",
         {{"port", "port"},
          {"enabled", "enabled"},
          {"link", "link"},
          {"speed", "Mb/s"},
          {"duplex", "duplex"},
          {"stp_state", "STP"},
          {"pvid", "PVID"},
          {"/egress/rate", "out", "kbit/s"},
          {"/ingress/rate", "in", "kbit/s"}}},
    };
    return report;
}

} // namespace eswctl
