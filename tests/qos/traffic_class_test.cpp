// Traffic classes and queues of each port.
#include "tests/qos/fresh_switch.h"

namespace {

using namespace test;

constexpr uint32_t every_port = 0xFFFFFFFF;

class TrafficClass : public FreshSwitch {};

TEST_F(TrafficClass, PcpCallsAlwaysFail)
{
    for (const auto &[port, result] : {std::pair(0u, ETH_E_PARAM), {8u, ETH_E_PARAM}, {3u, ETH_E_PORT}}) {
        uint32_t tc = 5;
        EXPECT_EQ(traffic([&, p = port, r = result] {
                      EXPECT_EQ(eth_cosq_port_pcp2tc_set(p, 1, 2, 3), r);
                      EXPECT_EQ(eth_cosq_port_pcp2tc_get(p, 1, 2, &tc), r);
                  }),
                  "");
        EXPECT_EQ(tc, 0xFFFFFFFF);
    }
}

TEST_F(TrafficClass, DscpMapStandsWhereTheDeviceHasIt)
{
    struct {
        uint32_t device;
        int32_t dscp;
        uint32_t tc;
        const char *register_of_dscp;
        uint64_t after; // from power-on contents, class DSCP / 8
    } const cases[] = {
        {early_class_b, 46, 6, "30:3c", 0xBADB6D924924},  {class_b, 46, 6, "30:40", 0xBADB6D924924},
        {0xD312, 15, 7, "30:34", 0xE49249000000},         {class_a, 0, 7, "30:30", 0x249249000007},
        {unknown_device, 63, 0, "30:42", 0x1FFFFFDB6DB6},
    };
    for (const auto &c : cases) {
        become(c.device);
        uint32_t tc = 9;
        EXPECT_EQ(eth_cosq_port_dscp2tc_get(every_port, c.dscp, 77, &tc), 0);
        EXPECT_EQ(tc, static_cast<uint32_t>(c.dscp / 8));
        const std::string requests =
            traffic([&] { EXPECT_EQ(eth_cosq_port_dscp2tc_set(every_port, c.dscp, 77, c.tc), 0); });
        EXPECT_THAT(requests, testing::StartsWith(fmt::format("r64 {}=", c.register_of_dscp)));
        EXPECT_THAT(requests, testing::EndsWith(fmt::format(" w64 {}={:#x}", c.register_of_dscp, c.after)));
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_cosq_port_dscp2tc_get(every_port, c.dscp, 0, &tc), 0); }),
                  fmt::format("r64 {}={:#x}", c.register_of_dscp, c.after));
        EXPECT_EQ(tc, c.tc);
    }
}

TEST_F(TrafficClass, DscpCallsRefuseBadArguments)
{
    struct {
        uint32_t port;
        int32_t dscp;
        uint32_t tc;
        int32_t set_result, get_result;
    } const cases[] = {{0, 64, 8, ETH_E_PORT, ETH_E_PORT},
                       {every_port, 64, 0, ETH_E_PARAM, ETH_E_PARAM},
                       {every_port, -1, 0, ETH_E_PARAM, ETH_E_PARAM},
                       {every_port, 63, 8, ETH_E_PARAM, 0}};
    for (const auto &c : cases) {
        uint32_t tc = 5;
        EXPECT_EQ(traffic([&] {
                      EXPECT_EQ(eth_cosq_port_dscp2tc_set(c.port, c.dscp, 0, c.tc), c.set_result);
                      if (c.get_result != 0) {
                          EXPECT_EQ(eth_cosq_port_dscp2tc_get(c.port, c.dscp, 0, &tc), c.get_result);
                      }
                  }),
                  "");
        EXPECT_EQ(tc, c.get_result != 0 ? 0xFFFFFFFF : 5);
    }
}

