// SPDX-License-Identifier: LGPL-2.1-or-later
// Priority remapping, and the CoS queues of the whole switch.
#include "tests/qos/fresh_switch.h"

namespace {

using namespace test;

constexpr uint32_t all_ones = 0xFFFFFFFF;

class Cosq : public FreshSwitch {};

int32_t remap_get(uint32_t port, uint8_t priority, Out out)
{
    uint8_t replacement = 5;
    const int32_t result = eth_prio_remap_get(port, priority, &replacement);
    *out = replacement;
    return result;
}

TEST_F(Cosq, PriorityRemapping)
{
    expect({
        {"abu", [](Out) { return eth_prio_remap_set(1, 3, 6); }, 0,
         "[91:18 r64=fedcba9876543210 w64=fedcba9876546210]"},
        {"e", [](Out) { return eth_prio_remap_set(8, 7, 7); }, 0, "[91:50 r64=0 w64=70000000]"},
        {"b", [](Out) { return eth_prio_remap_set(0, 8, 7); }, ETH_E_PARAM, ""},
        {"b", [](Out) { return eth_prio_remap_set(0, 7, 8); }, ETH_E_PARAM, ""},
        {"b", [](Out) { return eth_prio_remap_set(2, 8, 8); }, ETH_E_PORT, ""},
        {"abu", [](Out o) { return remap_get(1, 7, o); }, 0, "[91:18 r64=a0f5446210]", {15}},
        {"b", [](Out o) { return remap_get(0, 5, o); }, 0, "[91:10 r64=76543210]", {5}},
        {"b", [](Out o) { return remap_get(8, 8, o); }, ETH_E_PARAM, "", {0xFF}},
        {"b", [](Out o) { return remap_get(7, 8, o); }, ETH_E_PORT, "", {0xFF}},
        {"abu", [](Out) { return eth_prio_remap_enable_set(8, -1); }, 0, "[91:00 r64=1 w64=1000001]"},
        {"b", [](Out) { return eth_prio_remap_enable_set(1, 0); }, 0, "[91:00 r64=30000 w64=10000]"},
        {"b", [](Out) { return eth_prio_remap_enable_set(3, 1); }, ETH_E_PORT, ""},
        {"abu", [](Out o) { return eth_prio_remap_enable_get(8, o); }, 0, "[91:00 r32=1000000]", {1}},
        {"b", [](Out o) { return eth_prio_remap_enable_get(0, o); }, 0, "[91:00 r32=1000000]", {0}},
        {"b", [](Out o) { return eth_prio_remap_enable_get(2, o); }, ETH_E_PORT, ""},
        {"abu", [](Out) { return eth_prio_init(); }, 0, "[30:04 w64=103 30:06 w64=0]"},
    });
}

TEST_F(Cosq, QueuesOfClassA)
{
    static constexpr int32_t weights[4] = {4, 300, -1, 1};
    expect({
        {"a", [](Out) { return eth_cosq_mapping_set(7, 3); }, 0, "[30:62 r32=0 w64=c000]"},
        {"a", [](Out) { return eth_cosq_mapping_set(1, 2); }, 0, "[30:62 r32=ffff w64=fffb]"},
        {"a", [](Out) { return eth_cosq_mapping_set(7, 4); }, ETH_E_PARAM, ""},
        {"a", [](Out) { return eth_cosq_mapping_set(8, 0); }, ETH_E_PARAM, ""},
        {"a", [](Out) { return eth_cosq_mapping_set(-1, 0); }, ETH_E_PARAM, ""},
        {"beu", [](Out) { return eth_cosq_mapping_set(9, 9); }, ETH_E_UNAVAIL, ""},
        {"a", [](Out o) { return eth_cosq_mapping_get(7, o); }, 0, "[30:62 r32=8000]", {2}},
        {"a", [](Out o) { return eth_cosq_mapping_get(8, o); }, ETH_E_PARAM, ""},
        {"a", [](Out o) { return eth_cosq_mapping_get(-1, o); }, ETH_E_PARAM, ""},
        {"beu", [](Out o) { return eth_cosq_mapping_get(9, o); }, ETH_E_UNAVAIL, ""},
        {"a", [](Out) { return eth_cosq_sched_set(1, nullptr); }, 0, "[30:80 w64=3]"},
        {"a", [](Out) { return eth_cosq_sched_set(2, nullptr); }, 0,
         "[30:80 w64=0 30:81 w64=1 30:82 w64=1 30:83 w64=1 30:84 w64=1]"},
        {"a", [](Out) { return eth_cosq_sched_set(3, weights); }, 0,
         "[30:80 w64=0 30:81 w64=4 30:82 w64=12c 30:83 w64=ffffffffffffffff 30:84 w64=1]"},
        {"a", [](Out) { return eth_cosq_sched_set(4, weights); }, ETH_E_UNAVAIL, "[]"},
        {"a", [](Out) { return eth_cosq_sched_set(0, weights); }, ETH_E_UNAVAIL, "[]"},
        {"beu", [](Out) { return eth_cosq_sched_set(1, nullptr); }, ETH_E_UNAVAIL, ""},
        {"a",
         [](Out o) { return eth_cosq_sched_get(o, o + 1); },
         0,
         "30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=1 30:80 r32=3",
         {1, 1, 1, 1, 1, 5}},
        {"a",
         [](Out o) { return eth_cosq_sched_get(o, o + 1); },
         0,
         "30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=1 30:80 r32=0",
         {2, 1, 1, 1, 1, 5}},
        {"a",
         [](Out o) { return eth_cosq_sched_get(o, o + 1); },
         0,
         "30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=0 30:80 r32=0",
         {3, 1, 1, 1, 0, 5}},
        {"beu", [](Out o) { return eth_cosq_sched_get(o, o + 1); }, ETH_E_UNAVAIL, "", {5, 5}},
    });
}

TEST_F(Cosq, EnableIsForEveryDevice)
{
    expect({
        {"abu", [](Out) { return eth_cosq_enable_set(8, 2); }, 0, "30:04 r64=2 w64=102"},
        {"abu", [](Out) { return eth_cosq_enable_set(1, 0); }, 0, "30:04 r64=3 w64=1"},
        {"abu", [](Out) { return eth_cosq_enable_set(2, 1); }, ETH_E_PORT, ""},
        {"abu", [](Out o) { return eth_cosq_enable_get(8, o); }, 0, "30:04 r32=100", {1}},
        {"abu", [](Out o) { return eth_cosq_enable_get(0, o); }, 0, "30:04 r32=100", {0}},
        {"abu", [](Out o) { return eth_cosq_enable_get(2, o); }, ETH_E_PORT, "", {all_ones}},
    });
}

} // namespace
