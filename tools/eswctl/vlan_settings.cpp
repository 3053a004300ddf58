// SPDX-License-Identifier: LGPL-2.1-or-later
// vlan: default tags, modes and egress translation.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t last_mode = 6;
constexpr uint32_t last_index = 255;

// ---- Settings

constexpr Instance each_mode[] = {{"0", 0}, {"1", 1}, {"2", 2}, {"3", 3}, {"5", 5}, {"6", 6}};
constexpr Instance mode_of_translation[] = {{"4", 4}};

// The library knows all frames (3) or none (0).
Json read_learning(uint32_t)
{
    uint32_t field = 0;
    eth_vlan_learning_mode_get(&field);
    return field == 0 || field == 3 ? Json(field == 3) : Json(fmt::format("code {}, unknown", field));
}

constexpr Setting pvid_setting =
    setting("vlan.port{}.pvid", "port {}: PVID", each_port, "vlan pvid {instance} {value}",
            accepted::integer<0, 4095>, by_value<eth_port_untagged_vlan_get, eth_port_untagged_vlan_set>);
constexpr Setting priority_setting = setting(
    "vlan.port{}.priority", "port {}: default priority", each_port, "vlan priority {instance} {value}",
    accepted::integer<0, 7>, by_value<eth_port_untagged_priority_get, eth_port_untagged_priority_set>);
constexpr Setting mode_setting =
    setting("vlan.modes.mode{}", "VLAN mode {}", each_mode, "vlan mode {instance} {value}", accepted::flag,
            by_flag<eth_vlan_mode_get, eth_vlan_mode_set>);
constexpr Setting mode_4_setting =
    setting("vlan.modes.mode{}", "VLAN mode {}", mode_of_translation, "vlan mode {instance} {value}",
            accepted::flag, by_flag<eth_vlan_mode_get, eth_vlan_mode_set>)
        .with(&Setting::devices, Devices::translating);
constexpr Setting learning_setting =
    setting("vlan.learning", "VLAN learning", once, "vlan learning {value}", accepted::flag,
            by(read_learning, write_flag<eth_vlan_learning_mode_set>, "eth_vlan_learning_mode_set"));
constexpr Setting drop_setting =
    setting("vlan.drop_miss", "drop on table miss", once, "vlan drop-miss {value}", accepted::flag,
            by_flag<eth_vlan_drop_vtbl_miss_get, eth_vlan_drop_vtbl_miss_set>);
constexpr Setting bypass_setting =
    setting("vlan.bypass_crc", "CRC bypass", once, "vlan bypass-crc {value}", accepted::flag,
            by_flag<eth_vlan_bypass_CRC_get, eth_vlan_bypass_CRC_set>);
constexpr Setting settings[] = {pvid_setting,     priority_setting, mode_setting,  mode_4_setting,
                                learning_setting, drop_setting,     bypass_setting};

// ---- Commands

Json default_tag(uint32_t port)
{
    return {{"pvid", pvid_setting.read(port)}, {"priority", priority_setting.read(port)}};
}

Report change_tag(const Arguments &arguments, const char *argument, const Setting &setting, const char *what)
{
    const Json &value = arguments[argument];
    if (value.is_null())
        return port_table(arguments, {{"pvid", "PVID"}, {"priority", "priority"}}, default_tag);
    return set_ports(arguments, fmt::format("{} {}", what, value.dump()), [&](uint32_t port) {
        change(setting, port, value);
        return default_tag(port);
    });
}

Report pvid(const Arguments &a) { return change_tag(a, "VID", pvid_setting, "PVID"); }
Report priority(const Arguments &a)
{
    return change_tag(a, "PRIORITY", priority_setting, "default priority");
}

Report mode(const Arguments &arguments)
{
    const Json &given = arguments["MODE"];
    const Json &state = arguments["STATE"];
    if (!state.is_null())
        change(mode_setting, given.get<uint32_t>(), state);
    Json rows = Json::array();
    for (uint32_t number = 0; number <= last_mode; ++number) {
        if (given.is_null() || given == number)
            rows.push_back({{"mode", number}, {"enabled", mode_setting.read(number)}});
    }
    Report report = table("modes", {{"mode", "mode"}, {"enabled", "enabled"}}, std::move(rows));
    return state.is_null()
               ? report
               : changed(fmt::format("VLAN mode {} {}", given.dump(), on_or_off(state.get<bool>())), report);
}

// What is on or off for the whole switch.
struct Switch {
    const char *words;
    const char *summary;
    const char *key;
    const Setting &setting;
};
constexpr Switch switches[] = {
    {"vlan learning", "Show or set learning: on is learning mode 3, off is 0", "learning", learning_setting},
    {"vlan drop-miss", "Show or set whether frames of VIDs that the VLAN table does not know are dropped",
     "drop_miss", drop_setting},
    {"vlan bypass-crc", "Show or set the CRC bypass", "bypass_crc", bypass_setting},
};

Report turn(const Switch &one, const Arguments &arguments)
{
    const Json &state = arguments["STATE"];
    if (!state.is_null())
        change(one.setting, 0, state);
    Report report = record({{one.key, one.setting.words}}, {{one.key, shown(one.setting)}});
    return state.is_null() ? report
                           : changed(fmt::format("{} {}", one.setting.words, in_words(state)), report);
}

// ---- Egress translation

