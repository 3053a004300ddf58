// UDF selectors, and the initialisation of the whole field processor.
#include "tests/support/board.h"

#include <fstream>
#include <map>

#include <esw.h>

namespace {

using namespace test;

class CfpUdf : public Board {
protected:
    void SetUp() override { start(); }

    // Offsets in page A1 of what lines touch, in order.
    static std::vector<unsigned> offsets(const Lines &lines, const char *format)
    {
        std::vector<unsigned> all;
        for (const std::string &line : lines) {
            unsigned offset = 0;
            if (sscanf(line.c_str(), format, &offset) == 1)
                all.push_back(offset);
        }
        return all;
    }

    std::map<unsigned, uint64_t> selectors()
    {
        std::map<unsigned, uint64_t> nonzero;
        for (unsigned offset = 1; offset < 256; ++offset) {
            if (const uint64_t value = reg(0xA1, static_cast<uint8_t>(offset)))
                nonzero[offset] = value;
        }
        return nonzero;
    }
};

TEST_F(CfpUdf, SelectorsTravelBankByBankWithinAPosition)
{
    std::vector<unsigned> order;
    for (unsigned group = 0; group < 3; ++group) {
        for (unsigned i = 0; i < 9; ++i)
            order.insert(order.end(),
                         {0x10 + 0x10 * group + i, 0x40 + 0x10 * group + i, 0x70 + 0x10 * group + i});
    }
    for (unsigned i = 0; i < 12; ++i)
        order.push_back(0xA0 + i);

    eth_cfp_udf_t given;
    auto *bytes = reinterpret_cast<uint8_t *>(&given);
    for (unsigned i = 0; i < sizeof given; ++i)
        bytes[i] = static_cast<uint8_t>(0xFF - i);
    const Lines written = requests([&] { EXPECT_EQ(eth_cfp_udf_set(given), 0); });
    EXPECT_EQ(offsets(written, "write a1:%x w64"), order);
    EXPECT_EQ(written.size(), 93u);
    EXPECT_EQ(reg(0xA1, 0x21), given.udf_a[1][1]);
    EXPECT_EQ(reg(0xA1, 0x68), given.udf_b[2][8]);
    EXPECT_EQ(reg(0xA1, 0x70), given.udf_c[0][0]);
    EXPECT_EQ(reg(0xA1, 0xAB), given.udf_d[11]);

    eth_cfp_udf_t got;
    EXPECT_EQ(eth_cfp_udf_t_init(&got), 0);
    EXPECT_EQ(got.udf_d[11], 0);
    const Lines read = requests([&] { EXPECT_EQ(eth_cfp_udf_get(&got), 0); });
    EXPECT_EQ(offsets(read, "read a1:%x w32"), order);
    EXPECT_EQ(memcmp(&got, &given, sizeof got), 0);
}

TEST_F(CfpUdf, DefaultLayoutAndClear)
{
    const std::map<unsigned, uint64_t> layout = {
        {0x11, 1},    {0x12, 2},    {0x13, 3},    {0x14, 4},    {0x15, 5},    {0x16, 6},    {0x20, 0x46},
        {0x21, 0x47}, {0x22, 0x48}, {0x23, 0x49}, {0x24, 0x60}, {0x25, 0x61}, {0x40, 0x44}, {0x41, 0x45},
        {0x42, 0x46}, {0x43, 0x47}, {0x44, 0x48}, {0x45, 0x49}, {0x46, 0x4A}, {0x47, 0x4B}, {0x48, 0x60},
        {0x51, 1},    {0x52, 2},    {0x53, 3},    {0x54, 4},    {0x55, 5},    {0x56, 6},    {0x60, 0x4C},
        {0x61, 0x4D}, {0x62, 0x4E}, {0x63, 0x4F}, {0x64, 0x50}, {0x65, 0x51}, {0x66, 0x52}, {0x67, 0x53},
        {0x68, 0x61}, {0x71, 1},    {0x72, 2},    {0x73, 3},    {0x74, 4},    {0x75, 5},    {0x76, 6},
        {0xA0, 0x4C}, {0xA1, 0x4D}, {0xA2, 0x4E}, {0xA3, 0x4F}, {0xA4, 0x50}, {0xA5, 0x51}, {0xA6, 0x52},
        {0xA7, 0x53}, {0xA8, 0x61}};
    reg(0xA1, 0x98) = 0xFF;
    EXPECT_EQ(eth_cfp_udf_init(), 0);
    EXPECT_EQ(selectors(), layout);
    EXPECT_EQ(eth_cfp_udf_clear(), 0);
    EXPECT_THAT(selectors(), IsEmpty());
}

TEST_F(CfpUdf, InitialisationResetsRulesSelectorsAndTheSearchButNoPort)
{
    eth_cfp_rule_t rule = {};
    rule.data[0] = 3;
    for (int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(eth_cfp_rule_set(-1, rule), slot);
    eth_cfp_enable_set(1, 1);
    const Lines lines = requests([] { EXPECT_EQ(eth_cfp_init(), 0); });
    const auto clear = std::ranges::find(lines, "write a0:00 w64 <- 0x11");
    ASSERT_EQ(lines.end() - clear, 2 + 93) << "rules first, then selectors";
    EXPECT_EQ(reg(0xA1, 0x24), 0x60u);
    EXPECT_EQ(reg(0xA1, 0x00), 2u);
    EXPECT_EQ(eth_cfp_rule_set(-1, rule), 0);

    options().behaviour.stuck = sim::find_bank("cfp-command");
    EXPECT_EQ(eth_cfp_init(), 0) << "whatever becomes of the rules";
}

} // namespace
