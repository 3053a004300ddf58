// SPDX-License-Identifier: LGPL-2.1-or-later
// The walk over the address table, and its flush.
#include "tests/l2/address_table.h"

#include <set>

namespace {

using namespace test;

class Search : public AddressTable {
protected:
    // Addresses that count up: each bucket gets as many as the others.
    void populate(unsigned stations)
    {
        for (unsigned n = 0; n < stations; ++n)
            sim::learn(state(), {n, 1, 8});
    }
};

TEST_F(Search, WalksTableOfAnySize)
{
    for (const unsigned size : {0u, 1u, 2u, 3u, 1001u, 4096u}) {
        power_on(class_b);
        populate(size);
        options().behaviour.latency = size < 10 ? 100 : 0;
        EXPECT_EQ(eth_l2_search_start(), 0);
        eth_l2_addr_t pair[2] = {};
        std::set<uint64_t> keys;
        unsigned calls = 0;
        do {
            ASSERT_EQ(eth_l2_search_next(&pair[0], &pair[1]), 0) << calls;
            ++calls;
            for (const eth_l2_addr_t &entry : pair)
                EXPECT_TRUE(!(entry.flags & ETH_L2_VALID) || keys.insert(key_of(entry)).second);
        } while (pair[0].flags & ETH_L2_VALID);
        EXPECT_EQ(calls, (size + 1) / 2 + 1) << "one cleared pair at the end";
        EXPECT_EQ(keys.size(), size) << "none twice";
        EXPECT_EQ(eth_l2_search_next(&pair[0], &pair[1]), ETH_E_TIMEOUT) << "and then nothing";
        log();
    }
}

TEST_F(Search, DecodesIntoTheCallersRecords)
{
    const auto filled = [](uint32_t flags) {
        eth_l2_addr_t record;
        memset(&record, 0xAA, sizeof record);
        record.flags = flags;
        return record;
    };
    const auto is = [](const eth_l2_addr_t &got, uint32_t flags, uint64_t key, uint32_t port, uint32_t tc) {
        return got.flags == flags && key_of(got) == key && got.port == port && got.tc == tc &&
               got.reserved[2] == 0xAAAAAAAA && got.reserved2[4] == 0xAAAAAAAA;
    };
    all()[0] = {0xF123'0102'0304'0506, 0x18005, 0};
    all()[7] = {0x0001'0A0B'0C0D'0E0F, 0xFFFE0000 | 0x11803, 0};
    eth_l2_addr_t first = filled(0x80000001), second = filled(0x80000001 | ETH_L2_STATIC);
    EXPECT_EQ(
        requests([&] {
            EXPECT_EQ(eth_l2_search_start(), 0);
            EXPECT_EQ(eth_l2_search_next(&first, &second), 0);
        }),
        (Lines{"lock", "read 05:50 w64 -> 0x0", "write 05:50 w64 <- 0x80", "unlock", "lock",
               "read 05:50 w32 -> 0x81", "read 05:60 w64 -> 0xf123010203040506", "read 05:68 w32 -> 0x18005",
               "read 05:70 w64 -> 0x10a0b0c0d0e0f", "read 05:78 w32 -> 0xffff1803", "unlock"}));
    EXPECT_TRUE(is(first, 0x80000061, 0xF123'0102'0304'0506, 5, 0));
    EXPECT_TRUE(is(second, 0x80000041, 0x0001'0A0B'0C0D'0E0F, 3, 3));
    // A result that is not valid clears the record, whatever its key word holds.
    reg(5, 0x60) = 0x1122334455667788;
    reg(5, 0x68) = 0xFFFEFFFF;
    EXPECT_EQ(eth_l2_search_next(&first, &second), 0);
    constexpr eth_l2_addr_t cleared{};
    EXPECT_EQ(memcmp(&first, &cleared, sizeof cleared) | memcmp(&second, &cleared, sizeof cleared), 0);
}

TEST_F(Search, GivesUpAfter101Reads)
{
    populate(2);
    eth_l2_addr_t first = entry_of(1), second = entry_of(2);
    options().behaviour.latency = 101;
    eth_l2_search_start();
    const Lines lines = requests([&] { EXPECT_EQ(eth_l2_search_next(&first, &second), ETH_E_TIMEOUT); });
    EXPECT_EQ(count_of(lines, "read 05:50 w32 -> 0x80"), 101);
    EXPECT_EQ(lines.size(), 103u);
    EXPECT_EQ(std::pair(key_of(first), key_of(second)), std::pair(uint64_t{1}, uint64_t{2}));
    EXPECT_EQ(eth_l2_search_next(&first, &second), 0) << "ready at the 102nd read";
}

constexpr uint64_t in_vlan(uint64_t vid) { return vid << 48; }
constexpr uint64_t group = uint64_t{1} << 40;

class Flush : public AddressTable {
protected:
    // In order: unicast at port 0, 1 and 8, then groups.
    static constexpr sim::ArlBin entries[] = {
        {in_vlan(1), dynamic_entry | 0, 0},
        {in_vlan(1), static_entry | 0, 0},
        {in_vlan(2), dynamic_entry | 0, 0},
        {in_vlan(1), dynamic_entry | 1, 0},
        {in_vlan(2), static_entry | 1, 0},
        {in_vlan(1), dynamic_entry | 8, 0},
        {in_vlan(4095), static_entry | 8, 0},
        {in_vlan(1) | group, static_entry | 0x101, 0},
        {in_vlan(2) | group, dynamic_entry | 0x100, 0},
    };
    void populate() { std::ranges::copy(entries, all()); }

    // '-' for each entry that was removed, its index for the others.
    std::string left()
    {
        std::string text;
        for (size_t n = 0; n < std::size(entries); ++n)
            text += all()[n].data == 0 ? '-' : static_cast<char>('0' + n);
        return text;
    }
};

TEST_F(Flush, RemovesWhatIsSelected)
{
    struct {
        std::function<int32_t()> call;
        const char *left;
    } const cases[] = {
        {[] { return eth_l2_addr_delete_by_port(77, 0, 2); }, "-1-345678"},
        {[] { return eth_l2_addr_delete_by_port(0, 8, 1); }, "01234----"},
        {[] { return eth_l2_addr_delete_by_vlan(1, -1); }, "-12-4-678"},
        {[] { return eth_l2_addr_delete_by_vlan(4095, 1); }, "012345-78"},
        {[] { return eth_l2_addr_delete_by_vlan_port(2, 77, 1, 0); }, "012345678"},
        {[] { return eth_l2_addr_delete_by_vlan_port(1, 0, 0, 1); }, "--23456-8"},
        {[] { return eth_l2_clear(); }, "---------"},
    };
    for (const auto &c : cases) {
        populate();
        EXPECT_EQ(c.call(), 0);
        EXPECT_EQ(left(), c.left);
    }
}

TEST_F(Flush, OrdersItsRequests)
{
    reg(0, 0x88) = 0x51;
    EXPECT_EQ(requests([] { eth_l2_clear(); }),
              (Lines{"lock", "read 00:88 w32 -> 0x51", "write 00:88 w64 <- 0x83", "read 00:88 w32 -> 0x3",
                     "write 00:88 w64 <- 0x51", "unlock"}));
    EXPECT_EQ(requests([] { eth_l2_addr_delete_by_vlan(5, 2); }),
              (Lines{"lock", "read 00:88 w32 -> 0x51", "write 00:8a w64 <- 0x5", "write 00:88 w64 <- 0xa",
                     "read 00:88 w64 -> 0xa", "write 00:88 w64 <- 0x8a", "read 00:88 w32 -> 0xa",
                     "write 00:88 w64 <- 0x51", "unlock"}));
    EXPECT_EQ(requests([] { eth_l2_addr_delete_by_vlan_port(4095, 5, 8, 1); }),
              (Lines{"lock", "read 00:88 w32 -> 0x51", "write 00:89 w64 <- 0x8", "write 00:8a w64 <- 0xfff",
                     "write 00:88 w64 <- 0xe", "read 00:88 w64 -> 0xe", "write 00:88 w64 <- 0xf",
                     "read 00:88 w64 -> 0xf", "write 00:88 w64 <- 0x8f", "read 00:88 w32 -> 0xf",
                     "write 00:88 w64 <- 0x51", "unlock"}));
}

TEST_F(Flush, RefusalsTouchNothing)
{
    EXPECT_EQ(requests([] {
                  EXPECT_EQ(eth_l2_addr_delete_by_port(0, 0x100, 1), ETH_E_PORT);
                  EXPECT_EQ(eth_l2_addr_delete_by_vlan_port(5000, 0, 3, 1), ETH_E_PORT);
                  EXPECT_EQ(eth_l2_addr_delete_by_vlan(4096, 0), ETH_E_PARAM);
                  EXPECT_EQ(eth_l2_addr_delete_by_vlan_port(4096, 0, 8, 0), ETH_E_PARAM);
              }),
              Lines{});
}

TEST_F(Flush, GivesUpAfter10001ReadsAndRestoresTheControlRegister)
{
    for (const uint32_t latency : {10000u, 10001u}) {
        options().behaviour.latency = latency;
        reg(0, 0x88) = 0x02;
        const int32_t result = latency == 10000 ? 0 : ETH_E_TIMEOUT;
        const Lines lines = requests([&] { EXPECT_EQ(eth_l2_addr_delete_by_vlan(1, 0), result); });
        EXPECT_EQ(count_of(lines, "read 00:88 w32"), 1 + 10001);
        EXPECT_EQ(lines.end()[-2], "write 00:88 w64 <- 0x2");
    }
    EXPECT_EQ(eth_l2_clear(), ETH_E_TIMEOUT);
}

} // namespace
