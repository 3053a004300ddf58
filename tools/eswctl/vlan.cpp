// SPDX-License-Identifier: LGPL-2.1-or-later
// vlan: which VLANs there are, and their ports.
#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/notation.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

using Vids = std::vector<uint16_t>;

constexpr uint16_t last_vid = 4095;

constexpr const char *file_messages[] = {"WARNING file size", "open: ", "write: ", "fstat: "};

// The library tells of the membership file at each VID, and may glue its lines together. Shows such a line
// once; that a missing file was created is not worth a word.
void telling_once(const std::function<void()> &calls)
{
    struct Telling {
        HeldBack messages;
        ~Telling()
        {
            std::istringstream stream(messages.release());
            std::set<std::string> told;
            for (std::string line; std::getline(stream, line);) {
                const bool of_file = std::ranges::any_of(
                    file_messages, [&](const char *message) { return line.starts_with(message); });
                if (!line.empty() && !line.starts_with("No vlan file found") &&
                    (!of_file || told.insert(line).second))
                    tell(line + '\n');
            }
        }
    };
    const Telling telling;
    calls();
}

const Meanings meanings = {
    {ETH_E_FAIL, "/dev/shm/vid_list.cfg cannot be read or written; eswctl vlan init makes it anew"},
    {ETH_E_NOT_FOUND, "it does not exist"},
    {ETH_E_EXISTS, "it exists already"},
};

// From one or several lists, in ascending order.
Vids vids_of(const Json &given)
{
    std::set<uint16_t> vids;
    for (const Json &list : given) {
        for (const Json &vid : list)
            vids.insert(vid.get<uint16_t>());
    }
    return {vids.begin(), vids.end()};
}

// "VLAN 7", "VLANs 10-20,30"
std::string names(const Vids &vids)
{
    return fmt::format("VLAN{} {}", vids.size() == 1 ? "" : "s", ranges_of(vids));
}

bool exists(uint16_t vid) { return check(get_vid(vid), fmt::format("look for VLAN {}", vid), meanings) != 0; }

Vids existing(const Vids &among)
{
    Vids found;
    std::ranges::copy_if(among, std::back_inserter(found), exists);
    return found;
}

Vids all_vids()
{
    Vids vids;
    for (uint16_t vid = 0; vid <= last_vid; ++vid)
        vids.push_back(vid);
    return vids;
}

Json ports_of(uint16_t vid)
{
    uint32_t members = 0;
    uint32_t untagged = 0;
    check(eth_vlan_port_get(vid, &members, &untagged), fmt::format("read the ports of VLAN {}", vid),
          meanings);
    return {{"vid", vid}, {"members", from_port_set(members)}, {"untagged", from_port_set(untagged)}};
}

// A single VLAN that is asked for has to be there; of several, those that are.
Report show(const Arguments &arguments)
{
    const Json &given = arguments["VID"];
    Vids vids = given.is_null() ? all_vids() : vids_of(given);
    Json rows = Json::array();
    telling_once([&] {
        if (vids.size() != 1)
            vids = existing(vids);
        for (const uint16_t vid : vids)
            rows.push_back(ports_of(vid));
    });
    return table("vlans", {{"vid", "VID"}, {"members", "members"}, {"untagged", "untagged"}}, std::move(rows),
                 given.is_null() ? "no VLANs" : "none of these VLANs exists");
}

// Does something to each VLAN of the argument, up to the first that refuses.
Report change(const Json &given, const std::string &infinitive, const std::string &outcome,
              const std::function<int32_t(uint16_t)> &call, const Json &details)
{
    const Vids vids = vids_of(given);
    telling_once([&] {
        for (const uint16_t vid : vids)
            check(call(vid), fmt::format("{} VLAN {}", infinitive, vid), meanings);
    });
    Json value = {{"vids", vids}};
    value.update(details);
    return done(fmt::format("{}: {}", names(vids), outcome), std::move(value));
}

// The library does not tell when the membership file could not be written.
int32_t look(int32_t result, uint16_t vid, bool wanted)
{
    return result == ETH_E_NONE && exists(vid) != wanted ? ETH_E_FAIL : result;
}

Report create(const Arguments &arguments)
{
    return change(arguments["VID"], "create", "created",
                  [](uint16_t vid) { return look(eth_vlan_create(vid), vid, true); }, {{"exists", true}});
}

