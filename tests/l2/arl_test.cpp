// SPDX-License-Identifier: LGPL-2.1-or-later
// Single entries of the address table, on the bucket of four bins that each falls into.
#include "tests/l2/address_table.h"

namespace {

using namespace test;

constexpr uint64_t own = 0xF00A'0200'5E00'5301; // the VID is not masked to 12 bits
constexpr uint64_t mac = 0x0200'5E00'5301;

// Others that fall into the same bucket.
constexpr uint64_t other(unsigned n) { return own ^ (0x401 * (n + 1)); }

class Arl : public AddressTable {
protected:
    // A character for each bin: '.' free, 'd' and 's' another's dynamic or static entry, 'm' the own one.
    void fill(const char *contents)
    {
        for (unsigned bin = 0; bin < 4; ++bin) {
            const char c = contents[bin];
            const uint32_t data = c == '.' ? 0 : c == 's' ? static_entry : dynamic_entry;
            bucket(own)[bin] = {c == 'm' ? own : other(bin), data, 0};
        }
    }

    // A command on the bucket, up to the end of its wait.
    static Lines command(unsigned number)
    {
        return {fmt::format("write 05:02 w64 <- {:#x}", mac), "write 05:08 w64 <- 0xf00a",
                fmt::format("write 05:00 w64 <- {:#x}", number),
                fmt::format("read 05:00 w32 -> {:#x}", number & 1)};
    }

