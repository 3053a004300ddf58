// The rule table: transfers, the search for a free slot, time-outs, the clear and the ports' enable bits.
#include "tests/support/board.h"

#include <fstream>
#include <numeric>

#include <esw.h>

namespace {

using namespace test;

constexpr unsigned record_words = sizeof(eth_cfp_rule_t) / 4;

// What the two classes exchange: words of the record and registers of page A0, in order.
struct Exchange {
    uint32_t device;
    std::vector<std::pair<unsigned, unsigned>> words;
    std::vector<unsigned> selects;
};

Exchange exchange(uint32_t device)
{
    Exchange all{device, {}, {1, 2, 4, 8, 16}};
    for (unsigned k = 0; k < 8; ++k)
        all.words.insert(all.words.end(), {{k, 0x10 + 4 * k}, {8 + k, 0x30 + 4 * k}});
    const std::vector<std::pair<unsigned, unsigned>> a = {{16, 0x50}, {17, 0x54}, {19, 0x60},
                                                          {20, 0x64}, {26, 0x70}, {27, 0x74}};
    const std::vector<std::pair<unsigned, unsigned>> b = {
        {16, 0x50}, {17, 0x54}, {18, 0x58}, {19, 0x60}, {20, 0x64}, {21, 0x68}, {22, 0x6C},
        {23, 0x70}, {24, 0x74}, {25, 0x78}, {28, 0x80}, {29, 0x84}, {30, 0x88}};
    const auto &rest = device == class_a ? a : b;
    all.words.insert(all.words.end(), rest.begin(), rest.end());
    if (device != class_a)
        all.selects.push_back(24);
    return all;
}

uint32_t *words(eth_cfp_rule_t &rule) { return reinterpret_cast<uint32_t *>(&rule); }

// Every word its own value; in use.
eth_cfp_rule_t numbered(uint32_t first)
{
    eth_cfp_rule_t rule;
    std::iota(words(rule), words(rule) + record_words, first);
    return rule;
}

Lines commands(const Exchange &all, unsigned slot, unsigned operation, size_t reads_of_last = 1)
{
    Lines lines;
    for (const unsigned select : all.selects) {
        const unsigned command = slot << 16 | select << 10 | operation;
        lines.push_back(fmt::format("write a0:00 w64 <- {:#x}", command));
        lines.push_back(fmt::format("read a0:00 w32 -> {:#x}", command & ~1U));
    }
    lines.insert(lines.end(), reads_of_last - 1, lines.back());
    return lines;
}

class CfpRule : public Board {
protected:
    void write_last_index(const std::string &bytes)
    {
        std::ofstream(directory() + "/shm/cfp_last_idx.cfg", std::ios::binary | std::ios::trunc) << bytes;
    }

    std::string last_index()
    {
        std::ifstream file(directory() + "/shm/cfp_last_idx.cfg", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static std::string bytes(int32_t index) { return {reinterpret_cast<const char *>(&index), sizeof index}; }

    void occupy(std::initializer_list<int> slots)
    {
        for (const int slot : slots)
            ASSERT_EQ(eth_cfp_rule_set(slot, numbered(1)), slot);
    }

    // The slots that a call reads, in order.
    std::vector<unsigned> slots_read(const std::function<void()> &call)
    {
        std::vector<unsigned> slots;
        for (const std::string &line : requests(call)) {
            unsigned command = 0;
            if (sscanf(line.c_str(), "write a0:00 w64 <- %x", &command) == 1 && (command & 0xFFFF) == 0x403)
                slots.push_back(command >> 16);
        }
        return slots;
    }
};

TEST_F(CfpRule, AFreshRecordIsAFreeSlot)
{
    for (const uint32_t device : {class_a, class_b}) {
        start(device);
        eth_cfp_rule_t rule = numbered(7);
        eth_cfp_rule_t_init(&rule);
        for (unsigned i = 0; i < record_words; ++i)
            EXPECT_EQ(words(rule)[i], device == class_b && i == 19 ? 0x18u : 0u) << i;
        esw_exit();
    }
}

TEST_F(CfpRule, TransfersInOrderAndBitExact)
{
    for (const uint32_t device : {class_a, class_b}) {
        start(device);
        const Exchange all = exchange(device);
        eth_cfp_rule_t given = numbered(0xA0000001);
        Lines expected;
        for (const auto &[word, offset] : all.words)
            expected.push_back(fmt::format("write a0:{:02x} w64 <- {:#x}", offset, words(given)[word]));
        for (const std::string &line : commands(all, 63, 0x5))
            expected.push_back(line);
        if (device == class_b) // policer[0] ends in 0x14: rate mode 2
            expected.insert(expected.end(), {"read a0:04 w64 -> 0x0", "write a0:04 w64 <- 0x4"});
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_cfp_rule_set(63, given), 63); }), expected);