TEST_F(TrafficClass, DscpModeIsForEveryDevice)
{
    become(unknown_device);
    reg(0x30, 0x06) = 0x1;
    uint32_t mode = 5;
    EXPECT_EQ(traffic([&] {
                  EXPECT_EQ(eth_cosq_port_dscp2tc_mode_set(8, 2), 0);
                  EXPECT_EQ(eth_cosq_port_dscp2tc_mode_set(0, 0), 0);
                  EXPECT_EQ(eth_cosq_port_dscp2tc_mode_set(0, 1), ETH_E_PARAM);
                  EXPECT_EQ(eth_cosq_port_dscp2tc_mode_set(2, 1), ETH_E_PORT);
                  EXPECT_EQ(eth_cosq_port_dscp2tc_mode_get(8, &mode), 0);
              }),
              "r64 30:06=0x1 w64 30:06=0x101 r64 30:06=0x101 w64 30:06=0x100 r32 30:06=0x100");
    EXPECT_EQ(mode, 2u);
    EXPECT_EQ(eth_cosq_port_dscp2tc_mode_get(0, &mode), 0);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(eth_cosq_port_dscp2tc_mode_get(7, &mode), ETH_E_PORT);
    EXPECT_EQ(mode, 0xFFFFFFFF);
}

using Set = std::function<int32_t(uint32_t port, uint32_t index, uint32_t value)>;
using Get = std::function<int32_t(uint32_t port, uint32_t index, uint32_t *value)>;

struct Calls {
    const char *name;
    Set set;
    Get get;
    uint32_t port, index, value;
    uint8_t offset; // on page 30
    uint64_t before;
    const char *requests, *requests_back;
    uint32_t back;
    bool limits_value;
};

const Calls class_b_calls[] = {
    {"source", eth_cosq_port_tc_src_set, eth_cosq_port_tc_src_get, 8, 7, 0x6, 0x60, 0xF00F,
     "r32 30:60=0xf00f w64 30:60=0xb00f", "r32 30:60=0xb00f", 2, false},
    {"queue", eth_cosq_port_mapping_set, eth_cosq_port_mapping_get, 1, 7, 5, 0x74, 0xFFFFFFFF,
     "[r32 30:74=0xffffffff w64 30:74=0xffbfffff]", "[r32 30:74=0xffbfffff]", 5, true},
    {"queue of the CPU port", eth_cosq_port_mapping_set, eth_cosq_port_mapping_get, 8, 0, 7, 0x90, 0,
     "[r32 30:90=0x0 w64 30:90=0x7]", "[r32 30:90=0x7]", 7, true},
    {"drop", eth_cosq_port_mapping_tc_drop_set, eth_cosq_port_mapping_tc_drop_get, 0, 7, 9, 0x70, 0x00FAC688,
     "[r64 30:70=0xfac688 w64 30:70=0x80fac688]", "[r32 30:70=0x80fac688]", 1, false},
    {"no drop", eth_cosq_port_mapping_tc_drop_set, eth_cosq_port_mapping_tc_drop_get, 0, 0, 0, 0x70,
     0x03000000, "[r64 30:70=0x3000000 w64 30:70=0x2000000]", "[r32 30:70=0x2000000]", 0, false},
    {"default", [](uint32_t port, uint32_t, uint32_t tc) { return eth_cosq_port2tc_set(port, tc); },
     [](uint32_t port, uint32_t, uint32_t *tc) { return eth_cosq_port2tc_get(port, tc); }, 8, 0, 6, 0x48,
     0xFFFFFFFF, "r32 30:48=0xffffffff w64 30:48=0xfeffffff", "r32 30:48=0xfeffffff", 6, true},
};

TEST_F(TrafficClass, FieldsOfClassB)
{
    for (const uint32_t device : {class_b, early_class_b}) {
        become(device);
        for (const Calls &c : class_b_calls) {
            reg(0x30, c.offset) = c.before;
            EXPECT_EQ(traffic([&] { EXPECT_EQ(c.set(c.port, c.index, c.value), 0) << c.name; }), c.requests);
            uint32_t value = 99;
            EXPECT_EQ(traffic([&] { EXPECT_EQ(c.get(c.port, c.index, &value), 0) << c.name; }),
                      c.requests_back);
            EXPECT_EQ(value, c.back) << c.name;
        }
    }
}

TEST_F(TrafficClass, FieldsOfClassBCheckDevicePortAndIndexInOrder)
{
    for (const uint32_t device : {class_a, unknown_device, class_b}) {
        become(device);
        const bool b = device == class_b;
        for (const Calls &c : class_b_calls) {
            uint32_t value = 99;
            EXPECT_EQ(traffic([&] {
                          EXPECT_EQ(c.set(7, 8, 8), b ? ETH_E_PORT : ETH_E_UNAVAIL) << c.name;
                          EXPECT_EQ(c.get(7, 8, &value), b ? ETH_E_PORT : ETH_E_UNAVAIL) << c.name;
                          if (b && c.limits_value) {
                              EXPECT_EQ(c.set(0, 0, 8), ETH_E_PARAM) << c.name;
                          }
                          if (b && c.name != std::string("default")) {
                              EXPECT_EQ(c.set(0, 8, 0), ETH_E_PARAM) << c.name;
                              EXPECT_EQ(c.get(0, 8, &value), ETH_E_PARAM) << c.name;
                          }
                      }),
                      "");
            EXPECT_EQ(value, 99u) << c.name;
        }
    }
}

