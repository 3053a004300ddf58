// SPDX-License-Identifier: LGPL-2.1-or-later
// Priority remapping, and the CoS queues of the whole switch.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Cosq : public StartedBoard {};

TEST_F(Cosq, PriorityRemapping)
{
    expect({
        {"abu", CALL(eth_prio_remap_set(1, 3, 6)), "0: [91:18 r64=fedcba9876543210 w64=fedcba9876546210]"},
        {"e", CALL(eth_prio_remap_set(8, 7, 7)), "0: [91:50 r64=0 w64=70000000]"},
        {"b", CALL(eth_prio_remap_set(0, 8, 7)), "-4"},
        {"b", CALL(eth_prio_remap_set(0, 7, 8)), "-4"},
        {"b", CALL(eth_prio_remap_set(2, 8, 8)), "-18"},
        {"abu", CALL(eth_prio_remap_get(1, 7, o)), "0 15: [91:18 r64=a0f5446210]"},
        {"b", CALL(eth_prio_remap_get(0, 5, o)), "0 5: [91:10 r64=76543210]"},
        {"b", CALL(eth_prio_remap_get(8, 8, o)), "-4 255"},
        {"b", CALL(eth_prio_remap_get(7, 8, o)), "-18 255"},
        {"abu", CALL(eth_prio_remap_enable_set(8, -1)), "0: [91:00 r64=1 w64=1000001]"},
        {"b", CALL(eth_prio_remap_enable_set(1, 0)), "0: [91:00 r64=30000 w64=10000]"},
        {"b", CALL(eth_prio_remap_enable_set(3, 1)), "-18"},
        {"abu", CALL(eth_prio_remap_enable_get(8, o)), "0 1: [91:00 r32=1000000]"},
        {"b", CALL(eth_prio_remap_enable_get(0, o)), "0 0: [91:00 r32=1000000]"},
        {"b", CALL(eth_prio_remap_enable_get(2, o)), "-18"},
        {"abu", CALL(eth_prio_init()), "0: [30:04 w64=103 30:06 w64=0]"},
    });
}

TEST_F(Cosq, QueuesOfClassA)
{
    static constexpr int32_t weights[4] = {4, 300, -1, 1};
    expect({
        {"a", CALL(eth_cosq_mapping_set(7, 3)), "0: [30:62 r32=0 w64=c000]"},
        {"a", CALL(eth_cosq_mapping_set(1, 2)), "0: [30:62 r32=ffff w64=fffb]"},
        {"a", CALL(eth_cosq_mapping_set(7, 4)), "-4"},
        {"a", CALL(eth_cosq_mapping_set(8, 0)), "-4"},
        {"a", CALL(eth_cosq_mapping_set(-1, 0)), "-4"},
        {"beu", CALL(eth_cosq_mapping_set(9, 9)), "-16"},
        {"a", CALL(eth_cosq_mapping_get(7, o)), "0 2: [30:62 r32=8000]"},
        {"a", CALL(eth_cosq_mapping_get(8, o)), "-4"},
        {"a", CALL(eth_cosq_mapping_get(-1, o)), "-4"},
        {"beu", CALL(eth_cosq_mapping_get(9, o)), "-16"},
        {"a", CALL(eth_cosq_sched_set(1, nullptr)), "0: [30:80 w64=3]"},
        {"a", CALL(eth_cosq_sched_set(2, nullptr)),
         "0: [30:80 w64=0 30:81 w64=1 30:82 w64=1 30:83 w64=1 30:84 w64=1]"},
        {"a", CALL(eth_cosq_sched_set(3, weights)),
         "0: [30:80 w64=0 30:81 w64=4 30:82 w64=12c 30:83 w64=ffffffffffffffff 30:84 w64=1]"},
        {"a", CALL(eth_cosq_sched_set(4, weights)), "-16: []"},
        {"a", CALL(eth_cosq_sched_set(0, weights)), "-16: []"},
        {"beu", CALL(eth_cosq_sched_set(1, nullptr)), "-16"},
        {"a", CALL(eth_cosq_sched_get(o, o + 1)),
         "0 1 1 1 1 1: 30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=1 30:80 r32=3"},
        {"a", CALL(eth_cosq_sched_get(o, o + 1)),
         "0 2 1 1 1 1: 30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=1 30:80 r32=0"},
        {"a", CALL(eth_cosq_sched_get(o, o + 1)),
         "0 3 1 1 1 0: 30:81 r32=1 30:82 r32=1 30:83 r32=1 30:84 r32=0 30:80 r32=0"},
        {"beu", CALL(eth_cosq_sched_get(o, o + 1)), "-16"},
    });
}

TEST_F(Cosq, EnableIsForEveryDevice)
{
    expect({
        {"abu", CALL(eth_cosq_enable_set(8, 2)), "0: 30:04 r64=2 w64=102"},
        {"abu", CALL(eth_cosq_enable_set(1, 0)), "0: 30:04 r64=3 w64=1"},
        {"abu", CALL(eth_cosq_enable_set(2, 1)), "-18"},
        {"abu", CALL(eth_cosq_enable_get(8, o)), "0 1: 30:04 r32=100"},
        {"abu", CALL(eth_cosq_enable_get(0, o)), "0 0: 30:04 r32=100"},
        {"abu", CALL(eth_cosq_enable_get(2, o)), "-18 -1"},
    });
}

} // namespace
