// SPDX-License-Identifier: LGPL-2.1-or-later
// stat: what passes through the ports.
#include <algorithm>
#include <chrono>
#include <cmath>

#include <esw.h>
#include <fmt/format.h>

#include "chip/registers.h"
#include "eswctl/families.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

constexpr uint64_t first_interval = 1;
constexpr uint64_t last_interval = 3600;

// What is read: a port, or the snapshot in its place.
struct Source {
    uint32_t port;
    std::string key;
    std::string title;
};

const Source snapshot_source{ETH_STAT_SNAPSHOT, "value", "value"};

std::vector<Source> sources(const Json &given)
{
    std::vector<Source> list;
    for (const uint32_t port : ports_in(given))
        list.push_back({port, fmt::format("port{}", port), fmt::format("port {}", port)});
    return list;
}

// The offsets that the raw counters read, in their order: each port's page has the same.
const std::vector<unsigned> &raw_offsets()
{
    static const std::vector<unsigned> offsets = [] {
        std::vector<unsigned> list;
        for (const chip::Register &row : chip::counters("", 0)) {
            for (unsigned i = 0; i < row.count; ++i)
                list.push_back(row.offset + i * row.stride);
        }
        return list;
    }();
    return offsets;
}

// Composite counters have no single offset.
Json offset_of(uint32_t counter)
{
    return counter < ETH_STAT_RAW_FIRST ? Json()
                                        : Json(hex(raw_offsets().at(counter - ETH_STAT_RAW_FIRST), 8));
}

// Those asked for, or every register once.
std::vector<uint32_t> counters(const Json &given)
{
    if (!given.is_null())
        return given.get<std::vector<uint32_t>>();
    std::vector<uint32_t> numbers;
    for (uint32_t number = ETH_STAT_RAW_FIRST; number <= ETH_STAT_LAST; ++number)
        numbers.push_back(number);
    return numbers;
}

uint64_t read_counter(const Source &source, uint32_t counter)
{
    uint64_t value = 0;
    check(ethHw_stat_get(source.port, counter, &value),
          fmt::format("read counter {} of {}", counter, source.title));
    return value;
}

// One row a counter, with a value for each source.
Json read_rows(const std::vector<Source> &from, const std::vector<uint32_t> &numbers)
{
    Json rows = Json::array();
    for (const uint32_t number : numbers) {
        Json row = {{"counter", number}, {"offset", offset_of(number)}};
        for (const Source &source : from)
            row[source.key] = read_counter(source, number);
        rows.push_back(std::move(row));
    }
    return rows;
}

// Counters that were asked for by number are shown at zero too.
bool hides_zeros(const Arguments &arguments)
{
    return arguments["--counter"].is_null() && !arguments.value("--all", false);
}

void drop_zeros(Json &rows, const std::vector<Source> &from)
{
    const auto is_zero = [&](const Json &row) {
        return std::ranges::all_of(from, [&](const Source &source) { return row[source.key] == 0; });
    };
    rows.erase(std::remove_if(rows.begin(), rows.end(), is_zero), rows.end());
}

std::vector<Column> columns_of(const std::vector<Source> &from)
{
    std::vector<Column> columns = {{"counter", "counter"}, {"offset", "offset"}};
    for (const Source &source : from)
        columns.push_back({source.key, source.title});
    return columns;
}

Report counter_table(const Arguments &arguments, const std::vector<Source> &from)
{
    Json rows = read_rows(from, counters(arguments["--counter"]));
    if (hides_zeros(arguments))
        drop_zeros(rows, from);
    return table("counters", columns_of(from), std::move(rows), "all counters are zero");
}

Report show(const Arguments &arguments) { return counter_table(arguments, sources(arguments["PORT"])); }

// How far a counter went. One that went back has come round at 32 bits, or was cleared.
uint64_t progress(uint64_t before, uint64_t now)
{
    if (now >= before)
        return now - before;
    const auto round = static_cast<uint32_t>(now - before);
    return before <= UINT32_MAX && round <= INT32_MAX ? round : now;
}

std::string rate_key(const Source &source) { return fmt::format("rate{}", source.port); }

void add_rates(Json &rows, const Json &before, const std::vector<Source> &from, double seconds)
{
    for (size_t i = 0; i < rows.size(); ++i) {
        for (const Source &source : from) {
            const auto frames = static_cast<double>(
                progress(before[i][source.key].get<uint64_t>(), rows[i][source.key].get<uint64_t>()));
            rows[i][rate_key(source)] = std::llround(frames / seconds);
        }
    }
}

Report watch(const Arguments &arguments)
{
    using Clock = std::chrono::steady_clock;
    const std::vector<Source> from = sources(arguments["PORT"]);
    const std::vector<uint32_t> numbers = counters(arguments["--counter"]);
    std::vector<Column> columns = columns_of(from);
    const bool on_terminal = output_terminal().has_value();
    for (size_t i = from.size(); i > 0; --i)
        columns.insert(columns.begin() + 2 + static_cast<ptrdiff_t>(i),
                       {rate_key(from[i - 1]), on_terminal ? "" : from[i - 1].title, "1/s"});
    if (on_terminal)
        columns.erase(columns.begin() + 1); // with the offsets, three ports are wider than 80 columns

    LiveView view;
    Json before = read_rows(from, numbers);
    Clock::time_point taken = Clock::now();
    for (uint64_t left = arguments["--count"].get<uint64_t>();
         left > 0 && wait_for_next(arguments["--interval"].get<double>()); --left) {
        const Json now = read_rows(from, numbers);
        const Clock::time_point time = Clock::now();
        Json rows = now;
        add_rates(rows, before, from, std::chrono::duration<double>(time - taken).count());
        if (hides_zeros(arguments))
            drop_zeros(rows, from);
        Report report = table("counters", columns, std::move(rows), "all counters are zero");
        report.one_of_many = true;
        view.emit(report);
        before = now;
        taken = time;
    }
    return {nullptr};
}

