// SPDX-License-Identifier: LGPL-2.1-or-later
// qos: queues of the whole switch (class A), traffic classes and queues of each port (class B).
#include <algorithm>
#include <array>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t every_port = 0xFFFFFFFF; // how the library names the one DSCP map
constexpr uint32_t unused = 0;
constexpr int32_t by_dscp = 2;
constexpr uint32_t no_mode = 0xFF;
constexpr size_t dscps = 64;
constexpr size_t classes = 8; // as many as there are priorities, and queues of a port

const Arguments every_port_shown = {{"PORT", all_ports}};

// One behind the other.
Report append(Report first, const Report &second)
{
    first.value.update(second.value);
    first.sections.insert(first.sections.end(), second.sections.begin(), second.sections.end());
    return first;
}

void require_class_a()
{
    if (!is_class_a())
        throw Refused{"the switch is of class B: it has no queues of the whole switch; see eswctl qos port"};
}

void require_class_b()
{
    if (!is_class_b())
        throw Refused{"the switch is of class A: its ports have no queues and classes; see eswctl qos cosq"};
}

// ---- Settings

template <auto get>
Json read_indexed(uint32_t port, size_t index)
{
    uint32_t value = 0;
    get(port, static_cast<uint32_t>(index), &value);
    return value;
}

template <auto set>
int32_t write_indexed(uint32_t port, size_t index, const Json &value)
{
    return set(port, static_cast<uint32_t>(index), value);
}

Json read_queue(uint32_t, size_t priority)
{
    uint32_t queue = 0;
    eth_cosq_mapping_get(static_cast<int32_t>(priority), &queue);
    return queue;
}

int32_t write_queue(uint32_t, size_t priority, const Json &queue)
{
    return eth_cosq_mapping_set(static_cast<int32_t>(priority), queue);
}

Json read_dscp(uint32_t, size_t dscp)
{
    uint32_t tc = 0;
    eth_cosq_port_dscp2tc_get(every_port, static_cast<int32_t>(dscp), unused, &tc);
    return tc;
}

int32_t write_dscp(uint32_t, size_t dscp, const Json &tc)
{
    return eth_cosq_port_dscp2tc_set(every_port, static_cast<int32_t>(dscp), unused, tc);
}

using SwitchWeights = std::array<int32_t, 4>;
constexpr SwitchWeights equal_weights = {1, 1, 1, 1};
constexpr uint32_t equal_mode = 2; // the weights are 1 each
constexpr uint32_t weighted_mode = 3;

Json read_switch_scheduler(uint32_t)
{
    uint32_t mode = 0;
    std::array<uint32_t, 4> weights{};
    eth_cosq_sched_get(&mode, weights.data());
    return mode == weighted_mode ? Json{{"mode", mode}, {"weights", weights}} : Json{{"mode", mode}};
}

int32_t write_switch_scheduler(uint32_t, const Json &scheduler)
{
    const auto weights = scheduler.value("weights", SwitchWeights{});
    return eth_cosq_sched_set(scheduler["mode"], weights.data());
}

Form switch_scheduler_form(uint32_t)
{
    return either_form({record_form({{"mode", numbers_form({1, equal_mode})}}),
                        record_form({{"mode", constant_form(weighted_mode)},
                                     {"weights", array_form(4, integer_form(0, 255))}})});
}

// The switch holds a weight of 256 as 0.
using Weights = std::array<int32_t, classes>;

Json read_port_scheduler(uint32_t port)
{
    uint32_t mode = 0;
    Weights weights{};
    eth_cosq_port_sched_get(port, &mode, weights.data());
    std::ranges::replace(weights, 0, 256);
    return {{"mode", mode}, {"weights", weights}};
}

int32_t write_port_scheduler(uint32_t port, const Json &scheduler)
{
    return eth_cosq_port_sched_set(port, scheduler["mode"], scheduler["weights"].get<Weights>().data());
}

Form port_scheduler_form(uint32_t)
{
    return record_form(
        {{"mode", numbers_form({1, 3, 7})}, {"weights", array_form(classes, integer_form(1, 256))}});
}

constexpr Setting queues_setting =
    setting("qos.queue_map", "queue of priority", once, "each: qos cosq map {index} {value}",
            accepted::integers<classes, 0, 3>,
            by(read_each<read_queue, classes>, write_each<write_queue>, "eth_cosq_mapping_set"))
        .with(&Setting::devices, Devices::class_a);
constexpr Setting switch_scheduler_setting =
    setting("qos.scheduler", "scheduler", once,
            "qos cosq scheduler {mode} --weights {weights}|qos cosq scheduler {mode}", switch_scheduler_form,
            by(read_switch_scheduler, write_switch_scheduler, "eth_cosq_sched_set"))
        .with(&Setting::devices, Devices::class_a)
        .with(&Setting::settled, [](uint32_t, const Json &scheduler) {
            return scheduler.value("weights", SwitchWeights{}) == equal_weights ? Json{{"mode", equal_mode}}
                                                                                : scheduler;
        });