        occupy({62}); // leaves other contents in the registers
        eth_cfp_rule_t got = numbered(0x50000000);
        expected = commands(all, 63, 0x3);
        for (const auto &[word, offset] : all.words)
            expected.push_back(fmt::format("read a0:{:02x} w32 -> {:#x}", offset, words(given)[word]));
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_cfp_rule_get(63, &got), 0); }), expected);

        eth_cfp_rule_t wanted = numbered(0x50000000);
        for (const auto &[word, offset] : all.words)
            words(wanted)[word] = words(given)[word];
        EXPECT_EQ(memcmp(&got, &wanted, sizeof got), 0) << "words of the other class are left alone";
        EXPECT_EQ(last_index(), "") << "a slot that is given leaves the search alone";
        esw_exit();
    }
}

TEST_F(CfpRule, OnlyRateMode3LeavesTheGlobalPolicerBitAlone)
{
    for (const uint32_t device : {class_a, class_b}) {
        start(device);
        for (const uint32_t mode : {0x18u, 0xFFFFFFFFu, 0x10u, 0x08u, 0xFFFFFFE7u}) {
            reg(0xA0, 0x04) = 0xF0;
            eth_cfp_rule_t rule = numbered(1);
            rule.policer[0] = mode;
            eth_cfp_rule_set(0, rule);
            EXPECT_EQ(reg(0xA0, 0x04), device == class_b && (mode & 0x18) != 0x18 ? 0xF4u : 0xF0u) << mode;
        }
        esw_exit();
    }
}

TEST_F(CfpRule, ArgumentsAreCheckedBeforeTheDevice)
{
    start();
    gESWID = 0x1234;
    eth_cfp_rule_t rule = numbered(1);
    const Texts texts = printed([&] {
        EXPECT_EQ(requests([&] {
                      EXPECT_EQ(eth_cfp_rule_get(64, &rule), ETH_E_PARAM);
                      EXPECT_EQ(eth_cfp_rule_get(UINT32_MAX, &rule), ETH_E_PARAM);
                      EXPECT_EQ(eth_cfp_rule_set(64, rule), ETH_E_PARAM);
                      EXPECT_EQ(eth_cfp_rule_get(63, &rule), ETH_E_UNSUPPORTED);
                      gESWID = 0xABCDE;
                      EXPECT_EQ(eth_cfp_rule_set(-1, rule), ETH_E_UNSUPPORTED);
                  }),
                  Lines{});
    });
    EXPECT_EQ(texts.out, "eth_cfp_rule_get: switch (0x1234) NOT supported!\n"
                         "eth_cfp_rule_set: switch (0xABCDE) NOT supported!\n");
    Lines lines;
    const Texts of_clear =
        printed([&] { lines = requests([] { EXPECT_EQ(eth_cfp_rule_clear(), ETH_E_NONE); }); });
    EXPECT_EQ(std::ranges::count(of_clear.out, '\n'), 64);
    EXPECT_THAT(lines, ElementsAre("write a0:00 w64 <- 0x11", "read a0:00 w32 -> 0x10"));
}

TEST_F(CfpRule, SearchTakesTurnsThroughTheTable)
{
    constexpr char wrong_size[] = "\nWARNING file size not equals to 4 or 0";
    const struct {
        const char *name;
        std::string file;
        std::initializer_list<int> used;
        int32_t chosen;
        std::vector<unsigned> read;
        const char *printed = "";
    } cases[] = {
        {"empty file", "", {0, 1, 2}, 3, {0, 1, 2, 3}},
        {"from where the last one ended", bytes(3), {0, 1, 2, 3}, 4, {3, 4}},
        {"the slot chosen last is free again", bytes(9), {}, 9, {9}},
        {"0 follows 63", bytes(63), {63, 0}, 1, {63, 0, 1}},
        {"below 0", bytes(-1), {0}, 1, {0, 1}},
        {"above 63", bytes(64), {}, 0, {0}},
        {"8 bytes", bytes(5) + bytes(5), {0}, 1, {0, 1}, wrong_size},
        {"1 byte", "\5", {}, 0, {0}, wrong_size},
    };
    for (const auto &c : cases) {
        start();
        occupy(c.used);
        write_last_index(c.file);
        const Texts texts = printed([&] {
            EXPECT_EQ(slots_read([&] { EXPECT_EQ(eth_cfp_rule_set(-5, numbered(1)), c.chosen); }), c.read)
                << c.name;
        });
        EXPECT_EQ(texts.out, c.printed) << c.name;
        EXPECT_EQ(last_index(), bytes(c.chosen)) << c.name;
        esw_exit();
    }
}

TEST_F(CfpRule, AFullTableIsReadOnceAndLeftAlone)
{
    for (const uint32_t device : {class_a, class_b}) {
        start(device);
        for (int slot = 0; slot < 64; ++slot)
            occupy({slot});
        write_last_index(bytes(40));
        const Exchange all = exchange(device);
        const Lines lines = requests([] { EXPECT_EQ(eth_cfp_rule_set(-1, {}), ETH_E_FULL); });
        EXPECT_EQ(lines.size(), 64 * (2 * all.selects.size() + all.words.size()));
        EXPECT_EQ(last_index(), bytes(40));
        eth_cfp_rule_t free_slot = numbered(4); // other key bits don't matter
        EXPECT_EQ(eth_cfp_rule_set(39, free_slot), 39);
        EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 39);
        esw_exit();
    }
}

