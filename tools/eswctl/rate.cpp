// SPDX-License-Identifier: LGPL-2.1-or-later
// rate: limits of what ports send and receive.
#include <algorithm>
#include <span>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint64_t lowest_rate = 64;         // kbit/s; less would be rounded down to 0
constexpr uint64_t largest_rate = INT32_MAX; // kbit/s; more would count as negative
constexpr uint32_t largest_burst = 0x3FFFFF;
constexpr uint32_t usual_burst = 500;
constexpr uint32_t off = 0xFFFFFFFF; // burst of a limiter that is off

constexpr uint32_t cpu_port = 8;
constexpr uint32_t largest_packet_rate = 1388889;
constexpr uint32_t largest_class_b_packet_rate = 262143;

using Get = int32_t (*)(uint32_t port, uint32_t *rate, uint32_t *burst);
using Set = int32_t (*)(uint32_t port, uint32_t rate, uint32_t burst);

// Class B: whether the limiter of the CPU port is on and counts packets. Its registers keep both rates.
constexpr uint8_t limiter_page = 0x47;
constexpr uint8_t enable_offset = 0xE6; // a bit for each port
constexpr uint8_t select_offset = 0xE8;
constexpr uint32_t of_cpu_port = 0x100; // in both

bool counts_packets()
{
    return is_class_b() && (esw_reg_read32(limiter_page, select_offset, 16) & of_cpu_port) != 0 &&
           (esw_reg_read32(limiter_page, enable_offset, 16) & of_cpu_port) != 0;
}

// A code that is none of the ten modes'.
constexpr uint8_t control_page = 0x41;

Json read_control_mode(uint32_t port)
{
    uint32_t mode = 0;
    if (eth_port_rate_ingress_control_get(port, &mode) == ETH_E_NONE)
        return mode;
    const unsigned position = (is_class_a() ? 9 : 8) * port;
    const uint32_t word = is_class_a()
                              ? esw_reg_read32(control_page, 0x00, 32)
                              : esw_reg_read32(control_page, static_cast<uint8_t>(0x34 + 2 * port), 16);
    return fmt::format("code {:#04x}, unknown", word >> position & 0x3F);
}

// {"rate": 0} where there is no limit; one that is on may be at 0 kbit/s, too, and has a burst then.
template <Get get>
Json read_limit(uint32_t port)
{
    uint32_t rate = 0;
    uint32_t burst = 0;
    check(get(port, &rate, &burst), "read the limit");
    const bool of_packets = get == eth_port_rate_egress_get && port == cpu_port && counts_packets();
    return burst == off || of_packets ? Json{{"rate", 0}} : Json{{"rate", rate}, {"burst", burst}};
}

bool is_on(const Json &limit) { return limit["rate"] != 0 || limit.contains("burst"); }

template <Set set>
int32_t write_limit(uint32_t port, const Json &limit)
{
    const auto rate = limit["rate"].get<uint32_t>();
    return set(port, is_on(limit) ? std::max(rate, 1U) : 0, limit.value("burst", usual_burst));
}

// Largest entry of an ascending table that is not above the value, or the first.
uint32_t rounded_down(std::span<const uint32_t> table, uint32_t value)
{
    const auto above = std::ranges::upper_bound(table, value);
    return above == table.begin() ? table.front() : *(above - 1);
}

// Where registers hold indexes, of a rate and of a bucket: wider steps for higher rates.
constexpr uint32_t burst_sizes[] = {16, 20, 28, 40, 76, 140, 268, 500};

uint32_t permitted_rate(uint32_t rate)
{
    const uint32_t step = rate < 2048 ? 64 : rate < 106496 ? 1024 : 8192;
    const uint32_t last = rate < 2048 ? 1792 : rate < 106496 ? 102400 : 1024000;
    return std::min(rate / step * step, last);
}

Json settle_indexed(uint32_t, const Json &limit)
{
    if (!is_on(limit))
        return limit;
    return {{"rate", permitted_rate(limit["rate"])},
            {"burst", rounded_down(burst_sizes, limit.value("burst", usual_burst))}};
}

Json settle_egress(uint32_t port, const Json &limit)
{
    if (is_class_a() || !is_on(limit))
        return settle_indexed(port, limit);
    constexpr uint32_t unit = 64;               // kbit/s
    constexpr uint32_t largest_count = 0x3FFFF; // of those, and of sixteenths of a kilobyte
    return {{"rate", std::min(limit["rate"].get<uint32_t>() / unit, largest_count) * unit},
            {"burst", std::min(limit.value("burst", usual_burst), largest_count / 16)}};
}