constexpr Setting sources_setting =
    setting("qos.port{}.class_sources", "port {}: class source", each_port,
            "each: qos port class-source {instance} {index} {value}", accepted::integers<classes, 0, 3>,
            by(read_each<read_indexed<eth_cosq_port_tc_src_get>, classes>,
               write_each<write_indexed<eth_cosq_port_tc_src_set>>, "eth_cosq_port_tc_src_set"))
        .with(&Setting::devices, Devices::class_b);
constexpr Setting port_queues_setting =
    setting("qos.port{}.class_queues", "port {}: queue of TC", each_port,
            "each: qos port queue {instance} {index} {value}", accepted::integers<classes, 0, 7>,
            by(read_each<read_indexed<eth_cosq_port_mapping_get>, classes>,
               write_each<write_indexed<eth_cosq_port_mapping_set>>, "eth_cosq_port_mapping_set"))
        .with(&Setting::devices, Devices::class_b);
constexpr Setting drops_setting =
    setting("qos.port{}.class_drops", "port {}: drop flag of TC", each_port,
            "each: qos port drop {instance} {index} {switch}", accepted::integers<classes, 0, 1>,
            by(read_each<read_indexed<eth_cosq_port_mapping_tc_drop_get>, classes>,
               write_each<write_indexed<eth_cosq_port_mapping_tc_drop_set>>,
               "eth_cosq_port_mapping_tc_drop_set"))
        .with(&Setting::devices, Devices::class_b);
constexpr Setting port_scheduler_setting =
    setting("qos.port{}.scheduler", "port {}: scheduler", each_port,
            "qos port scheduler {instance} {mode} --weights {weights}", port_scheduler_form,
            by(read_port_scheduler, write_port_scheduler, "eth_cosq_port_sched_set"))
        .with(&Setting::devices, Devices::class_b);
constexpr Setting default_class_setting =
    setting("qos.port{}.default_class", "port {}: default TC", each_port,
            "qos port default-class {instance} {value}", accepted::integer<0, 7>,
            by_value<eth_cosq_port2tc_get, eth_cosq_port2tc_set>)
        .with(&Setting::devices, Devices::class_b);
constexpr Setting cos_setting =
    setting("qos.cos", "ports with CoS", once, "qos cosq enable {in} on\nqos cosq enable {out} off",
            accepted::ports, by_ports<eth_cosq_enable_get, eth_cosq_enable_set>);
constexpr Setting dscp_ports_setting =
    setting("qos.dscp", "ports that classify by DSCP", once,
            "qos port dscp-mode {in} on\nqos port dscp-mode {out} off", accepted::ports,
            by_ports<eth_cosq_port_dscp2tc_mode_get, eth_cosq_port_dscp2tc_mode_set, by_dscp>);
constexpr Setting dscp_setting =
    setting("qos.dscp_classes", "TC of DSCP", once, "each: qos port dscp-map set {index} {value}",
            accepted::integers<dscps, 0, 7>,
            by(read_each<read_dscp, dscps>, write_each<write_dscp>, "eth_cosq_port_dscp2tc_set"));
constexpr Setting settings[] = {
    sources_setting, port_queues_setting, drops_setting, port_scheduler_setting, default_class_setting,
    cos_setting,     dscp_ports_setting,  dscp_setting,  queues_setting,         switch_scheduler_setting};

// ---- Commands

// What class A has for the whole switch.
Json scheduler_of_switch()
{
    uint32_t mode = 0;
    std::array<uint32_t, 4> weights{};
    check(eth_cosq_sched_get(&mode, weights.data()), "read the scheduler");
    return {{"scheduler_mode", mode}, {"weights", weights}, {"queues", queues_setting.read(0)}};
}

const Section scheduler_section = {"",
                                   {{"scheduler_mode", "scheduler mode"},
                                    {"weights", "weights of queues 0 to 3"},
                                    {"queues", "queues of priorities 0 to 7"}}};

Json cos_of(uint32_t port) { return {{"cos", read_flag<eth_cosq_enable_get>(port)}}; }

Report show_scheduler()
{
    return is_class_a() ? Report{scheduler_of_switch(), {scheduler_section}} : Report{};
}

// The ports have been read by then, whatever order a compiler has for arguments.
Report below_scheduler(const Report &ports) { return append(show_scheduler(), ports); }

Report show_cosq(const Arguments &)
{
    return below_scheduler(port_table(every_port_shown, {{"cos", "CoS"}}, cos_of));
}

