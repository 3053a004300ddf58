// SPDX-License-Identifier: LGPL-2.1-or-later
// The settings of the switch, each described once: how it is read, what it accepts, how it is written.
// Commands that show and set, saved configurations and their schema all go by these rows.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <type_traits>

#include <esw/types.h>

#include "eswctl/form.h"

namespace eswctl {

// Where a switch has several of a setting: ports, directions, modes.
struct Instance {
    const char *name;
    uint32_t number;
};
inline constexpr Instance once[] = {{"", 0}};
inline constexpr Instance each_port[] = {{"0", 0}, {"1", 1}, {"8", 8}};
inline constexpr Instance each_phy_port[] = {{"0", 0}, {"1", 1}};
inline constexpr Instance cpu_port_only[] = {{"8", 8}};

enum class Devices : uint8_t { all, class_a, class_b, translating };

// How a setting is read and written, and the calls that do the latter: settings and omissions name all setters of
// the library.
struct Access {
    Json (*read)(uint32_t instance); // a value that is not accepted is one that the library's calls can't set
    int32_t (*write)(uint32_t instance, const Json &value);
    std::string_view calls;
};

struct Setting {
    const char *path;  // of its member in a configuration; {} is the instance
    const char *words; // what people call it
    std::span<const Instance> each;
    const char *commands; // that set it, one a line: see commands_for()
    Form (*accepts)(uint32_t instance);
    Access access;

    // Some rows have more: see with().
    Devices devices = Devices::all;
    Json (*settled)(uint32_t instance, const Json &value) = nullptr; // what becomes of it: the switch rounds
    std::string (*fault)(const Json &value) = nullptr;               // what a form can't say
    std::string (*conflict)(const Json &document) = nullptr;         // with other settings

    // Of a table, which is an array of objects that its key tells apart: `write` puts one.
    std::span<const char *const> key = {};
    int32_t (*remove)(const Json &entry) = nullptr;

    [[nodiscard]] Json read(uint32_t instance) const { return access.read(instance); }
    [[nodiscard]] int32_t write(uint32_t instance, const Json &value) const
    {
        return access.write(instance, value);
    }

