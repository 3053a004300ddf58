// SPDX-License-Identifier: LGPL-2.1-or-later
// Traffic classes and queues of each port.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

constexpr uint32_t every_port = all_ones;
class TrafficClass : public StartedBoard {};

TEST_F(TrafficClass, PcpCallsAlwaysFail)
{
    expect({
        {"abu", CALL(eth_cosq_port_pcp2tc_set(0, 1, 2, 3)), "-4"},
        {"abu", CALL(eth_cosq_port_pcp2tc_set(3, 1, 2, 3)), "-18"},
        {"abu", CALL(eth_cosq_port_pcp2tc_get(8, 1, 2, o)), "-4 -1"},
        {"abu", CALL(eth_cosq_port_pcp2tc_get(3, 1, 2, o)), "-18 -1"},
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
        {"aeu", CALL(dscp_set(every_port, 46, 6)), "0: 30:3c r64=b6db6d924924 w64=badb6d924924"},
        {"b", CALL(dscp_set(every_port, 46, 6)), "0: 30:40 r64=b6db6d924924 w64=badb6d924924"},
        {"b", CALL(dscp_set(every_port, 0, 7)), "0: 30:34 r64=249249000000 w64=249249000007"},
        {"aeu", CALL(dscp_get(every_port, 63, o)), "0 7: 30:42 r64=ffffffdb6db6"},
        {"b", CALL(dscp_get(every_port, 31, o)), "0 3: 30:3a r64=6db6db492492"},
        {"b", CALL(dscp_set(0, 64, 8)), "-18"},
        {"b", CALL(dscp_set(every_port, 64, 0)), "-4"},
        {"b", CALL(dscp_set(every_port, -1, 0)), "-4"},
        {"b", CALL(dscp_set(every_port, 63, 8)), "-4"},
        {"b", CALL(dscp_get(8, 64, o)), "-18 -1"},
        {"b", CALL(dscp_get(every_port, 64, o)), "-4 -1"},
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
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_set(8, 2)), "0: 30:06 r64=1 w64=101"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_set(1, 0)), "0: 30:06 r64=3 w64=1"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_set(0, 1)), "-4"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_set(2, 1)), "-18"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_get(8, o)), "0 2: 30:06 r32=100"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_get(0, o)), "0 0: 30:06 r32=100"},
        {"abu", CALL(eth_cosq_port_dscp2tc_mode_get(7, o)), "-18 -1"},
    });
}

TEST_F(TrafficClass, FieldsOfClassB)
{
    expect({
        {"be", CALL(eth_cosq_port_tc_src_set(8, 7, 6)), "0: 30:60 r32=f00f w64=b00f"},
        {"be", CALL(eth_cosq_port_tc_src_get(1, 7, o)), "0 2: 30:52 r32=8000"},
        {"be", CALL(eth_cosq_port_mapping_set(1, 7, 5)), "0: [30:74 r32=ffffffff w64=ffbfffff]"},
        {"be", CALL(eth_cosq_port_mapping_set(0, 0, 8)), "-4"},
        {"be", CALL(eth_cosq_port_mapping_get(8, 6, o)), "0 6: [30:90 r32=fac688]"},
        {"be", CALL(eth_cosq_port_mapping_tc_drop_set(0, 7, 9)), "0: [30:70 r64=fac688 w64=80fac688]"},
        {"be", CALL(eth_cosq_port_mapping_tc_drop_set(0, 0, 0)), "0: [30:70 r64=3000000 w64=2000000]"},
        {"be", CALL(eth_cosq_port_mapping_tc_drop_get(0, 7, o)), "0 1: [30:70 r32=80000000]"},
        {"be", CALL(eth_cosq_port2tc_set(8, 6)), "0: 30:48 r32=ffffffff w64=feffffff"},
        {"be", CALL(eth_cosq_port2tc_set(8, 8)), "-4"},
        {"be", CALL(eth_cosq_port2tc_get(8, o)), "0 6: 30:48 r32=6000000"},
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
        expect({{"au", CALL(call(7, o)), "-16"},
                {"be", CALL(call(7, o)), "-18"},
                {"be", CALL(call(0, o)), "-4"}});
    }
    expect(
        {{"au", CALL(eth_cosq_port2tc_get(7, o)), "-16"}, {"be", CALL(eth_cosq_port2tc_get(7, o)), "-18"}});
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
        {"be", CALL(schedule(0, 3, ascending)), "0: [46:00 r32=a2 w64=ad 46:10 w64=7060504030201]"},
        {"be", CALL(schedule(8, 7, ascending)), "0: [46:08 r32=af w64=a5 46:50 w64=7060504030201]"},
        {"be", CALL(schedule(1, 1, largest)), "0: [46:01 r64=ad w64=a8 46:18 w64=0]"},
        {"be", CALL(schedule(1, 2, ascending)), "-16: []"},
        {"be", CALL(schedule(1, 2, last_wrong)), "-4"},
        {"be", CALL(schedule(1, 3, first_wrong)), "-4"},
        {"be", CALL(schedule(2, 2, first_wrong)), "-18"},
        {"au", CALL(schedule(2, 2, first_wrong)), "-16"},
    });
}

TEST_F(TrafficClass, SchedulerFieldsWithoutAModeLeaveTheWeights)
{
    constexpr std::array modes = {1, 8, 8, 8, 8, 7, 255, 255, 1, 8, 8, 8, 8, 3, 255, 255};
    const auto get = CALL(eth_cosq_port_sched_get(1, o, o + 1));
    for (uint8_t field = 0; field < modes.size(); ++field) {
        const char *weights[] = {" 128 254 0 0 0 0 0 255", " 46:18 r64=ff0000000000fe80"};
        const bool known = modes[field] != 255;
        expect({{"be", get,
                 fmt::format("0 {}{}: 46:01 r32=f{:x}{}", modes[field], known ? weights[0] : "", field,
                             known ? weights[1] : "")}});
    }
    expect({{"au", get, "-16"}});
}

} // namespace
