// SPDX-License-Identifier: LGPL-2.1-or-later
// qos: queues of the whole switch (class A), traffic classes and queues of each port (class B).
#include <algorithm>
#include <array>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint32_t every_port = 0xFFFFFFFF; // how the library names the one DSCP map
constexpr uint32_t unused = 0;
constexpr uint32_t by_dscp = 2;
constexpr uint32_t no_mode = 0xFF;
constexpr unsigned classes = 8; // as many as there are priorities, and queues of a port

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

// The results of one call for 0 to 7.
Json for_each_class(const std::function<int32_t(uint32_t number, uint32_t *value)> &get)
{
    Json values = Json::array();
    for (uint32_t number = 0; number < classes; ++number) {
        uint32_t value = 0;
        check(get(number, &value), "read the queues and classes");
        values.push_back(value);
    }
    return values;
}

// What class A has for the whole switch.
Json scheduler_of_switch()
{
    uint32_t mode = 0;
    std::array<uint32_t, 4> weights{};
    check(eth_cosq_sched_get(&mode, weights.data()), "read the scheduler");
    Json value = {{"scheduler_mode", mode}, {"weights", weights}};
    value["queues"] = for_each_class([](uint32_t priority, uint32_t *queue) {
        return eth_cosq_mapping_get(static_cast<int32_t>(priority), queue);
    });
    return value;
}

const Section scheduler_section = {"",
                                   {{"scheduler_mode", "scheduler mode"},
                                    {"weights", "weights of queues 0 to 3"},
                                    {"queues", "queues of priorities 0 to 7"}}};

Json cos_of(uint32_t port)
{
    uint32_t on = 0;
    check(eth_cosq_enable_get(port, &on), fmt::format("read the CoS state of port {}", port));
    return {{"cos", on == 1}};
}

