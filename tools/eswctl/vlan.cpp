// SPDX-License-Identifier: LGPL-2.1-or-later
// vlan: which VLANs there are, and their ports.
#include <algorithm>
#include <array>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

using Vids = std::vector<uint32_t>;

constexpr uint32_t last_vid = 4095;

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

constexpr char file[] = "/dev/shm/vid_list.cfg";
const Meanings meanings = {
    {ETH_E_FAIL, "/dev/shm/vid_list.cfg cannot be read or written; eswctl vlan init makes it anew", file},
    {ETH_E_NOT_FOUND, "it does not exist"},
    {ETH_E_EXISTS, "it exists already"},
};

constexpr uint8_t absent = '0';

// From one or several lists, in ascending order.
Vids vids_of(const Json &given)
{
    std::set<uint32_t> vids;
    for (const Json &list : given) {
        for (const Json &vid : list)
            vids.insert(vid.get<uint32_t>());
    }
    return {vids.begin(), vids.end()};
}

int32_t state_of(uint32_t vid)
{
    return check(get_vid(static_cast<uint16_t>(vid)), fmt::format("look for VLAN {}", vid), meanings);
}

struct VlanPorts {
    uint32_t members;
    uint32_t untagged;

    bool operator==(const VlanPorts &) const = default;
};

VlanPorts vlan_ports(uint32_t vid)
{
    VlanPorts ports{};
    check(eth_vlan_port_get(static_cast<uint16_t>(vid), &ports.members, &ports.untagged),
          fmt::format("read the ports of VLAN {}", vid), meanings);
    return ports;
}

// Makes a VLAN that exists exactly this; ports that have their part already are not touched. Yields what other
// software gave it and no call takes away: ports that there are not.
VlanPorts set_vlan_ports(uint32_t vid, const VlanPorts &wanted)
{
    const std::string what = fmt::format("set the ports of VLAN {}", vid);
    const VlanPorts present = vlan_ports(vid);
    const uint32_t wrong = (present.members & ~wanted.members) | (present.untagged & ~wanted.untagged);
    const auto id = static_cast<uint16_t>(vid);
    const uint32_t here = to_port_set(all_ports);
    if ((wrong & here) != 0)
        check(eth_vlan_port_remove(id, wrong & here), what, meanings);
    check(eth_vlan_port_add(id, wanted.members, wanted.untagged), what, meanings);
    const VlanPorts now = vlan_ports(vid);
    const VlanPorts odd{now.members ^ wanted.members, now.untagged ^ wanted.untagged};
    check(((odd.members | odd.untagged) & here) == 0 ? ETH_E_NONE : ETH_E_TIMEOUT, what, meanings);
    return odd;
}

Json vlan_row(uint32_t vid)
{
    const VlanPorts ports = vlan_ports(vid);
    return {
        {"vid", vid}, {"members", from_port_set(ports.members)}, {"untagged", from_port_set(ports.untagged)}};
}

// ---- Setting

Json read_vlans(uint32_t)
{
    const HeldBack messages; // a membership file that is missing just means no VLANs
    Json entries = Json::array();
    for (const uint32_t vid : existing_vids()) {
        entries.push_back(vlan_row(vid));
    }
    return entries;
}

int32_t write_vlan(uint32_t, const Json &entry)
{
    const int32_t result = eth_vlan_create(entry["vid"]);
    if (result != ETH_E_NONE && result != ETH_E_EXISTS)
        return result;
    const VlanPorts left =
        set_vlan_ports(entry["vid"], {to_port_set(entry["members"]), to_port_set(entry["untagged"])});
    if (left != VlanPorts{})
        tell(fmt::format("eswctl: vlan {} keeps what no call takes away: ports {}, untagged {}\n",
                         in_words(entry["vid"]), in_words(from_port_set(left.members)),
                         in_words(from_port_set(left.untagged))));
    return ETH_E_NONE;
}

// No call takes ports out that there are not.
Json settle_vlan(uint32_t, const Json &entry)
{
    Json settled = entry;
    for (const char *set : {"members", "untagged"})
        settled[set] = from_port_set(to_port_set(entry[set]) & to_port_set(all_ports));
    return settled;
}

constexpr const char *vlan_key[] = {"vid"};
constexpr Setting vlans =
    setting(
        "vlan.table", "vlan {vid}", once,
        "first: vlan destroy-all --yes\nvlan create {vid}\nvlan add {vid} {members} untagged {untagged}",
        [](uint32_t) {
            return record_form(
                {{"vid", integer_form(0, 4095)}, {"members", ports_form()}, {"untagged", ports_form()}});
        },
        by(read_vlans, write_vlan, "eth_vlan_create eth_vlan_port_add set_vid"))
        .with(&Setting::settled, settle_vlan)
        .with(&Setting::key, vlan_key)
        .with(&Setting::remove, [](const Json &entry) { return eth_vlan_destroy(entry["vid"]); });

