// Rate limiters and the ingress rate control.
#include "tests/qos/fresh_switch.h"

#include <span>

namespace {

using namespace test;

constexpr uint32_t off = 0xFFFFFFFF; // burst of a limiter that is off

struct Limit {
    uint32_t device, port, rate, burst;
    int32_t result;
    const char *requests;
    uint32_t rate_back, burst_back;
    const char *requests_back;
};

class Rates : public FreshSwitch {
protected:
    // In turn, each device on a fresh switch.
    void expect(std::span<const Limit> limits, decltype(eth_port_rate_egress_set) &set,
                decltype(eth_port_rate_egress_get) &get)
    {
        for (const Limit &l : limits) {
            if (l.device != gESWID)
                become(l.device);
            EXPECT_EQ(traffic([&] { EXPECT_EQ(set(l.port, l.rate, l.burst), l.result); }), l.requests);
            uint32_t rate = 5, burst = 5;
            EXPECT_EQ(traffic([&] { EXPECT_EQ(get(l.port, &rate, &burst), l.result); }), l.requests_back);
            EXPECT_EQ(std::pair(rate, burst), std::pair(l.rate_back, l.burst_back)) << l.requests;
        }
    }
};

TEST_F(Rates, Egress)
{
    const Limit limits[] = {
        {class_a, 0, 1000, 30, 0,
         "[r64 41:80=0x0 w64 41:80=0x800 r32 41:80=0x800 w64 41:80=0xa00 r32 41:80=0xa00 w64 41:80=0xa0f]",
         960, 28, "[r32 41:80=0xa0f]"},
        {class_a, 0, 0, 30, 0, "[r64 41:80=0xa0f w64 41:80=0x20f]", 0, off, "[r32 41:80=0x20f]"},
        {class_a, 8, 0x80000000, 0x80000000, 0,
         "[r64 41:90=0x0 w64 41:90=0x800 r32 41:90=0x800 w64 41:90=0x800 r32 41:90=0x800 w64 41:90=0x800]", 0,
         16, "[r32 41:90=0x800]"},
        {class_b, 8, 1000, 30, 0,
         "[w64 47:20=0xf w64 47:50=0x1e0 r64 47:e8=0x0 w64 47:e8=0x0 r64 47:e6=0x0 w64 47:e6=0x100]", 960, 30,
         "[r32 47:e6=0x100 r32 47:20=0xf r32 47:50=0x1e0]"},
        {class_b, 1, 0x80000000, 20000, 0,
         "[w64 47:04=0x3ffff w64 47:34=0x3ffff r64 47:e8=0x0 w64 47:e8=0x0 r64 47:e6=0x100 w64 47:e6=0x102]",
         16777152, 16383, "[r32 47:e6=0x102 r32 47:04=0x3ffff r32 47:34=0x3ffff]"},
        {class_b, 1, 0, 1, 0, "[r64 47:e6=0x102 w64 47:e6=0x100]", 0, off, "[r32 47:e6=0x100]"},
        {early_class_b, 0, 64, 0x400001, 0,
         "[w64 47:00=0x1 w64 47:30=0x10 r64 47:e8=0x0 w64 47:e8=0x0 r64 47:e6=0x0 w64 47:e6=0x1]", 64, 1,
         "[r32 47:e6=0x1 r32 47:00=0x1 r32 47:30=0x10]"},
        {unknown_device, 0, 1000, 30, ETH_E_UNSUPPORTED, "[]", 0, off, "[]"},
        {unknown_device, 2, 1000, 30, ETH_E_PORT, "", 0, off, ""},
        {class_a, 9, 0, 30, ETH_E_PORT, "", 0, off, ""},
    };
    expect(limits, eth_port_rate_egress_set, eth_port_rate_egress_get);
}

TEST_F(Rates, IngressIsTheSameOnEveryDevice)
{
    const Limit limits[] = {
        {class_b, 1, 2000000, 10, 0,
         "[r64 41:14=0x0 w64 41:14=0x800000 r32 41:14=0x800000 w64 41:14=0x800000 "
         "r32 41:14=0x800000 w64 41:14=0x878000]",
         1024000, 16, "[r32 41:14=0x878000]"},
        {class_b, 1, 64, 600, 0,
         "[r64 41:14=0x878000 w64 41:14=0x878000 r32 41:14=0x878000 w64 41:14=0xbf8000 "
         "r32 41:14=0xbf8000 w64 41:14=0xb80800]",
         64, 500, "[r32 41:14=0xb80800]"},
        {class_b, 1, 0, 600, 0, "[r64 41:14=0xb80800 w64 41:14=0x380800]", 0, off, "[r32 41:14=0x380800]"},
        {class_a, 0, 1000, 30, 0,
         "[r64 41:10=0x0 w64 41:10=0x400000 r32 41:10=0x400000 w64 41:10=0x400200 "
         "r32 41:10=0x400200 w64 41:10=0x40020f]",
         960, 28, "[r32 41:10=0x40020f]"},
        {unknown_device, 0, 0, 0, 0, "[r64 41:10=0x0 w64 41:10=0x0]", 0, off, "[r32 41:10=0x0]"},
        {class_a, 8, 1000, 30, ETH_E_PORT, "", 0, off, ""},
    };
    expect(limits, eth_port_rate_ingress_set, eth_port_rate_ingress_get);
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

TEST_F(Rates, CpuPort)
{
    struct {
        uint32_t device;
        int32_t rate, result;
        const char *requests;
        int32_t back;
    } const cases[] = {
        {class_b, 1000, 0, "[w64 47:b0=0x8 r64 47:e8=0x0 w64 47:e8=0x100 r64 47:e6=0x0 w64 47:e6=0x100]",
         1000},
        {class_b, 262144, 0, "[w64 47:b0=0x0 r64 47:e8=0x100 w64 47:e8=0x0 r64 47:e6=0x100 w64 47:e6=0x0]",
         0},
        {class_b, 262143, 0, "[w64 47:b0=0x831 r64 47:e8=0x0 w64 47:e8=0x100 r64 47:e6=0x0 w64 47:e6=0x100]",
         262125},
        {class_b, -1, 0, "[w64 47:b0=0x0 r64 47:e8=0x100 w64 47:e8=0x0 r64 47:e6=0x100 w64 47:e6=0x0]", 0},
        {early_class_b, 124, 0, "[w64 47:b0=0x0 r64 47:e8=0x0 w64 47:e8=0x100 r64 47:e6=0x0 w64 47:e6=0x100]",
         0},
        {early_class_b, 0, 0, "[w64 47:b0=0x0 r64 47:e8=0x100 w64 47:e8=0x0 r64 47:e6=0x100 w64 47:e6=0x0]",
         0},
        {class_a, 0, 0, "[w64 41:c0=0x0]", 384},
        {class_a, 1000, 0, "[w64 41:c0=0x3]", 768},
        {class_a, INT32_MIN, 0, "[w64 41:c0=0x0]", 384},
        {class_a, 1388888, 0, "[w64 41:c0=0x3e]", 1315789},
        {class_a, INT32_MAX, 0, "[w64 41:c0=0x3f]", 1388889},
        {unknown_device, 1000, ETH_E_UNSUPPORTED, "[]", 5},
    };
    for (const auto &c : cases) {
        if (c.device != gESWID)
            become(c.device);
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_rate_set(c.rate), c.result); }), c.requests);
        int32_t rate = 5;
        EXPECT_EQ(eth_rate_get(&rate), c.result);
        EXPECT_EQ(rate, c.back) << c.requests;
    }
}