// The reset is one for all ports; the library takes any of them.
Report clear(const Arguments &)
{
    check(eth_stat_clear(0), "clear the counters");
    return done("counters of all ports cleared", {{"ports", {0, 1, 8}}, {"cleared", true}});
}

// The snapshot control register keeps the port of the latest snapshot.
uint32_t latched_port()
{
    constexpr uint8_t page = 0x70, offset = 0x00, width = 8;
    constexpr uint32_t port = 0xF;
    return esw_reg_read32(page, offset, width) & port;
}

Report snapshot(const Arguments &arguments)
{
    if (!arguments["--mode"].is_null())
        check(eth_stat_snapshot_mode_set(arguments["--mode"].get<int32_t>()), "set the snapshot mode");
    if (!arguments["PORT"].is_null())
        check(eth_stat_snapshot_start(arguments["PORT"].get<uint32_t>()), "latch the counters");
    uint32_t mode = 0;
    check(eth_stat_snapshot_mode_get(&mode), "read the snapshot mode");
    Report report = record({{"port", "latched now"}, {"of", "counters of port"}, {"mode", "mode"}},
                           {{"port", arguments["PORT"]}, {"of", latched_port()}, {"mode", mode}});
    Report latched = counter_table(arguments, {snapshot_source});
    report.value.update(latched.value);
    report.sections.push_back(latched.sections.front());
    return report;
}

constexpr const char *metrics[][3] = {
    {"esw_info", "gauge", "The switch and the tool that reads it."},
    {"esw_port_link_up", "gauge", "Whether the port has a link."},
    {"esw_port_speed_bits_per_second", "gauge", "The speed of the port's link, where it has one."},
    {"esw_mib_counter_total", "counter", "A MIB counter of a switch port, by number and register offset."},
};

std::string samples(const std::string &metric, const Source &source)
{
    const std::string port = fmt::format("{}{{port=\"{}\"", metric, source.port);
    if (metric == "esw_mib_counter_total") {
        std::string text;
        for (const uint32_t counter : counters(nullptr))
            text += fmt::format("{},counter=\"{}\",offset=\"{}\"}} {}\n", port, counter,
                                offset_of(counter).get<std::string>(), read_counter(source, counter));
        return text;
    }
    const Json link = link_of(source.port);
    const bool up = link["link"] == "up";
    if (metric == "esw_port_link_up")
        return fmt::format("{}}} {:d}\n", port, up);
    return up ? fmt::format("{}}} {}000000\n", port, link["speed"].get<int>()) : "";
}

// The text format of Prometheus, as a node exporter takes it from the *.prom files of a directory.
std::string as_prometheus(const std::vector<Source> &from)
{
    std::string text;
    for (const auto &[metric, type, help] : metrics) {
        text += fmt::format("# HELP {0} {2}\n# TYPE {0} {1}\n", metric, type, help);
        if (metric == std::string("esw_info"))
            text += fmt::format("esw_info{{device_id=\"{:#x}\",class=\"{}\",version=\"{}\"}} 1\n", gESWID,
                                is_class_a() ? "A" : "B", ESW_VERSION);
        for (const Source &source : from)
            text += metric == std::string("esw_info") ? "" : samples(metric, source);
    }
    return text;
}

Report write_export(const Arguments &arguments)
{
    const std::string text = as_prometheus(sources(arguments["PORT"]));
    Json value = {{"format", arguments["--format"]}};
    if (arguments["--output"].is_null() || arguments["--output"] == "-") {
        value["text"] = text;
        return {.value = std::move(value), .text = text};
    }
    const auto file = arguments["--output"].get<std::string>();
    write_file(file, text);
    value["file"] = file;
    return done(fmt::format("counters written to {}", file), std::move(value));
}

} // namespace

Family stat_family()
{
    const Argument ports = ports_to_show(any_ports());
    const Argument all = flag("--all", "show counters at zero too");
    const Argument numbers =
        several(optional("--counter", "only these counters: numbers 0 to 153", number(0, ETH_STAT_LAST)));
    Family family{"stat", "MIB counters and snapshots"};
    family.add("stat show",
               "Show counters; 105 to 153 are the registers in order, lower numbers are composed of them",
               show, ports, all, numbers);
    family.add_watch("stat watch", "Show counters and their rates again and again, until Ctrl-C", watch,
                     ports, all, numbers,
                     optional("--interval", "between two looks (default 1)",
                              number(first_interval, last_interval, "seconds"), first_interval),
                     optional("--count", "end after so many looks", number(1, UINT32_MAX), UINT64_MAX));
    family.add_asking("stat clear", "Clear the counters of all ports", clear);
    family.add("stat snapshot",
               "Show the latched counters, of the port that is given or of the one latched last", snapshot,
               optional("PORT", "port to latch first: 0, 1 or 8", any_port()),
               optional("--mode", "set the snapshot mode bit: 0 or 1", number(0, 1)), all, numbers);
    family.add("stat export", "Print or write the counters for a monitoring system", write_export, ports,
               optional("--format", "prometheus (default)", choice({"prometheus"}), "prometheus"),
               optional("--output", "write this file, which nobody sees half written; - for standard output",
                        file_name()));
    return family;
}

} // namespace eswctl