Form limit_form(uint32_t)
{
    return record_form({{"rate", either_form({constant_form(0), integer_form(lowest_rate, largest_rate)})},
                        {"burst", integer_form(0, largest_burst)}},
                       {"burst"});
}

constexpr uint32_t packet_rates[] = {
    384,    512,    639,     768,     1024,    1280,    1536,    1791,    2048,   2303,   2559,
    2815,   3328,   3840,    4352,    4863,    5376,    5887,    6400,    6911,   7936,   8960,
    9984,   11008,  12030,   13054,   14076,   15105,   17146,   19201,   21240,  23299,  25354,
    27382,  29446,  31486,   35561,   39682,   42589,   56818,   71023,   85324,  99602,  113636,
    127551, 142045, 213675,  284091,  357143,  423729,  500000,  568182,  641026, 714286, 781250,
    862069, 925926, 1000000, 1086957, 1136364, 1190476, 1250000, 1315789, 1388889};

constexpr char no_packets[] = "no packets"; // class B: a limit that is on, at 0 packets/s
constexpr uint32_t packets_per_unit = 125;

Json read_packet_limit(uint32_t)
{
    int32_t rate = 0;
    if (is_class_b() && !counts_packets())
        return 0;
    check(eth_rate_get(&rate), "read the CPU port's packet rate");
    return is_class_b() && rate == 0 ? Json(no_packets) : Json(rate);
}

int32_t write_packet_limit(uint32_t, const Json &rate)
{
    return eth_rate_set(rate == no_packets ? 1 : rate.get<int32_t>());
}

std::string two_limits_of_cpu_port(const Json &document)
{
    const Json packets = document.value("/qos/cpu_rate"_json_pointer, Json(0));
    const Json limit = document.value("/qos/port8/egress_rate"_json_pointer, Json{{"rate", 0}});
    return packets == 0 || !is_on(limit) ? ""
                                         : fmt::format("qos.cpu_rate is {}, and qos.port8.egress_rate is on: "
                                                       "the switch has one of them at a time",
                                                       in_words(packets));
}

constexpr Setting egress_setting =
    setting("qos.port{}.egress_rate", "port {}: egress limit", each_port,
            "rate 0, : rate egress set {instance} none --burst {burst}|"
            "rate egress set {instance} {rate} --burst {burst}|rate egress set {instance} off",
            limit_form,
            by(read_limit<eth_port_rate_egress_get>, write_limit<eth_port_rate_egress_set>,
               "eth_port_rate_egress_set"))
        .with(&Setting::settled, settle_egress);
constexpr Setting ingress_setting =
    setting("qos.port{}.ingress_rate", "port {}: ingress limit", each_phy_port,
            "rate 0, : rate ingress set {instance} none --burst {burst}|"
            "rate ingress set {instance} {rate} --burst {burst}|rate ingress set {instance} off",
            limit_form,
            by(read_limit<eth_port_rate_ingress_get>, write_limit<eth_port_rate_ingress_set>,
               "eth_port_rate_ingress_set"))
        .with(&Setting::settled, settle_indexed);
// Behind the egress limits: switching one of them on ends the packet limit.
constexpr Setting class_a_packets = setting("qos.cpu_rate", "CPU port: packet limit", once,
                                            "rate cpu set {value}", accepted::integer<1, largest_packet_rate>,
                                            by(read_packet_limit, write_packet_limit, "eth_rate_set"))
                                        .with(&Setting::devices, Devices::class_a)
                                        .with(&Setting::settled, [](uint32_t, const Json &rate) -> Json {
                                            return rounded_down(packet_rates, rate);
                                        });
constexpr Setting class_b_packets =
    setting(
        "qos.cpu_rate", "CPU port: packet limit", once,
        "0: |no packets: rate cpu set none|rate cpu set {value}",
        [](uint32_t) {
            return either_form({constant_form(0), constant_form(no_packets),
                                integer_form(packets_per_unit, largest_class_b_packet_rate)});
        },
        by(read_packet_limit, write_packet_limit, "eth_rate_set"))
        .with(&Setting::devices, Devices::class_b)
        .with(&Setting::settled,
              [](uint32_t, const Json &rate) -> Json {
                  return rate.is_string() ? rate
                                          : Json(rate.get<uint32_t>() / packets_per_unit * packets_per_unit);
              })
        .with(&Setting::conflict, two_limits_of_cpu_port);
constexpr Setting control_setting =
    setting("qos.port{}.ingress_control", "port {}: ingress rate control mode", each_phy_port,
            "rate ingress-control {instance} {value}", accepted::integer<0, 9>,
            by(read_control_mode, Call<eth_port_rate_ingress_control_set>::write,
               "eth_port_rate_ingress_control_set"));
