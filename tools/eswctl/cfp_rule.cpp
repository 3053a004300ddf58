// SPDX-License-Identifier: LGPL-2.1-or-later
// A rule's record in JSON, and on the command line.
#include <algorithm>
#include <cstddef>
#include <span>

#include <fmt/format.h>

#include "eswctl/cfp.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

// Where the record has its words.
enum Word : uint8_t {
    data = offsetof(eth_cfp_rule_t, data) / sizeof(uint32_t),
    mask = offsetof(eth_cfp_rule_t, mask) / sizeof(uint32_t),
    action = offsetof(eth_cfp_rule_t, action) / sizeof(uint32_t),
    policer = offsetof(eth_cfp_rule_t, policer) / sizeof(uint32_t),
    ext_a = offsetof(eth_cfp_rule_t, ext_a) / sizeof(uint32_t),
    ext_b = offsetof(eth_cfp_rule_t, ext_b) / sizeof(uint32_t),
};

// Where a class keeps a member: bits of one word. Without bits: not on this class.
struct Place {
    uint8_t word;
    uint8_t low;
    uint8_t bits; // of words: how many

    [[nodiscard]] uint32_t largest() const { return (1U << bits) - 1; }
};

// A meter's values can't be told from single bits.
enum class Shape : uint8_t { words, number, mask, flag, meter };

struct Member {
    const char *key;
    const char *option; // null: only in files
    const char *title;
    const char *help;
    Shape shape;
    Place on_a;
    Place on_b;
    uint32_t limit = 0; // of a meter

    [[nodiscard]] const Place &place() const { return is_class_a() ? on_a : on_b; }
    [[nodiscard]] uint32_t largest(const Place &at) const
    {
        return shape == Shape::meter ? limit : at.largest();
    }
};

constexpr Place at(int word, uint8_t low, uint8_t bits) { return {static_cast<uint8_t>(word), low, bits}; }
constexpr Place all(uint8_t words, int word) { return at(word, 0, words); }
constexpr Place absent{0, 0, 0};

constexpr Member members[] = {
    {"data", "--data", "data", "up to 8 key words, such as 0x3,0,0x0800", Shape::words, all(8, data),
     all(8, data)},
    {"mask", "--mask", "mask", "up to 8 mask words", Shape::words, all(8, mask), all(8, mask)},
    {"action", nullptr, "action", "", Shape::words, all(2, action), all(3, action)},
    {"policer", nullptr, "policer", "", Shape::words, all(2, policer), all(7, policer)},
    {"ext_a", nullptr, "ext A", "", Shape::words, all(2, ext_a), absent},
    {"ext_b", nullptr, "ext B", "", Shape::words, absent, all(3, ext_b)},
    {"action1", "--action", "action 1", "forwarding action 1, 0 to 3", Shape::number, at(action, 7, 2),
     at(action, 24, 2)},
    {"destination1", "--dst", "dst 1", "destination mask 1, of 7 bits (class A) or 10 (class B)", Shape::mask,
     at(action, 0, 7), at(action, 14, 10)},
    {"action2", "--action2", "action 2", "forwarding action 2, 0 to 3", Shape::number, at(action, 23, 2),
     at(action + 1, 11, 2)},
    {"destination2", "--dst2", "dst 2", "destination mask 2, likewise", Shape::mask, at(action, 16, 7),
     at(action + 1, 1, 10)},
    {"traffic_class", "--tc", "TC", "traffic class to change to, 0 to 7", Shape::number,
     at(action + 1, 10, 3), at(action, 10, 3)},
    {"chain_id", "--chain", "chain", "chain ID, 0 to 255", Shape::number, at(action + 1, 14, 8),
     at(action + 1, 20, 8)},
    {"vlan_bypass", "--vlan-bypass", "bypass", "bypass the VLAN", Shape::flag, at(action + 1, 0, 1),
     at(action, 0, 1)},
    {"rate", "--rate", "rate", "class A: rate, 0 to 1024000, with --burst; rounded down", Shape::meter,
     at(policer, 0, 1), absent, 1024000},
    {"burst", "--burst", "burst", "class A: burst, 0 to 16384, with --rate; rounded down", Shape::meter,
     at(policer, 0, 1), absent, 16384},
    {"rate_mode", "--rate-mode", "rate mode", "class B: rate mode, 0 to 3 (default 3: no policer)",
     Shape::number, absent, at(policer, 3, 2)},
    {"color_mode", "--color-mode", "color", "class B: color mode, 0 or 1", Shape::number, absent,
     at(policer, 0, 1)},
    {"policer_action", "--policer", "policer", "class B: policer action, 0 or 1", Shape::number, absent,
     at(policer, 1, 1)},
    {"eir", "--eir", "EIR",
     "class B: excess rate, 0 to 2000000, with --eir-burst and --rate-mode; a multiple of 4", Shape::meter,
     absent, at(policer + 1, 0, 1), 2000000},
    {"eir_burst", "--eir-burst", "EIR burst", "class B: its burst, 0 to 1023", Shape::meter, absent,
     at(policer + 1, 0, 1), 1023},
    {"cir", "--cir", "CIR", "class B: committed rate, likewise", Shape::meter, absent, at(policer + 4, 0, 1),
     2000000},
    {"cir_burst", "--cir-burst", "CIR burst", "class B: its burst, 0 to 1023", Shape::meter, absent,
     at(policer + 4, 0, 1), 1023},
};

