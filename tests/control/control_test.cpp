// SPDX-License-Identifier: LGPL-2.1-or-later
// Numbered switch controls.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Control : public StartedBoard {};

enum Kind { bit, value, code };

struct Type {
    uint32_t number;
    Kind kind;
    uint8_t page, offset;
    uint64_t mask;
};

const Type types[] = {
    {0, bit, 0x00, 0x08, 0x04},      {1, bit, 0x00, 0x08, 0x08},     {2, bit, 0x00, 0x08, 0x10},
    {3, bit, 0x02, 0x00, 0x02},      {4, bit, 0x36, 0x00, 0x2000},   {5, bit, 0x36, 0x00, 0x1000},
    {6, bit, 0x36, 0x00, 0x800},     {7, bit, 0x36, 0x00, 0x400},    {8, bit, 0x36, 0x00, 0x200},
    {9, bit, 0x36, 0x00, 0x100},     {10, bit, 0x36, 0x00, 0x80},    {11, bit, 0x36, 0x00, 0x40},
    {12, bit, 0x36, 0x00, 0x20},     {13, bit, 0x36, 0x00, 0x10},    {14, bit, 0x36, 0x00, 0x08},
    {15, bit, 0x36, 0x00, 0x04},     {16, bit, 0x36, 0x00, 0x02},    {18, value, 0x36, 0x04, 0xFF},
    {19, value, 0x36, 0x08, ~0u},    {20, value, 0x36, 0x0C, ~0u},   {21, code, 0x02, 0x50, 0x600},
    {22, code, 0x02, 0x50, 0x1800},  {23, code, 0x02, 0x50, 0x6000}, {24, code, 0x02, 0x50, 0x18000},
    {25, code, 0x02, 0x50, 0x60000}, {27, bit, 0x00, 0x0B, 0x02},    {28, bit, 0x00, 0x0B, 0x01},
    {29, bit, 0x02, 0x50, 0x100},
};

constexpr uint64_t lower(uint64_t mask) { return mask & -mask; }

TEST_F(Control, ReadsAndWritesByKind)
{
    for (const uint32_t device : {class_a, class_b}) {
        gESWID = device;
        for (const Type &t : types) {
            SCOPED_TRACE(t.number);
            const auto read = [&](int width, uint64_t contents) {
                return fmt::format("read {:02x}:{:02x} w{} -> {:#x}", t.page, t.offset, width, contents);
            };
            const auto write = [&](uint64_t contents) {
                return fmt::format("write {:02x}:{:02x} w64 <- {:#x}", t.page, t.offset, contents);
            };
            const auto reads = [&](uint64_t contents, uint32_t expected) {
                reg(t.page, t.offset) = contents;
                uint32_t got = 5;
                EXPECT_EQ(requests([&] { EXPECT_EQ(eth_switch_control_get(t.number, &got), 0); }),
                          Lines{read(32, contents)});
                EXPECT_EQ(got, expected) << fmt::format("{:#x}", contents);
            };
            const auto writes = [&](uint64_t contents, int32_t given, const Lines &lines) {
                reg(t.page, t.offset) = contents;
                EXPECT_EQ(requests([&] { EXPECT_EQ(eth_switch_control_set(t.number, given), 0); }), lines)
                    << given;
            };
            const uint64_t all = sim::locate(t.page, t.offset).bank->mask();
            const uint64_t low = lower(t.mask), high = t.mask & ~low, rest = all & ~t.mask;
            switch (t.kind) {
            case bit:
                reads(rest, 0);
                reads(t.mask, 1);
                writes(rest, -7, {read(64, rest), write(all)});
                writes(all, 0, {read(64, all), write(rest)});
                break;
            case value:
                reads(t.mask, static_cast<uint32_t>(t.mask));
                writes(0, -1, {write(~uint64_t{0})});
                writes(0, 0x12345678, {write(0x12345678)});
                break;
            case code:
                reads(rest, 4);
                reads(rest | high, 4);
                reads(low, 2);
                reads(low | high, 8);
                writes(all, 4, {read(64, all), write(rest)});
                writes(rest, 8, {read(64, rest), write(all)});
                writes(all, 2,
                       {read(64, all), write(all & ~high), read(64, all & ~high), write(all & ~high)});
                writes(high, 2, {read(64, high), write(0), read(64, 0), write(low)});
                break;
            }
        }
    }
}

TEST_F(Control, RefusalsTouchNothing)
{
    uint32_t got = 5;
    EXPECT_EQ(requests([&] {
                  for (const uint32_t type : {17u, 26u, 30u, 256u, 0xFFFFFFFFu}) {
                      got = 5;
                      EXPECT_EQ(eth_switch_control_get(type, &got), ETH_E_UNAVAIL) << type;
                      EXPECT_EQ(got, 0xFFFFFFFF);
                      EXPECT_EQ(eth_switch_control_set(type, 4), ETH_E_UNAVAIL) << type;
                  }
                  for (const int32_t code : {-1, 0, 1, 3, 5, 6, 7, 9})
                      EXPECT_EQ(eth_switch_control_set(22, code), ETH_E_UNAVAIL) << code;
              }),
              Lines{});
}

TEST_F(Control, AFailedReadIsDecodedLikeAnyOther)
{
    options().all_requests_fail = true;
    const std::pair<uint32_t, uint32_t> cases[] = {{5, 1}, {18, 0xFFFFFFFF}, {21, 8}};
    for (const auto &[type, expected] : cases) {
        uint32_t got = 5;
        printed([&, number = type] { EXPECT_EQ(eth_switch_control_get(number, &got), 0); });
        EXPECT_EQ(got, expected);
    }
}

} // namespace