// ---- Commands

// A single VLAN that is asked for has to be there; of several, those that are.
Report show(const Arguments &arguments)
{
    const Json &given = arguments["VID"];
    Vids vids = vids_of(given);
    Json rows = Json::array();
    telling_once([&] {
        if (given.is_null() || vids.size() != 1) {
            const Vids all = existing_vids();
            Vids found;
            std::ranges::set_intersection(all, given.is_null() ? all : vids, std::back_inserter(found));
            vids = found;
        }
        for (const uint32_t vid : vids)
            rows.push_back(vlan_row(vid));
    });
    return table("vlans", {{"vid", "VID"}, {"members", "members"}, {"untagged", "untagged"}}, std::move(rows),
                 given.is_null() ? "no VLANs" : "none of these VLANs exists");
}

// Does something to each VLAN of the argument, up to the first that refuses.
Report change(const Json &given, const std::string &outcome, const std::function<void(uint16_t)> &call,
              const Json &details)
{
    const Vids vids = vids_of(given);
    telling_once([&] { do_each(vids, "VLAN", [&](uint32_t vid) { call(static_cast<uint16_t>(vid)); }); });
    Json value = {{"vids", vids}};
    value.update(details);
    return done(fmt::format("{}: {}", name_each("VLAN", vids), outcome), std::move(value));
}

// The library does not tell when the membership file could not be written.
void make(const char *what, int32_t (*call)(uint16_t), uint16_t vid, bool exists)
{
    const std::string name = fmt::format("{} VLAN {}", what, vid);
    check(call(vid), name, meanings);
    check((state_of(vid) != 0) == exists ? ETH_E_NONE : ETH_E_FAIL, name, meanings);
}

Report create(const Arguments &arguments)
{
    return change(arguments["VID"], "created",
                  [](uint16_t vid) { make("create", eth_vlan_create, vid, true); }, {{"exists", true}});
}

Report destroy(const Arguments &arguments)
{
    return change(arguments["VID"], "destroyed",
                  [](uint16_t vid) { make("destroy", eth_vlan_destroy, vid, false); }, {{"exists", false}});
}

// Null where PORTS and --untagged give none.
struct Given {
    Json members;
    Json untagged;
};

Given ports_given(const Arguments &arguments, const std::string &usage)
{
    auto ports = ports_by_word(arguments["PORTS"], "ports", usage);
    const Json &option = arguments["--untagged"];
    if (!ports["untagged"].is_null() && !option.is_null())
        throw UsageError{"--untagged: the word untagged is there, too; use one of them"};
    const Given given{ports["ports"], option.is_null() ? ports["untagged"] : option};
    if (given.members.is_null() && given.untagged.is_null())
        throw UsageError{usage};
    return given;
}

std::string name_set(const Json &ports)
{
    return ports.empty() ? "no ports" : name_ports(ports.get<std::vector<uint32_t>>());
}

// An explicit "untagged none" is about the ports beside it, or about all that the VLAN has.
Report add(const Arguments &arguments)
{
    const Given given =
        ports_given(arguments, "PORTS: use member ports, untagged PORTS or both, as in 0,1 untagged 1");
    const uint32_t members = to_port_set(given.members);
    const uint32_t untagged = to_port_set(given.untagged);
    std::string outcome = given.members.is_null() ? "" : name_set(given.members) + " added";
    if (!given.untagged.is_null())
        outcome += (outcome.empty() ? "" : ", ") + name_set(given.untagged) + " untagged";
    const bool takes_mark = given.untagged.is_array() && untagged == 0;
    const uint32_t tagged = !takes_mark ? 0 : given.members.is_null() ? ~0U : members;
    return change({arguments["VID"]}, outcome,
                  [&](uint16_t vid) {
                      check(eth_vlan_port_add(vid, members, untagged),
                            fmt::format("add ports to VLAN {}", vid), meanings);
                      if (tagged == 0)
                          return;
                      const VlanPorts now = vlan_ports(vid);
                      set_vlan_ports(vid, {now.members, now.untagged & ~tagged});
                  },
                  {{"added_members", from_port_set(members)}, {"added_untagged", from_port_set(untagged)}});
}