TEST_F(Rates, AnEgressLimitEndsTheCpuPortsPacketLimit)
{
    eth_rate_set(1000);
    EXPECT_EQ(reg(0x47, 0xE8), 0x100u);
    eth_port_rate_egress_set(0, 0, 0);
    EXPECT_EQ(reg(0x47, 0xE8), 0x100u);
    eth_port_rate_egress_set(0, 64, 16);
    EXPECT_EQ(reg(0x47, 0xE8), 0u);
    EXPECT_EQ(reg(0x47, 0xE6), 0x101u);
}

TEST_F(Rates, CpuPortRatesOfClassAAscend)
{
    become(class_a);
    int64_t sum = 0;
    for (int32_t index = 0, rate = 0; index < 64; ++index) {
        reg(0x41, 0xC0) = static_cast<uint64_t>(index);
        eth_rate_get(&rate);
        sum += rate;
        for (const int32_t below : {0, 1}) {
            eth_rate_set(rate - below);
            EXPECT_EQ(reg(0x41, 0xC0), static_cast<uint64_t>(std::max(index - below, 0))) << rate;
        }
    }
    EXPECT_EQ(sum, 15799006);
}

TEST_F(Rates, GetsStayInsideTheirTables)
{
    become(class_a);
    int32_t packets = 5;
    uint32_t rate = 5, burst = 5;
    for (const unsigned index : {64u, 255u}) {
        reg(0x41, 0xC0) = index;
        EXPECT_EQ(eth_rate_get(&packets), 0);
        EXPECT_EQ(packets, 1388889);
    }
    for (const unsigned index : {241u, 255u}) {
        reg(0x41, 0x82) = 0x800U | index;
        EXPECT_EQ(eth_port_rate_egress_get(1, &rate, &burst), 0);
        EXPECT_EQ(std::pair(rate, burst), std::pair(1024000u, 16u));
    }
    // Class B: neither the rate nor its product is cut to the register's field.
    become(class_b);
    reg(0x47, 0xE6) = 1;
    reg(0x47, 0x00) = 0xFC040001;
    reg(0x47, 0x30) = 0xFFFFFFFF;
    reg(0x47, 0xB0) = 0xFFFC0008;
    EXPECT_EQ(eth_port_rate_egress_get(0, &rate, &burst), 0);
    EXPECT_EQ(std::pair(rate, burst), std::pair(0x01000040u, 0x3FFFFFu));
    EXPECT_EQ(eth_rate_get(&packets), 0);
    EXPECT_EQ(packets, 1000);
}

