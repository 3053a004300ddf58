// SPDX-License-Identifier: LGPL-2.1-or-later
// UDF selectors, and the initialisation of the whole field processor.
#include "tests/support/board.h"

#include <map>

#include <esw.h>

namespace {

using namespace test;

class CfpUdf : public StartedBoard {};

TEST_F(CfpUdf, SelectorsTravelBankByBankWithinAPosition)
{
    eth_cfp_udf_t given;
    auto *bytes = reinterpret_cast<uint8_t *>(&given);
    for (unsigned i = 0; i < sizeof given; ++i)
        bytes[i] = static_cast<uint8_t>(0xFF - i);
    Lines writes, reads;
    const auto expect = [&](unsigned offset, uint8_t value) {
        writes.push_back(fmt::format("write a1:{:02x} w64 <- {:#x}", offset, value));
        reads.push_back(fmt::format("read a1:{:02x} w32 -> {:#x}", offset, value));
    };
    for (unsigned group = 0; group < 3; ++group) {
        for (unsigned i = 0; i < 9; ++i) {
            expect(0x10 + 0x10 * group + i, given.udf_a[group][i]);
            expect(0x40 + 0x10 * group + i, given.udf_b[group][i]);
            expect(0x70 + 0x10 * group + i, given.udf_c[group][i]);
        }
    }
    for (unsigned i = 0; i < 12; ++i)
        expect(0xA0 + i, given.udf_d[i]);

    EXPECT_EQ(requests([&] { EXPECT_EQ(eth_cfp_udf_set(given), 0); }), writes);
    eth_cfp_udf_t got = given;
    EXPECT_EQ(eth_cfp_udf_t_init(&got), 0);
    EXPECT_EQ(got.udf_a[0][0] | got.udf_d[11], 0);
    EXPECT_EQ(requests([&] { EXPECT_EQ(eth_cfp_udf_get(&got), 0); }), reads);
    EXPECT_EQ(memcmp(&got, &given, sizeof got), 0);
}

TEST_F(CfpUdf, InitialisationResetsRulesSelectorsAndTheSearchButNoPort)
{
    const std::map<unsigned, std::vector<uint8_t>> layout = {
        {0x10, {0, 1, 2, 3, 4, 5, 6}},
        {0x20, {0x46, 0x47, 0x48, 0x49, 0x60, 0x61}},
        {0x40, {0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x60}},
        {0x50, {0, 1, 2, 3, 4, 5, 6}},
        {0x60, {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61}},
        {0x70, {0, 1, 2, 3, 4, 5, 6}},
        {0xA0, {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61}}};
    std::array<uint64_t, 256> wanted{};
    wanted[0x00] = 2; // port 1
    for (const auto &[offset, selectors] : layout)
        std::ranges::copy(selectors, wanted.begin() + offset);

    eth_cfp_rule_t rule = {};
    rule.data[0] = 3;
    for (int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(eth_cfp_rule_set(-1, rule), slot);
    eth_cfp_enable_set(1, 1);
    reg(0xA1, 0x98) = 0xFF;
    const Lines lines = requests([] { EXPECT_EQ(eth_cfp_init(), 0); });
    EXPECT_EQ(lines.end() - std::ranges::find(lines, "write a0:00 w64 <- 0x11"), 2 + 93);
    EXPECT_THAT(std::vector(&reg(0xA1, 0), &reg(0xA1, 0) + 256), testing::ElementsAreArray(wanted));
    EXPECT_EQ(eth_cfp_rule_set(-1, rule), 0);
    EXPECT_EQ(eth_cfp_udf_clear(), 0);
    EXPECT_EQ(requests([] { EXPECT_EQ(eth_cfp_udf_init(), 0); }), Lines(lines.end() - 93, lines.end()));
    EXPECT_THAT(std::vector(&reg(0xA1, 0), &reg(0xA1, 0) + 256), testing::ElementsAreArray(wanted));

    options().behaviour.stuck = sim::find_bank("cfp-command");
    EXPECT_EQ(eth_cfp_init(), 0) << "whatever becomes of the rules";
    EXPECT_EQ(eth_cfp_udf_clear(), 0);
    EXPECT_THAT(std::vector(&reg(0xA1, 1), &reg(0xA1, 0) + 256), testing::Each(0));
}

} // namespace
