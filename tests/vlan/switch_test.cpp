// SPDX-License-Identifier: LGPL-2.1-or-later
// VLAN table, default tags, modes, egress translation, and the order in which eth_vlan_init() sets them.
#include "tests/support/board.h"

#include <fstream>
#include <sstream>

#include <esw.h>

namespace {

using namespace test;

#define STEP(call, expected) EXPECT_EQ(outcome(CALL(call)), expected)

class Vlan : public Board {
public:
    void stick(const char *engine) { options().behaviour.stuck = engine ? sim::find_bank(engine) : nullptr; }
    bool is_stuck() { return options().behaviour.stuck; }

protected:
    void SetUp() override
    {
        start();
        init_vid_list();
    }

    const std::string file = shm("vid_list.cfg");
};

TEST_F(Vlan, TableCallsAndTheirRequests)
{
    const std::string load = "[05:81 w64=a 05:80 w64=81 r32=1 05:83 ", store = " 05:80 w64=80 r32=0]";
    STEP(eth_vlan_port_add(4096, 4, 0), "-4");
    STEP(eth_vlan_port_remove(10, 4), "-18");
    STEP(eth_vlan_port_add(10, 1, 0), "-7");
    STEP(eth_vlan_port_get(10, o, o + 1), "-7 -1 -1");
    STEP(eth_vlan_create(4096), "-4");
    STEP(eth_vlan_create(10), "0: []");
    STEP(eth_vlan_create(10), "-8");
    STEP(eth_vlan_port_add(10, 0x103, 0xFF800100), "0: " + load + "r64=0 w64=20103" + store)
        << "cut, not checked";
    STEP(eth_vlan_port_add(10, 0, 1), "0: " + load + "r64=20103 w64=20303" + store);
    STEP(eth_vlan_port_remove(10, 0x100), "0: " + load + "r64=20303 w64=203" + store);
    STEP(eth_vlan_port_get(10, o, o + 1), "0 3 1: " + load + "r32=203]");
    state().vlan_table[10] = all_ones;
    STEP(eth_vlan_port_get(10, o, o + 1), "0 511 511: " + load + "r32=ffffffff]");
    STEP(eth_vlan_destroy(10), "0: " + load + "w64=0" + store);
    STEP(eth_vlan_destroy(10), "-7");

    std::ofstream(file) << std::string(4096, '/'); // reads as a failure
    STEP(eth_vlan_create(0), "-1");
    std::ofstream(file) << std::string(4096, 'x');
    STEP(eth_vlan_create(0), "-8");
}

TEST_F(Vlan, WaitsEndWithTheirBudget)
{
    set_vid(10, 1);
    set_vid(11, 1);
    const std::string table = "[05:81 w64=a 05:80 w64=81 r32=81*10001]";
    const struct {
        Call call;
        std::string outcome;
        int vlans; // that the file knows then
    } cases[] = {
        {CALL(eth_vlan_port_add(10, 1, 1)), "-9: " + table, 2},
        {CALL(eth_vlan_port_remove(10, 1)), "-9: " + table, 2},
        {CALL(eth_vlan_port_get(10, o, o + 1)), "-9 -1 -1: " + table, 2},
        {CALL(eth_vlan_destroy(10)), "-9: " + table, 1},
        {CALL(eth_vlan_destroy_all()), "-9: 05:80 w64=82 r32=82*10001", 0},
        {CALL(eth_vlan_evt_add(0, 1, 1, 1)), "-9: [34:44 w64=20001001 34:40 w64=103 r32=107*10002]", 0},
        {CALL(eth_vlan_evt_get(0, 1, o, o + 1)), "-9: [34:40 w64=101 r32=105*10002]", 0},
    };
    for (const auto &c : cases) {
        stick(c.outcome.find("05:80") < c.outcome.size() ? "vlan-table-command" : "evt-command");
        EXPECT_EQ(outcome(c.call), c.outcome);
        EXPECT_EQ(get_vid(10) + get_vid(11), c.vlans);
    }
    stick(nullptr);
    options().behaviour.latency = 10000; // the last read of the budget finds the engine done
    EXPECT_EQ(eth_vlan_destroy_all(), 0);
    options().behaviour.latency = 10001;
    EXPECT_EQ(eth_vlan_destroy_all(), ETH_E_TIMEOUT);
    EXPECT_EQ(eth_vlan_evt_add(0, 1, 1, 1), 0);
}

TEST_F(Vlan, DefaultTags)
{
    expect({
        {"abu", CALL(eth_port_untagged_vlan_set(8, 100)), "0: [34:20 r32=bfff w64=b064]"},
        {"abu", CALL(eth_port_untagged_priority_set(8, 2)), "0: [34:20 r32=b064 w64=5064]"},
        {"b", CALL(eth_port_untagged_vlan_set(0, 0xFFF)), "0: [34:10 r32=f000 w64=ffff]"},
        {"b", CALL(eth_port_untagged_priority_set(1, 0)), "0: [34:12 r32=ffff w64=1fff]"},
        {"abu", CALL(eth_port_untagged_vlan_get(8, o)), "0 100: [34:20 r32=f064]"},
        {"b", CALL(eth_port_untagged_vlan_get(1, o)), "0 1: [34:12 r32=1]"},
        {"abu", CALL(eth_port_untagged_priority_get(8, o)), "0 2: [34:20 r32=5fff]"},
        {"b", CALL(eth_port_untagged_priority_get(0, o)), "0 7: [34:10 r32=ffff]"},
        {"b", CALL(eth_port_untagged_vlan_set(7, 4096)), "-18"},
        {"b", CALL(eth_port_untagged_vlan_set(0, 4096)), "-4"},
        {"b", CALL(eth_port_untagged_priority_set(9, 8)), "-18"},
        {"b", CALL(eth_port_untagged_priority_set(1, 8)), "-4"},
        {"b", CALL(eth_port_untagged_priority_set(1, -1)), "-4"},
        {"b", CALL(eth_port_untagged_vlan_get(2, o)), "-18 65535"},
        {"b", CALL(eth_port_untagged_priority_get(2, o)), "-18"},
    });
}

TEST_F(Vlan, ModesAndSwitches)
{
    expect({
        {"abu", CALL(eth_vlan_mode_set(0, 2)), "0: 34:00 r64=60 w64=e0"},
        {"b", CALL(eth_vlan_mode_set(0, 0)), "0: 34:00 r64=ff w64=7f"},
        {"abu", CALL(eth_vlan_mode_set(1, 2)), "0: 34:00 r64=0 w64=8"},
        {"b", CALL(eth_vlan_mode_set(1, 0)), "0: 34:00 r64=ff w64=f7"},
        {"abu", CALL(eth_vlan_mode_set(2, 2)), "0: 34:05 r64=0 w64=20"},
        {"b", CALL(eth_vlan_mode_set(2, 0)), "0: 34:05 r64=ff w64=df"},
        {"abu", CALL(eth_vlan_mode_set(3, 2)), "0: 34:05 r64=0 w64=10"},
        {"b", CALL(eth_vlan_mode_set(3, 0)), "0: 34:05 r64=ff w64=ef"},
        {"ab", CALL(eth_vlan_mode_set(4, 2)), "0: 34:40 w64=5500 r32=5500 34:05 r32=4 w64=8"},
        {"b", CALL(eth_vlan_mode_set(4, 0)), "0: 34:40 w64=5500 r32=5500 34:05 r32=ff w64=f3"},
        {"abu", CALL(eth_vlan_mode_set(5, 2)), "0: 34:06 r64=0 w64=4"},
        {"b", CALL(eth_vlan_mode_set(5, 0)), "0: 34:06 r64=ff w64=fb"},
        {"abu", CALL(eth_vlan_mode_set(6, 2)), "0: 34:06 r64=0 w64=40"},
        {"b", CALL(eth_vlan_mode_set(6, 0)), "0: 34:06 r64=ff w64=bf"},
        {"abu", CALL(eth_vlan_mode_set(7, 1)), "-16"},
        {"abu", CALL(eth_vlan_mode_get(0, o)), "0 1: 34:00 r32=80"},
        {"b", CALL(eth_vlan_mode_get(1, o)), "0 0: 34:00 r32=f7"},
        {"b", CALL(eth_vlan_mode_get(2, o)), "0 1: 34:05 r32=20"},
        {"b", CALL(eth_vlan_mode_get(3, o)), "0 0: 34:05 r32=ef"},
        {"b", CALL(eth_vlan_mode_get(4, o)), "0 1: 34:05 r32=4"},
        {"b", CALL(eth_vlan_mode_get(4, o)), "0 0: 34:05 r32=f3"},
        {"b", CALL(eth_vlan_mode_get(5, o)), "0 1: 34:06 r32=4"},
        {"b", CALL(eth_vlan_mode_get(6, o)), "0 0: 34:06 r32=bf"},
        {"abu", CALL(eth_vlan_mode_get(7, o)), "-16 -1"},
        {"abu", CALL(eth_vlan_learning_mode_set(9)), "0: [34:00 r32=0 w64=60]"},
        {"b", CALL(eth_vlan_learning_mode_set(0)), "0: [34:00 r32=ff w64=9f]"},
        {"abu", CALL(eth_vlan_learning_mode_get(o)), "0 3: [34:00 r32=ff]"},
        {"b", CALL(eth_vlan_learning_mode_get(o)), "0 0: [34:00 r32=9f]"},
        {"abu", CALL(eth_vlan_drop_vtbl_miss_set(2)), "0: [34:06 r32=0 w64=8]"},
        {"b", CALL(eth_vlan_drop_vtbl_miss_set(0)), "0: [34:06 r32=ff w64=f7]"},
        {"abu", CALL(eth_vlan_drop_vtbl_miss_get(o)), "0 1: [34:06 r32=8]"},
        {"b", CALL(eth_vlan_drop_vtbl_miss_get(o)), "0 0: [34:06 r32=f7]"},
        {"abu", CALL(eth_vlan_bypass_CRC_set(2)), "0: [34:06 r32=0 w64=1]"},
        {"b", CALL(eth_vlan_bypass_CRC_set(0)), "0: [34:06 r32=b3 w64=b2]"},
        {"abu", CALL(eth_vlan_bypass_CRC_get(o)), "0 1: [34:06 r32=1]"},
        {"b", CALL(eth_vlan_bypass_CRC_get(o)), "0 0: [34:06 r32=fe]"},
    });
    power_on(0x5075); // has no egress translation
    STEP(eth_vlan_mode_set(4, 1), "-16: 34:40 w64=5500 r32=0");
}

TEST_F(Vlan, TranslationCallsAndTheirRequests)
{
    STEP(eth_vlan_evt_add(2, 5, 2, 100), "-18");
    STEP(eth_vlan_evt_get(16, 5, o, o + 1), "-18");
    STEP(eth_vlan_evt_add(8, 5, 0xFE, 0xF064), // cut to their fields
         "0: [34:44 w64=20002064 34:40 w64=583 r32=582]");
    STEP(eth_vlan_evt_add(1, 255, 1, 7), "0: [34:44 w64=20001007 34:40 w64=ff13 r32=ff12]");
    STEP(eth_vlan_evt_get(8, 5, o, o + 1), "0 2 100: [34:40 w64=581 r32=580 34:44 r32=20002064]");
}

TEST_F(Vlan, InitSetsEverythingUnderOneLock)
{
    for (const unsigned offset : {0x00U, 0x01U, 0x02U, 0x05U, 0x06U})
        reg(0x34, static_cast<uint8_t>(offset)) = 0xFF;
    std::ofstream(file) << std::string(5000, '1');
    eth_vlan_evt_add(1, 3, 1, 9); // below the indexes that are written one by one
    std::string expected =
        "0: [34:00 r64=ff w64=7f r64=7f w64=77 34:40 w64=5500 r32=5500 34:05 r32=ff w64=f3 34:00 r64=77 "
        "w64=77 "
        "34:01 r32=ff w64=9f 34:02 r32=ff w64=fb 34:03 w64=0 34:05 r64=f3 w64=d3 r64=d3 w64=c3 r32=c3 w64=43 "
        "34:06 r32=ff w64=bb 34:0a w64=0 34:10 w64=1 34:12 w64=1 34:20 w64=1 05:80 w64=82 r32=2 ";
    for (unsigned entry = 0; entry < 384; ++entry) {
        const unsigned command = (0x80 + entry / 3) << 8 | (entry % 3 == 2 ? 8U : entry % 3) << 4;
        expected += fmt::format("34:44 w64=0 34:40 w64={:x} r32={:x} ", command | 3, command | 2);
    }
    STEP(eth_vlan_init(), expected + "w64=4 r32=0]");
    EXPECT_EQ(contents(file), std::string(4096, '0'));
    STEP(eth_vlan_evt_get(1, 3, o, o + 1), "0 0 0: [34:40 w64=311 r32=310 34:44 r32=0]");
}

// One engine start that does not end, an entry's or the last, shows in the result; the others go on.
TEST_F(Vlan, ClearingTheTranslationsRemembersATimeout)
{
    struct Counts {
        Vlan &board;
        const char *hanging;
        size_t reads = 0, commands = 0;
    };
    for (const char *hanging : {"<- 0x8003", "<- 0x4"}) {
        Counts counts{*this, hanging};
        const auto count = [](void *context, const char *line) {
            auto &[board, last_word, reads, commands] = *static_cast<Counts *>(context);
            const bool command = strstr(line, "write 34:40");
            commands += command;
            if (command && strstr(line, last_word))
                board.stick("evt-command");
            else if (strstr(line, "read  34:40") && board.is_stuck() && ++reads == 10002)
                board.stick(nullptr);
        };
        sim::session()->driver().trace_to(count, &counts);
        EXPECT_EQ(eth_vlan_evt_clear(), ETH_E_TIMEOUT);
        EXPECT_EQ(std::pair(counts.reads, counts.commands), std::pair(size_t{10002}, size_t{385}));
    }
}

} // namespace