constexpr auto word_members = std::span(members).first<6>();

// A rate and its burst, which one library call writes.
struct Meter {
    const char *rate;
    const char *burst;
    void (*set)(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst);
};

template <auto call, typename Value>
void set_meter(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst)
{
    call(rule, static_cast<Value>(rate), static_cast<Value>(burst));
}

constexpr Meter meters[] = {
    {"rate", "burst", set_meter<eth_cfp_util_rule_t_rate_set, int32_t>},
    {"eir", "eir_burst", set_meter<eth_cfp_util_rule_t_eir_set, uint32_t>},
    {"cir", "cir_burst", set_meter<eth_cfp_util_rule_t_cir_set, uint32_t>},
};

using Words = std::span<uint32_t, sizeof(eth_cfp_rule_t) / sizeof(uint32_t)>;

Words words_of(eth_cfp_rule_t &rule) { return Words(rule.data, Words::extent); }

const Member &member_of(const std::string &key) { return *std::ranges::find(members, key, &Member::key); }

constexpr uint32_t refresh_count(uint32_t index)
{
    if (index < 29)
        return 64 * index;
    return index < 128 ? 2048 + 1024 * (index - 29) : 106496 + 8192 * (index - 128);
}

// Null when the words are none that the library would make of a rate and a burst.
void add_meter(Json &values, const Meter &meter, eth_cfp_rule_t rule, uint32_t rate, uint32_t burst)
{
    const eth_cfp_rule_t before = rule;
    meter.set(&rule, rate, burst);
    const bool same = std::ranges::equal(before.policer, rule.policer);
    values[meter.rate] = same ? Json(rate) : Json();
    values[meter.burst] = same ? Json(burst) : Json();
}

void add_meters(Json &values, const eth_cfp_rule_t &rule)
{
    const uint32_t *policer = rule.policer;
    if (is_class_a()) {
        const uint32_t shift = policer[1] >> 8 & 0xF;
        add_meter(values, meters[0], rule, refresh_count(policer[1] & 0xFF), 0x4000U >> shift);
        return;
    }
    add_meter(values, meters[1], rule, policer[3] << 2, policer[1] >> 13);
    add_meter(values, meters[2], rule, policer[6] << 2, policer[4] >> 13);
}

bool is_traffic_class(const Member &member) { return member.key == std::string_view("traffic_class"); }