Report destroy(const Arguments &arguments)
{
    return change(arguments["VID"], "destroy", "destroyed",
                  [](uint16_t vid) { return look(eth_vlan_destroy(vid), vid, false); }, {{"exists", false}});
}

Report add(const Arguments &arguments)
{
    const std::string both = "PORTS: use member ports, untagged PORTS or both, as in 0,1 untagged 1";
    auto ports = ports_by_word(arguments["PORTS"], "ports", both);
    const Json members = ports.contains("ports") ? ports["ports"] : Json::array();
    if (ports.empty() && arguments["--untagged"].empty())
        throw UsageError{both};
    if (ports.contains("untagged") && !arguments["--untagged"].empty())
        throw UsageError{"--untagged: the word untagged is there, too; use one of them"};
    const Json untagged = ports.contains("untagged") ? ports["untagged"] : arguments["--untagged"];
    std::string outcome;
    if (!members.empty())
        outcome = fmt::format("{} added", name_ports(members.get<std::vector<uint32_t>>()));
    if (!untagged.empty())
        outcome += fmt::format("{}{} untagged", outcome.empty() ? "" : ", ",
                               name_ports(untagged.get<std::vector<uint32_t>>()));
    return change(
        {arguments["VID"]}, "add ports to", outcome.empty() ? "no ports added" : outcome,
        [&](uint16_t vid) { return eth_vlan_port_add(vid, to_port_set(members), to_port_set(untagged)); },
        {{"added_members", members}, {"added_untagged", untagged}});
}

Report remove(const Arguments &arguments)
{
    const Json ports =
        ports_by_word(arguments["PORTS"], "ports", "PORTS: use the ports to remove, as in 0,1")["ports"];
    return change({arguments["VID"]}, "remove ports from",
                  ports.empty() ? "no ports removed"
                                : fmt::format("{} removed", name_ports(ports.get<std::vector<uint32_t>>())),
                  [&](uint16_t vid) { return eth_vlan_port_remove(vid, to_port_set(ports)); },
                  {{"removed", ports}});
}

// Of all VLANs at once: none may be left.
void empty(int32_t (*call)(), const std::string &what)
{
    telling_once([&] {
        check(call(), what, meanings);
        check(existing(all_vids()).empty() ? ETH_E_NONE : ETH_E_FAIL, what, meanings);
    });
}

Report destroy_all(const Arguments &)
{
    empty(eth_vlan_destroy_all, "destroy all VLANs");
    return done("all VLANs destroyed", {{"vlans", Json::array()}});
}

Report initialise(const Arguments &)
{
    empty(eth_vlan_init, "initialise the VLANs");
    return done("VLANs initialised", {{"initialised", true}});
}

} // namespace

Family vlan_family()
{
    const std::string several = "VIDs from 0 to 4095 such as 10-20,30";
    const Argument vids{"VID", several, vid_list(), true};
    const Argument lists{"VID", several, vid_list(), true, true};
    const std::string ports = "ports such as 0,8, or all, or none";
    Family family = {
        "vlan",
        "VLANs: their ports, default tags, modes and egress translation",
        {
            {"vlan show",
             "Show which VLANs exist, and their ports",
             {{"VID", several, vid_list(), false, true}},
             show},
            {"vlan create", "Create VLANs", {lists}, create},
            {"vlan destroy", "Destroy VLANs: their ports are forgotten", {lists}, destroy, true},
            {"vlan destroy-all", "Destroy all VLANs", {}, destroy_all, true},
            {"vlan add",
             "Add ports to VLANs; ports that a VLAN has keep what they have",
             {vids,
              {"PORTS", "member " + ports + "; behind the word untagged, those that send without a tag",
               word_or_ports({"ports", "untagged"}), false, true, Json::array()},
              {"--untagged", "the same as the word untagged: " + ports, port_set(), false, false,
               Json::array()}},
             add},
            {"vlan remove",
             "Remove ports from VLANs",
             {vids, {"PORTS", ports, word_or_ports({"ports"}), true, true}},
             remove},
            {"vlan init",
             "Reset everything about VLANs: none is left, and modes, PVIDs and translations are lost",
             {},
             initialise,
             true},
        }};
    std::ranges::move(vlan_setting_commands(), std::back_inserter(family.commands));
    return family;
}

} // namespace eswctl