    template <typename Member>
    [[nodiscard]] constexpr Setting with(Member Setting::*member, std::type_identity_t<Member> value) const
    {
        Setting changed = *this;
        changed.*member = value;
        return changed;
    }
};

constexpr Setting setting(const char *path, const char *words, std::span<const Instance> each,
                          const char *commands, decltype(Setting::accepts) accepts, const Access &access)
{
    return {path, words, each, commands, accepts, access};
}

using Settings = std::span<const Setting>;

// In the order in which a configuration is restored.
Settings address_settings();
Settings cache_settings();
Settings vlan_table();
Settings translation_settings();
Settings port_settings();
Settings l2_settings();
Settings vlan_settings();
Settings rate_settings();
Settings priority_settings();
Settings qos_settings();
Settings mirror_settings();
Settings control_settings();
Settings rule_settings();
Settings selector_settings();
Settings cfp_settings();

std::vector<const Setting *> all_settings();

// What a saved configuration leaves out, with the library's setters behind it.
struct Omission {
    const char *words;
    const char *calls;
};
std::span<const Omission> omissions();

// "port 0: STP state"
std::string words_for(const Setting &setting, const std::string &instance);

// As commands show it: what the library's calls can't set is told as "code 3, unknown".
Json shown(const Setting &setting, uint32_t instance = 0);

// Throws Refused for what is not accepted, and when the library refuses.
void change(const Setting &setting, uint32_t instance, const Json &value);

Json read_bin_full_forwarding(uint32_t);

// A command that shows a setting of ports, or sets it where its argument is given; `row` tells its state.
Report show_or_set(const Setting &setting, const Json &arguments, const char *argument, const Column &column,
                   Json (*row)(uint32_t port));

// ---- For the rows: reading and writing by a pair of calls

template <auto call>
struct Call;

template <typename Which, typename Value, int32_t (*call)(Which, Value)>
struct Call<call> {
    static Json read(uint32_t instance) requires std::is_pointer_v<Value>
    {
        std::remove_pointer_t<Value> value{};
        return call(static_cast<Which>(instance), &value) == ETH_E_NONE ? Json(value) : Json();
    }
    static int32_t write(uint32_t instance, const Json &value)
    {
        return call(static_cast<Which>(instance), value.get<Value>());
    }
};

template <typename Value, int32_t (*call)(Value)>
struct Call<call> {
    static Json read(uint32_t) requires std::is_pointer_v<Value>
    {
        std::remove_pointer_t<Value> value{};
        return call(&value) == ETH_E_NONE ? Json(value) : Json();
    }
    static int32_t write(uint32_t, const Json &value) { return call(value.get<Value>()); }
};

constexpr Access by(decltype(Access::read) read, decltype(Access::write) write, std::string_view calls)
{
    return {read, write, calls};
}

// A call's own name.
template <auto call>
constexpr std::string_view name_of()
{
    const std::string_view whole = __PRETTY_FUNCTION__;
    const size_t equals = whole.find("call = ") + 7;
    const size_t first = equals + (whole[equals] == '&');
    return whole.substr(first, whole.find_first_of(";]", first) - first);
}

template <auto get, auto set>
constexpr Access by_value{Call<get>::read, Call<set>::write, name_of<set>()};

template <auto get>
Json read_flag(uint32_t instance)
{
    const Json value = Call<get>::read(instance);
    return value.is_null() ? value : Json(value != 0);
}

template <auto set>
int32_t write_flag(uint32_t instance, const Json &on)
{
    return Call<set>::write(instance, on.get<bool>() ? 1 : 0);
}

template <auto get, auto set>
constexpr Access by_flag{read_flag<get>, write_flag<set>, name_of<set>()};

// The set of ports whose flag is on.
template <auto get>
Json read_ports(uint32_t)
{
    Json ports = Json::array();
    for (const Instance &port : each_port) {
        if (Call<get>::read(port.number) != 0)
            ports.push_back(port.number);
    }
    return ports;
}

template <auto set, int32_t on = 1>
int32_t write_ports(uint32_t, const Json &ports)
{
    int32_t result = ETH_E_NONE;
    for (const Instance &port : each_port) {
        const bool named = std::find(ports.begin(), ports.end(), port.number) != ports.end();
        result = std::min(result, Call<set>::write(port.number, named ? on : 0));
    }
    return result;
}

template <auto get, auto set, int32_t on = 1>
constexpr Access by_ports{read_ports<get>, write_ports<set, on>, name_of<set>()};

// `count` values of an instance, behind an index each.
template <auto get, size_t count>
Json read_each(uint32_t instance)
{
    Json values = Json::array();
    for (size_t index = 0; index < count; ++index)
        values.push_back(get(instance, index));
    return values;
}

template <auto set>
int32_t write_each(uint32_t instance, const Json &values)
{
    int32_t result = ETH_E_NONE;
    for (size_t index = 0; index < values.size() && result == ETH_E_NONE; ++index)
        result = set(instance, index, values[index]);
    return result;
}

namespace accepted {

template <uint64_t first, uint64_t last>
Form integer(uint32_t)
{
    return integer_form(first, last);
}
template <size_t count, uint64_t first, uint64_t last>
Form integers(uint32_t)
{
    return array_form(count, integer_form(first, last));
}
template <unsigned bits>
Form hex(uint32_t)
{
    return hex_form(bits);
}
inline Form flag(uint32_t) { return flag_form(); }
inline Form port(uint32_t) { return numbers_form({0, 1, 8}); }
inline Form ports(uint32_t) { return ports_form(); }
inline Form mac(uint32_t) { return mac_form(); }

} // namespace accepted

} // namespace eswctl