Report map_cosq(const Arguments &arguments)
{
    require_class_a();
    const auto priority = arguments["PRIORITY"].get<int32_t>();
    const auto queue = arguments["QUEUE"].get<uint32_t>();
    check(eth_cosq_mapping_set(priority, queue), "set the queue");
    return done(fmt::format("priority {} goes to queue {}", priority, queue),
                {{"priority", priority}, {"queue", queue}});
}

Report schedule_cosq(const Arguments &arguments)
{
    require_class_a();
    const auto mode = arguments["MODE"].get<uint32_t>();
    const Json &weights = arguments["--weights"];
    if (weights.is_array() != (mode == 3))
        throw UsageError{mode == 3 ? "mode 3 needs --weights" : "--weights: for mode 3 only"};
    const auto given = mode == 3 ? weights.get<std::array<int32_t, 4>>() : std::array<int32_t, 4>{};
    check(eth_cosq_sched_set(mode, given.data()), "set the scheduler");
    return done(fmt::format("scheduler mode {}", mode), {{"scheduler_mode", mode}, {"weights", weights}});
}

Report select_layer(const Arguments &arguments)
{
    require_class_a();
    const auto layer = arguments["LAYER"].get<int32_t>();
    check(eth_cosq_ip_mac_layer_set(layer), "select the layer");
    return done(fmt::format("layer {} selected until a program starts the library anew", layer),
                {{"layer", layer}});
}

Json classes_of(uint32_t port)
{
    Json row = {{"by_dscp", read_flag<eth_cosq_port_dscp2tc_mode_get>(port)}};
    if (is_class_a())
        return row;
    const Json scheduler = read_port_scheduler(port);
    const bool has_mode = scheduler["mode"] != no_mode;
    row["default_class"] = default_class_setting.read(port);
    row["scheduler_mode"] = has_mode ? scheduler["mode"] : Json();
    row["weights"] = has_mode ? scheduler["weights"] : Json();
    row["queues"] = port_queues_setting.read(port);
    row["dropped_classes"] = Json::array();
    const Json drops = drops_setting.read(port);
    for (size_t tc = 0; tc < classes; ++tc) {
        if (drops[tc] != 0)
            row["dropped_classes"].push_back(tc);
    }
    row["class_sources"] = sources_setting.read(port);
    return row;
}

std::vector<Column> class_columns()
{
    if (is_class_a())
        return {{"by_dscp", "by DSCP"}};
    return {{"by_dscp", "by DSCP"},          {"default_class", "default TC"},
            {"scheduler_mode", "scheduler"}, {"weights", "weights"},
            {"queues", "queues of TCs"},     {"dropped_classes", "dropped TCs"},
            {"class_sources", "TC sources"}};
}

Report show_port(const Arguments &arguments) { return port_table(arguments, class_columns(), classes_of); }

Report show_dscp_map(const Arguments &)
{
    Json rows = Json::array();
    const Json all = dscp_setting.read(0);
    for (size_t first = 0; first < dscps; first += classes) {
        const auto row = all.begin() + static_cast<std::ptrdiff_t>(first);
        rows.push_back({{"dscp", first}, {"traffic_classes", std::vector<Json>(row, row + classes)}});
    }
    std::vector<Column> columns = {{"dscp", "DSCP"}};
    append_elements(columns, "traffic_classes", "TC of +", classes);
    return table("dscp_map", std::move(columns), std::move(rows));
}

Report show(const Arguments &arguments)
{
    std::vector<Column> columns = class_columns();
    columns.insert(columns.begin(), {"cos", "CoS"});
    Report report = below_scheduler(port_table(every_port_shown, std::move(columns), [](uint32_t port) {
        Json row = cos_of(port);
        row.update(classes_of(port));
        return row;
    }));
    return append(std::move(report), show_dscp_map(arguments));
}

Report set_dscp(const Arguments &arguments)
{
    const auto dscp = arguments["DSCP"].get<int32_t>();
    const auto tc = arguments["TC"].get<uint32_t>();
    check(eth_cosq_port_dscp2tc_set(every_port, dscp, unused, tc), "set the class of the DSCP");
    return done(fmt::format("DSCP {} has TC {}", dscp, tc), {{"dscp", dscp}, {"traffic_class", tc}});
}

int32_t by_dscp_or_not(uint32_t port, const Arguments &arguments)
{
    return eth_cosq_port_dscp2tc_mode_set(port, arguments["STATE"].get<bool>() ? by_dscp : 0);
}

template <auto set, typename... Names>
PortCall of_class_b(Names... names)
{
    return [=](uint32_t port, const Arguments &arguments) {
        require_class_b();
        return set(port, arguments[names]...);
    };
}

