// SPDX-License-Identifier: LGPL-2.1-or-later
// control: the numbered switch-wide settings.
#include <algorithm>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

enum Kinds { bit, value, code };
constexpr const char *kind_names[] = {"bit", "value", "code"};

// Types first to last lie in one register, `step` bits apart.
struct Run {
    uint32_t first, last;
    uint8_t page, offset;
    int low; // of the first
    int step;
    int bits;
    Kinds kind;
};
constexpr Run runs[] = {
    {0, 2, 0x00, 0x08, 2, 1, 1, bit},      {3, 3, 0x02, 0x00, 1, 0, 1, bit},
    {4, 16, 0x36, 0x00, 13, -1, 1, bit},   {18, 18, 0x36, 0x04, 0, 0, 8, value},
    {19, 19, 0x36, 0x08, 0, 0, 32, value}, {20, 20, 0x36, 0x0C, 0, 0, 32, value},
    {21, 25, 0x02, 0x50, 9, 2, 2, code},   {27, 28, 0x00, 0x0B, 1, -1, 1, bit},
    {29, 29, 0x02, 0x50, 8, 0, 1, bit},
};

const Run *run_of(uint64_t type)
{
    const Run *found =
        std::ranges::find_if(runs, [=](const Run &run) { return run.first <= type && type <= run.last; });
    return found == std::end(runs) ? nullptr : found;
}

Kind control_type()
{
    return {"a number from 0 to 29, but not 17 or 26", [](const std::string &text) -> Json {
                Json type = number(0, UINT32_MAX).parse(text);
                return type.is_null() || !run_of(type.get<uint64_t>()) ? Json() : type;
            }};
}

Form control_form(uint32_t type)
{
    const Run &run = *run_of(type);
    return run.kind == code ? numbers_form({2, 4, 8}) : integer_form(0, (uint64_t{1} << run.bits) - 1);
}

// All but 17 and 26, which there are not.
constexpr Instance each_type[] = {{"0", 0},   {"1", 1},   {"2", 2},   {"3", 3},   {"4", 4},   {"5", 5},
                                  {"6", 6},   {"7", 7},   {"8", 8},   {"9", 9},   {"10", 10}, {"11", 11},
                                  {"12", 12}, {"13", 13}, {"14", 14}, {"15", 15}, {"16", 16}, {"18", 18},
                                  {"19", 19}, {"20", 20}, {"21", 21}, {"22", 22}, {"23", 23}, {"24", 24},
                                  {"25", 25}, {"27", 27}, {"28", 28}, {"29", 29}};

constexpr Setting control_setting =
    setting("controls.{}", "control {}", each_type, "control set {instance} {value}", control_form,
            by(
                Call<eth_switch_control_get>::read,
                [](uint32_t type, const Json &value) {
                    return eth_switch_control_set(type, static_cast<int32_t>(value.get<uint32_t>()));
                },
                "eth_switch_control_set"));

Json describe_control(uint32_t type)
{
    const Run &run = *run_of(type);
    const int low = run.low + run.step * static_cast<int>(type - run.first);
    return {{"type", type},
            {"page", hex(run.page, 8)},
            {"offset", hex(run.offset, 8)},
            {"bits", run.bits == 1 ? fmt::format("{}", low) : fmt::format("{}..{}", low + run.bits - 1, low)},
            {"kind", kind_names[run.kind]},
            {"value", control_setting.read(type)}};
}

Report controls(const std::vector<uint32_t> &wanted)
{
    Json rows = Json::array();
    for (const uint32_t type : wanted)
        rows.push_back(describe_control(type));
    return table("controls",
                 {{"type", "type"},
                  {"page", "page"},
                  {"offset", "offset"},
                  {"bits", "bits"},
                  {"kind", "kind"},
                  {"value", "value"}},
                 std::move(rows));
}

Report show(const Arguments &arguments)
{
    if (const Json given = arguments.value("TYPE", Json()); !given.is_null())
        return controls(given.get<std::vector<uint32_t>>());
    std::vector<uint32_t> all;
    for (const Instance &type : each_type)
        all.push_back(type.number);
    return controls(all);
}

Report set(const Arguments &arguments)
{
    const auto type = arguments["TYPE"].get<uint32_t>();
    const auto given = arguments["VALUE"].get<uint32_t>();
    if (const Form form = control_form(type); !accepts(form, given))
        throw UsageError{
            fmt::format("VALUE: '{}' is not accepted by control {}; use {}", given, type, accepted_by(form))};
    change(control_setting, type, given);
    return changed(fmt::format("control {} set to {}", type, given), controls({type}));
}

} // namespace

Settings control_settings() { return {&control_setting, 1}; }

Family control_family()
{
    const Argument type = required("TYPE", "control type: 0 to 29, but not 17 or 26", control_type());
    Argument types = type;
    types.repeated = true;
    Argument maybe_types = types;
    maybe_types.required = false;
    Family family{"control", "Numbered switch-wide settings"};
    family.add("control show", "Show controls, or all of them", show, maybe_types);
    family.add("control list", "Show all controls", show);
    family.add("control get", "Show single controls", show, types);
    family.add("control set", "Set a control", set, type,
               required("VALUE", "bit: 0 or 1; value: a number; code: 2, 4 or 8", number(0, UINT32_MAX)));
    return family;
}

} // namespace eswctl
