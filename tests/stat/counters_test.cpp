// SPDX-License-Identifier: LGPL-2.1-or-later
// MIB counters and snapshots.
#include "tests/support/board.h"

#include <map>
#include <set>
#include <sstream>

#include <esw.h>

namespace {

using namespace test;

class Counters : public StartedBoard {};

constexpr uint32_t raw_first = 105;

// What each counter number reads; a number that is missing is not available.
std::map<uint32_t, std::vector<uint8_t>> counter_map(bool class_b_device)
{
    std::istringstream composite("50 94 98+9C 90 80+84+A4+78+7C - 00 18 14+10 08 " // 0
                                 "30+2C - - - - - - - 94+98+9C 18+14+10 "          // 10
                                 "90 90 98 9C 58 A4 60 64 68 6C "                  // 20
                                 "70 74 78 7C 50 94+98+9C 1C 84+80 - - "           // 30
                                 "80 84 20 24 0 28 2C 30 0 0 "                     // 40
                                 "78+7C 0 AC 0 5C 38 - - - - "                     // 50
                                 "- - - - - - - - - - "                            // 60
                                 "- - - - - - - - - - "                            // 70
                                 "88 A0 A8 B0 B4 C0 - - - 0C "                     // 80
                                 "3C 40 44 48 4C 10 14 34 C4 C8 "                  // 90
                                 "CC D0 D4 " +
                                 std::string(class_b_device ? "C8 CC" : "- -")); // 100
    std::map<uint32_t, std::vector<uint8_t>> map;
    uint32_t number = 0;
    for (std::string word; composite >> word; ++number) {
        if (word == "-")
            continue;
        std::vector<uint8_t> &offsets = map[number];
        std::istringstream terms(word == "0" ? "" : word);
        for (std::string term; std::getline(terms, term, '+');)
            offsets.push_back(static_cast<uint8_t>(std::stoul(term, nullptr, 16)));
    }
    EXPECT_EQ(number, raw_first);
    const std::set<int> gaps = {0x04, 0x54, 0x8C, 0xB8, 0xBC};
    for (int offset = 0; offset <= 0xD4; offset += 4) {
        if (!gaps.contains(offset))
            map[number++] = {static_cast<uint8_t>(offset)};
    }
    EXPECT_EQ(number, 154u);
    return map;
}

bool is_wide(uint8_t offset) { return offset == 0x00 || offset == 0x50 || offset == 0x88; }

// Contents that tell pages and offsets apart, and whose sums exceed 32 bits.
uint64_t pattern(uint8_t page, uint8_t offset)
{
    return (is_wide(offset) ? 0x1122334480000000 : 0x80000000) + page * 0x10001u + offset * 0x100u;
}

TEST_F(Counters, ReadTheirRegistersInOrder)
{
    for (const uint32_t device : {class_a, class_b}) {
        gESWID = device;
        const auto map = counter_map(device == class_b);
        for (const uint32_t port : {0u, 1u, 8u, 0x51u}) {
            const auto page = static_cast<uint8_t>(0x20 + port);
            for (unsigned offset = 0; offset < 0x100; offset += 4)
                reg(page, static_cast<uint8_t>(offset)) = pattern(page, static_cast<uint8_t>(offset));
            for (uint32_t number = 0; number < 160; ++number) {
                const auto found = map.find(number);
                const bool exists = found != map.end();
                uint64_t sum = exists || number > 153 ? 0 : ~uint64_t{0};
                std::string reads = exists ? "0" : "-16";
                for (const uint8_t offset : exists ? found->second : std::vector<uint8_t>()) {
                    const uint64_t contents = pattern(page, offset);
                    sum = is_wide(offset) ? contents : static_cast<uint32_t>(sum + contents);
                    reads += fmt::format("{}{:02x}:{:02x} r{}={:x}", reads == "0" ? ": " : " ", page, offset,
                                         is_wide(offset) ? 64 : 32, contents);
                }
                SCOPED_TRACE(fmt::format("device {:#x} port {:#x} counter {}", device, port, number));
                uint64_t value = 5;
                uint32_t low = 5;
                EXPECT_EQ(outcome(CALL(ethHw_stat_get(port, number, &value))), reads);
                EXPECT_EQ(value, sum);
                EXPECT_EQ(outcome(CALL(eth_stat_get32(port, number, &low))), reads);
                EXPECT_EQ(low, static_cast<uint32_t>(sum));
            }
        }
    }
}

TEST_F(Counters, SumsWrapAndFailedReadsCountAsAllOnes)
{
    uint64_t value = 0;
    reg(0x21, 0x98) = 0xFFFFFFFF;
    reg(0x21, 0x9C) = 2;
    EXPECT_EQ(ethHw_stat_get(1, 2, &value), 0);
    EXPECT_EQ(value, 1u);
    options().all_requests_fail = true;
    const std::tuple<uint32_t, uint64_t, const char *> cases[] = {
        {7, 0xFFFFFFFF, "ESW: read32 error !\n: Input/output error\n"},
        {8, 0xFFFFFFFE, "ESW: read32 error !\n: Input/output error\n"},
        {105, ~uint64_t{0}, "ESW: read error !\n: Input/output error\n"},
    };
    for (const auto &[counter, expected, message] : cases) {
        EXPECT_THAT(printed([&, number = counter] { EXPECT_EQ(ethHw_stat_get(0, number, &value), 0); }).error,
                    testing::StartsWith(message));
        EXPECT_EQ(value, expected);
    }
}

TEST_F(Counters, RefusedPortsTouchNothing)
{
    for (const uint32_t port : {2u, 7u, 9u, 0x50u, 0x52u, 0x100u, 0xFFFFFFFFu}) {
        uint64_t value = 5;
        expect({{"abu", CALL(ethHw_stat_get(port, 154, &value)), "-18"},
                {"abu", CALL(eth_stat_get32(port, 0, o)), "-18 -1"},
                {"abu", CALL(eth_stat_clear(port)), "-18"},
                {"abu", CALL(eth_stat_snapshot_start(port)), "-18"}});
        EXPECT_EQ(value, ~uint64_t{0});
    }
    EXPECT_EQ(eth_stat_clear(0x51), ETH_E_PORT);
    EXPECT_EQ(eth_stat_snapshot_start(0x51), ETH_E_PORT);
}

TEST_F(Counters, ClearAndSnapshotChangeBitByBit)
{
    expect({
        {"abu", CALL(eth_stat_clear(1)), "0: [02:00 r64=82 w64=83 r64=83 w64=82]"},
        {"b", CALL(eth_stat_clear(8)), "0: [02:00 r64=c0 w64=c1 r64=c1 w64=c0]"},
        {"abu", CALL(eth_stat_snapshot_start(8)),
         "0: 70:00 r64=77 w64=70 r64=70 w64=78 r64=78 w64=f8 r64=f8 w64=78"},
        {"b", CALL(eth_stat_snapshot_start(0)),
         "0: 70:00 r64=bf w64=b0 r64=b0 w64=b0 r64=b0 w64=b0 r64=b0 w64=30"},
        {"abu", CALL(eth_stat_snapshot_mode_set(1)), "0: 70:00 r64=8 w64=48"},
        {"b", CALL(eth_stat_snapshot_mode_set(0)), "0: 70:00 r64=c8 w64=88"},
        {"abu", CALL(eth_stat_snapshot_mode_set(2)), "-16"},
        {"b", CALL(eth_stat_snapshot_mode_set(-1)), "-16"},
        {"abu", CALL(eth_stat_snapshot_mode_get(o)), "0 1: 70:00 r32=48"},
        {"b", CALL(eth_stat_snapshot_mode_get(o)), "0 0: 70:00 r32=8f"},
    });
}

} // namespace