Report schedule_port(const Arguments &arguments)
{
    require_class_b();
    const auto mode = arguments["MODE"].get<uint32_t>();
    return set_ports(arguments, fmt::format("scheduler mode {}", mode), [&](uint32_t port) {
        const Json present = read_port_scheduler(port);
        Json weights = arguments["--weights"];
        if (weights.is_null())
            weights = present["mode"] == no_mode ? Json(std::vector<int>(classes, 1)) : present["weights"];
        change(port_scheduler_setting, port, {{"mode", mode}, {"weights", weights}});
        return Json{{"scheduler_mode", mode}, {"weights", weights}};
    });
}

} // namespace

Settings qos_settings() { return settings; }

Family qos_family()
{
    const Kind up_to_7 = number(0, 7);
    const Kind up_to_3 = number(0, 3);
    const Argument ports = ports_required(any_ports());
    const Argument state = required("STATE", "on or off", on_off());
    const Argument tc = required("TC", "traffic class, 0 to 7", up_to_7);
    Family family{"qos", "Traffic classes and queues"};
    family.add("qos show", "Show all of the classes and queues", show);
    family.group("qos cosq", "Queues of the whole switch (class A), and CoS of each port");
    family.add("qos cosq show", "Show the queues, their scheduler, and which ports have CoS on", show_cosq);
    family.add("qos cosq map", "Choose the queue of a priority (class A)", map_cosq,
               required("PRIORITY", "0 to 7", up_to_7), required("QUEUE", "0 to 3", up_to_3));
    family.add("qos cosq scheduler", "Choose how the queues are served (class A)", schedule_cosq,
               required("MODE", "1, 2 or 3; mode 3 has weights", one_of({1, 2, 3})),
               optional("--weights", "of queues 0 to 3, such as 4,3,2,1", list_of(4, number(0, 255))));
    family.add("qos cosq enable", "Switch CoS of ports on or off",
               at_ports("CoS {1}", "switch CoS of port {0}", {{"cos", "STATE"}},
                        by_call<eth_cosq_enable_set>("STATE")),
               ports, state);
    family.add(
        "qos cosq layer",
        "Select the layer to classify by (class A); each start of the library, as by eswctl, selects 0",
        select_layer, required("LAYER", "0 to 3", up_to_3));
    family.group("qos port", "Traffic classes and queues of each port (most of it class B)");
    family.add("qos port show", "Show the classes and queues of ports", show_port,
               ports_to_show(any_ports()));
    family.group("qos port dscp-map", "Traffic classes of DSCPs, the same at all ports");
    family.add("qos port dscp-map show", "Show the class of each DSCP", show_dscp_map);
    family.add("qos port dscp-map set", "Set the class of a DSCP", set_dscp,
               required("DSCP", "0 to 63", number(0, 63)), tc);
    family.add("qos port dscp-mode", "Switch the classification by DSCP of ports on or off",
               at_ports("classification by DSCP {1}", "set the DSCP mode of port {0}", {{"by_dscp", "STATE"}},
                        by_dscp_or_not),
               ports, state);
    family.add("qos port class-source", "Set one of the class source selectors of ports (class B)",
               at_ports("class source {1} set to {2}", "set the class source of port {0}",
                        {{"index", "INDEX"}, {"class_source", "SOURCE"}},
                        of_class_b<eth_cosq_port_tc_src_set>("INDEX", "SOURCE")),
               ports, required("INDEX", "0 to 7", up_to_7), required("SOURCE", "0 to 3", up_to_3));
    family.add("qos port queue", "Choose the queue of a class at ports (class B)",
               at_ports("TC {1} goes to queue {2}", "set the queue at port {0}",
                        {{"traffic_class", "TC"}, {"queue", "QUEUE"}},
                        of_class_b<eth_cosq_port_mapping_set>("TC", "QUEUE")),
               ports, tc, required("QUEUE", "0 to 7", up_to_7));
    family.add("qos port drop", "Set or clear the drop flag of a class at ports (class B)",
               at_ports("drop flag of TC {1} {2}", "set the drop flag at port {0}",
                        {{"traffic_class", "TC"}, {"drop", "STATE"}},
                        of_class_b<eth_cosq_port_mapping_tc_drop_set>("TC", "STATE")),
               ports, tc, state);
    family.add("qos port default-class", "Set the class of frames at ports that get none otherwise (class B)",
               at_ports("default TC {1}", "set the default class of port {0}", {{"default_class", "TC"}},
                        of_class_b<eth_cosq_port2tc_set>("TC")),
               ports, tc);
    family.add("qos port scheduler", "Choose how the queues of ports are served (class B)", schedule_port,
               ports, required("MODE", "1, 3 or 7", one_of({1, 3, 7})),
               optional("--weights", "of queues 0 to 7, each 1 to 256 (default: as they are)",
                        list_of(classes, number(1, 256))));
    return family;
}

} // namespace eswctl
