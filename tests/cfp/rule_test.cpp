// SPDX-License-Identifier: LGPL-2.1-or-later
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
    explicit Exchange(uint32_t device)
    {
        for (unsigned k = 0; k < 8; ++k) {
            add(k, 0x10 + 4 * k, 1);
            add(8 + k, 0x30 + 4 * k, 1);
        }
        const bool b = device == class_b;
        add(16, 0x50, b ? 3 : 2);
        add(19, 0x60, b ? 7 : 2);
        add(b ? 28 : 26, b ? 0x80 : 0x70, b ? 3 : 2);
        if (b)
            selects.push_back(24);
    }

    void add(unsigned word, unsigned offset, unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            words.emplace_back(word + i, offset + 4 * i);
    }

    std::vector<std::pair<unsigned, unsigned>> words;
    std::vector<unsigned> selects = {1, 2, 4, 8, 16};
};

uint32_t *words(eth_cfp_rule_t &rule) { return reinterpret_cast<uint32_t *>(&rule); }

// Every word its own value; in use.
eth_cfp_rule_t numbered(uint32_t first)
{
    eth_cfp_rule_t rule;
    std::iota(words(rule), words(rule) + record_words, first);
    return rule;
}

std::string commands(const Exchange &all, unsigned slot, unsigned operation)
{
    std::string text = " a0:00";
    for (const unsigned select : all.selects) {
        const unsigned command = slot << 16 | select << 10 | operation;
        text += fmt::format(" w64={:x} r32={:x}", command, command & ~1U);
    }
    return text;
}

// Each word of the rule, and how it is transferred.
std::string transfers(const Exchange &all, const char *verb, eth_cfp_rule_t rule)
{
    std::string text;
    for (const auto &[word, offset] : all.words)
        text += fmt::format(" a0:{:02x} {}={:x}", offset, verb, words(rule)[word]);
    return text;
}

std::string write_of(const Exchange &all, unsigned slot, const eth_cfp_rule_t &rule)
{
    return transfers(all, "w64", rule) + commands(all, slot, 5);
}

class CfpRule : public Board {
protected:
    const std::string last_index_file = shm("cfp_last_idx.cfg");

    void write_last_index(const std::string &bytes)
    {
        std::ofstream(last_index_file, std::ios::binary) << bytes;
    }

    std::string last_index() { return contents(last_index_file); }

    static std::string bytes(int32_t index) { return {reinterpret_cast<const char *>(&index), sizeof index}; }

    void occupy(std::initializer_list<int> slots)
    {
        for (const int slot : slots)
            ASSERT_EQ(eth_cfp_rule_set(slot, numbered(1)), slot);
    }

    void on_both_classes(const std::function<void(uint32_t device, const Exchange &)> &expectations)
    {
        for (const uint32_t device : {class_a, class_b}) {
            start(device);
            expectations(device, Exchange(device));
            esw_exit();
        }
    }
};

TEST_F(CfpRule, TransfersInOrderAndBitExact)
{
    on_both_classes([&](uint32_t device, const Exchange &all) {
        eth_cfp_rule_t given = numbered(0xA0000001);
        // policer[0] ends in 0x14: rate mode 2
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_set(63, given))),
                  "63:" + write_of(all, 63, given) + (device == class_b ? " a0:04 r64=0 w64=4" : ""));

        occupy({62}); // leaves other contents in the registers
        eth_cfp_rule_t got = numbered(0x50000000);
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_get(63, &got))),
                  "0:" + commands(all, 63, 3) + transfers(all, "r32", given));

        eth_cfp_rule_t wanted = numbered(0x50000000);
        for (const auto &[word, offset] : all.words)
            words(wanted)[word] = words(given)[word];
        EXPECT_EQ(memcmp(&got, &wanted, sizeof got), 0) << "words of the other class are left alone";
        EXPECT_EQ(last_index(), "") << "a slot that is given leaves the search alone";

        for (const uint32_t mode : {0x18u, 0xFFFFFFFFu, 0x10u, 0x08u, 0xFFFFFFE7u}) {
            reg(0xA0, 0x04) = 0xF0;
            given.policer[0] = mode;
            eth_cfp_rule_set(0, given);
            EXPECT_EQ(reg(0xA0, 0x04), device == class_b && (mode & 0x18) != 0x18 ? 0xF4u : 0xF0u) << mode;
        }
    });
}

TEST_F(CfpRule, ArgumentsAreCheckedBeforeTheDevice)
{
    start();
    gESWID = 0x1234;
    eth_cfp_rule_t rule = numbered(1);
    const Texts texts = printed([&] {
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_get(64, &rule))), "-4");
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_get(UINT32_MAX, &rule))), "-4");
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_set(64, rule))), "-4");
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_get(63, &rule))), "-17");
        gESWID = 0xABCDE;
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_set(-1, rule))), "-17");
    });
    EXPECT_EQ(texts.out, "eth_cfp_rule_get: switch (0x1234) NOT supported!\n"
                         "eth_cfp_rule_set: switch (0xABCDE) NOT supported!\n");
    const auto clear = [&] { EXPECT_EQ(outcome(CALL(eth_cfp_rule_clear())), "0: a0:00 w64=11 r32=10"); };
    EXPECT_EQ(std::ranges::count(printed(clear).out, '\n'), 64);
}

