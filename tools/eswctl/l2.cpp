// aging, mcast, bpdu, protect: what steers the forwarding of the whole switch.
#include <esw.h>

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
    check(eth_l2_age_timer_set(arguments["TIME"].get<uint32_t>()), "set the age time");
    return show_aging(arguments);
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
    check(eth_learn_mcast_set(arguments["STATE"].get<bool>()), "switch multicast learning");
    return show_mcast(arguments);
}

Report set_mcast_control(const Arguments &arguments)
{
    check(eth_mcast_ctrl_set(arguments["VALUE"].get<uint32_t>()), "write the multicast control register");
    return show_mcast(arguments);
}

Report show_bpdu(const Arguments &)
{
    Mac mac{};
    check(eth_l2_bpdu_get(only_bpdu_address, mac.data()), "read the BPDU address");
    return record({{"bpdu_address", "BPDU address"}}, {{"bpdu_address", from_mac(mac.data())}});
}

Report set_bpdu(const Arguments &arguments)
{
    check(eth_l2_bpdu_set(only_bpdu_address, to_mac(arguments["MAC"]).data()), "set the BPDU address");
    return show_bpdu(arguments);
}

Report show_protection(const Arguments &)
{
    Json rows = Json::array();
    for (const uint32_t port : ports_or_all(nullptr)) {
        uint32_t enabled = 0;
        check(eth_protect_get(port, &enabled), "read the port's protection");
        rows.push_back({{"port", port}, {"protected", enabled == 1}});
    }
    return table("ports", {{"port", "port"}, {"protected", "protected"}}, std::move(rows));
}

Report set_protection(const Arguments &arguments)
{
    const auto port = arguments["PORT"].get<uint32_t>();
    check(eth_protect_set(port, arguments["STATE"].get<bool>()), "set the port's protection");
    return show_protection(arguments);
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
    return {"protect",
            "Protected ports",
            {
                {"protect show", "Show which ports are protected", {}, show_protection},
                {"protect set",
                 "Protect a port, or end its protection",
                 {{"PORT", "port: 0, 1 or 8", any_port(), true}, {"STATE", "on or off", on_off(), true}},
                 set_protection},
            }};
}

} // namespace eswctl
