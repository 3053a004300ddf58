// Priority remapping, and the CoS queues of the whole switch.
#include "tests/qos/fresh_switch.h"

namespace {

using namespace test;

class Cosq : public FreshSwitch {};

struct Case {
    uint8_t page, offset;
    uint64_t contents; // before
    std::function<int32_t()> call;
    int32_t result;
    const char *requests;
};

TEST_F(Cosq, PriorityRemapping)
{
    const Case cases[] = {
        {0x91, 0x18, 0xFEDCBA9876543210, [] { return eth_prio_remap_set(1, 3, 6); }, 0,
         "[r64 91:18=0xfedcba9876543210 w64 91:18=0xfedcba9876546210]"},
        {0x91, 0x50, 0, [] { return eth_prio_remap_set(8, 7, 7); }, 0,
         "[r64 91:50=0x0 w64 91:50=0x70000000]"},
        {0x91, 0x10, 0, [] { return eth_prio_remap_set(0, 8, 7); }, ETH_E_PARAM, ""},
        {0x91, 0x10, 0, [] { return eth_prio_remap_set(0, 7, 8); }, ETH_E_PARAM, ""},
        {0x91, 0x10, 0, [] { return eth_prio_remap_set(2, 8, 8); }, ETH_E_PORT, ""},
        {0x91, 0x00, 1, [] { return eth_prio_remap_enable_set(8, -1); }, 0,
         "[r64 91:00=0x1 w64 91:00=0x1000001]"},
        {0x91, 0x00, 0x30000, [] { return eth_prio_remap_enable_set(1, 0); }, 0,
         "[r64 91:00=0x30000 w64 91:00=0x10000]"},
        {0x91, 0x00, 0, [] { return eth_prio_remap_enable_set(3, 1); }, ETH_E_PORT, ""},
        {0x30, 0x04, 0xFFFF, [] { return eth_prio_init(); }, 0, "[w64 30:04=0x103 w64 30:06=0x0]"},
    };
    for (const uint32_t device : {class_a, class_b, unknown_device}) {
        become(device);
        for (const Case &c : cases) {
            reg(c.page, c.offset) = c.contents;
            EXPECT_EQ(traffic([&] { EXPECT_EQ(c.call(), c.result) << c.requests; }), c.requests);
        }
    }
}

TEST_F(Cosq, PriorityRemappingReadings)
{
    struct {
        uint32_t port;
        uint8_t priority;
        int32_t result;
        uint8_t value;
        const char *requests;
    } const cases[] = {
        {1, 3, 0, 6, "[r64 91:18=0xa0f5446210]"},
        {1, 7, 0, 15, "[r64 91:18=0xa0f5446210]"},
        {0, 5, 0, 5, "[r64 91:10=0x76543210]"},
        {8, 8, ETH_E_PARAM, 0xFF, ""},
        {7, 8, ETH_E_PORT, 0xFF, ""},
    };
    reg(0x91, 0x18) = 0xA0F5446210;
    for (const auto &c : cases) {
        uint8_t value = 5;
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_prio_remap_get(c.port, c.priority, &value), c.result); }),
                  c.requests);
        EXPECT_EQ(value, c.value) << c.requests;
    }
    reg(0x91, 0x00) = 0x1000000;
    uint32_t on = 5;
    EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_prio_remap_enable_get(8, &on), 0); }), "[r32 91:00=0x1000000]");
    EXPECT_EQ(on, 1u);
    EXPECT_EQ(eth_prio_remap_enable_get(2, &on), ETH_E_PORT);
    EXPECT_EQ(on, 1u);
    EXPECT_EQ(eth_prio_remap_enable_get(0, &on), 0);
    EXPECT_EQ(on, 0u);
}