TEST_F(CfpRule, SearchTakesTurnsThroughTheTable)
{
    constexpr char wrong_size[] = "\nWARNING file size not equals to 4 or 0";
    const struct {
        std::string file;
        std::initializer_list<int> used;
        unsigned first; // slot that is read
        unsigned slots; // that are read
        int32_t chosen;
        const char *printed = "";
    } cases[] = {
        {"", {0, 1, 2}, 0, 4, 3},        {bytes(3), {0, 1, 2, 3}, 3, 2, 4},
        {bytes(9), {}, 9, 1, 9}, // free again
        {bytes(63), {63, 0}, 63, 3, 1},  {bytes(-1), {0}, 0, 2, 1},
        {bytes(64), {}, 0, 1, 0},        {bytes(5) + bytes(5), {0}, 0, 2, 1, wrong_size},
        {"\5", {}, 0, 1, 0, wrong_size},
    };
    for (const auto &c : cases) {
        start();
        occupy(c.used);
        write_last_index(c.file);
        log();
        EXPECT_EQ(printed([&] { EXPECT_EQ(eth_cfp_rule_set(-5, numbered(1)), c.chosen); }).out, c.printed);
        const Lines lines = log();
        EXPECT_EQ(lines[0], fmt::format("write a0:00 w64 <- {:#x}", c.first << 16 | 0x403));
        EXPECT_EQ(lines.size(), (12 + 29) * (c.slots + 1) + 2) << "with the write and the global policer bit";
        EXPECT_EQ(last_index(), bytes(c.chosen));
        esw_exit();
    }
}

TEST_F(CfpRule, AFullTableIsReadOnceAndLeftAlone)
{
    on_both_classes([&](uint32_t, const Exchange &all) {
        for (int slot = 0; slot < 64; ++slot)
            occupy({slot});
        write_last_index(bytes(40));
        const Lines lines = requests([] { EXPECT_EQ(eth_cfp_rule_set(-1, {}), ETH_E_FULL); });
        EXPECT_EQ(lines.size(), 64 * (2 * all.selects.size() + all.words.size()));
        EXPECT_EQ(last_index(), bytes(40));
        EXPECT_EQ(eth_cfp_rule_set(39, numbered(4)), 39); // bits 1..0 clear: free
        EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 39);
    });
}

TEST_F(CfpRule, WithoutALastIndexFileTheSearchStillWorks)
{
    start();
    unlink(last_index_file.c_str());
    occupy({0});
    EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 1);
    EXPECT_EQ(last_index(), bytes(1));

    unlink(last_index_file.c_str());
    mkdir(last_index_file.c_str(), 0700); // can't be opened either way
    const Texts texts = printed([] { EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 2); });
    EXPECT_EQ(texts.error, "open: Is a directory\nopen: Is a directory\n");
}

TEST_F(CfpRule, ABusyBitIsReadUpTo101Times)
{
    start(class_a);
    const Exchange all(class_a);
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
        const Exchange all(device);
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
    on_both_classes([&](uint32_t device, const Exchange &all) {
        occupy({0, 20, 63});
        eth_cfp_rule_t cleared = numbered(7);
        eth_cfp_rule_t_init(&cleared);
        EXPECT_EQ(std::count(words(cleared), words(cleared) + record_words, 0), device == class_b ? 30 : 31);
        EXPECT_EQ(cleared.policer[0], device == class_b ? 0x18u : 0u);
        cleared.policer[1] = 0x80000000;
        std::string expected = "0:";
        for (unsigned slot = 0; slot < 64; ++slot)
            expected += write_of(all, slot, cleared);
        EXPECT_EQ(outcome(CALL(eth_cfp_rule_clear())), expected + " w64=11 r32=10");
        EXPECT_EQ(eth_cfp_rule_set(-1, numbered(1)), 0);
    });
}

TEST_F(CfpRule, PortsAreEnabledByBit)
{
    start();
    expect({
        {"abu", CALL(eth_cfp_enable_set(8, 1)), "0: a1:00 r64=0 w64=100"},
        {"b", CALL(eth_cfp_enable_set(0, -1)), "0: a1:00 r64=100 w64=101"},
        {"b", CALL(eth_cfp_enable_set(8, 0)), "0: a1:00 r64=103 w64=3"},
        {"b", CALL(eth_cfp_enable_set(2, 1)), "-18"},
        {"abu", CALL(eth_cfp_enable_get(0, o)), "0 1: a1:00 r32=1"},
        {"b", CALL(eth_cfp_enable_get(8, o)), "0 0: a1:00 r32=3"},
        {"b", CALL(eth_cfp_enable_get(2, o)), "-18"},
    });
}

} // namespace
