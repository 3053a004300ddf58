// SPDX-License-Identifier: LGPL-2.1-or-later
// Port mirroring.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Mirror : public StartedBoard {};

constexpr uint8_t page = 0x02;
constexpr uint8_t mac[6] = {0x02, 0x00, 0x5E, 0x10, 0x20, 0x30};
constexpr uint32_t unset = 0xFFFFFFFF;

struct Setting {
    uint8_t offset;
    int read_width;
    uint64_t before, after;
    std::function<int32_t()> call;
    const char *divider = nullptr; // what the divider's register gets
};

TEST_F(Mirror, SettingsChangeTheirBitsOnly)
{
    const Setting settings[] = {
        {0x10, 64, 0x0008, 0x8008, [] { return eth_mirror_mode_set(1); }},
        {0x10, 64, 0xFFFF, 0x7FFF, [] { return eth_mirror_mode_set(0); }},
        {0x10, 32, 0x8F07, 0x8F08, [] { return eth_mirror_to_set(8); }},
        {0x12, 64, 0xE001, 0xE101, [] { return eth_mirror_ingress_set(8, -1); }},
        {0x12, 64, 0xFFFF, 0xFFFE, [] { return eth_mirror_ingress_set(0, 0); }},
        {0x1C, 64, 0xE001, 0xE003, [] { return eth_mirror_egress_set(1, 2); }},
        {0x1C, 64, 0xFFFF, 0xFFFD, [] { return eth_mirror_egress_set(1, 0); }},
        {0x12, 32, 0x7103, 0xB103, [] { return eth_mirror_filter_set(0, 2); }},
        {0x1C, 32, 0xA000, 0x6000, [] { return eth_mirror_filter_set(1, 1); }},
        {0x1C, 32, 0xE103, 0x2103, [] { return eth_mirror_filter_set(1, 0); }},
        {0x12, 64, 0x4001, 0x6001, [] { return eth_mirror_div_set(0, 9, -2); },
         "14 w64 <- 0xfffffffffffffffe"},
        {0x1C, 64, 0x0103, 0x2103, [] { return eth_mirror_div_set(1, 1, 99); }, "1e w64 <- 0x63"},
        {0x1C, 64, 0x2103, 0x0103, [] { return eth_mirror_div_set(1, 0, 99); }},
    };
    for (const Setting &s : settings) {
        reg(page, s.offset) = s.before;
        Lines expected = {"lock",
                          fmt::format("read 02:{:02x} w{} -> {:#x}", s.offset, s.read_width, s.before),
                          fmt::format("write 02:{:02x} w64 <- {:#x}", s.offset, s.after)};
        if (s.divider)
            expected.push_back(fmt::format("write 02:{}", s.divider));
        expected.emplace_back("unlock");
        EXPECT_EQ(requests([&] { EXPECT_EQ(s.call(), 0); }), expected);
    }
}

using Get = std::function<int32_t(uint32_t *)>;

TEST_F(Mirror, Readings)
{
    const auto on = [](uint32_t port, auto call) -> Get {
        return [=](uint32_t *out) { return call(port, out); };
    };
    const auto filter = [](int32_t dir) -> Get {
        return [=](uint32_t *out) { return eth_mirror_filter_get(dir, out); };
    };
    struct {
        uint8_t offset;
        uint64_t contents;
        Get get;
        uint32_t value;
    } const readings[] = {
        {0x10, 0x8000, eth_mirror_mode_get, 1},
        {0x10, 0x7FFF, eth_mirror_mode_get, 0},
        {0x10, 0x800F, eth_mirror_to_get, 15},
        {0x12, 0x0100, on(8, eth_mirror_ingress_get), 1},
        {0x12, 0xFEFF, on(8, eth_mirror_ingress_get), 0},
        {0x1C, 0x0002, on(1, eth_mirror_egress_get), 1},
        {0x1C, 0xFFFD, on(1, eth_mirror_egress_get), 0},
        {0x12, 0xC000, filter(0), 1},
        {0x12, 0x7FFF, filter(0), 1},
        {0x1C, 0xBFFF, filter(1), 2},
        {0x1C, 0x3FFF, filter(1), 0},
    };
    for (const auto &r : readings) {
        reg(page, r.offset) = r.contents;
        uint32_t value = 1234;
        const std::string read = fmt::format("read 02:{:02x} w32 -> {:#x}", r.offset, r.contents);
        EXPECT_EQ(requests([&] { EXPECT_EQ(r.get(&value), 0); }), (Lines{"lock", read, "unlock"}));
        EXPECT_EQ(value, r.value) << read;
    }
}

