// SPDX-License-Identifier: LGPL-2.1-or-later
// cfp: the field processor's rules.
#include "eswctl/cfp.h"

#include <fmt/format.h>

#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

constexpr int32_t automatic = -1;

const Meanings rule_file = {
    {ETH_E_FAIL, "/dev/shm/cfp_rule.cfg cannot be read or written", "/dev/shm/cfp_rule.cfg"}};

Kind any_slot()
{
    Kind kind = number(0, last_slot);
    kind.source = "cfp";
    return kind;
}

Kind slot_or_auto()
{
    return {fmt::format("a slot from 0 to {}, or auto", last_slot),
            [](const std::string &text) -> Json {
                return text == "auto" ? Json(automatic) : any_slot().parse(text);
            },
            "VALUE",
            {},
            "cfp"};
}

// The words of the rules, field by field: all in a row would be too long for any terminal.
Json raw_rows(const Json &rules)
{
    Json rows = Json::array();
    for (const Json &rule : rules) {
        for (const auto &[name, value] : rule.items()) {
            if (value.is_array())
                rows.push_back({{"slot", rule["slot"]}, {"field", name}, {"words", value}});
        }
    }
    return rows;
}

Json used_slot(uint32_t slot)
{
    const eth_cfp_rule_t rule = read_rule(slot);
    if (describes_free_slot(rule))
        return rule_document(Json::array());
    return rule_document({rule_row(slot, rule)});
}

Report show(const Arguments &arguments)
{
    const Json &slot = arguments["SLOT"];
    Report report;
    report.value = slot.is_null() ? field_processor() : used_slot(slot.get<uint32_t>());
    const std::string when_empty = slot.is_null() ? "no rules" : fmt::format("slot {} is free", slot.dump());
    if (slot.is_null())
        report.sections.push_back({"", {{"ports", "ports with CFP"}}});
    if (!arguments["--raw"].get<bool>()) {
        report.sections.push_back({"rules", rule_columns(), when_empty});
        return report;
    }
    report.value["words"] = raw_rows(report.value["rules"]);
    report.value.erase("rules");
    report.sections.push_back(
        {"words", {{"slot", "slot"}, {"field", "field"}, {"words", "words"}}, when_empty});
    return report;
}

// A line for each value that the switch rounds.
std::string told(const Json &rounded)
{
    const auto bare = [](const Json &value) {
        return value.is_string() ? value.get<std::string>() : value.dump();
    };
    std::string lines;
    for (const Json &row : rounded)
        lines += fmt::format("\n{}: asked {}, switch uses {}", bare(row["member"]), bare(row["asked"]),
                             bare(row["used"]));
    return lines;
}

Report write_rule(int32_t slot, const eth_cfp_rule_t &rule)
{
    const std::string what = slot == automatic ? "write the rule" : fmt::format("write slot {}", slot);
    HeldBack messages; // of the file below
    const int32_t written = eth_cfp_rule_set(slot, rule);
    const std::string closed = slot == automatic ? why_closed("/dev/shm/cfp_last_idx.cfg") : "";
    const std::string held = messages.release();
    tell(closed.empty() ? held
                        : fmt::format("eswctl: each search for a free slot begins at 0: {}\n", closed));
    check(written, what, {{ETH_E_FULL, "all slots are in use"}});
    return done(fmt::format("rule written to slot {}", written),
                rule_document({rule_row(static_cast<uint32_t>(written), rule)}));
}

// A rule to begin with: the slot's own, where it has one.
eth_cfp_rule_t kept_rule(int32_t slot)
{
    if (slot == automatic)
        throw UsageError{"--keep needs a slot; use a number from 0 to 63"};
    const eth_cfp_rule_t rule = read_rule(static_cast<uint32_t>(slot));
    return describes_free_slot(rule) ? fresh_rule() : rule;
}

Report set(const Arguments &arguments)
{
    const auto slot = arguments["SLOT"].get<int32_t>();
    eth_cfp_rule_t rule = arguments["--keep"].get<bool>() ? kept_rule(slot) : fresh_rule();
    Json rounded = Json::array();
    if (!arguments["--from"].is_null())
        rounded = change_rule_by_file(rule, arguments["--from"]);
    for (const Json &row : change_rule_by_options(rule, arguments))
        rounded.push_back(row);
    if (describes_free_slot(rule))
        throw UsageError{"such a rule leaves the slot free; set bit 0 or 1 of the first word of --data"};
    Report report = write_rule(slot, rule);
    report.sentence += told(rounded);
    report.value["rounded"] = std::move(rounded);
    return report;
}

