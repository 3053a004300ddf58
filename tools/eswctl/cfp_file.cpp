// SPDX-License-Identifier: LGPL-2.1-or-later
// Rule sets in files: what `cfp show --json` prints, saved, edited and restored.
#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "eswctl/cfp.h"
#include "eswctl/output.h"
#include "eswctl/schema.h"

namespace eswctl {
namespace {

constexpr uint32_t slots = 64;

const char *this_class() { return is_class_a() ? "A" : "B"; }

std::string count_rules(size_t count) { return fmt::format("{} rule{}", count, count == 1 ? "" : "s"); }

// A name for what went wrong with a member of a file.
Refused in_file(const std::string &path, const std::string &reason)
{
    return {fmt::format("cannot use {}: {}", name_file(path), reason)};
}

using Rules = std::map<uint32_t, eth_cfp_rule_t>;

void add_rule(Rules &rules, const Json &object)
{
    const Json slot = object.is_object() ? object.value("slot", Json()) : Json();
    if (!slot.is_number_unsigned() || slot >= slots)
        throw Refused{fmt::format("each rule needs a slot from 0 to {}", slots - 1)};
    eth_cfp_rule_t rule = fresh_rule();
    change_rule(rule, object);
    if (describes_free_slot(rule))
        throw Refused{fmt::format("the rule of slot {} leaves its slot free", slot.dump())};
    if (!rules.emplace(slot.get<uint32_t>(), rule).second)
        throw Refused{fmt::format("slot {} is there twice", slot.dump())};
}

Json enabled_ports()
{
    Json ports = Json::array();
    for (const uint32_t port : all_ports) {
        uint32_t enabled = 0;
        check(eth_cfp_enable_get(port, &enabled), "read the ports' state");
        if (enabled)
            ports.push_back(port);
    }
    return ports;
}

// A whole field processor, checked before any of it is written.
struct Contents {
    Rules rules;
    eth_cfp_udf_t udf;
    uint32_t ports;
};

Contents contents_of(const Json &document)
{
    Contents contents{};
    check(eth_cfp_udf_get(&contents.udf), "read the UDF selectors");
    for (const Json &rule : document.at("rules"))
        add_rule(contents.rules, rule);
    change_udfs(contents.udf, document.value("udfs", Json::array()));
    const Json ports = document.value("ports", enabled_ports());
    for (const Json &port : ports) {
        if (any_port().parse(port.dump()).is_null())
            throw Refused{fmt::format("port {} is not accepted; use {}", port.dump(), any_port().accepted)};
    }
    contents.ports = to_port_set(ports);
    return contents;
}

void write_contents(const Contents &contents)
{
    check(eth_cfp_rule_clear(), "clear the rules");
    Progress progress("restoring rules", contents.rules.size());
    size_t count = 0;
    for (const auto &[slot, rule] : contents.rules) {
        check(eth_cfp_rule_set(static_cast<int32_t>(slot), rule), fmt::format("write slot {}", slot));
        progress.advance_to(++count);
    }
    check(eth_cfp_udf_set(contents.udf), "write the UDF selectors");
    for (const uint32_t port : all_ports)
        check(eth_cfp_enable_set(port, (contents.ports >> port & 1) != 0),
              "switch the port's field processor");
}

} // namespace

Json rule_document(Json rules) { return {{"class", this_class()}, {"rules", std::move(rules)}}; }

Json field_processor()
{
    Json rules = Json::array();
    Progress progress("reading rules", slots);
    for (uint32_t slot = 0; slot < slots; ++slot) {
        const eth_cfp_rule_t rule = read_rule(slot);
        if (!describes_free_slot(rule)) {
            rules.push_back({{"slot", slot}});
            rules.back().update(rule_to_json(rule));
        }
        progress.advance_to(slot + 1);
    }
    eth_cfp_udf_t udf;
    check(eth_cfp_udf_get(&udf), "read the UDF selectors");
    return {{"class", this_class()},
            {"ports", enabled_ports()},
            {"udfs", udfs_to_json(udf)},
            {"rules", std::move(rules)}};
}

namespace {

// Hands a file's document over, to be understood before anything is written. What `take` does not find wrong,
// the schema does.
void take_document(const std::string &path, const std::string &use,
                   const std::function<void(const Json &)> &take)
{
    const std::string text = read_file(path);
    const std::string fault = schema_fault("cfp-rules.schema.json/definitions/" + use, text);
    const Json document = Json::parse(text, nullptr, false);
    try {
        if (!document.is_object())
            throw Refused{fault};
        if (const Json other = document.value("class", this_class()); other != this_class())
            throw Refused{fmt::format("its rules are for class {}, and this switch is of class {}",
                                      other.dump(), this_class())};
        take(document);
    } catch (const Json::exception &) {
        throw in_file(path, fault);
    } catch (const Refused &refused) {
        throw in_file(path, refused.message);
    }
    if (!fault.empty())
        throw in_file(path, fault);
}

} // namespace

void change_rule_by_file(eth_cfp_rule_t &rule, const std::string &path)
{
    take_document(path, "from", [&](const Json &document) {
        if (!document.contains("rules")) {
            change_rule(rule, document);
            return;
        }
        const Json &rules = document["rules"];
        if (rules.size() != 1)
            throw Refused{fmt::format("it holds {} rules, and one is needed", rules.size())};
        change_rule(rule, rules.at(0));
    });
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
    Contents contents;
    take_document(path, "restore", [&](const Json &document) { contents = contents_of(document); });
    write_contents(contents);
    const size_t count = contents.rules.size();
    return done(fmt::format("{} restored from {}", count_rules(count), name_file(path)),
                {{"file", path}, {"rules", count}});
}

} // namespace eswctl
