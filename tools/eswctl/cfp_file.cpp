// SPDX-License-Identifier: LGPL-2.1-or-later
// Rule sets in files: what `cfp show --json` prints, saved, edited and restored.
#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "eswctl/cfp.h"
#include "eswctl/json_file.h"
#include "eswctl/output.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t slots = 64;
constexpr size_t udf_count = 10;

const char *this_class() { return is_class_a() ? "A" : "B"; }

constexpr Setting ports_setting =
    setting("cfp.ports", "ports with the field processor", once, "cfp enable {in}\ncfp disable {out}",
            accepted::ports, by_ports<eth_cfp_enable_get, eth_cfp_enable_set>);

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
    std::vector<eth_cfp_rule_t> rules; // of all slots; a fresh one where the slot is free
    eth_cfp_udf_t udf;
    Json ports;
};

Contents read_contents()
{
    Contents contents{};
    Progress progress("reading rules", slots);
    for (uint32_t slot = 0; slot < slots; ++slot) {
        const eth_cfp_rule_t rule = read_rule(slot);
        contents.rules.push_back(describes_free_slot(rule) ? fresh_rule() : rule);
        progress.advance_to(slot + 1);
    }
    check(eth_cfp_udf_get(&contents.udf), "read the UDF selectors");
    contents.ports = ports_setting.read(0);
    return contents;
}

template <typename Record>
bool same(const Record &one, const Record &other)
{
    return memcmp(&one, &other, sizeof one) == 0;
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

void add_rules(std::vector<eth_cfp_rule_t> &rules, const Json &given)
{
    for (size_t i = 0; i < given.size(); ++i) {
        const Json slot = given[i].is_object() ? given[i].value("slot", Json()) : Json();
        if (!slot.is_number_unsigned() || slot >= slots)
            throw Refused{fmt::format("rules[{}]: each rule needs a slot from 0 to {}", i, slots - 1)};
        eth_cfp_rule_t &rule = rules[slot.get<size_t>()];
        within(fmt::format("rules[{}], slot {}", i, slot.dump()), [&] {
            if (!describes_free_slot(rule))
                throw Refused{"the slot is there twice"};
            change_rule(rule, given[i]);
            if (describes_free_slot(rule))
                throw Refused{"the rule leaves its slot free; set bit 0 or 1 of the first word of data"};
        });
    }
}

// What a document does not name stays.
Contents contents_of(const Json &document, const Contents &present)
{
    check_document(document);
    Contents contents{std::vector(slots, fresh_rule()), present.udf, present.ports};
    add_rules(contents.rules, list_in(document, "rules", slots));
    if (document.contains("udfs"))
        change_udfs(contents.udf, list_in(document, "udfs", udf_count));
    if (document.contains("ports")) {
        const Json &ports = list_in(document, "ports", all_ports.size());
        for (const Json &port : ports) {
            if (any_port().parse(port.dump()).is_null())
                throw Refused{
                    fmt::format("port {} is not accepted; use {}", excerpt_of(port), any_port().accepted)};
        }
        contents.ports = from_port_set(to_port_set(ports));
    }
    return contents;
}

void write_contents(const Contents &contents, const std::vector<uint32_t> &changed, const Contents &present)
{
    Progress progress("restoring rules", changed.size());
    size_t count = 0;
    do_each(changed, "slot", [&](uint32_t slot) {
        const eth_cfp_rule_t &rule = contents.rules[slot];
        if (describes_free_slot(rule))
            free_slot(slot);
        else
            check(eth_cfp_rule_set(static_cast<int32_t>(slot), rule), fmt::format("write slot {}", slot));
        progress.advance_to(++count);
    });
    if (!same(contents.udf, present.udf))
        check(eth_cfp_udf_set(contents.udf), "write the UDF selectors");
    if (contents.ports != present.ports)
        check(ports_setting.write(0, contents.ports), "switch the ports' field processor");
}

} // namespace

Settings cfp_settings() { return {&ports_setting, 1}; }

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
    for (uint32_t slot = 0; slot < slots; ++slot) {
        if (!describes_free_slot(contents.rules[slot]))
            rules.push_back(rule_row(slot, contents.rules[slot]));
    }
    return {{"class", this_class()},
            {"ports", contents.ports},
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
        path, {std::move(document)},
        done(fmt::format("{} saved in {}", count_rules(count), path), {{"file", path}, {"rules", count}}));
}

Report restore_rules(const Arguments &arguments)
{
    const auto path = arguments["FILE"].get<std::string>();
    const Json document = read_json(path);
    const Contents present = read_contents();
    Contents wanted;
    within(fmt::format("cannot use {}", name_file(path)), [&] { wanted = contents_of(document, present); });
    std::vector<uint32_t> changed;
    for (uint32_t slot = 0; slot < slots; ++slot) {
        if (!same(present.rules[slot], wanted.rules[slot]))
            changed.push_back(slot);
    }
    write_contents(wanted, changed, present);
    const size_t count = document["rules"].size();
    return done(fmt::format("{} restored from {}{}", count_rules(count), name_file(path),
                            changed.empty() ? "" : ", which changed " + name_each("slot", changed)),
                {{"file", path}, {"rules", count}, {"changed", changed}});
}

} // namespace eswctl