TEST_F(Cosq, QueuesOfClassA)
{
    static constexpr int32_t weights[4] = {4, 300, -1, 1};
    const Case cases[] = {
        {0x30, 0x62, 0, [] { return eth_cosq_mapping_set(7, 3); }, 0, "[r32 30:62=0x0 w64 30:62=0xc000]"},
        {0x30, 0x62, 0xFFFF, [] { return eth_cosq_mapping_set(1, 2); }, 0,
         "[r32 30:62=0xffff w64 30:62=0xfffb]"},
        {0x30, 0x62, 0, [] { return eth_cosq_mapping_set(7, 4); }, ETH_E_PARAM, ""},
        {0x30, 0x62, 0, [] { return eth_cosq_mapping_set(8, 0); }, ETH_E_PARAM, ""},
        {0x30, 0x62, 0, [] { return eth_cosq_mapping_set(-1, 0); }, ETH_E_PARAM, ""},
        {0x30, 0x80, 0, [] { return eth_cosq_sched_set(1, nullptr); }, 0, "[w64 30:80=0x3]"},
        {0x30, 0x80, 3, [] { return eth_cosq_sched_set(2, nullptr); }, 0,
         "[w64 30:80=0x0 w64 30:81=0x1 w64 30:82=0x1 w64 30:83=0x1 w64 30:84=0x1]"},
        {0x30, 0x80, 3, [] { return eth_cosq_sched_set(3, weights); }, 0,
         "[w64 30:80=0x0 w64 30:81=0x4 w64 30:82=0x12c w64 30:83=0xffffffffffffffff w64 30:84=0x1]"},
        {0x30, 0x80, 3, [] { return eth_cosq_sched_set(4, weights); }, ETH_E_UNAVAIL, "[]"},
        {0x30, 0x80, 3, [] { return eth_cosq_sched_set(0, weights); }, ETH_E_UNAVAIL, "[]"},
    };
    become(class_a);
    for (const Case &c : cases) {
        reg(c.page, c.offset) = c.contents;
        EXPECT_EQ(traffic([&] { EXPECT_EQ(c.call(), c.result) << c.requests; }), c.requests);
    }
    uint32_t queue = 9;
    reg(0x30, 0x62) = 0x8000;
    EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_cosq_mapping_get(7, &queue), 0); }), "[r32 30:62=0x8000]");
    EXPECT_EQ(queue, 2u);
    for (const int32_t wrong : {8, -1})
        EXPECT_EQ(eth_cosq_mapping_get(wrong, &queue), ETH_E_PARAM);
    EXPECT_EQ(queue, 2u);
}

TEST_F(Cosq, SchedulerOfClassAIsToldFromItsRegisters)
{
    become(class_a);
    struct {
        uint8_t held;
        std::array<uint32_t, 4> weights;
        uint32_t mode;
    } const cases[] = {
        {3, {4, 3, 2, 1}, 1}, {0, {1, 1, 1, 1}, 2}, {0, {4, 3, 2, 1}, 3}, {1, {1, 1, 1, 0}, 3}};
    for (const auto &c : cases) {
        reg(0x30, 0x80) = c.held;
        for (uint8_t queue = 0; queue < 4; ++queue)
            reg(0x30, static_cast<uint8_t>(0x81 + queue)) = c.weights[queue];
        uint32_t mode = 9;
        std::array<uint32_t, 4> weights{};
        const std::string expected =
            fmt::format("r32 30:81={:#x} r32 30:82={:#x} r32 30:83={:#x} r32 30:84={:#x} r32 30:80={:#x}",
                        c.weights[0], c.weights[1], c.weights[2], c.weights[3], c.held);
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_cosq_sched_get(&mode, weights.data()), 0); }), expected);
        EXPECT_EQ(mode, c.mode) << expected;
        EXPECT_EQ(weights, c.weights);
    }
}

TEST_F(Cosq, QueuesOfClassAAreRefusedElsewhereBeforeAllOtherChecks)
{
    for (const uint32_t device : {class_b, early_class_b, unknown_device}) {
        become(device);
        uint32_t out = 5, weights[4] = {5, 5, 5, 5};
        EXPECT_EQ(traffic([&] {
                      EXPECT_EQ(eth_cosq_mapping_set(9, 9), ETH_E_UNAVAIL);
                      EXPECT_EQ(eth_cosq_mapping_get(9, &out), ETH_E_UNAVAIL);
                      EXPECT_EQ(eth_cosq_sched_set(1, nullptr), ETH_E_UNAVAIL);
                      EXPECT_EQ(eth_cosq_sched_get(&out, weights), ETH_E_UNAVAIL);
                  }),
                  "");
        EXPECT_EQ(std::pair(out, weights[0]), std::pair(5u, 5u));
    }
}

TEST_F(Cosq, EnableIsForEveryDevice)
{
    for (const uint32_t device : {class_a, class_b, unknown_device}) {
        become(device);
        reg(0x30, 0x04) = 0x2;
        uint32_t value = 5;
        EXPECT_EQ(traffic([&] {
                      EXPECT_EQ(eth_cosq_enable_set(8, 2), 0);
                      EXPECT_EQ(eth_cosq_enable_set(1, 0), 0);
                      EXPECT_EQ(eth_cosq_enable_get(8, &value), 0);
                  }),
                  "r64 30:04=0x2 w64 30:04=0x102 r64 30:04=0x102 w64 30:04=0x100 r32 30:04=0x100");
        EXPECT_EQ(value, 1u);
        EXPECT_EQ(eth_cosq_enable_get(0, &value), 0);
        EXPECT_EQ(value, 0u);
        EXPECT_EQ(eth_cosq_enable_get(2, &value), ETH_E_PORT);
        EXPECT_EQ(value, 0xFFFFFFFF);
        EXPECT_EQ(traffic([] { EXPECT_EQ(eth_cosq_enable_set(2, 1), ETH_E_PORT); }), "");
    }
}

} // namespace
