// SPDX-License-Identifier: LGPL-2.1-or-later
// Rule sets in files: what `cfp show --json` prints, saved, edited and restored.
#include <algorithm>
#include <cstring>
#include <map>

#include <fmt/format.h>

#include "eswctl/cfp.h"
#include "eswctl/json_file.h"
#include "eswctl/notation.h"
#include "eswctl/output.h"

namespace eswctl {
namespace {

constexpr uint32_t slots = 64;
constexpr size_t udf_count = 10;

const char *this_class() { return is_class_a() ? "A" : "B"; }

std::string count_rules(size_t count) { return fmt::format("{} rule{}", count, count == 1 ? "" : "s"); }

// Says which part of the input it was that was refused.
void within(const std::string &part, const std::function<void()> &call)
{
    try {
        call();
    } catch (const Refused &refused) {
        throw Refused{fmt::format("{}: {}", part, refused.message)};
    }
}

// All that the switch has, or shall have: checked before any of it is written.
struct Contents {
    std::map<uint32_t, eth_cfp_rule_t> rules;
    eth_cfp_udf_t udf;
    uint32_t ports;
};

Contents read_contents()
{
    Contents contents{};
    Progress progress("reading rules", slots);
    for (uint32_t slot = 0; slot < slots; ++slot) {
        const eth_cfp_rule_t rule = read_rule(slot);
        if (!describes_free_slot(rule))
            contents.rules.emplace(slot, rule);
        progress.advance_to(slot + 1);
    }
    check(eth_cfp_udf_get(&contents.udf), "read the UDF selectors");
    for (const uint32_t port : all_ports) {
        uint32_t enabled = 0;
        check(eth_cfp_enable_get(port, &enabled), "read the ports' state");
        contents.ports |= (enabled != 0 ? 1U : 0U) << port;
    }
    return contents;
}

void check_document(const Json &document)
{
    const std::vector<std::string> members = {"class", "ports", "udfs", "rules"};
    if (!document.is_object())
        throw Refused{"an object is needed; see eswctl(1), cfp restore"};
    for (const auto &[name, value] : document.items()) {
        if (std::ranges::find(members, name) == members.end())
            throw Refused{
                fmt::format("'{}' is not a member; use {}", excerpt(name), fmt::join(members, ", "))};
    }
    if (const Json other = document.value("class", Json(this_class())); other != this_class())
        throw Refused{fmt::format("class: its rules are for class {}, and this switch is of class {}",
                                  excerpt_of(other), this_class())};
}

const Json &list_in(const Json &document, const std::string &name, size_t most)
{
    static const Json missing;
    const Json &list = document.contains(name) ? document[name] : missing;
    if (!list.is_array() || list.size() > most)
        throw Refused{
            fmt::format("{}: {} is not accepted; use a list of at most {}", name, excerpt_of(list), most)};
    return list;
}

void add_rules(Contents &contents, const Json &rules)
{
    for (size_t i = 0; i < rules.size(); ++i) {
        const Json slot = rules[i].is_object() ? rules[i].value("slot", Json()) : Json();
        if (!slot.is_number_unsigned() || slot >= slots)
            throw Refused{fmt::format("rules[{}]: each rule needs a slot from 0 to {}", i, slots - 1)};
        eth_cfp_rule_t rule = fresh_rule();
        within(fmt::format("rules[{}], slot {}", i, slot.dump()), [&] {
            change_rule(rule, rules[i]);
            if (describes_free_slot(rule))
                throw Refused{"the rule leaves its slot free; set bit 0 or 1 of the first word of data"};
            if (!contents.rules.emplace(slot.get<uint32_t>(), rule).second)
                throw Refused{"the slot is there twice"};
        });
    }
}

// What a document does not name stays.
Contents contents_of(const Json &document, const Contents &present)
{
    check_document(document);
    Contents contents{{}, present.udf, present.ports};
    add_rules(contents, list_in(document, "rules", slots));
    if (document.contains("udfs"))
        change_udfs(contents.udf, list_in(document, "udfs", udf_count));
    if (document.contains("ports")) {
        const Json &ports = list_in(document, "ports", all_ports.size());
        for (const Json &port : ports) {
            if (any_port().parse(port.dump()).is_null())
                throw Refused{
                    fmt::format("port {} is not accepted; use {}", excerpt_of(port), any_port().accepted)};
        }
        contents.ports = to_port_set(ports);
    }
    return contents;
}

// The slots whose rule is another than it was, or none any more.
std::vector<uint32_t> changed_slots(const Contents &from, const Contents &to)
{
    std::vector<uint32_t> changed;
    for (uint32_t slot = 0; slot < slots; ++slot) {
        const auto before = from.rules.find(slot);
        const auto after = to.rules.find(slot);
        const bool used = before != from.rules.end();
        if (used != (after != to.rules.end()) ||
            (used && memcmp(&before->second, &after->second, sizeof before->second) != 0))
            changed.push_back(slot);
    }
    return changed;
}

void write_contents(const Contents &contents, const std::vector<uint32_t> &changed, const Contents &present)
{
    Progress progress("restoring rules", changed.size());
    size_t count = 0;
    do_each(changed, "slot", [&](uint32_t slot) {
        const auto rule = contents.rules.find(slot);
        if (rule == contents.rules.end())
            free_slot(slot);
        else
            check(eth_cfp_rule_set(static_cast<int32_t>(slot), rule->second),
                  fmt::format("write slot {}", slot));
        progress.advance_to(++count);
    });
    if (memcmp(&contents.udf, &present.udf, sizeof present.udf) != 0)
        check(eth_cfp_udf_set(contents.udf), "write the UDF selectors");
    for (const uint32_t port : all_ports) {
        if (((contents.ports ^ present.ports) >> port & 1) != 0)
            check(eth_cfp_enable_set(port, (contents.ports >> port & 1) != 0),
                  "switch the port's field processor");
    }
}

} // namespace

Json rule_document(Json rules) { return {{"class", this_class()}, {"rules", std::move(rules)}}; }

Json rule_row(uint32_t slot, const eth_cfp_rule_t &rule)
{
    Json row = {{"slot", slot}};
    row.update(rule_to_json(rule));
    return row;
}

Json field_processor()
{
    const Contents contents = read_contents();
    Json rules = Json::array();
    for (const auto &[slot, rule] : contents.rules)
        rules.push_back(rule_row(slot, rule));
    return {{"class", this_class()},
            {"ports", from_port_set(contents.ports)},
            {"udfs", udfs_to_json(contents.udf)},
            {"rules", std::move(rules)}};
}

Json change_rule_by_file(eth_cfp_rule_t &rule, const std::string &path)
{
    const Json document = read_json(path);
    Json rounded;
    within(fmt::format("cannot use {}", name_file(path)), [&] {
        if (!document.is_object() || !document.contains("rules")) {
            rounded = change_rule(rule, document);
            return;
        }
        check_document(document);
        const Json &rules = list_in(document, "rules", slots);
        if (rules.size() != 1)
            throw Refused{fmt::format("it holds {}, and one is needed", count_rules(rules.size()))};
        rounded = change_rule(rule, rules[0]);
    });
    return rounded;
}

Report save_rules(const Arguments &arguments)
{
    const auto path = arguments["FILE"].get<std::string>();
    Json document = field_processor();
    const size_t count = document["rules"].size();
    return write_document(
        path, std::move(document),
        done(fmt::format("{} saved in {}", count_rules(count), path), {{"file", path}, {"rules", count}}));
}

Report restore_rules(const Arguments &arguments)
{
    const auto path = arguments["FILE"].get<std::string>();
    const Json document = read_json(path);
    const Contents present = read_contents();
    Contents wanted;
    within(fmt::format("cannot use {}", name_file(path)), [&] { wanted = contents_of(document, present); });
    const std::vector<uint32_t> changed = changed_slots(present, wanted);
    write_contents(wanted, changed, present);
    std::string sentence =
        fmt::format("{} restored from {}", count_rules(wanted.rules.size()), name_file(path));
    if (!changed.empty())
        sentence += ", which changed " + name_each("slot", changed);
    return done(sentence, {{"file", path}, {"rules", wanted.rules.size()}, {"changed", changed}});
}

} // namespace eswctl
