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
    const char *address;
    uint64_t mask, all; // of the register
};

const Type types[] = {
    {0, bit, "00:08", 0x04, 0xFF},          {1, bit, "00:08", 0x08, 0xFF},
    {2, bit, "00:08", 0x10, 0xFF},          {3, bit, "02:00", 0x02, 0xFF},
    {4, bit, "36:00", 0x2000, all_ones},    {5, bit, "36:00", 0x1000, all_ones},
    {6, bit, "36:00", 0x800, all_ones},     {7, bit, "36:00", 0x400, all_ones},
    {8, bit, "36:00", 0x200, all_ones},     {9, bit, "36:00", 0x100, all_ones},
    {10, bit, "36:00", 0x80, all_ones},     {11, bit, "36:00", 0x40, all_ones},
    {12, bit, "36:00", 0x20, all_ones},     {13, bit, "36:00", 0x10, all_ones},
    {14, bit, "36:00", 0x08, all_ones},     {15, bit, "36:00", 0x04, all_ones},
    {16, bit, "36:00", 0x02, all_ones},     {18, value, "36:04", 0xFF, 0xFF},
    {19, value, "36:08", ~0u, all_ones},    {20, value, "36:0c", ~0u, all_ones},
    {21, code, "02:50", 0x600, all_ones},   {22, code, "02:50", 0x1800, all_ones},
    {23, code, "02:50", 0x6000, all_ones},  {24, code, "02:50", 0x18000, all_ones},
    {25, code, "02:50", 0x60000, all_ones}, {27, bit, "00:0b", 0x02, 0xFF},
    {28, bit, "00:0b", 0x01, 0xFF},         {29, bit, "02:50", 0x100, all_ones},
};

TEST_F(Control, ReadsAndWritesByKind)
{
    for (const Type &t : types) {
        const uint64_t low = t.mask & -t.mask, high = t.mask & ~low, rest = t.all & ~t.mask;
        const auto reads = [&](uint64_t contents, uint32_t value) {
            expect({{"abu", CALL(eth_switch_control_get(t.number, o)),
                     fmt::format("0 {}: {} r32={:x}", static_cast<int32_t>(value), t.address, contents)}});
        };
        const auto writes = [&](int32_t value, const std::vector<uint64_t> &contents) {
            std::string requests;
            for (size_t i = 0; i < contents.size(); ++i)
                requests +=
                    fmt::format(" {}={:x}", i % 2 == contents.size() % 2 ? "r64" : "w64", contents[i]);
            expect({{"abu", CALL(eth_switch_control_set(t.number, value)),
                     fmt::format("0: {}{}", t.address, requests)}});
        };
        switch (t.kind) {
        case bit:
            reads(rest, 0);
            reads(t.mask, 1);
            writes(-7, {rest, t.all});
            writes(0, {t.all, rest});
            break;
        case value:
            reads(t.mask, static_cast<uint32_t>(t.mask));
            writes(-1, {~uint64_t{0}});
            writes(0x12345678, {0x12345678});
            break;
        case code:
            reads(rest, 4);
            reads(rest | high, 4);
            reads(low, 2);
            reads(low | high, 8);
            writes(4, {t.all, rest});
            writes(8, {rest, t.all});
            writes(2, {t.all, t.all & ~high, t.all & ~high, t.all & ~high});
            writes(2, {high, 0, 0, low});
            break;
        }
    }
}

TEST_F(Control, RefusalsTouchNothing)
{
    for (const uint32_t type : {17u, 26u, 30u, 256u, all_ones})
        expect({{"abu", CALL(eth_switch_control_get(type, o)), "-16 -1"},
                {"abu", CALL(eth_switch_control_set(type, 4)), "-16"}});
    for (const int32_t wrong : {-1, 0, 1, 3, 5, 6, 7, 9})
        expect({{"b", CALL(eth_switch_control_set(22, wrong)), "-16"}});
}

TEST_F(Control, AFailedReadIsDecodedLikeAnyOther)
{
    options().all_requests_fail = true;
    const std::pair<uint32_t, const char *> cases[] = {{5, "0 1:"}, {18, "0 -1:"}, {21, "0 8:"}};
    for (const auto &[type, result] : cases)
        printed([&, number = type, wanted = result] {
            EXPECT_THAT(outcome(CALL(eth_switch_control_get(number, o))), testing::StartsWith(wanted));
        });
}

} // namespace
