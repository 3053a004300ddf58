// SPDX-License-Identifier: LGPL-2.1-or-later
// arl: the address table.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

// Bit 7 of the search control register stays set while a walk runs.
constexpr uint8_t search_page = 0x05;
constexpr uint8_t search_offset = 0x50;
constexpr uint32_t search_runs = 0x80;

const std::vector<Column> columns = {{"vid", "VID"},
                                     {"mac", "MAC address"},
                                     {"ports", "ports"},
                                     {"static", "static"},
                                     {"traffic_class", "TC"}};

bool is_valid(const eth_l2_addr_t &entry) { return (entry.flags & ETH_L2_VALID) != 0; }
bool is_static(const eth_l2_addr_t &entry) { return (entry.flags & ETH_L2_STATIC) != 0; }
bool is_multicast(const eth_l2_addr_t &entry) { return (entry.mac[0] & 1) != 0; }

eth_l2_addr_t make_entry(const Mac &mac, uint16_t vid)
{
    eth_l2_addr_t entry;
    eth_l2_addr_t_init(&entry, mac.data(), vid);
    entry.flags = ETH_L2_VALID;
    return entry;
}

// A failed request reads as all ones: no VLAN and no port has such a number.
bool is_failed_read(const eth_l2_addr_t &entry) { return entry.vid == 0xFFFF || entry.port == 0x1FF; }

// The next two results; false at the end of the walk. A switch may end it by silence, too: unless the search
// still runs and has found nothing yet, a time-out is the end.
bool take_pair(eth_l2_addr_t (&pair)[2], bool is_first)
{
    const int32_t result = eth_l2_search_next(&pair[0], &pair[1]);
    if (result == ETH_E_TIMEOUT &&
        !(is_first && (esw_reg_read32(search_page, search_offset, 8) & search_runs) != 0))
        return false;
    check(result, "search the address table");
    check_requests();
    if (is_failed_read(pair[0]) || is_failed_read(pair[1]))
        throw Refused{"cannot search the address table: the switch does not answer"};
    return is_valid(pair[0]);
}

// Every entry, ordered by VLAN and address.
std::vector<eth_l2_addr_t> walk_addresses()
{
    Progress progress("addresses read");
    std::vector<eth_l2_addr_t> entries;
    eth_l2_addr_t pair[2] = {};
    check(eth_l2_search_start(), "start the search");
    while (take_pair(pair, entries.empty())) {
        std::ranges::copy_if(pair, std::back_inserter(entries), is_valid);
        progress.advance_to(entries.size());
    }
    std::ranges::sort(entries, {}, [](const eth_l2_addr_t &entry) {
        return std::pair(entry.vid, std::to_array(entry.mac));
    });
    return entries;
}

Json address_to_json(const eth_l2_addr_t &entry)
{
    return {{"vid", entry.vid},
            {"mac", from_mac(entry.mac)},
            {"ports", is_multicast(entry) ? from_port_set(entry.port) : Json::array({entry.port})},
            {"static", is_static(entry)},
            {"traffic_class", entry.tc}};
}

eth_l2_addr_t address_from_json(const Json &members)
{
    eth_l2_addr_t entry = make_entry(to_mac(members.at("mac")), members.at("vid"));
    const Json &ports = members.at("ports");
    if (!is_multicast(entry) && ports.size() != 1)
        throw Refused{fmt::format("{}: a unicast address is at one port", from_mac(entry.mac))};
    entry.port = is_multicast(entry) ? to_port_set(ports) : ports.at(0).get<uint32_t>();
    entry.tc = members.at("traffic_class");
    if (members.at("static").get<bool>())
        entry.flags |= ETH_L2_STATIC;
    return entry;
}

Json read_static_addresses(uint32_t)
{
    Json entries = Json::array();
    for (const eth_l2_addr_t &entry : walk_addresses()) {
        if (is_static(entry))
            entries.push_back(address_to_json(entry));
    }
    return entries;
}

Form address_form(uint32_t)
{
    return record_form({{"vid", integer_form(0, 4095)},
                        {"mac", mac_form()},
                        {"ports", ports_form()},
                        {"static", constant_form(true)},
                        {"traffic_class", integer_form(0, 7)}});
}

std::string two_ports_of_one(const Json &entry)
{
    const bool multicast = (to_mac(entry["mac"])[0] & 1) != 0;
    return multicast || entry["ports"].size() == 1 ? "" : "a unicast address is at one port";
}

int32_t write_address(uint32_t, const Json &entry)
{
    eth_l2_addr_t record = address_from_json(entry);
    return eth_l2_addr_add(&record);
}

