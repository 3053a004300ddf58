// SPDX-License-Identifier: LGPL-2.1-or-later
// aging, mcast, bpdu, protect: what steers the forwarding of the whole switch.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

constexpr uint32_t last_age_time = 0xFFFFF;
constexpr int32_t only_bpdu_address = 0;

Report show_aging(const Arguments &)
{
    uint32_t age = 0;
    check(eth_l2_age_timer_get(&age), "read the age time");
    age &= last_age_time;
    return record({{"enabled", "aging"}, {"age_time", "age time"}},
                  {{"enabled", age != 0}, {"age_time", age}});
}

Report set_aging(const Arguments &arguments)
{
    const auto time = arguments["TIME"].get<uint32_t>();
    check(eth_l2_age_timer_set(time), "set the age time");
    return changed(time == 0 ? "aging off" : fmt::format("aging on, age time {}", time),
                   show_aging(arguments));
}

Report show_mcast(const Arguments &)
{
    uint32_t learning = 0;
    uint32_t control = 0;
    check(eth_learn_mcast_get(&learning), "read multicast learning");
    check(eth_mcast_ctrl_get(&control), "read the multicast control register");
    return record({{"learning", "multicast learning"}, {"control", "multicast control register"}},
                  {{"learning", learning == 1}, {"control", hex(control, 8)}});
}

Report set_mcast_learning(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    check(eth_learn_mcast_set(on), "switch multicast learning");
    return changed(fmt::format("multicast learning {}", on_or_off(on)), show_mcast(arguments));
}

Report set_mcast_control(const Arguments &arguments)
{
    const auto value = arguments["VALUE"].get<uint32_t>();
    check(eth_mcast_ctrl_set(value), "write the multicast control register");
    return changed(fmt::format("multicast control register {}", hex(value, 8)), show_mcast(arguments));
}

Report show_bpdu(const Arguments &)
{
    Mac mac{};
    check(eth_l2_bpdu_get(only_bpdu_address, mac.data()), "read the BPDU address");
    return record({{"bpdu_address", "BPDU address"}}, {{"bpdu_address", from_mac(mac.data())}});
}

Report set_bpdu(const Arguments &arguments)
{
    const Json &mac = arguments["MAC"];
    check(eth_l2_bpdu_set(only_bpdu_address, to_mac(mac).data()), "set the BPDU address");
    return changed(fmt::format("BPDU address {}", mac.get<std::string>()), show_bpdu(arguments));
}

Report show_protection(const Arguments &arguments)
{
    return port_table(arguments, {{"protected", "protected"}}, [](uint32_t port) {
        uint32_t enabled = 0;
        check(eth_protect_get(port, &enabled), fmt::format("read the protection of port {}", port));
        return Json{{"protected", enabled == 1}};
    });
}

Report set_protection(const Arguments &arguments)
{
    const bool on = arguments["STATE"].get<bool>();
    return set_ports(arguments, fmt::format("protection {}", on_or_off(on)), [=](uint32_t port) {
        check(eth_protect_set(port, on), fmt::format("set the protection of port {}", port));
        return Json{{"protected", on}};
    });
}

} // namespace

Family aging_family()
{
    const Argument time{"TIME", "age time, 1 to 1048575; 0 switches aging off", number(0, last_age_time),
                        true};
    return {"aging",
            "How long learned addresses stay in the table",
            {
                {"aging show", "Show the age time", {}, show_aging},
                {"aging set", "Set the age time and switch aging on, or off with 0", {time}, set_aging},
            }};
}

Family mcast_family()
{
    return {"mcast",
            "Multicast learning",
            {
                {"mcast show", "Show multicast learning and the whole control register", {}, show_mcast},
                {"mcast learn",
                 "Switch the learning of multicast addresses",
                 {{"STATE", "on or off", on_off(), true}},
                 set_mcast_learning},
                {"mcast control",
                 "Write the whole control register; bit 7 is learning",
                 {{"VALUE", "0 to 0xff", number(0, 0xFF), true}},
                 set_mcast_control},
            }};
}

Family bpdu_family()
{
    return {"bpdu",
            "The multicast address that bridges talk to each other on",
            {
                {"bpdu show", "Show the BPDU address", {}, show_bpdu},
                {"bpdu set", "Set the BPDU address", {{"MAC", "MAC address", mac_address(), true}}, set_bpdu},
            }};
}

Family protect_family()
{
    return {
        "protect",
        "Protected ports",
        {
            {"protect show", "Show which ports are protected", {ports_to_show(any_ports())}, show_protection},
            {"protect set",
             "Protect ports, or end their protection",
             {ports_required(any_ports()), {"STATE", "on or off", on_off(), true}},
             set_protection},
        }};
}

} // namespace eswctl
