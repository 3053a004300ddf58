// SPDX-License-Identifier: LGPL-2.1-or-later
// aging, mcast, bpdu, protect: what steers the forwarding of the whole switch.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

constexpr uint32_t last_age_time = 0xFFFFF;
constexpr int32_t only_bpdu_address = 0;

// The library's getter does not tell whether ageing is on.
constexpr uint8_t age_page = 0x02;
constexpr uint8_t age_offset = 0x06;
constexpr uint32_t aging_enabled = 0x100000;

struct Aging {
    bool enabled;
    uint32_t time;
};

Aging aging()
{
    const uint32_t word = esw_reg_read32(age_page, age_offset, 32);
    return {(word & aging_enabled) != 0, word & last_age_time};
}

Json read_age_time(uint32_t)
{
    const auto [enabled, time] = aging();
    if (enabled == (time != 0))
        return time;
    return enabled ? Json("0, but enabled") : Json(fmt::format("{}, but not enabled", time));
}

Json read_bpdu_address(uint32_t)
{
    Mac address{};
    eth_l2_bpdu_get(only_bpdu_address, address.data());
    return from_mac(address.data());
}

Json read_mcast_control(uint32_t)
{
    uint32_t control = 0;
    eth_mcast_ctrl_get(&control);
    return hex(control & 0xFF, 8);
}

constexpr Setting age_setting =
    setting("l2.age_time", "age time", once, "aging set {value}", accepted::integer<0, last_age_time>,
            by(read_age_time, Call<eth_l2_age_timer_set>::write, "eth_l2_age_timer_set"));
constexpr Setting bpdu_setting = setting(
    "l2.bpdu_address", "BPDU address", once, "bpdu set {value}", accepted::mac,
    by(
        read_bpdu_address,
        [](uint32_t, const Json &value) { return eth_l2_bpdu_set(only_bpdu_address, to_mac(value).data()); },
        "eth_l2_bpdu_set"));
constexpr Setting mcast_setting = setting(
    "l2.multicast_control", "multicast control register", once, "mcast control {value}", accepted::hex<8>,
    by(
        read_mcast_control, [](uint32_t, const Json &value) { return eth_mcast_ctrl_set(from_hex(value)); },
        "eth_mcast_ctrl_set eth_learn_mcast_set"));
constexpr Setting bin_full_setting =
    setting("l2.bin_full_forwarding", "bin-full forwarding", once, "arl bin-full {value}", accepted::flag,
            by(read_bin_full_forwarding, write_flag<eth_arl_bin_full_fwd_set>, "eth_arl_bin_full_fwd_set"));
constexpr Setting protect_setting =
    setting("ports.protected", "protected ports", once, "protect set {in} on\nprotect set {out} off",
            accepted::ports, by_ports<eth_protect_get, eth_protect_set>);
constexpr Setting settings[] = {protect_setting, age_setting, bpdu_setting, mcast_setting, bin_full_setting};

Report show_aging(const Arguments &)
{
    const auto [enabled, time] = aging();
    return record({{"enabled", "aging"}, {"age_time", "age time"}},
                  {{"enabled", enabled}, {"age_time", time}});
}

Report set_aging(const Arguments &arguments)
{
    const Json &time = arguments["TIME"];
    change(age_setting, 0, time);
    return changed(time == 0 ? "aging off" : fmt::format("aging on, age time {}", time.dump()),
                   show_aging(arguments));
}

Report show_mcast(const Arguments &)
{
    uint32_t learning = 0;
    check(eth_learn_mcast_get(&learning), "read multicast learning");
    return record({{"learning", "multicast learning"}, {"control", "multicast control register"}},
                  {{"learning", learning == 1}, {"control", shown(mcast_setting)}});
}

Report set_mcast_learning(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    check(eth_learn_mcast_set(on), "switch multicast learning");
    return changed(fmt::format("multicast learning {}", on_or_off(on)), show_mcast(arguments));
}

Report set_mcast_control(const Arguments &arguments)
{
    const std::string value = hex(arguments["VALUE"].get<uint32_t>(), 8);
    change(mcast_setting, 0, value);
    return changed(fmt::format("multicast control register {}", value), show_mcast(arguments));
}

Report show_bpdu(const Arguments &)
{
    return record({{"bpdu_address", "BPDU address"}}, {{"bpdu_address", shown(bpdu_setting)}});
}

Report set_bpdu(const Arguments &arguments)
{
    const Json &address = arguments["MAC"];
    change(bpdu_setting, 0, address);
    return changed(fmt::format("BPDU address {}", in_words(address)), show_bpdu(arguments));
}

Json protection_of(uint32_t port) { return {{"protected", read_flag<eth_protect_get>(port)}}; }

Report show_protection(const Arguments &arguments)
{
    return port_table(arguments, {{"protected", "protected"}}, protection_of);
}

} // namespace

Settings l2_settings() { return settings; }

Json read_bin_full_forwarding(uint32_t)
{
    uint32_t word = 0;
    eth_arl_bin_full_fwd_get(&word);
    return word > 1 ? Json(fmt::format("code {}, unknown", word)) : Json(word == 1);
}

Family aging_family()
{
    const Argument time =
        required("TIME", "age time, 1 to 1048575; 0 switches aging off", number(0, last_age_time));
    Family family{"aging", "How long learned addresses stay in the table"};
    family.add("aging show", "Show the age time", show_aging);
    family.add("aging set", "Set the age time and switch aging on, or off with 0", set_aging, time);
    return family;
}

Family mcast_family()
{
    Family family{"mcast", "Multicast learning"};
    family.add("mcast show", "Show multicast learning and the whole control register", show_mcast);
    family.add("mcast learn", "Switch the learning of multicast addresses", set_mcast_learning,
               required("STATE", "on or off", on_off()));
    family.add("mcast control", "Write the whole control register; bit 7 is learning", set_mcast_control,
               required("VALUE", "0 to 0xff", number(0, 0xFF)));
    return family;
}

Family bpdu_family()
{
    Family family{"bpdu", "The multicast address that bridges talk to each other on"};
    family.add("bpdu show", "Show the BPDU address", show_bpdu);
    family.add("bpdu set", "Set the BPDU address", set_bpdu, required("MAC", "MAC address", mac_address()));
    return family;
}

Family protect_family()
{
    Family family{"protect", "Protected ports"};
    family.add("protect show", "Show which ports are protected", show_protection, ports_to_show(any_ports()));
    family.add("protect set", "Protect ports, or end their protection",
               at_ports("protection {1}", "set the protection of port {0}", {{"protected", "STATE"}},
                        by_call<eth_protect_set>("STATE")),
               ports_required(any_ports()), required("STATE", "on or off", on_off()));
    return family;
}

} // namespace eswctl