using Weights = std::array<int32_t, 8>;
constexpr Weights ascending = {1, 2, 3, 4, 5, 6, 7, 256};

TEST_F(TrafficClass, SchedulerOfAPort)
{
    struct {
        uint32_t device, port, mode;
        Weights weights;
        int32_t result;
        const char *requests;
        uint32_t mode_back;
    } const cases[] = {
        {class_b, 0, 3, ascending, 0, "[r32 46:00=0xa2 w64 46:00=0xad w64 46:10=0x7060504030201]", 3},
        {class_b, 0, 7, ascending, 0, "[r32 46:00=0xad w64 46:00=0xa5 w64 46:10=0x7060504030201]", 7},
        {early_class_b, 8, 3, ascending, 0, "[r32 46:08=0x0 w64 46:08=0xd w64 46:50=0x7060504030201]", 3},
        {early_class_b,
         8,
         1,
         {256, 256, 256, 256, 256, 256, 256, 256},
         0,
         "[r64 46:08=0xd w64 46:08=0x8 w64 46:50=0x0]",
         1},
        {early_class_b, 8, 2, ascending, ETH_E_UNAVAIL, "[]", 1},
        {early_class_b, 8, 2, {1, 2, 3, 4, 5, 6, 7, 257}, ETH_E_PARAM, "", 1},
        {early_class_b, 8, 3, {0, 2, 3, 4, 5, 6, 7, 8}, ETH_E_PARAM, "", 1},
        {early_class_b, 2, 2, {}, ETH_E_PORT, "", 99},
        {class_a, 2, 2, {}, ETH_E_UNAVAIL, "", 99},
        {unknown_device, 0, 3, ascending, ETH_E_UNAVAIL, "", 99},
    };
    reg(0x46, 0x00) = 0xA2;
    for (const auto &c : cases) {
        if (c.device != gESWID)
            become(c.device);
        EXPECT_EQ(
            traffic([&] { EXPECT_EQ(eth_cosq_port_sched_set(c.port, c.mode, c.weights.data()), c.result); }),
            c.requests);
        uint32_t mode = 99;
        Weights weights{};
        EXPECT_EQ(eth_cosq_port_sched_get(c.port, &mode, weights.data()), c.mode_back == 99 ? c.result : 0);
        EXPECT_EQ(mode, c.mode_back) << c.requests;
        if (c.result == 0) {
            EXPECT_EQ(weights, (c.mode == 1 ? Weights{} : Weights{1, 2, 3, 4, 5, 6, 7, 0}));
        }
    }
}

TEST_F(TrafficClass, SchedulerFieldsWithoutAModeLeaveTheWeights)
{
    constexpr std::array<uint32_t, 16> modes = {1, 8, 8, 8, 8, 7, 0xFF, 0xFF, 1, 8, 8, 8, 8, 3, 0xFF, 0xFF};
    reg(0x46, 0x18) = 0xFF0000000000FE80;
    for (uint8_t held = 0; held < modes.size(); ++held) {
        reg(0x46, 0x01) = 0xF0U | held;
        uint32_t mode = 99;
        Weights weights{-5, -5, -5, -5, -5, -5, -5, -5};
        const std::string requests =
            traffic([&] { EXPECT_EQ(eth_cosq_port_sched_get(1, &mode, weights.data()), 0); });
        EXPECT_EQ(mode, modes[held]) << int{held};
        EXPECT_EQ(requests, fmt::format("r32 46:01={:#x}{}", 0xF0U | held,
                                        mode == 0xFF ? "" : " r64 46:18=0xff0000000000fe80"));
        EXPECT_EQ(weights[0], mode == 0xFF ? -5 : 128);
        EXPECT_EQ(weights[7], mode == 0xFF ? -5 : 255);
    }
}

} // namespace
