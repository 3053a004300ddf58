// SPDX-License-Identifier: LGPL-2.1-or-later
// Traffic classes and queues of each port.
#include "tests/qos/fresh_switch.h"

namespace {

using namespace test;

constexpr uint32_t every_port = 0xFFFFFFFF;
constexpr uint32_t all_ones = 0xFFFFFFFF;

class TrafficClass : public FreshSwitch {};

TEST_F(TrafficClass, PcpCallsAlwaysFail)
{
    expect({
        {"abu", [](Out) { return eth_cosq_port_pcp2tc_set(0, 1, 2, 3); }, ETH_E_PARAM, ""},
        {"abu", [](Out) { return eth_cosq_port_pcp2tc_set(3, 1, 2, 3); }, ETH_E_PORT, ""},
        {"abu", [](Out o) { return eth_cosq_port_pcp2tc_get(8, 1, 2, o); }, ETH_E_PARAM, "", {all_ones}},
        {"abu", [](Out o) { return eth_cosq_port_pcp2tc_get(3, 1, 2, o); }, ETH_E_PORT, "", {all_ones}},
    });
}

int32_t dscp_set(uint32_t port, int32_t dscp, uint32_t tc)
{
    return eth_cosq_port_dscp2tc_set(port, dscp, 77, tc);
}
int32_t dscp_get(uint32_t port, int32_t dscp, Out tc)
{
    return eth_cosq_port_dscp2tc_get(port, dscp, 77, tc);
}

// Power-on contents: class DSCP / 8.
TEST_F(TrafficClass, DscpMapStandsWhereTheDeviceHasIt)
{
    expect({
        {"aeu", [](Out) { return dscp_set(every_port, 46, 6); }, 0,
         "30:3c r64=b6db6d924924 w64=badb6d924924"},
        {"b", [](Out) { return dscp_set(every_port, 46, 6); }, 0, "30:40 r64=b6db6d924924 w64=badb6d924924"},
        {"b", [](Out) { return dscp_set(every_port, 0, 7); }, 0, "30:34 r64=249249000000 w64=249249000007"},
        {"aeu", [](Out o) { return dscp_get(every_port, 63, o); }, 0, "30:42 r64=ffffffdb6db6", {7}},
        {"b", [](Out o) { return dscp_get(every_port, 31, o); }, 0, "30:3a r64=6db6db492492", {3}},
        {"b", [](Out) { return dscp_set(0, 64, 8); }, ETH_E_PORT, ""},
        {"b", [](Out) { return dscp_set(every_port, 64, 0); }, ETH_E_PARAM, ""},
        {"b", [](Out) { return dscp_set(every_port, -1, 0); }, ETH_E_PARAM, ""},
        {"b", [](Out) { return dscp_set(every_port, 63, 8); }, ETH_E_PARAM, ""},
        {"b", [](Out o) { return dscp_get(8, 64, o); }, ETH_E_PORT, "", {all_ones}},
        {"b", [](Out o) { return dscp_get(every_port, 64, o); }, ETH_E_PARAM, "", {all_ones}},
    });
    for (uint32_t late = 0xD310; late <= 0xD315; ++late) {
        become(late);
        EXPECT_THAT(traffic([] { dscp_set(every_port, 0, 0); }),
                    testing::StartsWith(late == 0xD315 ? "30:30" : "30:34"));
    }
}

TEST_F(TrafficClass, DscpModeIsForEveryDevice)
{
    expect({
        {"abu", [](Out) { return eth_cosq_port_dscp2tc_mode_set(8, 2); }, 0, "30:06 r64=1 w64=101"},
        {"abu", [](Out) { return eth_cosq_port_dscp2tc_mode_set(1, 0); }, 0, "30:06 r64=3 w64=1"},
        {"abu", [](Out) { return eth_cosq_port_dscp2tc_mode_set(0, 1); }, ETH_E_PARAM, ""},
        {"abu", [](Out) { return eth_cosq_port_dscp2tc_mode_set(2, 1); }, ETH_E_PORT, ""},
        {"abu", [](Out o) { return eth_cosq_port_dscp2tc_mode_get(8, o); }, 0, "30:06 r32=100", {2}},
        {"abu", [](Out o) { return eth_cosq_port_dscp2tc_mode_get(0, o); }, 0, "30:06 r32=100", {0}},
        {"abu", [](Out o) { return eth_cosq_port_dscp2tc_mode_get(7, o); }, ETH_E_PORT, "", {all_ones}},
    });
}

TEST_F(TrafficClass, FieldsOfClassB)
{
    expect({
        {"be", [](Out) { return eth_cosq_port_tc_src_set(8, 7, 6); }, 0, "30:60 r32=f00f w64=b00f"},
        {"be", [](Out o) { return eth_cosq_port_tc_src_get(1, 7, o); }, 0, "30:52 r32=8000", {2}},
        {"be", [](Out) { return eth_cosq_port_mapping_set(1, 7, 5); }, 0,
         "[30:74 r32=ffffffff w64=ffbfffff]"},
        {"be", [](Out) { return eth_cosq_port_mapping_set(0, 0, 8); }, ETH_E_PARAM, ""},
        {"be", [](Out o) { return eth_cosq_port_mapping_get(8, 6, o); }, 0, "[30:90 r32=fac688]", {6}},
        {"be", [](Out) { return eth_cosq_port_mapping_tc_drop_set(0, 7, 9); }, 0,
         "[30:70 r64=fac688 w64=80fac688]"},
        {"be", [](Out) { return eth_cosq_port_mapping_tc_drop_set(0, 0, 0); }, 0,
         "[30:70 r64=3000000 w64=2000000]"},
        {"be",
         [](Out o) { return eth_cosq_port_mapping_tc_drop_get(0, 7, o); },
         0,
         "[30:70 r32=80000000]",
         {1}},
        {"be", [](Out) { return eth_cosq_port2tc_set(8, 6); }, 0, "30:48 r32=ffffffff w64=feffffff"},
        {"be", [](Out) { return eth_cosq_port2tc_set(8, 8); }, ETH_E_PARAM, ""},
        {"be", [](Out o) { return eth_cosq_port2tc_get(8, o); }, 0, "30:48 r32=6000000", {6}},
    });
}

// All arguments are wrong on other devices; then all but the device; then the class or index alone.
TEST_F(TrafficClass, ClassBCallsCheckDevicePortAndIndexInOrder)
{
    const std::function<int32_t(uint32_t port, Out)> calls[] = {
        [](uint32_t port, Out) { return eth_cosq_port_tc_src_set(port, 8, 0); },
        [](uint32_t port, Out o) { return eth_cosq_port_tc_src_get(port, 8, o); },
        [](uint32_t port, Out) { return eth_cosq_port_mapping_set(port, 8, 0); },
        [](uint32_t port, Out o) { return eth_cosq_port_mapping_get(port, 8, o); },
        [](uint32_t port, Out) { return eth_cosq_port_mapping_tc_drop_set(port, 8, 1); },
        [](uint32_t port, Out o) { return eth_cosq_port_mapping_tc_drop_get(port, 8, o); },
        [](uint32_t port, Out) { return eth_cosq_port2tc_set(port, 8); },
    };
    for (const auto &call : calls) {
        expect({{"au", [&](Out o) { return call(7, o); }, ETH_E_UNAVAIL, ""},
                {"be", [&](Out o) { return call(7, o); }, ETH_E_PORT, ""},
                {"be", [&](Out o) { return call(0, o); }, ETH_E_PARAM, ""}});
    }
    expect({{"au", [](Out o) { return eth_cosq_port2tc_get(7, o); }, ETH_E_UNAVAIL, ""},
            {"be", [](Out o) { return eth_cosq_port2tc_get(7, o); }, ETH_E_PORT, ""}});
}

int32_t schedule(uint32_t port, uint32_t mode, std::array<int32_t, 8> weights)
{
    return eth_cosq_port_sched_set(port, mode, weights.data());
}

TEST_F(TrafficClass, SchedulerOfAPort)
{
    static constexpr std::array ascending = {1, 2, 3, 4, 5, 6, 7, 256};
    static constexpr std::array largest = {256, 256, 256, 256, 256, 256, 256, 256};
    static constexpr std::array first_wrong = {0, 2, 3, 4, 5, 6, 7, 8},
                                last_wrong = {1, 2, 3, 4, 5, 6, 7, 257};
    expect({
        {"be", [](Out) { return schedule(0, 3, ascending); }, 0,
         "[46:00 r32=a2 w64=ad 46:10 w64=7060504030201]"},
        {"be", [](Out) { return schedule(8, 7, ascending); }, 0,
         "[46:08 r32=af w64=a5 46:50 w64=7060504030201]"},
        {"be", [](Out) { return schedule(1, 1, largest); }, 0, "[46:01 r64=ad w64=a8 46:18 w64=0]"},
        {"be", [](Out) { return schedule(1, 2, ascending); }, ETH_E_UNAVAIL, "[]"},
        {"be", [](Out) { return schedule(1, 2, last_wrong); }, ETH_E_PARAM, ""},
        {"be", [](Out) { return schedule(1, 3, first_wrong); }, ETH_E_PARAM, ""},
        {"be", [](Out) { return schedule(2, 2, first_wrong); }, ETH_E_PORT, ""},
        {"au", [](Out) { return schedule(2, 2, first_wrong); }, ETH_E_UNAVAIL, ""},
    });
}

TEST_F(TrafficClass, SchedulerFieldsWithoutAModeLeaveTheWeights)
{
    constexpr std::array<uint32_t, 16> modes = {1, 8, 8, 8, 8, 7, 0xFF, 0xFF, 1, 8, 8, 8, 8, 3, 0xFF, 0xFF};
    int32_t weights[8] = {};
    const auto get = [&](Out mode) { return eth_cosq_port_sched_get(1, mode, weights); };
    for (uint8_t field = 0; field < modes.size(); ++field) {
        weights[7] = -5;
        const bool known = modes[field] != 0xFF;
        const std::string requests =
            fmt::format("46:01 r32=f{:x}{}", field, known ? " 46:18 r64=101010101010101" : "");
        expect({{"be", get, 0, requests, {modes[field]}}});
        EXPECT_EQ(weights[7], known ? 1 : -5);
    }
    become(class_b);
    reg(0x46, 0x18) = 0xFF0000000000FE80;
    uint32_t mode = 5;
    EXPECT_EQ(get(&mode), 0);
    EXPECT_THAT(weights, ElementsAre(0x80, 0xFE, 0, 0, 0, 0, 0, 0xFF));
    gESWID = class_a;
    EXPECT_EQ(get(&mode), ETH_E_UNAVAIL);
}

} // namespace