constexpr Setting settings[] = {ingress_setting, control_setting, egress_setting, class_a_packets,
                                class_b_packets};

const Setting &packet_setting() { return is_class_a() ? class_a_packets : class_b_packets; }

struct Direction {
    const char *name;
    const Setting &setting;
};
constexpr Direction egress{"egress", egress_setting};
constexpr Direction ingress{"ingress", ingress_setting};

constexpr char nothing_passes[] = "none"; // a limit at 0

// In kbit/s, which is the unit of a number without one. "1.5G" has as many decimals as come out whole.
Json parse_bit_rate(const std::string &text)
{
    if (text == "off" || text == "none")
        return text == "off" ? Json(0) : Json(nothing_passes);
    const size_t unit_at = text.find_first_not_of("0123456789.");
    const std::string unit = unit_at == std::string::npos ? "" : text.substr(unit_at);
    std::string digits = text.substr(0, unit_at);
    const size_t point = digits.find('.');
    size_t decimals = unit == "M" ? 3 : unit == "G" ? 6 : 0;
    if (!unit.empty() && unit != "k" && decimals == 0)
        return nullptr;
    if (point != std::string::npos) {
        const size_t given = digits.size() - point - 1;
        if (point == 0 || given == 0 || given > decimals)
            return nullptr;
        digits.erase(point, 1);
        decimals -= given;
    }
    const Json rate = number(0, largest_rate).parse(digits + std::string(decimals, '0'));
    return rate.is_null() || rate == 0 || rate >= lowest_rate ? rate : Json();
}

const Kind bit_rate{"a rate such as 64k, 100M or 1.5G, or a number of kbit/s, 64 to 2147483647, or off, "
                    "or none to let nothing pass",
                    parse_bit_rate};

const Kind packet_rate{
    fmt::format("a number of packets per second up to {}, or off, or none on class B", largest_packet_rate),
    [](const std::string &text) -> Json {
        if (text == "none")
            return no_packets;
        return text == "off" ? Json(0) : number(0, largest_packet_rate).parse(text);
    }};

// A line of its own, when the switch rounds.
std::string rounding(const Json &asked, const Json &used, const char *unit)
{
    return asked == used
               ? ""
               : fmt::format("\nasked {0} {2}, switch uses {1} {2}", asked.dump(), used.dump(), unit);
}

Json limit_of(const Direction &direction, uint32_t port)
{
    Json limit = direction.setting.read(port);
    const bool limited = is_on(limit);
    return {{"limited", limited},
            {"rate", limited ? limit["rate"] : Json()},
            {"burst", limited ? limit["burst"] : Json()}};
}

Report show(const Direction &direction, const Arguments &arguments)
{
    return port_table(arguments,
                      {{"limited", "limited"}, {"rate", "rate", "kbit/s"}, {"burst", "burst", "kB"}},
                      [&](uint32_t port) { return limit_of(direction, port); });
}

std::string account_of(const Direction &direction, const Json &limit)
{
    if (!limit["limited"].get<bool>())
        return fmt::format("port {}: {} limit off", limit["port"].dump(), direction.name);
    return fmt::format("port {}: {} limited to {} kbit/s with bursts of {} kB{}{}", limit["port"].dump(),
                       direction.name, limit["rate"].dump(), limit["burst"].dump(),
                       rounding(limit["asked_rate"], limit["rate"], "kbit/s"),
                       rounding(limit["asked_burst"], limit["burst"], "kB"));
}

// Class B has one limiter for port 8's packets and its bytes: what ends the other one says so.
std::string end_of(const char *limit, bool was_on, bool is_on_now)
{
    return was_on && !is_on_now ? fmt::format("\nport 8: this ended the {}", limit) : "";
}

bool egress_of_cpu_port_is_on() { return is_class_b() && is_on(egress_setting.read(cpu_port)); }

Report set(const Direction &direction, const Arguments &arguments)
{
    const Json &burst = arguments["--burst"];
    const bool switches_off = arguments["RATE"] == 0;
    const Json rate = arguments["RATE"] == nothing_passes ? Json(0) : arguments["RATE"];
    const bool counted = counts_packets();
    Report report = set_ports(arguments, "", [&](uint32_t port) {
        change(direction.setting, port,
               switches_off ? Json{{"rate", 0}} : Json{{"rate", rate}, {"burst", burst}});
        Json limit = limit_of(direction, port);
        limit["asked_rate"] = rate;
        limit["asked_burst"] = burst;
        return limit;
    });
    report.sentence = "";
    for (const Json &row : report.value["ports"])
        report.sentence += (report.sentence.empty() ? "" : "\n") + account_of(direction, row);
    report.sentence += end_of("limit of packets", counted, counts_packets());
    return report;
}

