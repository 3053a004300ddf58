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

Report show_cosq(const Arguments &)
{
    Report report;
    if (is_class_a()) {
        uint32_t mode = 0;
        std::array<uint32_t, 4> weights{};
        check(eth_cosq_sched_get(&mode, weights.data()), "read the scheduler");
        report.value = {{"scheduler_mode", mode}, {"weights", weights}};
        report.value["queues"] = for_each_class([](uint32_t priority, uint32_t *queue) {
            return eth_cosq_mapping_get(static_cast<int32_t>(priority), queue);
        });
        report.sections.push_back({"",
                                   {{"scheduler_mode", "scheduler mode"},
                                    {"weights", "weights of queues 0 to 3"},
                                    {"queues", "queues of priorities 0 to 7"}}});
    }
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(nullptr)) {
        uint32_t on = 0;
        check(eth_cosq_enable_get(port, &on), "read the CoS state");
        rows.push_back({{"port", port}, {"cos", on == 1}});
    }
    report.value["ports"] = std::move(rows);
    report.sections.push_back({"ports", {{"port", "port"}, {"cos", "CoS"}}});
    return report;
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
    return done(fmt::format("scheduler in mode {}", mode), {{"scheduler_mode", mode}, {"weights", weights}});
}

Report enable_cosq(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    check(eth_cosq_enable_set(port, on), "switch CoS");
    return done(fmt::format("port {}: CoS {}", port, on ? "on" : "off"), {{"port", port}, {"cos", on}});
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

Report show_port(const Arguments &arguments)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(arguments["PORT"])) {
        uint32_t mode = 0;
        check(eth_cosq_port_dscp2tc_mode_get(port, &mode), "read the DSCP mode");
        Json &row = rows.emplace_back(Json{{"port", port}, {"by_dscp", mode == by_dscp}});
        if (is_class_b())
            append_class_b(row, port);
    }
    std::vector<Column> columns = {{"port", "port"}, {"by_dscp", "by DSCP"}};
    if (is_class_b()) {
        columns.insert(columns.end(), {{"default_class", "default class"},
                                       {"scheduler_mode", "scheduler"},
                                       {"weights", "weights"},
                                       {"queues", "queues of classes"},
                                       {"dropped_classes", "dropped"},
                                       {"class_sources", "class sources"}});
    }
    return table("ports", std::move(columns), std::move(rows));
}

Report show_dscp_map(const Arguments &)
{
    Json rows = Json::array();
    for (uint32_t first = 0; first < 64; first += classes) {
        Json row = for_each_class([=](uint32_t i, uint32_t *tc) {
            return eth_cosq_port_dscp2tc_get(every_port, static_cast<int32_t>(first + i), unused, tc);
        });
        rows.push_back({{"dscp", first}, {"classes", std::move(row)}});
    }
    std::vector<Column> columns = {{"dscp", "DSCP"}};
    append_elements(columns, "classes", "class of +", classes);
    return table("dscp_map", std::move(columns), std::move(rows));
}

Report set_dscp(const Arguments &arguments)
{
    const auto dscp = arguments["DSCP"].get<int32_t>();
    const auto tc = arguments["CLASS"].get<uint32_t>();
    check(eth_cosq_port_dscp2tc_set(every_port, dscp, unused, tc), "set the class of the DSCP");
    return done(fmt::format("DSCP {} has class {}", dscp, tc), {{"dscp", dscp}, {"class", tc}});
}

Report set_dscp_mode(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    check(eth_cosq_port_dscp2tc_mode_set(port, on ? by_dscp : 0), "set the DSCP mode");
    return done(fmt::format("port {}: classification by DSCP {}", port, on ? "on" : "off"),
                {{"port", port}, {"by_dscp", on}});
}

Report set_source(const Arguments &arguments)
{
    require_class_b();
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto index = arguments["INDEX"].get<uint32_t>();
    const auto source = arguments["SOURCE"].get<uint32_t>();
    check(eth_cosq_port_tc_src_set(port, index, source), "set the class source");
    return done(fmt::format("port {}: class source {} set to {}", port, index, source),
                {{"port", port}, {"index", index}, {"class_source", source}});
}