Json value_of(const Member &member, Words words)
{
    const Place &at = member.place();
    const uint32_t bits = words[at.word] >> at.low;
    // The bit above the traffic class tells whether it is changed.
    if (is_traffic_class(member) && !(bits >> at.bits & 1))
        return nullptr;
    return member.shape == Shape::flag ? Json((bits & 1) != 0) : Json(bits & at.largest());
}

// All values of the rule; masks as numbers.
Json values_of(eth_cfp_rule_t rule)
{
    Json values;
    for (const Member &member : members) {
        if (member.shape != Shape::words && member.shape != Shape::meter && member.place().bits != 0)
            values[member.key] = value_of(member, words_of(rule));
    }
    add_meters(values, rule);
    return values;
}

// Leaves all other bits alone, which the library's calls don't: they write two members at once.
void put(const Member &member, eth_cfp_rule_t &rule, uint32_t value)
{
    const Place &at = member.place();
    eth_cfp_rule_t built = rule;
    if (member.shape == Shape::mask)
        ethCfpRuleActionDst(&built, value, value); // class B has its bits in another order
    else
        words_of(built)[at.word] = value << at.low;
    uint32_t &word = words_of(rule)[at.word];
    word ^= (words_of(built)[at.word] ^ word) & at.largest() << at.low;
    if (is_traffic_class(member))
        word |= 1U << (at.low + at.bits);
}

Json shown(const Member &member, const Json &value)
{
    return member.shape == Shape::mask ? Json(hex(value.get<uint32_t>(), 12)) : value;
}

// As the user knows it.
const char *name_of(const Member &member, bool by_option) { return by_option ? member.option : member.key; }

// Of a member, or where names begin with a hyphen, of its option.
[[noreturn]] void refuse(const std::string &name, const std::string &fault)
{
    if (name.starts_with('-'))
        throw UsageError{fmt::format("{}: {}", name, fault)};
    throw Refused{fmt::format("{}: {}", name, fault)};
}

void check_class(const Member &member, const std::string &name)
{
    if (member.place().bits == 0)
        throw Refused{fmt::format("{} is for class {} switches; this one is of class {}", name,
                                  is_class_a() ? 'B' : 'A', is_class_a() ? 'A' : 'B')};
}

void set_words(Words words, const Member &member, const std::string &name, const Json &given)
{
    const Place &at = member.place();
    if (!given.is_array() || given.size() > at.bits)
        refuse(name, fmt::format("{} is not accepted; a list of at most {} words is needed",
                                 excerpt_of(given), at.bits));
    for (size_t i = 0; i < given.size(); ++i)
        words[at.word + i] = number_in(given[i], fmt::format("{}[{}]", name, i), UINT32_MAX);
}

Json checked_value(const Member &member, const std::string &name, const Json &given)
{
    if (member.shape != Shape::flag)
        return number_in(given, name, member.largest(member.place()));
    if (!given.is_boolean())
        refuse(name, fmt::format("{} is not accepted; use true or false", excerpt_of(given)));
    return given;
}

// A rate without a burst, or a burst without a rate, is no meter; and a class B switch without a policer does
// not look at its meters.
void set_meters(eth_cfp_rule_t &rule, const Json &wanted, bool by_option)
{
    constexpr uint32_t no_policer = 3;
    const auto name = [&](const char *key) { return name_of(member_of(key), by_option); };
    const Json current = values_of(rule);
    for (const Meter &meter : meters) {
        Json now = {{meter.rate, current.value(meter.rate, Json())},
                    {meter.burst, current.value(meter.burst, Json())}};
        const Json before = now;
        for (const char *key : {meter.rate, meter.burst})
            now[key] = wanted.value(key, before[key]);
        if (now == before)
            continue;
        for (const auto &[key, other] :
             {std::pair(meter.rate, meter.burst), std::pair(meter.burst, meter.rate)}) {
            if (wanted.contains(key) && !wanted.contains(other) && (now[other].is_null() || now[other] == 0))
                refuse(name(key), fmt::format("it needs {} beside it", name(other)));
            if (wanted.value(key, 0) != 0 && current.value("rate_mode", 0) == no_policer)
                refuse(name(key), fmt::format("rate mode 3 is no policer; use {} 0, 1 or 2 beside it",
                                              name("rate_mode")));
        }
        meter.set(&rule, now[meter.rate], now[meter.burst]);
    }
}