TEST_F(Mirror, DividerIsReadOnlyWhereItIsOn)
{
    uint32_t enable = 5, div = 5;
    reg(page, 0x1C) = 0xDFFF;
    EXPECT_EQ(requests([&] { EXPECT_EQ(eth_mirror_div_get(1, &enable, &div), 0); }),
              (Lines{"lock", "read 02:1c w32 -> 0xdfff", "unlock"}));
    EXPECT_EQ(std::pair(enable, div), std::pair(0u, unset));
    reg(page, 0x12) = 0x2000;
    reg(page, 0x14) = 0xFFFE;
    EXPECT_EQ(requests([&] { EXPECT_EQ(eth_mirror_div_get(0, &enable, &div), 0); }),
              (Lines{"lock", "read 02:12 w32 -> 0x2000", "read 02:14 w32 -> 0xfffe", "unlock"}));
    EXPECT_EQ(std::pair(enable, div), std::pair(1u, 0xFFFEu));
}

TEST_F(Mirror, MacIsWrittenAndReadWhole)
{
    for (const int32_t dir : {0, 1}) {
        uint8_t read[6] = {};
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_mirror_mac_set(dir, mac), 0); }),
                  (Lines{"lock", fmt::format("write 02:{} w64 <- 0x2005e102030", dir ? 20 : 16), "unlock"}));
        EXPECT_EQ(requests([&] { EXPECT_EQ(eth_mirror_mac_get(dir, read), 0); }),
                  (Lines{"lock", fmt::format("read 02:{} w64 -> 0x2005e102030", dir ? 20 : 16), "unlock"}));
        EXPECT_THAT(read, testing::ElementsAreArray(mac));
    }
}

// Ports are checked before the lock is taken, everything else inside it.
TEST_F(Mirror, Refusals)
{
    uint32_t enable = 5, div = 5, mode = 5, in = 5, out = 5;
    uint8_t untouched[6] = {1, 2, 3, 4, 5, 6};
    const Lines lock_only = {"lock", "unlock"};
    struct {
        std::function<int32_t()> call;
        int32_t result;
    } const refusals[] = {
        {[] { return eth_mirror_to_set(2); }, ETH_E_PORT},
        {[] { return eth_mirror_ingress_set(9, 1); }, ETH_E_PORT},
        {[] { return eth_mirror_egress_set(0xFFFFFFFF, 1); }, ETH_E_PORT},
        {[&] { return eth_mirror_ingress_get(7, &in); }, ETH_E_PORT},
        {[&] { return eth_mirror_egress_get(3, &out); }, ETH_E_PORT},
        {[] { return eth_mirror_mode_set(2); }, ETH_E_PARAM},
        {[] { return eth_mirror_mode_set(-1); }, ETH_E_PARAM},
        {[] { return eth_mirror_filter_set(2, 0); }, ETH_E_PARAM},
        {[] { return eth_mirror_filter_set(1, 3); }, ETH_E_PARAM},
        {[&] { return eth_mirror_filter_get(-1, &mode); }, ETH_E_PARAM},
        {[] { return eth_mirror_div_set(2, 1, 1); }, ETH_E_PARAM},
        {[&] { return eth_mirror_div_get(2, &enable, &div); }, ETH_E_PARAM},
        {[] { return eth_mirror_mac_set(-1, mac); }, ETH_E_PARAM},
        {[&] { return eth_mirror_mac_get(2, untouched); }, ETH_E_PARAM},
    };
    for (const auto &r : refusals) {
        EXPECT_EQ(requests([&] { EXPECT_EQ(r.call(), r.result) << &r - refusals; }),
                  r.result == ETH_E_PORT ? Lines{} : lock_only)
            << &r - refusals;
    }
    EXPECT_THAT((std::vector{enable, div, mode, in, out}), testing::Each(unset));
    EXPECT_THAT(untouched, ElementsAre(1, 2, 3, 4, 5, 6));
}

} // namespace