    // The bins looked at: a free one shows no key.
    Lines scan(unsigned bins)
    {
        Lines lines;
        for (unsigned bin = 0; bin < bins; ++bin) {
            const auto [key, data, age] = bucket(own)[bin];
            lines.push_back(fmt::format("read 05:{:x}8 w32 -> {:#x}", bin + 1, data));
            if (data != 0)
                lines.push_back(fmt::format("read 05:{:x}0 w64 -> {:#x}", bin + 1, key));
        }
        return lines;
    }
};

Lines operator+(Lines lines, const Lines &more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

TEST_F(Arl, AnAddTakesOneBinAndADeleteTakesTheSame)
{
    struct {
        const char *bins;
        int taken; // -1: the bucket is full
        unsigned looked_at;
    } const cases[] = {
        {"....", 0, 1}, {"d...", 1, 2}, {"dm..", 1, 2},  {".m..", 0, 1}, {"sm.d", 1, 2},
        {"ddm.", 2, 3}, {"dddd", 3, 4}, {"ddss", 1, 4},  {"sdsd", 3, 4}, {"dsss", 0, 4},
        {"sss.", 3, 4}, {"sssm", 3, 4}, {"ssss", -1, 4}, {"dddm", 3, 4},
    };
    eth_l2_addr_t entry = entry_of(own, ETH_L2_STATIC | ETH_L2_VALID | 0x80000001);
    entry.port = 8;
    entry.tc = 5;
    for (const auto &c : cases) {
        for (const uint32_t data : {0x1E808U, 0x4000U}) {
            fill(c.bins);
            Lines expected = Lines{"lock"} + command(0x81) + scan(c.looked_at);
            if (c.taken >= 0)
                expected = expected +
                           Lines{fmt::format("write 05:{}8 w64 <- {:#x}", c.taken + 1, data),
                                 fmt::format("write 05:{}0 w64 <- {:#x}", c.taken + 1, own)} +
                           command(0x80);
            const int32_t result = c.taken < 0 ? ETH_E_FULL : 0;
            EXPECT_EQ(requests([&] {
                          if (data == 0x4000)
                              EXPECT_EQ(eth_l2_addr_delete(entry.mac, entry.vid), result);
                          else
                              EXPECT_EQ(eth_l2_addr_add(&entry), result);
                      }),
                      expected + Lines{"unlock"})
                << c.bins;
            EXPECT_TRUE(c.taken < 0 || bucket(own)[c.taken].data == data) << c.bins;
        }
    }
}

TEST_F(Arl, PortsAreCheckedByKindOfAddress)
{
    struct {
        uint8_t first_byte;
        uint32_t port;
        int32_t result;
    } const cases[] = {
        {0x02, 0, 0}, {0x02, 8, 0}, {0x02, 2, -18},     {0x02, 0x103, -18},      {0x01, 0x103, 0},
        {0x33, 0, 0}, {0x01, 2, 0}, {0x01, 0x104, -18}, {0x01, 0x80000001, -18},
    };
    for (const auto &c : cases) {
        eth_l2_addr_t entry = entry_of(uint64_t{c.first_byte} << 40);
        entry.port = c.port;
        entry.tc = 0x209; // not masked: reaches beyond its field
        const Lines lines = requests([&] { EXPECT_EQ(eth_l2_addr_add(&entry), c.result) << c.port; });
        EXPECT_EQ(count_of(lines, fmt::format("write 05:18 w64 <- {:#x}", c.port | 0x114800)), c.result == 0);
        EXPECT_TRUE(c.result == 0 || lines.empty());
    }
}

TEST_F(Arl, WaitsEndAfter101Reads)
{
    eth_l2_addr_t entry = entry_of(own);
    uint32_t found = 9;
    int32_t bin = 9;
    options().behaviour.latency = 100;
    Lines lines = requests([&] { EXPECT_EQ(eth_l2_addr_add(&entry), 0); });
    EXPECT_EQ(count_of(lines, "read 05:00 w32 -> 0x8"), 200);
    options().behaviour.latency = 101;
    lines = requests([&] { EXPECT_EQ(eth_l2_addr_add(&entry), ETH_E_TIMEOUT); });
    EXPECT_EQ(count_of(lines, "read 05:00"), 101);
    EXPECT_EQ(lines.size(), 1u + 3 + 101 + 1) << "nothing but the wait follows the command";
    EXPECT_EQ(lines.back(), "unlock");
    options().behaviour.stuck = sim::find_bank("arl-access");
    EXPECT_EQ(eth_arl_entry_bin_check(&entry, &entry, &found, &bin), ETH_E_TIMEOUT);
    EXPECT_EQ(std::pair(found, bin), std::pair(0u, -1));
}

TEST_F(Arl, BinCheck)
{
    const eth_l2_addr_t valid = entry_of(own), invalid = entry_of(own, ETH_L2_STATIC);
    const eth_l2_addr_t neighbour = entry_of(other(2)), no_neighbour = entry_of(other(2), 0);
    struct {
        const char *bins;
        const eth_l2_addr_t &probe, &entry;
        uint32_t found;
        int32_t bin;
    } const cases[] = {
        {"d.m.", valid, valid, 1, 2},     {"m.m.", neighbour, valid, 0, 2},
        {"m.ds", neighbour, valid, 1, 0}, {"m.d.", no_neighbour, valid, 0, 0},
        {"dd.s", valid, valid, 0, -1},    {"m...", valid, invalid, 0, -1},
    };
    for (const auto &c : cases) {
        fill(c.bins);
        uint32_t found = 9;
        int32_t bin = 9;
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_arl_entry_bin_check(&c.probe, &c.entry, &found, &bin), 0); }),
                  c.entry.flags & ETH_L2_VALID ? command(0x81) + scan(4) : Lines{});
        EXPECT_EQ(std::pair(found, bin), std::pair(c.found, c.bin)) << c.bins;
    }
}

TEST_F(Arl, RecordsAreInitialisedWhole)
{
    eth_l2_addr_t entry;
    memset(&entry, 0xAA, sizeof entry);
    entry.mac[0] = 0x02;
    eth_l2_addr_t_init(&entry, entry.mac, 0xFFFF);
    const eth_l2_addr_t expected = entry_of(0xFFFF'02AA'AAAA'AAAA, 0);
    EXPECT_EQ(memcmp(&entry, &expected, sizeof entry), 0);
}

TEST_F(Arl, BinFull)
{
    uint32_t count = 0, forward = 0;
    reg(4, 0x74) = 0x8003;
    EXPECT_EQ(requests([&] {
                  EXPECT_EQ(eth_arl_bin_full_counter_get(&count) | eth_arl_bin_full_fwd_get(&forward), 0);
                  EXPECT_EQ(eth_arl_bin_full_fwd_set(5), 0);
              }),
              (Lines{"read 04:70 w32 -> 0x0", "read 04:74 w32 -> 0x8003", "write 04:74 w64 <- 0x1"}));
    EXPECT_EQ(std::pair(count, forward), std::pair(0u, 0x8003u));
    options().all_requests_fail = true;
    printed([] { EXPECT_EQ(eth_arl_bin_full_fwd_set(0), ETH_E_FAIL); });
}

} // namespace