TEST_F(Rates, IngressControlCodes)
{
    constexpr uint8_t codes[] = {0x00, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0x21, 0x12, 0x3F};
    struct {
        uint32_t device, port;
        uint8_t offset, shift;
    } const fields[] = {
        {class_a, 0, 0x00, 0}, {class_a, 1, 0x00, 9}, {class_b, 0, 0x34, 0}, {early_class_b, 1, 0x36, 8}};
    for (const auto &f : fields) {
        become(f.device);
        uint64_t &control = reg(0x41, f.offset);
        const uint64_t all = f.device == class_a ? 0xFFFFFFFF : 0xFFFF;
        for (uint32_t mode = 0, back = 99; mode < 10; ++mode) {
            control = all;
            EXPECT_EQ(eth_port_rate_ingress_control_set(f.port, mode), 0);
            EXPECT_EQ(control ^ all, uint64_t{codes[mode] ^ 0x3FU} << f.shift) << mode;
            EXPECT_EQ(eth_port_rate_ingress_control_get(f.port, &back), 0);
            EXPECT_EQ(back, mode);
        }
        uint32_t mode = 5;
        control = uint64_t{0x03} << f.shift;
        EXPECT_EQ(
            traffic([&] { EXPECT_EQ(eth_port_rate_ingress_control_get(f.port, &mode), ETH_E_UNAVAIL); }),
            fmt::format("r32 41:{:02x}={:#x}", f.offset, control));
        EXPECT_EQ(mode, 0xFFFFFFFF);
    }
}

TEST_F(Rates, IngressControlChecksThePortThenTheModeThenTheDevice)
{
    const std::pair<uint32_t, std::array<int32_t, 2>> cases[] = {{8, {ETH_E_PORT, ETH_E_PORT}},
                                                                 {0, {ETH_E_UNAVAIL, ETH_E_UNSUPPORTED}}};
    become(unknown_device);
    EXPECT_EQ(traffic([&] {
                  for (const auto &[port, results] : cases) {
                      uint32_t mode = 5;
                      EXPECT_EQ(eth_port_rate_ingress_control_set(port, 10), results[0]);
                      EXPECT_EQ(eth_port_rate_ingress_control_set(port, 9), results[1]);
                      EXPECT_EQ(eth_port_rate_ingress_control_get(port, &mode), results[1]);
                      EXPECT_EQ(mode, 0xFFFFFFFF);
                  }
              }),
              "");
    become(class_b);
    EXPECT_EQ(traffic([] { EXPECT_EQ(eth_port_rate_ingress_control_set(1, 9), 0); }),
              "r32 41:36=0x0 w64 41:36=0x3f00");
}

} // namespace