// "0x00000003,0,0x0800"
const Kind word_list = {"up to 8 words such as 0x3,0,0x0800",
                        [](const std::string &text) -> Json { return split(text); }, "N,N,..."};

Kind kind_of(const Member &member)
{
    if (member.shape == Shape::words)
        return word_list;
    if (member.shape == Shape::flag)
        return {};
    return number(0, std::max(member.largest(member.on_a), member.largest(member.on_b)));
}

// Those of this class.
std::string keys()
{
    std::vector<std::string> keys;
    for (const Member &member : members) {
        if (member.place().bits != 0)
            keys.emplace_back(member.key);
    }
    return fmt::format("{}", fmt::join(keys, ", "));
}

// ---- In a configuration, which has as many words on both classes

std::span<uint32_t> all_words(const Member &member, eth_cfp_rule_t &rule)
{
    const Place &place = member.on_a.bits > member.on_b.bits ? member.on_a : member.on_b;
    return words_of(rule).subspan(place.word, place.bits);
}

Json read_rules(uint32_t)
{
    Json entries = Json::array();
    for (uint32_t slot = 0; slot <= last_slot; ++slot) {
        eth_cfp_rule_t rule = read_rule(slot);
        if (describes_free_slot(rule))
            continue;
        Json &entry = entries.emplace_back(Json{{"slot", slot}});
        for (const Member &member : word_members) {
            for (const uint32_t word : all_words(member, rule))
                entry[member.key].push_back(hex(word, 32));
        }
    }
    return entries;
}

eth_cfp_rule_t rule_of(const Json &entry)
{
    eth_cfp_rule_t rule;
    for (const Member &member : word_members)
        std::ranges::transform(entry[member.key], all_words(member, rule).begin(), from_hex);
    return rule;
}

std::string odd_rule(const Json &entry)
{
    if (describes_free_slot(rule_of(entry)))
        return "such a rule leaves its slot free; set bit 0 or 1 of the first word of data";
    for (const Member &member : word_members) {
        for (size_t i = member.place().bits; i < entry[member.key].size(); ++i) {
            if (from_hex(entry[member.key][i]) != 0)
                return fmt::format("a class {} switch has no {}[{}]; use 0x00000000",
                                   is_class_a() ? 'A' : 'B', member.key, i);
        }
    }
    return "";
}

Form rule_form(uint32_t)
{
    eth_cfp_rule_t rule;
    Form form = record_form({{"slot", integer_form(0, last_slot)}});
    for (const Member &member : word_members) {
        form["properties"][member.key] = array_form(all_words(member, rule).size(), hex_form(32));
        form["required"].push_back(member.key);
    }
    return form;
}

int32_t write_saved(uint32_t, const Json &entry)
{
    return std::min(eth_cfp_rule_set(entry["slot"], rule_of(entry)), int32_t{ETH_E_NONE});
}

int32_t remove_rule(const Json &entry)
{
    free_slot(entry["slot"]);
    return ETH_E_NONE;
}

constexpr const char *slot_key[] = {"slot"};
constexpr Setting rules_setting =
    setting("cfp.rules", "cfp slot {slot}", once,
            "first: cfp clear --yes\ncfp set {slot} --words {data},{mask},{action},{policer},{ext_a},{ext_b}",
            rule_form, by(read_rules, write_saved, "eth_cfp_rule_set"))
        .with(&Setting::fault, odd_rule)
        .with(&Setting::key, slot_key)
        .with(&Setting::remove, remove_rule);

} // namespace

