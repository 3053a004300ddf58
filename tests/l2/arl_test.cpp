// SPDX-License-Identifier: LGPL-2.1-or-later
// Single entries of the address table, on the bucket of four bins that each falls into.
#include "tests/l2/address_table.h"

namespace {

using namespace test;

constexpr uint64_t own = 0xF00A'0200'5E00'5301; // the VID is not masked to 12 bits

// Others that fall into the same bucket.
constexpr uint64_t other(unsigned n) { return own ^ (0x401 * (n + 1)); }

// A command on the bucket, up to the end of its wait.
std::string command(unsigned number, unsigned latency = 0, bool ends = true)
{
    return fmt::format("05:02 w64=2005e005301 05:08 w64=f00a 05:00 w64={:x}", number) +
           (latency ? fmt::format(" r32={:x}*{}", number, latency) : "") +
           (ends ? fmt::format(" r32={:x}", number & 1) : "");
}

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

    // The bins looked at: a free one shows no key.
    std::string scan(unsigned bins)
    {
        std::string text;
        for (unsigned bin = 0; bin < bins; ++bin) {
            const auto [key, data, age] = bucket(own)[bin];
            text += fmt::format(" 05:{}8 r32={:x}", bin + 1, data);
            text += data ? fmt::format(" 05:{}0 r64={:x}", bin + 1, key) : "";
        }
        return text;
    }
};

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
            const std::string seen = "[" + command(0x81) + scan(c.looked_at);
            const std::string place = // which a free bin's data has been read from
                c.taken >= 0 && c.bins[c.taken] == '.' ? "" : fmt::format(" 05:{}8", c.taken + 1);
            const std::string stored =
                fmt::format("{} w64={:x} 05:{}0 w64={:x} ", place, data, c.taken + 1, own) + command(0x80);
            EXPECT_EQ(outcome(CALL(data == 0x4000 ? eth_l2_addr_delete(entry.mac, entry.vid)
                                                  : eth_l2_addr_add(&entry))),
                      (c.taken < 0 ? "-6: " : "0: ") + seen + (c.taken < 0 ? "" : stored) + "]")
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
        bool accepted;
    } const cases[] = {
        {0x02, 0, true},      {0x02, 8, true},      {0x02, 2, false},
        {0x02, 0x103, false}, {0x01, 0x103, true},  {0x33, 0, true},
        {0x01, 2, true},      {0x01, 0x104, false}, {0x01, 0x80000001, false},
    };
    for (const auto &c : cases) {
        eth_l2_addr_t entry = entry_of(uint64_t{c.first_byte} << 40);
        entry.port = c.port;
        entry.tc = 0x209; // not masked: reaches beyond its field
        const std::string got = outcome(CALL(eth_l2_addr_add(&entry)));
        EXPECT_TRUE(c.accepted ? got.starts_with("0: [") : got == "-18") << got;
        EXPECT_EQ(got.find(fmt::format(" w64={:x} ", c.port | 0x114800)) < got.size(), c.accepted) << got;
    }
}

TEST_F(Arl, WaitsEndAfter101Reads)
{
    eth_l2_addr_t entry = entry_of(own);
    options().behaviour.latency = 100;
    EXPECT_EQ(outcome(CALL(eth_l2_addr_add(&entry))),
              fmt::format("0: [{} 05:18 r32=0 w64=14000 05:10 w64={:x} {}]", command(0x81, 100), own,
                          command(0x80, 100)));
    options().behaviour.latency = 101;
    EXPECT_EQ(outcome(CALL(eth_l2_addr_add(&entry))), "-9: [" + command(0x81, 101, false) + "]");
    options().behaviour.stuck = sim::find_bank("arl-access");
    EXPECT_EQ(outcome(CALL(eth_arl_entry_bin_check(&entry, &entry, o, o + 1))),
              "-9 0 -1: " + command(0x81, 101, false));
}

TEST_F(Arl, BinCheck)
{
    const eth_l2_addr_t valid = entry_of(own), invalid = entry_of(own, ETH_L2_STATIC);
    const eth_l2_addr_t neighbour = entry_of(other(2)), no_neighbour = entry_of(other(2), 0);
    struct {
        const char *bins;
        const eth_l2_addr_t &probe, &entry;
        const char *result;
    } const cases[] = {
        {"d.m.", valid, valid, "0 1 2"},     {"m.m.", neighbour, valid, "0 0 2"},
        {"m.ds", neighbour, valid, "0 1 0"}, {"m.d.", no_neighbour, valid, "0 0 0"},
        {"dd.s", valid, valid, "0 0 -1"},    {"m...", valid, invalid, "0 0 -1"},
    };
    for (const auto &c : cases) {
        fill(c.bins);
        EXPECT_EQ(outcome(CALL(eth_arl_entry_bin_check(&c.probe, &c.entry, o, o + 1))),
                  c.result + (&c.entry == &valid ? ": " + command(0x81) + scan(4) : ""))
            << c.bins;
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
    expect({
        {"abu", CALL(eth_arl_bin_full_counter_get(o)), "0 -2147483645: 04:70 r32=80000003"},
        {"abu", CALL(eth_arl_bin_full_fwd_get(o)), "0 32771: 04:74 r32=8003"},
        {"abu", CALL(eth_arl_bin_full_fwd_set(5)), "0: 04:74 w64=1"},
        {"b", CALL(eth_arl_bin_full_fwd_set(0)), "0: 04:74 w64=0"},
    });
    options().all_requests_fail = true;
    printed([&] { EXPECT_EQ(outcome(CALL(eth_arl_bin_full_fwd_set(0))), "-1: 04:74 w64=0!"); });
}

} // namespace