Report set(const Arguments &arguments)
{
    const Given given =
        ports_given(arguments, "PORTS: use the member ports, and untagged PORTS, as in 0,8 untagged 0");
    if (given.members.is_null())
        throw UsageError{"PORTS: the member ports are missing; use ports such as 0,8, all or none"};
    const VlanPorts wanted{to_port_set(given.members), to_port_set(given.untagged)};
    if ((wanted.untagged & ~wanted.members) != 0)
        throw UsageError{"PORTS: ports that send without a tag must be member ports, too"};
    return change({arguments["VID"]},
                  fmt::format("{}, {} untagged", name_set(given.members), name_set(given.untagged)),
                  [&](uint16_t vid) {
                      if (set_vlan_ports(vid, wanted) != VlanPorts{})
                          throw Refused{fmt::format(
                              "cannot set the ports of VLAN {}: other software gave it ports that the "
                              "library can't remove; eswctl vlan destroy {} does",
                              vid, vid)};
                  },
                  {{"members", given.members}, {"untagged", from_port_set(wanted.untagged)}});
}

Report remove(const Arguments &arguments)
{
    const Json ports =
        ports_by_word(arguments["PORTS"], "ports", "PORTS: use the ports to remove, as in 0,1")["ports"];
    return change({arguments["VID"]}, name_set(ports) + " removed",
                  [&](uint16_t vid) {
                      check(eth_vlan_port_remove(vid, to_port_set(ports)),
                            fmt::format("remove ports from VLAN {}", vid), meanings);
                  },
                  {{"removed", ports}});
}

// A busy bit that is still set after the call tells of a time-out that it did not report.
void check_settled(const std::string &what)
{
    constexpr uint8_t table_page = 0x05, table_command = 0x80;
    constexpr uint8_t translation_page = 0x34, translation_command = 0x40;
    constexpr uint32_t table_busy = 0x80, translation_busy = 0x05;
    if ((esw_reg_read32(table_page, table_command, 8) & table_busy) != 0 ||
        (esw_reg_read32(translation_page, translation_command, 32) & translation_busy) != 0)
        check(ETH_E_TIMEOUT, what);
}

Report destroy_all(const Arguments &)
{
    empty_vlans(eth_vlan_destroy_all, "destroy all VLANs");
    return done("all VLANs destroyed", {{"vlans", Json::array()}});
}

Report initialise(const Arguments &)
{
    empty_vlans(eth_vlan_init, "initialise the VLANs");
    return done("VLANs initialised", {{"initialised", true}});
}

} // namespace

Vids existing_vids()
{
    state_of(0); // makes a missing file, and tells what is wrong with another
    std::array<uint8_t, last_vid + 1> states{};
    const int descriptor = open(file, O_RDONLY | O_CLOEXEC);
    const ssize_t size = read(descriptor, states.data(), states.size());
    close(descriptor);
    check(size == std::ssize(states) ? ETH_E_NONE : ETH_E_FAIL, "read the VLANs", meanings);
    Vids vids;
    for (uint32_t vid = 0; vid < states.size(); ++vid) {
        if (states[vid] < absent)
            state_of(vid); // refuses such a state
        if (states[vid] != absent)
            vids.push_back(vid);
    }
    return vids;
}

void empty_vlans(int32_t (*call)(), const std::string &what)
{
    telling_once([&] {
        check(call(), what, meanings);
        check(existing_vids().empty() ? ETH_E_NONE : ETH_E_FAIL, what, meanings);
        check_settled(what);
    });
}

Settings vlan_table() { return {&vlans, 1}; }

Family vlan_family()
{
    const std::string vid_ranges = "VIDs from 0 to 4095 such as 10-20,30";
    const Argument vids = required("VID", vid_ranges, vid_list());
    const Argument lists = several(required("VID", vid_ranges, vid_list()));
    const std::string ports = "ports such as 0,8, or all, or none";
    const Argument members = several(
        optional("PORTS", "member " + ports + "; behind the word untagged, those that send without a tag",
                 word_or_ports({"ports", "untagged"}), Json::array()));
    const Argument untagged = optional("--untagged", "the same as the word untagged: " + ports, port_set());
    Family family{"vlan", "VLANs: their ports, default tags, modes and egress translation"};
    family.add("vlan show", "Show which VLANs exist, and their ports", show,
               several(optional("VID", vid_ranges, vid_list())));
    family.add("vlan create", "Create VLANs", create, lists);
    family.add_asking("vlan destroy", "Destroy VLANs: their ports are forgotten", destroy, lists);
    family.add_asking("vlan destroy-all", "Destroy all VLANs", destroy_all);
    family.add("vlan add", "Add ports to VLANs; ports that a VLAN has keep what they have", add, vids,
               members, untagged);
    family.add("vlan set", "Make VLANs exactly these ports; other ports leave them", set, vids, members,
               untagged);
    family.add("vlan remove", "Remove ports from VLANs", remove, vids,
               several(required("PORTS", ports, word_or_ports({"ports"}))));
    family.add_asking(
        "vlan init", "Reset everything about VLANs: none is left, and modes, PVIDs and translations are lost",
        initialise);
    add_vlan_settings(family);
    return family;
}

} // namespace eswctl
