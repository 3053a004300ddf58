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
    EXPECT_EQ(outcome(CALL(eth_l2_search_start() + eth_l2_search_next(&first, &second))),
              "0: [05:50 r64=0 w64=80][05:50 r32=81 05:60 r64=f123010203040506 05:68 r32=18005 "
              "05:70 r64=10a0b0c0d0e0f 05:78 r32=ffff1803]");
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
    EXPECT_EQ(outcome(CALL(eth_l2_search_next(&first, &second))), "-9: [05:50 r32=80*101]");
    EXPECT_EQ(std::pair(key_of(first), key_of(second)), std::pair(uint64_t{1}, uint64_t{2}));
    EXPECT_EQ(eth_l2_search_next(&first, &second), 0) << "ready at the 102nd read";
}

constexpr uint64_t in_vlan(uint64_t vid) { return vid << 48; }
constexpr uint64_t group = uint64_t{1} << 40;

class Flush : public AddressTable {};

TEST_F(Flush, RemovesWhatIsSelected)
{
    // Unicast at port 0, 1 and 8, then groups.
    constexpr sim::ArlBin entries[] = {
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
    const struct {
        Call call;
        const char *left; // '-' for each entry that was removed, its index for the others
    } cases[] = {
        {CALL(eth_l2_addr_delete_by_port(77, 0, 2)), "-1-345678"},
        {CALL(eth_l2_addr_delete_by_port(0, 8, 1)), "01234----"},
        {CALL(eth_l2_addr_delete_by_vlan(1, -1)), "-12-4-678"},
        {CALL(eth_l2_addr_delete_by_vlan(4095, 1)), "012345-78"},
        {CALL(eth_l2_addr_delete_by_vlan_port(2, 77, 1, 0)), "012345678"},
        {CALL(eth_l2_addr_delete_by_vlan_port(1, 0, 0, 1)), "--23456-8"},
        {CALL(eth_l2_clear()), "---------"},
    };
    for (const auto &c : cases) {
        std::ranges::copy(entries, all());
        EXPECT_TRUE(outcome(c.call).starts_with("0: "));
        std::string left;
        for (size_t n = 0; n < std::size(entries); ++n)
            left += all()[n].data == 0 ? '-' : static_cast<char>('0' + n);
        EXPECT_EQ(left, c.left);
    }
}

TEST_F(Flush, CallsAndTheirRequests)
{
    expect({
        {"abu", CALL(eth_l2_clear()), "0: [00:88 r32=51 w64=83 r32=3 w64=51]"},
        {"abu", CALL(eth_l2_addr_delete_by_port(5, 1, 0)),
         "0: [00:88 r32=51 00:89 w64=1 00:88 w64=6 r64=6 w64=86 r32=6 w64=51]"},
        {"abu", CALL(eth_l2_addr_delete_by_vlan(5, 2)),
         "0: [00:88 r32=51 00:8a w64=5 00:88 w64=a r64=a w64=8a r32=a w64=51]"},
        {"abu", CALL(eth_l2_addr_delete_by_vlan_port(4095, 5, 8, 1)),
         "0: [00:88 r32=51 00:89 w64=8 00:8a w64=fff 00:88 w64=e r64=e w64=f r64=f w64=8f r32=f w64=51]"},
        {"abu", CALL(eth_l2_addr_delete_by_port(0, 0x100, 1)), "-18"},
        {"abu", CALL(eth_l2_addr_delete_by_vlan_port(5000, 0, 3, 1)), "-18"},
        {"abu", CALL(eth_l2_addr_delete_by_vlan(4096, 0)), "-4"},
        {"abu", CALL(eth_l2_addr_delete_by_vlan_port(4096, 0, 8, 0)), "-4"},
    });
}

TEST_F(Flush, GivesUpAfter10001ReadsAndRestoresTheControlRegister)
{
    const std::string begin = "[00:88 r32=2 00:8a w64=1 00:88 w64=a r64=a w64=8a r32=8a*";
    options().behaviour.latency = 10000;
    expect({{"b", CALL(eth_l2_addr_delete_by_vlan(1, 0)), "0: " + begin + "10000 r32=a w64=2]"}});
    options().behaviour.latency = 10001;
    expect({{"b", CALL(eth_l2_addr_delete_by_vlan(1, 0)), "-9: " + begin + "10001 w64=2]"}});
    EXPECT_EQ(eth_l2_clear(), ETH_E_TIMEOUT);
}

} // namespace