Report show_cosq(const Arguments &)
{
    Report report;
    if (is_class_a()) {
        report.value = scheduler_of_switch();
        report.sections.push_back(scheduler_section);
    }
    return append(std::move(report), port_table(every_port_shown, {{"cos", "CoS"}}, cos_of));
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

Report enable_cosq(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    return set_ports(arguments, fmt::format("CoS {}", on_or_off(on)), [=](uint32_t port) {
        check(eth_cosq_enable_set(port, on), fmt::format("switch CoS of port {}", port));
        return Json{{"cos", on}};
    });
}

Report select_layer(const Arguments &arguments)
{
    require_class_a();
    const auto layer = arguments["LAYER"].get<int32_t>();
    check(eth_cosq_ip_mac_layer_set(layer), "select the layer");
    return done(fmt::format("layer {} selected until a program starts the library anew", layer),
                {{"layer", layer}});
}

Json drops_of(uint32_t port)
{
    Json dropped = Json::array();
    const Json flags = for_each_class(
        [=](uint32_t tc, uint32_t *flag) { return eth_cosq_port_mapping_tc_drop_get(port, tc, flag); });
    for (unsigned tc = 0; tc < classes; ++tc) {
        if (flags[tc] != 0)
            dropped.push_back(tc);
    }
    return dropped;
}

using Weights = std::array<int32_t, classes>;

// The switch holds a weight of 256 as 0. Null where the scheduler is in none of the library's modes.
Json weights_of(uint32_t port, uint32_t &mode)
{
    Weights weights{};
    check(eth_cosq_port_sched_get(port, &mode, weights.data()), "read the scheduler");
    std::ranges::replace(weights, 0, 256);
    return mode == no_mode ? Json() : Json(weights);
}

void append_class_b(Json &row, uint32_t port)
{
    uint32_t tc = 0;
    uint32_t mode = 0;
    check(eth_cosq_port2tc_get(port, &tc), "read the default class");
    Json weights = weights_of(port, mode);
    row["default_class"] = tc;
    row["scheduler_mode"] = mode == no_mode ? Json() : Json(mode);
    row["weights"] = std::move(weights);
    row["queues"] = for_each_class(
        [=](uint32_t number, uint32_t *queue) { return eth_cosq_port_mapping_get(port, number, queue); });
    row["dropped_classes"] = drops_of(port);
    row["class_sources"] = for_each_class(
        [=](uint32_t index, uint32_t *source) { return eth_cosq_port_tc_src_get(port, index, source); });
}

Json classes_of(uint32_t port)
{
    uint32_t mode = 0;
    check(eth_cosq_port_dscp2tc_mode_get(port, &mode), fmt::format("read the DSCP mode of port {}", port));
    Json row = {{"by_dscp", mode == by_dscp}};
    if (is_class_b())
        append_class_b(row, port);
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
    for (uint32_t first = 0; first < 64; first += classes) {
        Json row = for_each_class([=](uint32_t i, uint32_t *tc) {
            return eth_cosq_port_dscp2tc_get(every_port, static_cast<int32_t>(first + i), unused, tc);
        });
        rows.push_back({{"dscp", first}, {"traffic_classes", std::move(row)}});
    }
    std::vector<Column> columns = {{"dscp", "DSCP"}};
    append_elements(columns, "traffic_classes", "TC of +", classes);
    return table("dscp_map", std::move(columns), std::move(rows));
}

Report show(const Arguments &arguments)
{
    Report report;
    if (is_class_a()) {
        report.value = scheduler_of_switch();
        report.sections.push_back(scheduler_section);
    }
    std::vector<Column> columns = class_columns();
    columns.insert(columns.begin(), {"cos", "CoS"});
    report = append(std::move(report), port_table(every_port_shown, std::move(columns), [](uint32_t port) {
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

Report set_dscp_mode(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    return set_ports(arguments, fmt::format("classification by DSCP {}", on_or_off(on)), [=](uint32_t port) {
        check(eth_cosq_port_dscp2tc_mode_set(port, on ? by_dscp : 0),
              fmt::format("set the DSCP mode of port {}", port));
        return Json{{"by_dscp", on}};
    });
}

Report set_source(const Arguments &arguments)
{
    require_class_b();
    const auto index = arguments["INDEX"].get<uint32_t>();
    const auto source = arguments["SOURCE"].get<uint32_t>();
    return set_ports(arguments, fmt::format("class source {} set to {}", index, source), [=](uint32_t port) {
        check(eth_cosq_port_tc_src_set(port, index, source),
              fmt::format("set the class source of port {}", port));
        return Json{{"index", index}, {"class_source", source}};
    });
}

Report set_queue(const Arguments &arguments)
{
    require_class_b();
    const auto tc = arguments["TC"].get<uint32_t>();
    const auto queue = arguments["QUEUE"].get<uint32_t>();
    return set_ports(arguments, fmt::format("TC {} goes to queue {}", tc, queue), [=](uint32_t port) {
        check(eth_cosq_port_mapping_set(port, tc, queue), fmt::format("set the queue at port {}", port));
        return Json{{"traffic_class", tc}, {"queue", queue}};
    });
}

Report set_drop(const Arguments &arguments)
{
    require_class_b();
    const auto tc = arguments["TC"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    return set_ports(arguments, fmt::format("drop flag of TC {} {}", tc, on_or_off(on)), [=](uint32_t port) {
        check(eth_cosq_port_mapping_tc_drop_set(port, tc, on),
              fmt::format("set the drop flag at port {}", port));
        return Json{{"traffic_class", tc}, {"drop", on}};
    });
}

Report set_default_class(const Arguments &arguments)
{
    require_class_b();
    const auto tc = arguments["TC"].get<uint32_t>();
    return set_ports(arguments, fmt::format("default TC {}", tc), [=](uint32_t port) {
        check(eth_cosq_port2tc_set(port, tc), fmt::format("set the default class of port {}", port));
        return Json{{"default_class", tc}};
    });
}

Report schedule_port(const Arguments &arguments)
{
    require_class_b();
    const auto mode = arguments["MODE"].get<uint32_t>();
    return set_ports(arguments, fmt::format("scheduler mode {}", mode), [&](uint32_t port) {
        uint32_t old_mode = 0;
        Json weights = arguments["--weights"];
        if (weights.is_null())
            weights = weights_of(port, old_mode);
        if (weights.is_null())
            weights = Weights{1, 1, 1, 1, 1, 1, 1, 1};
        check(eth_cosq_port_sched_set(port, mode, weights.get<Weights>().data()),
              fmt::format("set the scheduler of port {}", port));
        return Json{{"scheduler_mode", mode}, {"weights", weights}};
    });
}

} // namespace

Family qos_family()
{
    const Kind up_to_7 = number(0, 7);
    const Kind up_to_3 = number(0, 3);
    const Argument ports = ports_required(any_ports());
    const Argument state{"STATE", "on or off", on_off(), true};
    const Argument tc{"TC", "traffic class, 0 to 7", up_to_7, true};
    return {
        "qos",
        "Traffic classes and queues",
        {
            {"qos show", "Show all of the classes and queues", {}, show},
            {"qos cosq", "Queues of the whole switch (class A), and CoS of each port", {}, {}},
            {"qos cosq show", "Show the queues, their scheduler, and which ports have CoS on", {}, show_cosq},
            {"qos cosq map",
             "Choose the queue of a priority (class A)",
             {{"PRIORITY", "0 to 7", up_to_7, true}, {"QUEUE", "0 to 3", up_to_3, true}},
             map_cosq},
            {"qos cosq scheduler",
             "Choose how the queues are served (class A)",
             {{"MODE", "1, 2 or 3; mode 3 has weights", one_of({1, 2, 3}), true},
              {"--weights", "of queues 0 to 3, such as 4,3,2,1", list_of(4, number(0, 255))}},
             schedule_cosq},
            {"qos cosq enable", "Switch CoS of ports on or off", {ports, state}, enable_cosq},
            {"qos cosq layer",
             "Select the layer to classify by (class A); each start of the library, as by eswctl, selects 0",
             {{"LAYER", "0 to 3", up_to_3, true}},
             select_layer},
            {"qos port", "Traffic classes and queues of each port (most of it class B)", {}, {}},
            {"qos port show",
             "Show the classes and queues of ports",
             {ports_to_show(any_ports())},
             show_port},
            {"qos port dscp-map", "Traffic classes of DSCPs, the same at all ports", {}, {}},
            {"qos port dscp-map show", "Show the class of each DSCP", {}, show_dscp_map},
            {"qos port dscp-map set",
             "Set the class of a DSCP",
             {{"DSCP", "0 to 63", number(0, 63), true}, tc},
             set_dscp},
            {"qos port dscp-mode",
             "Switch the classification by DSCP of ports on or off",
             {ports, state},
             set_dscp_mode},
            {"qos port class-source",
             "Set one of the class source selectors of ports (class B)",
             {ports, {"INDEX", "0 to 7", up_to_7, true}, {"SOURCE", "0 to 3", up_to_3, true}},
             set_source},
            {"qos port queue",
             "Choose the queue of a class at ports (class B)",
             {ports, tc, {"QUEUE", "0 to 7", up_to_7, true}},
             set_queue},
            {"qos port drop",
             "Set or clear the drop flag of a class at ports (class B)",
             {ports, tc, state},
             set_drop},
            {"qos port default-class",
             "Set the class of frames at ports that get none otherwise (class B)",
             {ports, tc},
             set_default_class},
            {"qos port scheduler",
             "Choose how the queues of ports are served (class B)",
             {ports,
              {"MODE", "1, 3 or 7", one_of({1, 3, 7}), true},
              {"--weights", "of queues 0 to 7, each 1 to 256 (default: as they are)",
               list_of(classes, number(1, 256))}},
             schedule_port},
        }};
}

} // namespace eswctl
