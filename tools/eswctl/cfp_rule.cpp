// SPDX-License-Identifier: LGPL-2.1-or-later
// A rule's record in JSON, and on the command line.
#include "eswctl/cfp.h"
#include "eswctl/notation.h"

#include <algorithm>
#include <span>

#include <fmt/format.h>

namespace eswctl {
namespace {

// Where a class keeps a member: bits of one of the record's 31 words, which are 8 of data, 8 of mask, 3 of
// action, 7 of policer, 2 of ext_a and 3 of ext_b. Without bits: not on this class.
struct Place {
    uint8_t word;
    uint8_t low;
    uint8_t bits; // of words: how many

    [[nodiscard]] uint32_t largest() const { return (1U << bits) - 1; }
};

// A meter's values can't be told from single bits.
enum class Form : uint8_t { words, number, mask, flag, meter };

struct Member {
    const char *key;
    const char *option; // null: only in files
    const char *title;
    const char *help;
    Form form;
    Place on_a;
    Place on_b;
    uint32_t limit = 0; // of a meter

    [[nodiscard]] const Place &place() const { return is_class_a() ? on_a : on_b; }
    [[nodiscard]] uint32_t largest(const Place &at) const
    {
        return form == Form::meter ? limit : at.largest();
    }
};

constexpr Place absent{0, 0, 0};

constexpr Member members[] = {
    {"data", "--data", "data", "up to 8 key words, such as 0x3,0,0x0800", Form::words, {0, 0, 8}, {0, 0, 8}},
    {"mask", "--mask", "mask", "up to 8 mask words", Form::words, {8, 0, 8}, {8, 0, 8}},
    {"action", nullptr, "action", "", Form::words, {16, 0, 2}, {16, 0, 3}},
    {"policer", nullptr, "policer", "", Form::words, {19, 0, 2}, {19, 0, 7}},
    {"ext_a", nullptr, "ext A", "", Form::words, {26, 0, 2}, absent},
    {"ext_b", nullptr, "ext B", "", Form::words, absent, {28, 0, 3}},
    {"action1", "--action", "action 1", "forwarding action 1, 0 to 3", Form::number, {16, 7, 2}, {16, 24, 2}},
    {"destination1",
     "--dst",
     "dst 1",
     "destination mask 1, of 7 bits (class A) or 10 (class B)",
     Form::mask,
     {16, 0, 7},
     {16, 14, 10}},
    {"action2",
     "--action2",
     "action 2",
     "forwarding action 2, 0 to 3",
     Form::number,
     {16, 23, 2},
     {17, 11, 2}},
    {"destination2", "--dst2", "dst 2", "destination mask 2, likewise", Form::mask, {16, 16, 7}, {17, 1, 10}},
    {"traffic_class",
     "--tc",
     "TC",
     "traffic class to change to, 0 to 7",
     Form::number,
     {17, 10, 3},
     {16, 10, 3}},
    {"chain_id", "--chain", "chain", "chain ID, 0 to 255", Form::number, {17, 14, 8}, {17, 20, 8}},
    {"vlan_bypass", "--vlan-bypass", "bypass", "bypass the VLAN", Form::flag, {17, 0, 1}, {16, 0, 1}},
    {"rate",
     "--rate",
     "rate",
     "class A: rate, 0 to 1024000; rounded down",
     Form::meter,
     {19, 0, 1},
     absent,
     1024000},
    {"burst",
     "--burst",
     "burst",
     "class A: burst, 0 to 16384; rounded down",
     Form::meter,
     {19, 0, 1},
     absent,
     16384},
    {"rate_mode",
     "--rate-mode",
     "rate mode",
     "class B: rate mode, 0 to 3; 3 for no policer",
     Form::number,
     absent,
     {19, 3, 2}},
    {"color_mode", "--color-mode", "color", "class B: color mode, 0 or 1", Form::number, absent, {19, 0, 1}},
    {"policer_action",
     "--policer",
     "policer",
     "class B: policer action, 0 or 1",
     Form::number,
     absent,
     {19, 1, 1}},
    {"eir",
     "--eir",
     "EIR",
     "class B: excess rate, 0 to 2000000; a multiple of 4",
     Form::meter,
     absent,
     {20, 0, 1},
     2000000},
    {"eir_burst",
     "--eir-burst",
     "EIR burst",
     "class B: its burst, 0 to 1023",
     Form::meter,
     absent,
     {20, 0, 1},
     1023},
    {"cir",
     "--cir",
     "CIR",
     "class B: committed rate, 0 to 2000000; a multiple of 4",
     Form::meter,
     absent,
     {23, 0, 1},
     2000000},
    {"cir_burst",
     "--cir-burst",
     "CIR burst",
     "class B: its burst, 0 to 1023",
     Form::meter,
     absent,
     {23, 0, 1},
     1023},
};

// Values that one library call sets together.
struct Setter {
    const char *first;
    const char *second; // may be null
    void (*set)(eth_cfp_rule_t *rule, uint32_t first, uint32_t second);
};

template <auto call, typename Value>
void one(eth_cfp_rule_t *rule, uint32_t value, uint32_t)
{
    call(rule, static_cast<Value>(value));
}

template <auto call, typename Value>
void two(eth_cfp_rule_t *rule, uint32_t first, uint32_t second)
{
    call(rule, static_cast<Value>(first), static_cast<Value>(second));
}

constexpr Setter setters[] = {
    {"action1", "action2", ethCfpRuleAction},
    {"destination1", "destination2", ethCfpRuleActionDst},
    {"traffic_class", nullptr, one<ethCfpRuleActionChangeTc, uint8_t>},
    {"chain_id", nullptr, one<ethCfpRuleActionChainId, uint8_t>},
    {"rate", "burst", two<eth_cfp_util_rule_t_rate_set, int32_t>},
    {"rate_mode", nullptr, one<eth_cfp_util_rule_t_rate_mode_set, uint8_t>},
    {"color_mode", nullptr, one<eth_cfp_util_rule_t_rate_color_mode_set, uint32_t>},
    {"policer_action", nullptr, one<eth_cfp_util_rule_t_rate_policer_action_set, uint8_t>},
    {"eir", "eir_burst", two<eth_cfp_util_rule_t_eir_set, uint32_t>},
    {"cir", "cir_burst", two<eth_cfp_util_rule_t_cir_set, uint32_t>},
};

using Words = std::span<uint32_t, sizeof(eth_cfp_rule_t) / sizeof(uint32_t)>;

Words words_of(eth_cfp_rule_t &rule) { return Words(rule.data, Words::extent); }

uint32_t bits_of(const Place &at, Words words) { return words[at.word] >> at.low & at.largest(); }

constexpr uint32_t refresh_count(uint32_t index)
{
    if (index < 29)
        return 64 * index;
    return index < 128 ? 2048 + 1024 * (index - 29) : 106496 + 8192 * (index - 128);
}

// Null when the words are none that the library would make of a rate and a burst.
void add_meter(Json &values, const char *rate_key, const char *burst_key, eth_cfp_rule_t rule, uint32_t rate,
               uint32_t burst)
{
    const eth_cfp_rule_t before = rule;
    std::ranges::find(setters, std::string(rate_key), &Setter::first)->set(&rule, rate, burst);
    const bool same = std::ranges::equal(before.policer, rule.policer);
    values[rate_key] = same ? Json(rate) : Json();
    values[burst_key] = same ? Json(burst) : Json();
}

void add_meters(Json &values, const eth_cfp_rule_t &rule)
{
    const uint32_t *policer = rule.policer;
    if (is_class_a()) {
        const uint32_t shift = policer[1] >> 8 & 0xF;
        add_meter(values, "rate", "burst", rule, refresh_count(policer[1] & 0xFF), 0x4000U >> shift);
        return;
    }
    add_meter(values, "eir", "eir_burst", rule, policer[3] << 2, policer[1] >> 13);
    add_meter(values, "cir", "cir_burst", rule, policer[6] << 2, policer[4] >> 13);
}

Json value_of(const Member &member, Words words)
{
    const Place &at = member.place();
    const uint32_t bits = bits_of(at, words);
    if (member.form == Form::flag)
        return bits != 0;
    // The bit above the traffic class tells whether it is changed.
    if (member.key == std::string("traffic_class") && !(words[at.word] >> (at.low + at.bits) & 1))
        return nullptr;
    return bits;
}

// All values of the rule; masks as numbers.
Json values_of(eth_cfp_rule_t rule)
{
    Json values;
    for (const Member &member : members) {
        if (member.form != Form::words && member.form != Form::meter && member.place().bits != 0)
            values[member.key] = value_of(member, words_of(rule));
    }
    add_meters(values, rule);
    return values;
}

// `name` is the member's own, or its option's.
void check_class(const Member &member, const std::string &name)
{
    if (member.place().bits == 0)
        throw Refused{fmt::format("{} is for class {} switches; this one is of class {}", name,
                                  is_class_a() ? 'B' : 'A', is_class_a() ? 'A' : 'B')};
}

const Member &find_member(const std::string &name)
{
    const Member *const found = std::ranges::find(members, name, &Member::key);
    if (found == std::end(members))
        throw Refused{fmt::format("'{}' is not a member of a rule; see docs/cfp-rules.md", name)};
    check_class(*found, name);
    return *found;
}

// Of a number, or of a text that shows one.
uint32_t number_from(const std::string &name, const Json &value, uint32_t largest)
{
    const Kind kind = number(0, largest);
    const Json parsed = kind.parse(value.is_string() ? value.get<std::string>() : value.dump());
    const std::string fault =
        fmt::format("{}: {} is not accepted; use {}", name, value.dump(), kind.accepted);
    if (parsed.is_null() && name.starts_with('-'))
        throw UsageError{fault};
    if (parsed.is_null())
        throw Refused{fault};
    return parsed.get<uint32_t>();
}

void set_words(Words words, const Member &member, const Json &given)
{
    const Place &at = member.place();
    if (!given.is_array() || given.size() > at.bits)
        throw Refused{fmt::format("{}: a list of at most {} words is needed", member.key, at.bits)};
    for (size_t i = 0; i < given.size(); ++i)
        words[at.word + i] = number_from(member.key, given[i], UINT32_MAX);
}

Json checked_value(const Member &member, const std::string &name, const Json &given)
{
    if (given.is_null())
        return given;
    if (member.form != Form::flag)
        return number_from(name, given, member.largest(member.place()));
    if (!given.is_boolean())
        throw Refused{fmt::format("{}: {} is not accepted; use true or false", name, given.dump())};
    return given;
}

void set_values(eth_cfp_rule_t &rule, const Json &wanted)
{
    const Json current = values_of(rule);
    const auto value = [&](const char *key) { return key ? wanted.value(key, Json()) : Json(); };
    const auto changes = [&](const char *key) { return !value(key).is_null() && value(key) != current[key]; };
    const auto number_or_current = [&](const char *key) {
        const Json chosen = key && value(key).is_null() ? current[key] : value(key);
        return chosen.is_number() ? chosen.get<uint32_t>() : 0;
    };
    for (const Setter &setter : setters) {
        if (changes(setter.first) || changes(setter.second))
            setter.set(&rule, number_or_current(setter.first), number_or_current(setter.second));
    }
    if (changes("vlan_bypass")) {
        const Place &at = find_member("vlan_bypass").place();
        words_of(rule)[at.word] ^= 1U << at.low;
    }
}

// "0x00000003,0,0x0800"
Kind word_list()
{
    return {"up to 8 words such as 0x3,0,0x0800",
            [](const std::string &text) -> Json {
                Json words = Json::array();
                for (const std::string &item : split(text)) {
                    words.push_back(number(0, UINT32_MAX).parse(item));
                    if (words.back().is_null())
                        return nullptr;
                }
                return words.size() <= 8 ? words : Json();
            },
            {},
            "",
            "N,N,..."};
}

Kind kind_of(const Member &member)
{
    switch (member.form) {
    case Form::words:
        return word_list();
    case Form::flag:
        return {};
    default:
        return number(0, std::max(member.largest(member.on_a), member.largest(member.on_b)));
    }
}

} // namespace

Json rule_to_json(const eth_cfp_rule_t &rule)
{
    eth_cfp_rule_t copy = rule;
    Json object;
    Json values = values_of(rule);
    for (const Member &member : members) {
        const Place &at = member.place();
        if (at.bits == 0)
            continue;
        Json &value = object[member.key];
        if (member.form == Form::words) {
            for (const uint32_t word : words_of(copy).subspan(at.word, at.bits))
                value.push_back(hex(word, 32));
        } else {
            value = member.form == Form::mask ? Json(hex(values[member.key].get<uint32_t>(), 12))
                                              : values[member.key];
        }
    }
    return object;
}

void change_rule(eth_cfp_rule_t &rule, const Json &given)
{
    if (!given.is_object())
        throw Refused{"a rule is a JSON object; see docs/cfp-rules.md"};
    Json values;
    for (const auto &[name, value] : given.items()) {
        if (name == "slot")
            continue;
        const Member &member = find_member(name);
        if (member.form == Form::words)
            set_words(words_of(rule), member, value);
        else
            values[name] = checked_value(member, name, value);
    }
    if (!values.is_null())
        set_values(rule, values);
}

std::vector<Column> rule_columns()
{
    std::vector<Column> columns = {{"slot", "slot"}};
    for (const Member &member : members) {
        if (member.form != Form::words && member.place().bits != 0)
            columns.push_back({member.key, member.title});
    }
    return columns;
}

std::vector<Argument> rule_options()
{
    std::vector<Argument> options;
    for (const Member &member : members) {
        if (member.option)
            options.push_back({member.option, member.help, kind_of(member)});
    }
    options.push_back({"--drop", "forwarding actions 2, no destinations", {}});
    return options;
}

Json members_given(const Arguments &arguments)
{
    Json given = Json::object();
    if (arguments["--drop"].get<bool>())
        given = {{"action1", 2}, {"destination1", 0}, {"action2", 2}, {"destination2", 0}};
    for (const Member &member : members) {
        if (!member.option || arguments[member.option].is_null() || arguments[member.option] == false)
            continue;
        if (given.contains(member.key))
            throw UsageError{fmt::format("{} does not go with --drop", member.option)};
        check_class(member, member.option);
        given[member.key] = member.form == Form::words
                                ? arguments[member.option]
                                : checked_value(member, member.option, arguments[member.option]);
    }
    return given;
}

bool describes_free_slot(const eth_cfp_rule_t &rule) { return (rule.data[0] & 3) == 0; }

eth_cfp_rule_t fresh_rule()
{
    eth_cfp_rule_t rule;
    eth_cfp_rule_t_init(&rule);
    return rule;
}

eth_cfp_rule_t read_rule(uint32_t slot)
{
    eth_cfp_rule_t rule = fresh_rule();
    check(eth_cfp_rule_get(slot, &rule), fmt::format("read slot {}", slot));
    return rule;
}

} // namespace eswctl
