// SPDX-License-Identifier: LGPL-2.1-or-later
// VLAN table, default tags, modes, egress translation, and the order in which eth_vlan_init() sets them.
#include "tests/support/board.h"

#include <fstream>
#include <sstream>

#include <esw.h>

namespace {

using namespace test;

#define CALL(...) [&] { return static_cast<int64_t>(__VA_ARGS__); }
#define GET(call, out) ((call) == ETH_E_NONE ? int64_t{out} : -1)
#define TRAFFIC(call, expected) EXPECT_EQ(traffic(CALL(call)), expected)

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

    // "result: request, request": "r32 34:20 0x1" for a read with this width byte, "w 34:20 0x1" for a write;
    // "..." for those that load the entry of VID 10.
    std::string traffic(const std::function<int64_t()> &call)
    {
        int64_t result = 0;
        Lines lines = requests([&] { result = call(); });
        for (std::string &line : lines) {
            std::istringstream words(line);
            std::string access, address, width, arrow, value;
            if (words >> access >> address >> width >> arrow >> value)
                line = (access == "read" ? 'r' : 'w') +
                       width.substr(access == "read" || width != "w64" ? 1 : 3) + ' ' + address + ' ' + value;
        }
        std::string text = fmt::format("{}: {}", result, fmt::join(lines, ", "));
        const std::string load = "w 05:81 0xa, w 05:80 0x81, r32 05:80 0x1";
        const size_t at = text.find(load);
        return at == std::string::npos ? text : text.replace(at, load.size(), "...");
    }

    [[nodiscard]] std::string membership_file() const { return directory() + "/shm/vid_list.cfg"; }

    uint32_t a = 5, b = 5; // out-parameters
    uint16_t vid = 5;
};

TEST_F(Vlan, TableCallsAndTheirRequests)
{
    TRAFFIC(eth_vlan_port_add(4096, 4, 0), "-4: ");
    TRAFFIC(eth_vlan_port_remove(10, 4), "-18: ");
    TRAFFIC(eth_vlan_port_add(10, 1, 0), "-7: ");
    TRAFFIC(eth_vlan_port_get(10, &a, &b), "-7: ");
    EXPECT_EQ(std::pair(a, b), std::pair(~0u, ~0u));
    TRAFFIC(eth_vlan_create(4096), "-4: ");
    TRAFFIC(eth_vlan_create(10), "0: lock, unlock");
    TRAFFIC(eth_vlan_create(10), "-8: ");
    const std::string store = ", w 05:80 0x80, r32 05:80 0x0, unlock";
    TRAFFIC(eth_vlan_port_add(10, 0x103, 0xFF800100), // untagged is cut, not checked
            "0: lock, ..., r64 05:83 0x0, w 05:83 0x20103" + store);
    TRAFFIC(eth_vlan_port_add(10, 0, 1), "0: lock, ..., r64 05:83 0x20103, w 05:83 0x20303" + store);
    TRAFFIC(eth_vlan_port_remove(10, 0x100), "0: lock, ..., r64 05:83 0x20303, w 05:83 0x203" + store);
    TRAFFIC(eth_vlan_port_get(10, &a, &b), "0: lock, ..., r32 05:83 0x203, unlock");
    EXPECT_EQ(std::pair(a, b), std::pair(3u, 1u));
    TRAFFIC(eth_vlan_destroy(10), "0: lock, ..., w 05:83 0x0" + store);
    TRAFFIC(eth_vlan_destroy(10), "-7: ");

    std::ofstream(membership_file()) << std::string(4096, '/'); // reads as a failure
    TRAFFIC(eth_vlan_create(0), "-1: ");
    std::ofstream(membership_file()) << std::string(4096, 'x');
    TRAFFIC(eth_vlan_create(0), "-8: ");
}