constexpr const char *address_key[] = {"mac", "vid"};
constexpr Setting address_setting =
    setting("l2.static", "static address {mac}, VID {vid}", once,
            "first: arl flush --static --yes\narl add {mac} {vid} {ports} --static --tc {traffic_class}",
            address_form, by(read_static_addresses, write_address, "eth_l2_addr_add"))
        .with(&Setting::fault, two_ports_of_one)
        .with(&Setting::key, address_key)
        .with(&Setting::remove, [](const Json &entry) {
            return eth_l2_addr_delete(to_mac(entry["mac"]).data(), entry["vid"]);
        });

bool matches(const Json &wanted, const Json &value) { return wanted.is_null() || wanted == value; }

Report show(const Arguments &arguments)
{
    const bool static_only = arguments["--static"].get<bool>();
    const bool dynamic_only = arguments["--dynamic"].get<bool>();
    if (static_only && dynamic_only)
        throw UsageError{"--static and --dynamic exclude each other; use one of them"};
    const Json &port = arguments["--port"];
    Json rows = Json::array();
    for (const eth_l2_addr_t &entry : walk_addresses()) {
        Json row = address_to_json(entry);
        const Json &ports = row["ports"];
        const bool at_port = port.is_null() || std::ranges::find(ports, port) != ports.end();
        const bool of_kind = is_static(entry) ? !dynamic_only : !static_only;
        if (at_port && of_kind && matches(arguments["--vid"], entry.vid))
            rows.push_back(std::move(row));
    }
    return table("entries", columns, std::move(rows), "no addresses");
}

// -1: not in the table.
int32_t bin_of(const eth_l2_addr_t &entry)
{
    uint32_t found = 0;
    int32_t bin = 0;
    check(eth_arl_entry_bin_check(&entry, &entry, &found, &bin), "look the address up");
    return bin;
}

Report find(const Arguments &arguments)
{
    const Json &mac = arguments["MAC"];
    Json rows = Json::array();
    for (const eth_l2_addr_t &entry : walk_addresses()) {
        if (mac != from_mac(entry.mac) || !matches(arguments["VID"], entry.vid))
            continue;
        rows.push_back(address_to_json(entry));
        rows.back()["bin"] = bin_of(entry);
    }
    if (rows.empty())
        throw Refused{fmt::format("{} is not in the address table{}", mac.get<std::string>(),
                                  arguments["VID"].is_null() ? "" : " in VLAN " + arguments["VID"].dump())};
    std::vector<Column> with_bin = columns;
    with_bin.push_back({"bin", "bin"});
    return table("entries", std::move(with_bin), std::move(rows));
}

ptrdiff_t count_of(const eth_l2_addr_t &wanted)
{
    return std::ranges::count_if(walk_addresses(), [&](const eth_l2_addr_t &entry) {
        return entry.vid == wanted.vid && std::ranges::equal(entry.mac, wanted.mac);
    });
}

Report add(const Arguments &arguments)
{
    const Json &ports = arguments["PORTS"];
    if (!is_multicast(make_entry(to_mac(arguments["MAC"]), 0)) && ports.size() != 1)
        throw UsageError{"PORTS: a unicast address is at one port; use 0, 1 or 8"};
    eth_l2_addr_t entry = address_from_json({{"vid", arguments["VID"]},
                                             {"mac", arguments["MAC"]},
                                             {"ports", ports},
                                             {"static", arguments["--static"]},
                                             {"traffic_class", arguments["--tc"]}});
    const int32_t before = bin_of(entry);
    check(eth_l2_addr_add(&entry), "add the address",
          {{ETH_E_FULL, "all bins of its bucket hold static addresses"}});
    if (before > 0 && count_of(entry) > 1)
        throw Refused{
            fmt::format("{} is in the address table twice now: the library takes the first free bin, "
                        "before the bin that it was in; eswctl arl flush --vid {} --static removes both",
                        from_mac(entry.mac), entry.vid)};
    Json value = address_to_json(entry);
    value["added"] = before < 0;
    return done(
        fmt::format("{} {} VLAN {}", from_mac(entry.mac), before < 0 ? "added to" : "changed in", entry.vid),
        std::move(value));
}