Settings rule_settings() { return {&rules_setting, 1}; }

uint32_t number_in(const Json &value, const std::string &name, uint32_t largest)
{
    const Kind kind = number(0, largest);
    const Json parsed = kind.parse(value.is_string() ? value.get<std::string>() : value.dump());
    if (parsed.is_null())
        refuse(name, fmt::format("{} is not accepted; use {}", excerpt_of(value), kind.accepted));
    return parsed.get<uint32_t>();
}

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
        if (member.shape != Shape::words)
            value = shown(member, values[member.key]);
        else
            for (const uint32_t word : words_of(copy).subspan(at.word, at.bits))
                value.push_back(hex(word, 32));
    }
    return object;
}

Json change_rule(eth_cfp_rule_t &rule, const Json &given, bool by_option)
{
    if (!given.is_object())
        throw Refused{fmt::format("{} is not accepted; a rule is an object", excerpt_of(given))};
    Json wanted = Json::object();
    for (const auto &[key, value] : given.items()) {
        const Member *const member = std::ranges::find(members, key, &Member::key);
        if (key == "slot") {
            number_in(value, key, last_slot);
            continue;
        }
        if (member == std::end(members))
            throw Refused{fmt::format("'{}' is not a member of a rule; use one of {}; see eswctl(1)",
                                      excerpt(key), keys())};
        const std::string name = name_of(*member, by_option);
        check_class(*member, name);
        if (member->shape == Shape::words)
            set_words(words_of(rule), *member, name, value);
        else if (!value.is_null())
            wanted[key] = checked_value(*member, name, value);
    }
    const Json before = values_of(rule);
    for (const auto &[key, value] : wanted.items()) {
        if (const Member &member = member_of(key); member.shape != Shape::meter && value != before[key])
            put(member, rule, value.get<uint32_t>());
    }
    set_meters(rule, wanted, by_option);
    const Json now = values_of(rule);
    Json rounded = Json::array();
    for (const auto &[key, value] : wanted.items()) {
        if (const Member &member = member_of(key); now[key] != value)
            rounded.push_back(
                {{"member", key}, {"asked", shown(member, value)}, {"used", shown(member, now[key])}});
    }
    return rounded;
}

std::vector<Column> rule_columns()
{
    std::vector<Column> columns = {{"slot", "slot"}};
    for (const Member &member : members) {
        if (member.shape != Shape::words && member.place().bits != 0)
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
    options.push_back({"--words", "all words of the record, class B's and class A's: options change them",
                       list_of(Words::extent, number(0, UINT32_MAX))});
    options.push_back({"--drop", "forwarding actions 2, no destinations", {}});
    return options;
}

Json change_rule_by_options(eth_cfp_rule_t &rule, const Arguments &arguments)
{
    if (const Json &words = arguments["--words"]; !words.is_null())
        std::ranges::copy(words, words_of(rule).begin());
    Json given = Json::object();
    if (arguments["--drop"].get<bool>())
        given = {{"action1", 2}, {"destination1", 0}, {"action2", 2}, {"destination2", 0}};
    for (const Member &member : members) {
        if (!member.option || arguments[member.option].is_null() || arguments[member.option] == false)
            continue;
        if (given.contains(member.key))
            throw UsageError{fmt::format("{} does not go with --drop", member.option)};
        given[member.key] = arguments[member.option];
    }
    return change_rule(rule, given, true);
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

void free_slot(uint32_t slot)
{
    eth_cfp_rule_t none = fresh_rule();
    none.policer[1] = 0x80000000; // as a clear of the table leaves it
    check(eth_cfp_rule_set(static_cast<int32_t>(slot), none), fmt::format("free slot {}", slot));
}

} // namespace eswctl
