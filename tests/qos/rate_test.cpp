// SPDX-License-Identifier: LGPL-2.1-or-later
// Rate limiters and the ingress rate control.
#include "tests/support/board.h"

#include <esw.h>

namespace {

using namespace test;

class Rates : public StartedBoard {};

// Calls that set, and read back.
template <auto set, auto get>
auto limit(uint32_t port, uint32_t rate, uint32_t burst)
{
    return [=](Out out) {
        const int32_t result = set(port, rate, burst);
        EXPECT_EQ(get(port, out, out + 1), result);
        return result;
    };
}
constexpr auto egress = limit<eth_port_rate_egress_set, eth_port_rate_egress_get>;
constexpr auto ingress = limit<eth_port_rate_ingress_set, eth_port_rate_ingress_get>;

auto packets(int32_t rate)
{
    return [=](Out out) {
        const int32_t result = eth_rate_set(rate);
        EXPECT_EQ(eth_rate_get(out), result);
        return result;
    };
}

TEST_F(Rates, Egress)
{
    expect({
        {"a", egress(0, 1000, 30),
         "0 960 28: [41:80 r64=7000 w64=7800 r32=7800 w64=7a00 r32=7a00 w64=7a0f][41:80 r32=7a0f]"},
        {"a", egress(1, 0, 30), "0 0 -1: [41:82 r64=a0f w64=20f][41:82 r32=20f]"},
        {"be", egress(8, 1000, 30),
         "0 960 30: [47:20 w64=f 47:50 w64=1e0 47:e8 r64=103 w64=3 47:e6 r64=0 w64=100][47:e6 r32=100 47:20 "
         "r32=f 47:50 r32=1e0]"},
        {"be", egress(1, 0x80000000, 20000),
         "0 16777152 16383: [47:04 w64=3ffff 47:34 w64=3ffff 47:e8 r64=0 w64=0 47:e6 r64=100 w64=102][47:e6 "
         "r32=102 47:04 r32=3ffff 47:34 r32=3ffff]"},
        {"be", egress(0, 64, 0x400001),
         "0 64 1: [47:00 w64=1 47:30 w64=10 47:e8 r64=0 w64=0 47:e6 r64=0 w64=1][47:e6 r32=1 47:00 r32=1 "
         "47:30 r32=10]"},
        {"be", egress(1, 0, 1), "0 0 -1: [47:e6 r64=102 w64=100][47:e6 r32=100]"},
        {"u", egress(0, 1000, 30), "-17 0 -1: [][]"},
        {"abu", egress(2, 1000, 30), "-18 0 -1"},
    });
}

TEST_F(Rates, IngressIsTheSameOnEveryDevice)
{
    expect({
        {"abu", ingress(1, 64, 20),
         "0 64 20: [41:14 r64=3ff800 w64=bff800 r32=bff800 w64=8ff800 r32=8ff800 w64=880800][41:14 "
         "r32=880800]"},
        {"abu", ingress(0, 1000, 30),
         "0 960 28: [41:10 r64=0 w64=400000 r32=400000 w64=400200 r32=400200 w64=40020f][41:10 r32=40020f]"},
        {"abu", ingress(1, 0, 600), "0 0 -1: [41:14 r64=b80800 w64=380800][41:14 r32=380800]"},
        {"abu", ingress(8, 1000, 30), "-18 0 -1"},
    });
}

TEST_F(Rates, CpuPort)
{
    expect({
        {"be", packets(1000), "0 1000: [47:b0 w64=8 47:e8 r64=0 w64=100 47:e6 r64=3 w64=103][47:b0 r32=8]"},
        {"be", packets(262143),
         "0 262125: [47:b0 w64=831 47:e8 r64=0 w64=100 47:e6 r64=0 w64=100][47:b0 r32=831]"},
        {"be", packets(262144), "0 0: [47:b0 w64=0 47:e8 r64=100 w64=0 47:e6 r64=103 w64=3][47:b0 r32=0]"},
        {"be", packets(-1), "0 0: [47:b0 w64=0 47:e8 r64=0 w64=0 47:e6 r64=0 w64=0][47:b0 r32=0]"},
        {"be", packets(0), "0 0: [47:b0 w64=0 47:e8 r64=0 w64=0 47:e6 r64=0 w64=0][47:b0 r32=0]"},
        {"be", packets(124), "0 0: [47:b0 w64=0 47:e8 r64=0 w64=100 47:e6 r64=0 w64=100][47:b0 r32=0]"},
        {"a", packets(0), "0 384: [41:c0 w64=0][41:c0 r32=0]"},
        {"a", packets(1000), "0 768: [41:c0 w64=3][41:c0 r32=3]"},
        {"a", packets(INT32_MIN), "0 384: [41:c0 w64=0][41:c0 r32=0]"},
        {"a", packets(1388888), "0 1315789: [41:c0 w64=3e][41:c0 r32=3e]"},
        {"a", packets(INT32_MAX), "0 1388889: [41:c0 w64=3f][41:c0 r32=3f]"},
        {"u", packets(1000), "-17: [][]"},
    });
}

// The first two: behind the end of the tables. The others: a rate that overflows, and fields that others
// overfilled.
TEST_F(Rates, GetsOfWhatThisLibraryDoesNotWrite)
{
    const auto cpu = CALL(eth_rate_get(o));
    const auto port_0 = CALL(eth_port_rate_egress_get(0, o, o + 1));
    expect({
        {"a", cpu, "0 1388889: [41:c0 r32=40]"},
        {"a", cpu, "0 1388889: [41:c0 r32=ff]"},
        {"a", port_0, "0 1024000 16: [41:80 r32=8f1]"},
        {"a", port_0, "0 1024000 500: [41:80 r32=fff]"},
        {"be", port_0, "0 16777280 4194303: [47:e6 r32=1 47:00 r32=fc040001 47:30 r32=ffffffff]"},
        {"be", cpu, "0 1000: [47:b0 r32=fffc0008]"},
    });
}

TEST_F(Rates, RoundDownToTheStartUpListAndTheBurstTable)
{
    struct {
        uint32_t rate, index, rate_used, burst, burst_used;
    } const cases[] = {
        {1, 0, 0, 15, 16},
        {63, 0, 0, 19, 16},
        {64, 1, 64, 20, 20},
        {1791, 27, 1728, 27, 20},
        {1792, 28, 1792, 28, 28},
        {2047, 28, 1792, 39, 28},
        {2048, 29, 2048, 40, 40},
        {102399, 126, 101376, 75, 40},
        {102400, 127, 102400, 76, 76},
        {106495, 127, 102400, 139, 76},
        {106496, 128, 106496, 140, 140},
        {1023999, 239, 1015808, 268, 268},
        {1024000, 240, 1024000, 499, 268},
        {0x7FFFFFFF, 240, 1024000, 0x7FFFFFFF, 500},
        {0x80000000, 0, 0, 0xFFFFFFFF, 16},
    };
    for (const auto &c : cases) {
        uint32_t rate = 5, burst = 5;
        eth_port_rate_ingress_set(0, c.rate, c.burst);
        EXPECT_EQ(reg(0x41, 0x10) & 0xFF, c.index) << c.rate;
        eth_port_rate_ingress_get(0, &rate, &burst);
        EXPECT_EQ(std::pair(rate, burst), std::pair(c.rate_used, c.burst_used)) << c.rate;
    }
}

TEST_F(Rates, CpuPortRatesOfClassA)
{
    constexpr int32_t rates[] = {
        384,    512,    639,     768,     1024,    1280,    1536,    1791,    2048,   2303,   2559,
        2815,   3328,   3840,    4352,    4863,    5376,    5887,    6400,    6911,   7936,   8960,
        9984,   11008,  12030,   13054,   14076,   15105,   17146,   19201,   21240,  23299,  25354,
        27382,  29446,  31486,   35561,   39682,   42589,   56818,   71023,   85324,  99602,  113636,
        127551, 142045, 213675,  284091,  357143,  423729,  500000,  568182,  641026, 714286, 781250,
        862069, 925926, 1000000, 1086957, 1136364, 1190476, 1250000, 1315789, 1388889};
    become(class_a);
    for (int32_t index = 0, rate = 0; index < 64; ++index) {
        reg(0x41, 0xC0) = static_cast<uint64_t>(index);
        eth_rate_get(&rate);
        EXPECT_EQ(rate, rates[index]);
        for (const int32_t below : {0, 1}) {
            eth_rate_set(rate - below);
            EXPECT_EQ(reg(0x41, 0xC0), static_cast<uint64_t>(std::max(index - below, 0))) << rate;
        }
    }
}

TEST_F(Rates, IngressControlCodes)
{
    constexpr uint8_t codes[] = {0x00, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0x21, 0x12, 0x3F};
    for (uint32_t mode = 0; mode < 10; ++mode) {
        const auto control = [=](uint32_t port) {
            return [=](Out out) {
                EXPECT_EQ(eth_port_rate_ingress_control_set(port, mode), 0);
                return eth_port_rate_ingress_control_get(port, out);
            };
        };
        const unsigned code = codes[mode];
        const unsigned a = 0xFFFF81FF | code << 9, b0 = 0xFFC0 | code, b1 = 0xC0FF | code << 8;
        expect({{"a", control(1), fmt::format("0 {1}: 41:00 r32=ffffffff w64={0:x} r32={0:x}", a, mode)},
                {"be", control(0), fmt::format("0 {1}: 41:34 r32=ffff w64={0:x} r32={0:x}", b0, mode)},
                {"be", control(1), fmt::format("0 {1}: 41:36 r32=ffff w64={0:x} r32={0:x}", b1, mode)}});
    }
}

TEST_F(Rates, IngressControlChecksThePortThenTheModeThenTheDevice)
{
    expect({
        {"b", CALL(eth_port_rate_ingress_control_set(1, 9)), "0: 41:36 r32=0 w64=3f00"},
        {"u", CALL(eth_port_rate_ingress_control_set(8, 10)), "-18"},
        {"abu", CALL(eth_port_rate_ingress_control_set(0, 10)), "-16"},
        {"u", CALL(eth_port_rate_ingress_control_set(0, 9)), "-17"},
        {"a", CALL(eth_port_rate_ingress_control_get(1, o)), "0 7: 41:00 r32=4200"},
        {"a", CALL(eth_port_rate_ingress_control_get(1, o)), "-16 -1: 41:00 r32=600"},
        {"be", CALL(eth_port_rate_ingress_control_get(0, o)), "-16 -1: 41:34 r32=3"},
        {"u", CALL(eth_port_rate_ingress_control_get(8, o)), "-18 -1"},
        {"u", CALL(eth_port_rate_ingress_control_get(0, o)), "-17 -1"},
    });
}

} // namespace