Json packet_limit()
{
    const Json rate = packet_setting().read(0);
    const bool limited = is_class_a() || rate != 0;
    return {{"limited", limited}, {"packet_rate", rate == no_packets ? Json(0) : limited ? rate : Json()}};
}

Report show_cpu(const Arguments &)
{
    return record({{"limited", "limited"}, {"packet_rate", "packet rate", "packets/s"}}, packet_limit());
}

Report set_cpu(const Arguments &arguments)
{
    const Json &rate = arguments["RATE"];
    const Json asked = rate == no_packets ? Json(0) : rate;
    if (is_class_a() && asked == 0)
        throw Refused{"the switch is of class A: it can't turn the CPU port's limit off"};
    if (is_class_b() && rate.is_number() && rate > largest_class_b_packet_rate)
        throw Refused{
            fmt::format("the switch is of class B: its CPU port takes at most {} packets per second",
                        largest_class_b_packet_rate)};
    const bool egress_was_on = egress_of_cpu_port_is_on();
    change(packet_setting(), 0, rate);
    const std::string ended = end_of("egress limit in kbit/s", egress_was_on, egress_of_cpu_port_is_on());
    Json value = packet_limit();
    if (!value["limited"].get<bool>())
        return done("CPU port: packet limit off" + ended, std::move(value));
    const std::string sentence =
        fmt::format("CPU port: limited to {} packets/s{}{}", value["packet_rate"].dump(),
                    rounding(asked, value["packet_rate"], "packets/s"), ended);
    value["asked_packet_rate"] = asked;
    return done(sentence, std::move(value));
}

Json control_mode(uint32_t port) { return {{"mode", shown(control_setting, port)}}; }

Report ingress_control(const Arguments &arguments)
{
    return show_or_set(control_setting, arguments, "MODE", {"mode", "ingress rate control mode"},
                       control_mode);
}

// All of them at a glance: port 8 has no limit of what it receives.
Report show_all(const Arguments &)
{
    Json rows = Json::array();
    for (const uint32_t port : all_ports) {
        const bool receives = port != cpu_port;
        rows.push_back({{"port", port},
                        {"egress", limit_of(egress, port)},
                        {"ingress", receives ? limit_of(ingress, port) : Json()},
                        {"ingress_control", receives ? control_mode(port)["mode"] : Json()}});
    }
    Report report = table("ports",
                          {{"port", "port"},
                           {"/egress/rate", "egress", "kbit/s"},
                           {"/egress/burst", "burst", "kB"},
                           {"/ingress/rate", "ingress", "kbit/s"},
                           {"/ingress/burst", "burst", "kB"},
                           {"ingress_control", "ingress control"}},
                          std::move(rows));
    report.value["cpu"] = packet_limit();
    report.sections.push_back({"cpu", {{"packet_rate", "CPU port limit", "packets/s"}}});
    return report;
}

// "rate egress", "rate egress show" and "rate egress set".
void add_direction(Family &family, const Direction &direction, const Kind &ports, const std::string &what)
{
    const std::string words = fmt::format("rate {}", direction.name);
    family.group(words, fmt::format("Limits of what ports {}", what));
    family.add(
        words + " show", fmt::format("Show how much ports may {}", what),
        [&direction](const Arguments &a) { return show(direction, a); }, ports_to_show(ports));
    family.add(
        words + " set", fmt::format("Limit how much ports may {}; the switch rounds down", what),
        [&direction](const Arguments &a) { return set(direction, a); }, ports_required(ports),
        required("RATE", "64k, 100M, 1.5G or kbit/s; off for no limit", bit_rate),
        optional("--burst", fmt::format("bucket size in kB (default {})", usual_burst),
                 number(0, largest_burst, "kB"), usual_burst));
}

} // namespace

Settings rate_settings() { return settings; }

Family rate_family()
{
    Argument control_ports = ports_to_show(phy_ports());
    control_ports.repeated = false; // a mode may follow
    Family family{"rate", "Rate limits of ports"};
    family.add("rate show", "Show all limits", show_all);
    add_direction(family, egress, any_ports(), "send");
    add_direction(family, ingress, phy_ports(), "receive");
    family.group("rate cpu", "Packet rate of the port that faces the processor");
    family.add("rate cpu show", "Show the packet limit of the CPU port", show_cpu);
    family.add("rate cpu set", "Limit the packets of the CPU port; the switch rounds down", set_cpu,
               required("RATE", "packets per second; off for no limit, on class B", packet_rate));
    family.add("rate ingress-control", "Show or set the ingress rate control of ports", ingress_control,
               control_ports, optional("MODE", "0 to 9", number(0, 9)));
    return family;
}

} // namespace eswctl
