// SPDX-License-Identifier: LGPL-2.1-or-later
// vlan: default tags, modes and egress translation.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/output.h"

namespace eswctl {
namespace {

constexpr uint32_t last_mode = 6;
constexpr unsigned last_index = 255;

// ---- Default tags

Json default_tag(uint32_t port)
{
    uint16_t pvid = 0;
    uint32_t priority = 0;
    check(eth_port_untagged_vlan_get(port, &pvid), "read the PVID");
    check(eth_port_untagged_priority_get(port, &priority), "read the default priority");
    return {{"pvid", pvid}, {"priority", priority}};
}

Report default_tags(const Arguments &arguments)
{
    return port_table(arguments, {{"pvid", "PVID"}, {"priority", "priority"}}, default_tag);
}

Report pvid(const Arguments &arguments)
{
    const Json &vid = arguments["VID"];
    if (vid.is_null())
        return default_tags(arguments);
    return set_ports(arguments, fmt::format("PVID {}", vid.dump()), [&](uint32_t port) {
        check(eth_port_untagged_vlan_set(port, vid.get<uint16_t>()),
              fmt::format("set the PVID of port {}", port));
        return default_tag(port);
    });
}

Report priority(const Arguments &arguments)
{
    const Json &priority = arguments["PRIORITY"];
    if (priority.is_null())
        return default_tags(arguments);
    return set_ports(arguments, fmt::format("default priority {}", priority.dump()), [&](uint32_t port) {
        check(eth_port_untagged_priority_set(port, priority.get<int32_t>()),
              fmt::format("set the default priority of port {}", port));
        return default_tag(port);
    });
}

// ---- Modes and switches

Report mode(const Arguments &arguments)
{
    const Json &given = arguments["MODE"];
    const Json &state = arguments["STATE"];
    if (!state.is_null())
        check(eth_vlan_mode_set(given.get<uint32_t>(), state.get<bool>()),
              fmt::format("switch VLAN mode {}", given.dump()));
    Json rows = Json::array();
    for (uint32_t number = 0; number <= last_mode; ++number) {
        uint32_t enabled = 0;
        if (!given.is_null() && given != number)
            continue;
        check(eth_vlan_mode_get(number, &enabled), "read the VLAN mode");
        rows.push_back({{"mode", number}, {"enabled", enabled != 0}});
    }
    Report report = table("modes", {{"mode", "mode"}, {"enabled", "enabled"}}, std::move(rows));
    return state.is_null()
               ? report
               : changed(fmt::format("VLAN mode {} {}", given.dump(), on_or_off(state.get<bool>())), report);
}

// A setting that is on or off for the whole switch.
struct Setting {
    const char *words;
    const char *summary;
    const char *key;
    const char *title;
    int32_t (*set)(int32_t);
    int32_t (*get)(uint32_t *);
};
constexpr Setting settings[] = {
    {"vlan learning", "Show or set learning: on is learning mode 3, off is 0", "learning", "VLAN learning",
     eth_vlan_learning_mode_set, eth_vlan_learning_mode_get},
    {"vlan drop-miss", "Show or set whether frames of VIDs that the VLAN table does not know are dropped",
     "drop_miss", "drop on table miss", eth_vlan_drop_vtbl_miss_set, eth_vlan_drop_vtbl_miss_get},
    {"vlan bypass-crc", "Show or set the CRC bypass", "bypass_crc", "CRC bypass", eth_vlan_bypass_CRC_set,
     eth_vlan_bypass_CRC_get},
};

Report change(const Setting &setting, const Arguments &arguments)
{
    const Json &state = arguments["STATE"];
    uint32_t value = 0;
    if (!state.is_null())
        check(setting.set(state.get<bool>()), fmt::format("switch {}", setting.title));
    check(setting.get(&value), fmt::format("read the state of {}", setting.title));
    Report report = record({{setting.key, setting.title}}, {{setting.key, value != 0}});
    return state.is_null()
               ? report
               : changed(fmt::format("{} {}", setting.title, on_or_off(state.get<bool>())), report);
}

// ---- Egress translation

Json translation(uint32_t port, uint8_t index)
{
    uint32_t code = 0;
    uint16_t vid = 0;
    check(eth_vlan_evt_get(port, index, &code, &vid), "read the translation");
    return {{"port", port}, {"index", index}, {"vid", vid}, {"code", code}};
}

// An index that is asked for is shown even where it is not in use.
Report show_translations(const Arguments &arguments)
{
    const Json &index = arguments["INDEX"];
    const unsigned first = index.is_null() ? 0 : index.get<unsigned>();
    const unsigned last = index.is_null() ? last_index : first;
    const std::vector<uint32_t> ports = ports_in(arguments["PORT"]);
    Progress progress("reading translations", ports.size() * (last - first + 1));
    Json rows = Json::array();
    size_t seen = 0;
    for (const uint32_t port : ports) {
        for (unsigned each = first; each <= last; ++each) {
            Json row = translation(port, static_cast<uint8_t>(each));
            if (!index.is_null() || row["vid"] != 0 || row["code"] != 0)
                rows.push_back(std::move(row));
            progress.advance_to(++seen);
        }
    }
    return table("translations", {{"port", "port"}, {"index", "index"}, {"vid", "VID"}, {"code", "code"}},
                 std::move(rows), "no translations");
}

// Read back: a chip without egress translation takes an entry and forgets it.
Report add_translation(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto index = arguments["INDEX"].get<uint8_t>();
    const Json &code = arguments["--code"];
    const Json &vid = arguments["VID"];
    check(eth_vlan_evt_add(port, index, code.get<uint8_t>(), vid.get<uint16_t>()), "add the translation");
    Json row = translation(port, index);
    if ((row["vid"] != vid || row["code"] != code) && !withholds_writes())
        throw Refused{"cannot add the translation: the switch did not keep it; not every chip has egress "
                      "translation"};
    return done(
        fmt::format("port {}: translation {} to VID {}, code {}", port, index, vid.dump(), code.dump()),
        std::move(row));
}

Report clear_translations(const Arguments &)
{
    check(eth_vlan_evt_clear(), "clear the translations");
    return done("translations cleared", {{"translations", Json::array()}});
}

} // namespace

std::vector<Command> vlan_setting_commands()
{
    Argument ports = ports_to_show(any_ports());
    ports.repeated = false; // a value may follow
    const Argument state{"STATE", "on or off", on_off()};
    std::vector<Command> commands = {
        {"vlan pvid",
         "Show or set the VID that untagged frames get on ports",
         {ports, {"VID", "PVID, 0 to 4095", vid()}},
         pvid},
        {"vlan priority",
         "Show or set the priority that untagged frames get on ports",
         {ports, {"PRIORITY", "priority, 0 to 7", number(0, 7)}},
         priority},
        {"vlan mode",
         "Show or set the numbered VLAN modes",
         {{"MODE", "mode, 0 to 6", number(0, last_mode)}, state},
         mode},
    };
    for (const Setting &setting : settings)
        commands.push_back({setting.words, setting.summary, {state}, [&setting](const Arguments &arguments) {
                                return change(setting, arguments);
                            }});
    const Argument out{"PORT", "egress port: 0, 1 or 8", any_port()};
    const Argument index{"INDEX", "index of the entry, 0 to 255", number(0, last_index)};
    const Command translate[] = {
        {"vlan translate", "Egress VLAN translation", {}, {}},
        {"vlan translate show", "Show the entries in use, or single ones", {ports, index}, show_translations},
        {"vlan translate add",
         "Write an entry",
         {{out.name, out.help, out.kind, true},
          {index.name, index.help, index.kind, true},
          {"VID", "VID of the entry, 0 to 4095", vid(), true},
          {"--code", "code of the entry, 0 to 3 (default 0)", number(0, 3), false, false, 0}},
         add_translation},
        {"vlan translate clear", "Clear the whole translation table", {}, clear_translations, true},
    };
    commands.insert(commands.end(), std::begin(translate), std::end(translate));
    return commands;
}

} // namespace eswctl