Report remove(const Arguments &arguments)
{
    const auto slot = arguments["SLOT"].get<uint32_t>();
    if (describes_free_slot(read_rule(slot)))
        throw Refused{fmt::format("slot {} is free", slot)};
    free_slot(slot);
    return done(fmt::format("slot {} freed", slot), {{"slot", slot}, {"used", false}});
}

Report clear(const Arguments &)
{
    check(eth_cfp_rule_clear(), "clear the rules");
    return done("all rules deleted", {{"rules", Json::array()}});
}

Report initialise(const Arguments &)
{
    check(eth_cfp_init(), "initialise the field processor");
    Json state = field_processor();
    if (const Json &rules = state["rules"]; !rules.empty() && !withholds_writes()) // it ignores its failures
        throw Refused{fmt::format("cannot initialise the field processor: slot {} still holds a rule",
                                  rules[0]["slot"].dump())};
    return done("field processor initialised", std::move(state));
}

Report park(const Arguments &arguments)
{
    if (arguments["SLOT"].is_null()) {
        eth_cfp_rule_t parked;
        check(eth_cfp_rule_load(&parked), "read the parked rule", rule_file);
        Report report{rule_document(Json::array()), {{"rules", rule_columns(), "no rule is parked"}}};
        if (!describes_free_slot(parked))
            report.value["rules"].push_back(rule_to_json(parked));
        return report;
    }
    const auto slot = arguments["SLOT"].get<uint32_t>();
    const eth_cfp_rule_t rule = read_rule(slot);
    if (describes_free_slot(rule))
        throw Refused{fmt::format("slot {} is free", slot)};
    check(eth_cfp_rule_store(&rule), "park the rule", rule_file);
    return done(fmt::format("rule of slot {} parked", slot), rule_document({rule_to_json(rule)}));
}

Report unpark(const Arguments &arguments)
{
    eth_cfp_rule_t rule;
    check(eth_cfp_rule_load(&rule), "read the parked rule", rule_file);
    if (describes_free_slot(rule))
        throw Refused{"no rule is parked"};
    return write_rule(arguments["SLOT"].get<int32_t>(), rule);
}

template <bool on>
Report enable(const Arguments &arguments)
{
    return set_ports(arguments, fmt::format("CFP {}", on ? "enabled" : "disabled"), [](uint32_t port) {
        check(eth_cfp_enable_set(port, on), fmt::format("switch the field processor of port {}", port));
        return Json{{"enabled", on}};
    });
}

} // namespace

Family cfp_family()
{
    const Argument one_slot = required("SLOT", "slot, 0 to 63", any_slot());
    const Argument some_slot =
        required("SLOT", "slot, 0 to 63, or auto for the next free one", slot_or_auto());
    const Argument maybe_slot = optional("SLOT", "slot, 0 to 63", any_slot());
    const Argument ports = ports_to_switch(any_ports());
    const Argument file = required("FILE", "JSON file", file_name());
    Family family{"cfp", "Field processor: rules that match frames and act on them"};
    family.add("cfp show", "Show the rule of one slot, or of all that are used", show, maybe_slot,
               flag("--raw", "the words in place of what they mean"));
    Command &set_rule = family.add(
        "cfp set", "Write a rule", set, some_slot,
        optional("--from", "JSON file with one rule; options change it", file_name()),
        flag("--keep", "begin with the rule that the slot holds, or with a fresh one where it is free"));
    std::ranges::move(rule_options(), std::back_inserter(set_rule.arguments));
    family.add("cfp del", "Delete the rule of a slot", remove, one_slot);
    family.add_asking("cfp clear", "Delete all rules", clear);
    family.add_asking("cfp init", "Delete all rules and set the default UDF layout", initialise);
    family.add("cfp enable", "Apply the rules to ports", enable<true>, ports);
    family.add("cfp disable", "Apply the rules to ports no longer", enable<false>, ports);
    family.add("cfp park", "Park a slot's rule in the rule file, or show the parked one", park, maybe_slot);
    family.add("cfp unpark", "Write the parked rule to a slot", unpark, some_slot);
    family.add("cfp save", "Save rules, UDF selectors and enabled ports in a file", save_rules, file);
    family.add_asking("cfp restore",
                      "Make rules, UDF selectors and enabled ports a file's, changing only what differs",
                      restore_rules, file);
    add_udf_commands(family);
    return family;
}

} // namespace eswctl