// An entry is two registers: a command with index and port, and the data that it moves.
constexpr uint8_t translation_page = 0x34;
constexpr uint8_t command_offset = 0x40;
constexpr uint8_t data_offset = 0x44;
constexpr uint32_t write_entry = 0x3;
constexpr uint32_t busy = 0x1;
constexpr int most_reads = 10000; // until an entry is written

Json translation(uint32_t port, uint32_t index)
{
    uint32_t code = 0;
    uint16_t vid = 0;
    check(eth_vlan_evt_get(port, static_cast<uint8_t>(index), &code, &vid), "read the translation");
    return {{"port", port}, {"index", index}, {"vid", vid}, {"code", code}};
}

// The data register still holds what was read: a translation to VID 0 has nothing but a mark there.
bool is_in_use() { return esw_reg_read32(translation_page, data_offset, 32) != 0; }

// The library's call would leave the mark behind.
int32_t remove_translation(const Json &entry)
{
    const uint32_t command =
        entry["index"].get<uint32_t>() << 8 | entry["port"].get<uint32_t>() << 4 | write_entry;
    esw_reg_write(translation_page, data_offset, 32, 0);
    esw_reg_write(translation_page, command_offset, 32, command);
    for (int reads = 0; reads < most_reads; ++reads) {
        if ((esw_reg_read32(translation_page, command_offset, 32) & busy) == 0)
            return ETH_E_NONE;
    }
    return ETH_E_TIMEOUT;
}

Json translations_in_use(const std::vector<uint32_t> &ports)
{
    Progress progress("reading translations", ports.size() * (last_index + 1));
    Json rows = Json::array();
    size_t seen = 0;
    for (const uint32_t port : ports) {
        for (uint32_t index = 0; index <= last_index; ++index) {
            Json row = translation(port, index);
            if (is_in_use())
                rows.push_back(std::move(row));
            progress.advance_to(++seen);
        }
    }
    return rows;
}

constexpr const char *translation_key[] = {"port", "index"};
constexpr Setting translations_setting =
    setting(
        "vlan.translations", "translation of port {port}, index {index}", once,
        "first: vlan translate clear --yes\nvlan translate add {port} {index} {vid} --code {code}",
        [](uint32_t) {
            return record_form({{"port", numbers_form({0, 1, 8})},
                                {"index", integer_form(0, last_index)},
                                {"vid", integer_form(0, 4095)},
                                {"code", integer_form(0, 3)}});
        },
        by([](uint32_t) { return translations_in_use(all_ports); },
           [](uint32_t, const Json &entry) {
               return eth_vlan_evt_add(entry["port"], entry["index"], entry["code"], entry["vid"]);
           },
           "eth_vlan_evt_add"))
        .with(&Setting::devices, Devices::translating)
        .with(&Setting::key, translation_key)
        .with(&Setting::remove, remove_translation);

// An index that is asked for is shown even where it is not in use.
Report show_translations(const Arguments &arguments)
{
    const Json &index = arguments["INDEX"];
    const std::vector<uint32_t> ports = ports_in(arguments["PORT"]);
    Json rows = Json::array();
    if (index.is_null())
        rows = translations_in_use(ports);
    for (const uint32_t port : index.is_null() ? std::vector<uint32_t>() : ports)
        rows.push_back(translation(port, index.get<uint32_t>()));
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

Report del_translation(const Arguments &arguments)
{
    check(remove_translation({{"port", arguments["PORT"]}, {"index", arguments["INDEX"]}}),
          "remove the translation");
    return done(
        fmt::format("port {}: translation {} removed", arguments["PORT"].dump(), arguments["INDEX"].dump()),
        translation(arguments["PORT"], arguments["INDEX"]));
}

Report clear_translations(const Arguments &)
{
    check(eth_vlan_evt_clear(), "clear the translations");
    return done("translations cleared", {{"translations", Json::array()}});
}

} // namespace

Settings vlan_settings() { return settings; }
Settings translation_settings() { return {&translations_setting, 1}; }

void add_vlan_settings(Family &family)
{
    Argument ports = ports_to_show(any_ports());
    ports.repeated = false; // a value may follow
    const Argument state = optional("STATE", "on or off", on_off());
    family.add("vlan pvid", "Show or set the VID that untagged frames get on ports", pvid, ports,
               optional("VID", "PVID, 0 to 4095", vid()));
    family.add("vlan priority", "Show or set the priority that untagged frames get on ports", priority, ports,
               optional("PRIORITY", "priority, 0 to 7", number(0, 7)));
    family.add("vlan mode", "Show or set the numbered VLAN modes", mode,
               optional("MODE", "mode, 0 to 6", number(0, last_mode)), state);
    for (const Switch &one : switches)
        family.add(
            one.words, one.summary, [&one](const Arguments &a) { return turn(one, a); }, state);
    const Argument out = required("PORT", "egress port: 0, 1 or 8", any_port());
    const Argument index = required("INDEX", "index of the entry, 0 to 255", number(0, last_index));
    family.group("vlan translate", "Egress VLAN translation");
    family.add("vlan translate show", "Show the entries in use, or single ones", show_translations, ports,
               optional(index.name, index.help, index.kind));
    family.add("vlan translate add", "Write an entry", add_translation, out, index,
               required("VID", "VID of the entry, 0 to 4095", vid()),
               optional("--code", "code of the entry, 0 to 3 (default 0)", number(0, 3), 0));
    family.add("vlan translate del", "Remove an entry, so that no bit of it is left", del_translation, out,
               index);
    family.add_asking("vlan translate clear", "Clear the whole translation table", clear_translations);
}

} // namespace eswctl