TEST_F(Vlan, WaitsEndWithTheirBudget)
{
    set_vid(10, 1);
    set_vid(11, 1);
    struct {
        const char *engine;
        std::function<int64_t()> call;
        size_t others, budget; // lines that are not the wait's; reads
        int vlans;             // that the file knows then
    } const cases[] = {
        {"vlan-table-command", CALL(eth_vlan_port_add(10, 1, 1)), 4, 10001, 2},
        {"vlan-table-command", CALL(eth_vlan_port_remove(10, 1)), 4, 10001, 2},
        {"vlan-table-command", CALL(eth_vlan_port_get(10, &a, &b)), 4, 10001, 2},
        {"vlan-table-command", CALL(eth_vlan_destroy(10)), 4, 10001, 1},
        {"vlan-table-command", CALL(eth_vlan_destroy_all()), 1, 10001, 0},
        {"evt-command", CALL(eth_vlan_evt_add(0, 1, 1, 1)), 4, 10002, 0},
        {"evt-command", CALL(eth_vlan_evt_get(0, 1, &a, &vid)), 3, 10002, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        stick(c.engine);
        EXPECT_EQ(requests([&] { EXPECT_EQ(c.call(), ETH_E_TIMEOUT); }).size(), c.others + c.budget);
        EXPECT_EQ(get_vid(10) + get_vid(11), c.vlans);
    }
    EXPECT_EQ(std::tuple(a, b, vid), std::tuple(~0u, ~0u, 5)) << "the table's presets, nothing else";
    stick(nullptr);
    options().behaviour.latency = 10000; // the last read of the budget finds the engine done
    EXPECT_EQ(eth_vlan_destroy_all(), 0);
    options().behaviour.latency = 10001;
    EXPECT_EQ(eth_vlan_destroy_all(), ETH_E_TIMEOUT);
    EXPECT_EQ(eth_vlan_evt_add(0, 1, 1, 1), 0);
}

TEST_F(Vlan, DefaultTags)
{
    reg(0x34, 0x20) = 0xBFFF;
    TRAFFIC(eth_port_untagged_vlan_set(8, 100), "0: lock, r32 34:20 0xbfff, w 34:20 0xb064, unlock");
    TRAFFIC(eth_port_untagged_priority_set(8, 2), "0: lock, r32 34:20 0xb064, w 34:20 0x5064, unlock");
    TRAFFIC(GET(eth_port_untagged_vlan_get(8, &vid), vid), "100: lock, r32 34:20 0x5064, unlock");
    TRAFFIC(GET(eth_port_untagged_priority_get(8, &a), a), "2: lock, r32 34:20 0x5064, unlock");
    TRAFFIC(GET(eth_port_untagged_vlan_get(1, &vid), vid), "1: lock, r32 34:12 0x1, unlock");
    TRAFFIC(eth_port_untagged_vlan_set(7, 4096), "-18: ");
    TRAFFIC(eth_port_untagged_vlan_set(0, 4096), "-4: ");
    TRAFFIC(eth_port_untagged_priority_set(1, 8), "-4: ");
    TRAFFIC(eth_port_untagged_priority_set(1, -1), "-4: ");
    TRAFFIC(eth_port_untagged_vlan_get(2, &vid), "-18: ");
    TRAFFIC(eth_port_untagged_priority_get(2, &a), "-18: ");
    EXPECT_EQ(std::pair(vid, a), std::pair(uint16_t{0xFFFF}, 2u));
}

TEST_F(Vlan, ModesAndSwitches)
{
    reg(0x34, 0x00) = reg(0x34, 0x05) = 0;
    reg(0x34, 0x06) = 0xFF;
    const char *const modes[][2] = {
        {"0: r64 34:00 0x0, w 34:00 0x80", "0: r64 34:00 0x80, w 34:00 0x0"},
        {"0: r64 34:00 0x0, w 34:00 0x8", "0: r64 34:00 0x8, w 34:00 0x0"},
        {"0: r64 34:05 0x0, w 34:05 0x20", "0: r64 34:05 0x20, w 34:05 0x0"},
        {"0: r64 34:05 0x0, w 34:05 0x10", "0: r64 34:05 0x10, w 34:05 0x0"},
        {"0: w 34:40 0x5500, r32 34:40 0x5500, r32 34:05 0x0, w 34:05 0x8",
         "0: w 34:40 0x5500, r32 34:40 0x5500, r32 34:05 0x8, w 34:05 0x0"},
        {"0: r64 34:06 0xff, w 34:06 0xff", "0: r64 34:06 0xff, w 34:06 0xfb"},
        {"0: r64 34:06 0xfb, w 34:06 0xfb", "0: r64 34:06 0xfb, w 34:06 0xbb"},
        {"-16: ", "-16: "},
    };
    for (uint32_t mode = 0; mode < std::size(modes); ++mode) {
        TRAFFIC(eth_vlan_mode_set(mode, 2), modes[mode][0]);
        EXPECT_EQ(eth_vlan_mode_get(mode, &a), mode > 6 ? ETH_E_UNAVAIL : 0);
        EXPECT_EQ(a, mode > 6 ? ~0u : 1u);
        TRAFFIC(eth_vlan_mode_set(mode, 0), modes[mode][1]);
    }
    TRAFFIC(GET(eth_vlan_mode_get(6, &a), a), "0: r32 34:06 0xbb");

    TRAFFIC(eth_vlan_learning_mode_set(9) == 0 ? GET(eth_vlan_learning_mode_get(&a), a) : -1,
            "3: lock, r32 34:00 0x0, w 34:00 0x60, unlock, lock, r32 34:00 0x60, unlock");
    TRAFFIC(eth_vlan_learning_mode_set(0), "0: lock, r32 34:00 0x60, w 34:00 0x0, unlock");
    TRAFFIC(eth_vlan_drop_vtbl_miss_set(0) == 0 ? GET(eth_vlan_drop_vtbl_miss_get(&a), a) : -1,
            "0: lock, r32 34:06 0xbb, w 34:06 0xb3, unlock, lock, r32 34:06 0xb3, unlock");
    TRAFFIC(GET(eth_vlan_bypass_CRC_get(&a), a), "1: lock, r32 34:06 0xb3, unlock");
    TRAFFIC(eth_vlan_bypass_CRC_set(0), "0: lock, r32 34:06 0xb3, w 34:06 0xb2, unlock");

    power_on(0x5075); // has no egress translation
    TRAFFIC(eth_vlan_mode_set(4, 1), "-16: w 34:40 0x5500, r32 34:40 0x0");
}

TEST_F(Vlan, TranslationCallsAndTheirRequests)
{
    TRAFFIC(eth_vlan_evt_add(2, 5, 2, 100), "-18: ");
    TRAFFIC(eth_vlan_evt_get(16, 5, &a, &vid), "-18: ");
    EXPECT_EQ(std::pair(a, vid), std::pair(5u, uint16_t{5}));
    TRAFFIC(eth_vlan_evt_add(8, 5, 0xFE, 0xF064), // cut to their fields
            "0: lock, w 34:44 0x20002064, w 34:40 0x583, r32 34:40 0x582, unlock");
    EXPECT_EQ(eth_vlan_evt_add(1, 255, 1, 7), 0);
    TRAFFIC(eth_vlan_evt_get(8, 5, &a, &vid),
            "0: lock, w 34:40 0x581, r32 34:40 0x580, r32 34:44 0x20002064, unlock");
    EXPECT_EQ(std::pair(a, vid), std::pair(2u, uint16_t{100}));
}

TEST_F(Vlan, InitSetsEverythingUnderOneLock)
{
    for (const unsigned offset : {0x00U, 0x01U, 0x02U, 0x05U, 0x06U})
        reg(0x34, static_cast<uint8_t>(offset)) = 0xFF;
    std::ofstream(membership_file()) << std::string(5000, '1');
    eth_vlan_evt_add(1, 3, 1, 9); // below the indexes that are written one by one
    std::string expected =
        "0: lock, r64 34:00 0xff, w 34:00 0x7f, r64 34:00 0x7f, w 34:00 0x77, w 34:40 0x5500, "
        "r32 34:40 0x5500, r32 34:05 0xff, w 34:05 0xf3, r64 34:00 0x77, w 34:00 0x77, r32 34:01 0xff, "
        "w 34:01 0x9f, r32 34:02 0xff, w 34:02 0xfb, w 34:03 0x0, r64 34:05 0xf3, w 34:05 0xd3, "
        "r64 34:05 0xd3, w 34:05 0xc3, r32 34:05 0xc3, w 34:05 0x43, r32 34:06 0xff, w 34:06 0xbb, "
        "w 34:0a 0x0, w 34:10 0x1, w 34:12 0x1, w 34:20 0x1, w 05:80 0x82, r32 05:80 0x2, ";
    for (unsigned entry = 0; entry < 384; ++entry) {
        const unsigned command = (0x80 + entry / 3) << 8 | (entry % 3 == 2 ? 8U : entry % 3) << 4;
        expected += fmt::format("w 34:44 0x0, w 34:40 {:#x}, r32 34:40 {:#x}, ", command | 3, command | 2);
    }
    TRAFFIC(eth_vlan_init(), expected + "w 34:40 0x4, r32 34:40 0x0, unlock");
    std::ifstream file(membership_file());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), std::string(4096, '0'));
    eth_vlan_evt_get(1, 3, &a, &vid);
    EXPECT_EQ(std::pair(a, vid), std::pair(0u, uint16_t{0}));
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