// The library would remove another entry of a full bucket in place of one that is not there.
Report remove(const Arguments &arguments)
{
    const eth_l2_addr_t entry = make_entry(to_mac(arguments["MAC"]), arguments["VID"].get<uint16_t>());
    const std::string mac = from_mac(entry.mac);
    if (bin_of(entry) < 0)
        throw Refused{fmt::format("{} is not in the address table in VLAN {}", mac, entry.vid)};
    check(eth_l2_addr_delete(entry.mac, entry.vid), "delete the address");
    if (bin_of(entry) >= 0)
        throw Refused{
            fmt::format("{} is still in the address table: the library reaches no entry behind a free "
                        "bin; eswctl arl flush --vid {} --static removes it, and the others",
                        mac, entry.vid)};
    return done(fmt::format("{} deleted from VLAN {}", mac, entry.vid), {{"vid", entry.vid}, {"mac", mac}});
}

// The switch can't select the learned entries of all ports at once.
int32_t flush_learned()
{
    for (const uint32_t port : all_ports) {
        if (const int32_t result = eth_l2_addr_delete_by_port(0, port, 0); result != ETH_E_NONE)
            return result;
    }
    return ETH_E_NONE;
}

int32_t flush(const Json &port, const Json &vid, bool static_too)
{
    if (port.is_null() && vid.is_null())
        return static_too ? eth_l2_clear() : flush_learned();
    if (vid.is_null())
        return eth_l2_addr_delete_by_port(0, port.get<uint32_t>(), static_too);
    if (port.is_null())
        return eth_l2_addr_delete_by_vlan(vid.get<uint16_t>(), static_too);
    return eth_l2_addr_delete_by_vlan_port(vid.get<uint16_t>(), 0, port.get<uint32_t>(), static_too);
}

Report flush_table(const Arguments &arguments)
{
    const Json &port = arguments["--port"];
    const Json &vid = arguments["--vid"];
    const bool static_too = arguments["--static"].get<bool>();
    check(flush(port, vid, static_too), "flush the address table");
    const std::string where =
        (port.is_null() ? "" : " of port " + port.dump()) + (vid.is_null() ? "" : " in VLAN " + vid.dump());
    return done(fmt::format("{} addresses{} removed", static_too ? "all" : "dynamic", where),
                {{"port", port}, {"vid", vid}, {"static", static_too}});
}

Report bin_full(const Arguments &arguments)
{
    const Json &state = arguments["STATE"];
    if (!state.is_null())
        check(eth_arl_bin_full_fwd_set(state.get<bool>()), "switch bin-full forwarding");
    uint32_t count = 0;
    uint32_t forwarding = 0;
    check(eth_arl_bin_full_counter_get(&count), "read the bin-full counter");
    check(eth_arl_bin_full_fwd_get(&forwarding), "read bin-full forwarding");
    Report report =
        record({{"bin_full_count", "bin-full count"}, {"bin_full_forwarding", "bin-full forwarding"}},
               {{"bin_full_count", count}, {"bin_full_forwarding", (forwarding & 1) != 0}});
    return state.is_null()
               ? report
               : changed(fmt::format("bin-full forwarding {}", on_or_off(state.get<bool>())), report);
}

} // namespace

Settings address_settings() { return {&address_setting, 1}; }

Family arl_family()
{
    const Argument mac = required("MAC", "MAC address", mac_address());
    const Argument in_vlan = required("VID", "VLAN, 0 to 4095", vid());
    const Argument of_port = optional("--port", "only those of this port", any_port());
    const Argument of_vlan = optional("--vid", "only those of this VLAN", vid());
    Family family{"arl", "The address table: where the switch sends frames"};
    family.add("arl show", "Show the addresses in the table", show, of_port, of_vlan,
               flag("--static", "only static addresses"), flag("--dynamic", "only dynamic addresses"));
    family.add("arl add", "Add an address, or change it; in a full bucket it replaces a dynamic one", add,
               mac, in_vlan,
               required("PORTS", "0, 1 or 8; for a multicast address a set such as 0,8", port_set()),
               flag("--static", "the address is never replaced, and stays until it is deleted"),
               optional("--tc", "traffic class, 0 to 7 (default 0)", number(0, 7), 0));
    family.add("arl del", "Delete an address", remove, mac, in_vlan);
    family.add("arl find", "Show where an address is, in one VLAN or in all, and in which bin of its bucket",
               find, mac, optional("VID", "VLAN, 0 to 4095", vid()));
    family.add_asking("arl flush", "Remove the dynamic addresses, or with --static all of them", flush_table,
                      of_port, of_vlan, flag("--static", "static addresses too"));
    family.add("arl bin-full", "Show how often a bucket was full, and show or set bin-full forwarding",
               bin_full, optional("STATE", "on or off: bin-full forwarding", on_off()));
    return family;
}

} // namespace eswctl