TEST_F(CfpRule, WithoutALastIndexFileTheSearchStillWorks)
{
    start();
    const std::string path = directory() + "/shm/cfp_last_idx.cfg";
    unlink(path.c_str());
    occupy({0});
    EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 1);
    EXPECT_EQ(last_index(), bytes(1));

    unlink(path.c_str());
    mkdir(path.c_str(), 0700); // can't be opened either way
    const Texts texts = printed([] { EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 2); });
    EXPECT_EQ(texts.error, "open: Is a directory\nopen: Is a directory\n");
}

TEST_F(CfpRule, ABusyBitIsReadUpTo101Times)
{
    start(class_a);
    const Exchange all = exchange(class_a);
    options().behaviour.latency = 100;
    EXPECT_EQ(eth_cfp_rule_set(1, numbered(1)), 1);
    options().behaviour.latency = 101;
    EXPECT_EQ(requests([] { EXPECT_EQ(eth_cfp_rule_clear(), ETH_E_TIMEOUT); }).size(),
              64 * (all.words.size() + 1 + 101) + 1 + 101)
        << "a failed slot does not end the clear";
}

// The waits fail from each RAM's on: failed reads look busy.
TEST_F(CfpRule, ATimeOutEndsTheTransferAtEachRam)
{
    for (const uint32_t device : {class_a, class_b}) {
        const Exchange all = exchange(device);
        const Lines reading = commands(all, 5, 0x3);
        for (size_t ram = 0; ram < all.selects.size(); ++ram) {
            const auto expect_timeout = [&](size_t requests_before, const std::function<int32_t()> &call) {
                start(device);
                options().failing_from = requests_before + 2 * ram + 2;
                Lines lines;
                printed([&] { lines = requests([&] { EXPECT_EQ(call(), ETH_E_TIMEOUT); }); });
                options().failing_from = 0;
                ASSERT_EQ(lines.size(), requests_before + 2 * ram + 1 + 101);
                EXPECT_EQ(lines.back(), "read a0:00 w32 failed");
                esw_exit();
            };
            eth_cfp_rule_t rule = numbered(77);
            const eth_cfp_rule_t before = rule;
            expect_timeout(0, [&] { return eth_cfp_rule_get(5, &rule); });
            EXPECT_EQ(memcmp(&rule, &before, sizeof rule), 0);
            expect_timeout(all.words.size(), [] { return eth_cfp_rule_set(5, numbered(1)); });
            expect_timeout(0, [] { return eth_cfp_rule_set(-1, numbered(1)); });
        }
    }
}

TEST_F(CfpRule, ClearWritesFreeSlotsInOrderAndThenClears)
{
    for (const uint32_t device : {class_a, class_b}) {
        start(device);
        occupy({0, 20, 63});
        const Exchange all = exchange(device);
        Lines expected;
        for (unsigned slot = 0; slot < 64; ++slot) {
            for (const auto &[word, offset] : all.words) {
                const uint64_t value = word == 20 ? 0x80000000 : word == 19 && device == class_b ? 0x18 : 0;
                expected.push_back(fmt::format("write a0:{:02x} w64 <- {:#x}", offset, value));
            }
            for (const std::string &line : commands(all, slot, 0x5))
                expected.push_back(line);
        }
        expected.insert(expected.end(), {"write a0:00 w64 <- 0x11", "read a0:00 w32 -> 0x10"});
        EXPECT_EQ(requests([] { EXPECT_EQ(eth_cfp_rule_clear(), ETH_E_NONE); }), expected);
        EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 0);
        esw_exit();
    }
}

TEST_F(CfpRule, PortsAreEnabledByBit)
{
    start();
    EXPECT_EQ(requests([] {
                  EXPECT_EQ(eth_cfp_enable_set(8, 1), 0);
                  EXPECT_EQ(eth_cfp_enable_set(0, -1), 0);
                  EXPECT_EQ(eth_cfp_enable_set(8, 0), 0);
                  EXPECT_EQ(eth_cfp_enable_set(2, 1), ETH_E_PORT);
              }),
              (Lines{"read a1:00 w64 -> 0x0", "write a1:00 w64 <- 0x100", "read a1:00 w64 -> 0x100",
                     "write a1:00 w64 <- 0x101", "read a1:00 w64 -> 0x101", "write a1:00 w64 <- 0x1"}));
    uint32_t on[4] = {7, 7, 7, 7};
    EXPECT_EQ(requests([&] {
                  EXPECT_EQ(eth_cfp_enable_get(0, &on[0]), 0);
                  EXPECT_EQ(eth_cfp_enable_get(8, &on[1]), 0);
                  EXPECT_EQ(eth_cfp_enable_get(2, &on[2]), ETH_E_PORT);
              }),
              (Lines{"read a1:00 w32 -> 0x1", "read a1:00 w32 -> 0x1"}));
    EXPECT_THAT(on, ElementsAre(1, 0, 7, 7));
}

} // namespace