Report set_queue(const Arguments &arguments)
{
    require_class_b();
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto tc = arguments["CLASS"].get<uint32_t>();
    const auto queue = arguments["QUEUE"].get<uint32_t>();
    check(eth_cosq_port_mapping_set(port, tc, queue), "set the queue");
    return done(fmt::format("port {}: class {} goes to queue {}", port, tc, queue),
                {{"port", port}, {"class", tc}, {"queue", queue}});
}

Report set_drop(const Arguments &arguments)
{
    require_class_b();
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto tc = arguments["CLASS"].get<uint32_t>();
    const bool on = arguments["STATE"].get<bool>();
    check(eth_cosq_port_mapping_tc_drop_set(port, tc, on), "set the drop flag");
    return done(fmt::format("port {}: drop flag of class {} {}", port, tc, on ? "on" : "off"),
                {{"port", port}, {"class", tc}, {"drop", on}});
}

Report set_default_class(const Arguments &arguments)
{
    require_class_b();
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto tc = arguments["CLASS"].get<uint32_t>();
    check(eth_cosq_port2tc_set(port, tc), "set the default class");
    return done(fmt::format("port {}: default class {}", port, tc), {{"port", port}, {"default_class", tc}});
}

Report schedule_port(const Arguments &arguments)
{
    require_class_b();
    const auto port = arguments["PORT"].get<uint32_t>();
    const auto mode = arguments["MODE"].get<uint32_t>();
    uint32_t old_mode = 0;
    Json weights = arguments["--weights"];
    if (weights.is_null())
        weights = weights_of(port, old_mode);
    if (weights.is_null())
        weights = Weights{1, 1, 1, 1, 1, 1, 1, 1};
    check(eth_cosq_port_sched_set(port, mode, weights.get<Weights>().data()), "set the scheduler");
    return done(fmt::format("port {}: scheduler in mode {}", port, mode),
                {{"port", port}, {"scheduler_mode", mode}, {"weights", weights}});
}

} // namespace

Family qos_family()
{
    const Kind up_to_7 = number(0, 7);
    const Kind up_to_3 = number(0, 3);
    const Argument port{"PORT", "port: 0, 1 or 8", any_port(), true};
    const Argument state{"STATE", "on or off", on_off(), true};
    const Argument tc{"CLASS", "traffic class, 0 to 7", up_to_7, true};
    return {
        "qos",
        "Traffic classes and queues",
        {
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
            {"qos cosq enable", "Switch CoS on or off for a port", {port, state}, enable_cosq},
            {"qos cosq layer",
             "Select the layer to classify by (class A); each start of the library, as by eswctl, selects 0",
             {{"LAYER", "0 to 3", up_to_3, true}},
             select_layer},
            {"qos port", "Traffic classes and queues of each port (most of it class B)", {}, {}},
            {"qos port show",
             "Show the classes and queues of one port, or of all",
             {{"PORT", "port: 0, 1 or 8", any_port()}},
             show_port},
            {"qos port dscp-map", "Traffic classes of DSCPs, the same at all ports", {}, {}},
            {"qos port dscp-map show", "Show the class of each DSCP", {}, show_dscp_map},
            {"qos port dscp-map set",
             "Set the class of a DSCP",
             {{"DSCP", "0 to 63", number(0, 63), true}, tc},
             set_dscp},
            {"qos port dscp-mode",
             "Switch a port's classification by DSCP on or off",
             {port, state},
             set_dscp_mode},
            {"qos port class-source",
             "Set one of a port's class source selectors (class B)",
             {port, {"INDEX", "0 to 7", up_to_7, true}, {"SOURCE", "0 to 3", up_to_3, true}},
             set_source},
            {"qos port queue",
             "Choose the queue of a class at a port (class B)",
             {port, tc, {"QUEUE", "0 to 7", up_to_7, true}},
             set_queue},
            {"qos port drop",
             "Set or clear the drop flag of a class at a port (class B)",
             {port, tc, state},
             set_drop},
            {"qos port default-class",
             "Set the class of a port's frames that get none otherwise (class B)",
             {port, tc},
             set_default_class},
            {"qos port scheduler",
             "Choose how a port's queues are served (class B)",
             {port,
              {"MODE", "1, 3 or 7", one_of({1, 3, 7}), true},
              {"--weights", "of queues 0 to 7, each 1 to 256 (default: as they are)",
               list_of(classes, number(1, 256))}},
             schedule_port},
        }};
}

} // namespace eswctl
