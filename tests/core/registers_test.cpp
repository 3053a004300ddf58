// SPDX-License-Identifier: LGPL-2.1-or-later
// The eight register primitives, the layer selector and the shared helpers.
#include "tests/support/board.h"

#include <atomic>
#include <thread>

#include <esw.h>

#include "core/floor.h"
#include "core/mac.h"

namespace {

using namespace test;

constexpr uint8_t page = 0xE0; // no known register: 64 bits are kept as written
constexpr uint8_t offset = 0x10;

class Registers : public StartedBoard {};

struct Access {
    const char *name;
    uint64_t old;
    std::function<int64_t()> call;
    int64_t result;
    Lines requests;
};

TEST_F(Registers, SendTheirWidthsInOrder)
{
    const uint8_t m8 = 0x0F, v8 = 0x05;
    const uint16_t m16 = 0x0FF0, v16 = 0x1230;
    const uint32_t m32 = 0xFF000000, v32 = 0xAB123456;
    const uint64_t m64 = 0xFF00000000000000, v64 = 0x1122334455667788;
    const auto masked = [](uint8_t width, const void *mask, const void *value) {
        return [=] { return esw_reg_write_masked(page, offset, width, mask, value); };
    };
    const Access accesses[] = {
        {"read32",
         0x123456789A,
         [] { return esw_reg_read32(page, offset, 8); },
         0x3456789A,
         {"read e0:10 w32 -> 0x123456789a"}},
        {"read",
         0x123456789A,
         [] { return int64_t(esw_reg_read(page, offset, 8)); },
         0x123456789A,
         {"read e0:10 w64 -> 0x123456789a"}},
        {"write",
         0,
         [] { return esw_reg_write(page, offset, 8, 0xFEDCBA9876543210); },
         0,
         {"write e0:10 w64 <- 0xfedcba9876543210"}},
        {"mask set",
         0x8000000000000001,
         [] { return esw_reg_mask_set(page, offset, 8, 0x6); },
         0,
         {"read e0:10 w64 -> 0x8000000000000001", "write e0:10 w64 <- 0x8000000000000007"}},
        {"mask clear",
         0x8000000000000007,
         [] { return esw_reg_mask_clear(page, offset, 8, 0x8000000000000002); },
         0,
         {"read e0:10 w64 -> 0x8000000000000007", "write e0:10 w64 <- 0x5"}},
        {"32 masked",
         0xFFFFFFFF12345678,
         [] { return esw_reg_write32_masked(page, offset, 64, 0xFF, 0xABCD); },
         0,
         {"read e0:10 w32 -> 0xffffffff12345678", "write e0:10 w64 <- 0x123456cd"}},
        {"32 masked by nothing",
         0x55,
         [] { return esw_reg_write32_masked(page, offset, 8, 0, 0xFF); },
         0,
         {"read e0:10 w32 -> 0x55", "write e0:10 w64 <- 0x55"}},
        {"64 masked",
         0xFFFFFFFF12345678,
         [] { return esw_reg_write64_masked(page, offset, 8, 0xF000000000000000, 0); },
         0,
         {"read e0:10 w64 -> 0xffffffff12345678", "write e0:10 w64 <- 0xfffffff12345678"}},
        {"masked 8", 0x1F3, masked(8, &m8, &v8), 0, {"read e0:10 w64 -> 0x1f3", "write e0:10 w64 <- 0xf5"}},
        {"masked 16",
         0x9F00F,
         masked(16, &m16, &v16),
         0,
         {"read e0:10 w64 -> 0x9f00f", "write e0:10 w64 <- 0xf23f"}},
        {"masked 32",
         0x9112233445,
         masked(32, &m32, &v32),
         0,
         {"read e0:10 w64 -> 0x9112233445", "write e0:10 w64 <- 0xab233445"}},
        {"masked 64",
         5,
         masked(64, &m64, &v64),
         0,
         {"read e0:10 w64 -> 0x5", "write e0:10 w64 <- 0x1100000000000005"}},
        {"masked 48",
         5,
         masked(48, &m64, &v64),
         0,
         {"read e0:10 w64 -> 0x5", "write e0:10 w64 <- 0x1100000000000005"}},
    };
    for (const Access &access : accesses) {
        reg(page, offset) = access.old;
        EXPECT_EQ(requests([&] { EXPECT_EQ(access.call(), access.result) << access.name; }), access.requests)
            << access.name;
    }
}

TEST_F(Registers, FailuresPrintOneMessageEachAndRmwsGoOn)
{
    options().all_requests_fail = true;
    const std::string read32 = "ESW: read32 error !\n: Input/output error\n";
    const std::string read = "ESW: read error !\n: Input/output error\n";
    const std::string write = "ESW: write error !\n: Input/output error\n";
    EXPECT_EQ(printed([] { EXPECT_EQ(esw_reg_read32(page, offset, 32), 0xFFFFFFFF); }).error, read32);
    EXPECT_EQ(printed([] { EXPECT_EQ(esw_reg_read(page, offset, 32), ~uint64_t{0}); }).error, read);
    EXPECT_EQ(printed([] { EXPECT_EQ(esw_reg_write(page, offset, 32, 1), -1); }).error, write);
    EXPECT_EQ(printed([] { EXPECT_EQ(esw_reg_mask_clear(page, offset, 32, 1), -1); }).error, read + write);
    EXPECT_EQ(printed([] { EXPECT_EQ(esw_reg_write32_masked(page, offset, 32, 1, 0), -1); }).error,
              read32 + write);
    EXPECT_THAT(log(), testing::Contains("write e0:10 w64 <- 0xfffffffffffffffe failed"));
}

TEST_F(Registers, AFailedReadDoesNotChangeTheWritesResult)
{
    options().failing_request = 1;
    printed([] { EXPECT_EQ(esw_reg_mask_set(page, offset, 32, 1), 0); });
}

// Requests from several threads at once must not take each other's register request.
TEST_F(Registers, ThreadsKeepTheirOwnRequests)
{
    for (const bool device : {true, false}) {
        if (!device)
            gFd = 0;
        std::atomic<int> mixed = 0;
        const auto hammer = [&](uint8_t own) {
            for (int i = 0; i < 3000; ++i) {
                esw_reg_write(page, own, 64, own);
                mixed += esw_reg_read(page, own, 64) != own;
            }
        };
        std::thread other(hammer, uint8_t{0x20});
        hammer(0x30);
        other.join();
        EXPECT_EQ(mixed, 0);
    }
}

TEST_F(Registers, LayerSelectorIsForClassAOnly)
{
    EXPECT_EQ(requests([] {
                  uint32_t mode = 7;
                  EXPECT_EQ(eth_cosq_ip_mac_layer_set(0), ETH_E_UNAVAIL);
                  EXPECT_EQ(eth_cosq_ip_mac_layer_get(&mode), ETH_E_UNAVAIL);
                  EXPECT_EQ(mode, 7u);
              }),
              Lines{});
}

TEST_F(Registers, LayerSelectorSetsItsBitBeforeItLooksAtTheMode)
{
    gESWID = class_a;
    reg(0x30, 0x00) = 0x53;
    EXPECT_EQ(requests([] { EXPECT_EQ(eth_cosq_ip_mac_layer_set(3), 0); }),
              (Lines{"read 30:00 w64 -> 0x53", "write 30:00 w64 <- 0xd3", "read 30:00 w32 -> 0xd3",
                     "write 30:00 w64 <- 0xdf"}));
    uint32_t mode = 0;
    EXPECT_EQ(eth_cosq_ip_mac_layer_get(&mode), 0);
    EXPECT_EQ(mode, 3u);
    for (const int wrong : {4, -1}) {
        reg(0x30, 0x00) = 0x04;
        EXPECT_EQ(requests([=] { EXPECT_EQ(eth_cosq_ip_mac_layer_set(wrong), ETH_E_UNAVAIL); }),
                  (Lines{"read 30:00 w64 -> 0x4", "write 30:00 w64 <- 0x84"}));
    }
}

TEST(Floor, RoundsDownAndClampsToTheTable)
{
    constexpr int32_t table[] = {16, 20, 28};
    const std::pair<int32_t, uint32_t> cases[] = {{15, 0}, {16, 0}, {19, 0},        {20, 1},
                                                  {27, 1}, {28, 2}, {INT32_MAX, 2}, {INT32_MIN, 0}};
    for (const auto &[value, index] : cases)
        EXPECT_EQ(esw::floor_index(table, value), index) << value;
}

TEST(Mac, FirstByteIsOnTop)
{
    const uint8_t mac[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
    EXPECT_EQ(esw::pack_mac(mac), 0x0180C200000Eu);
    uint8_t back[6];
    esw::unpack_mac(0xFFFF0180C200000E, back);
    EXPECT_THAT(back, testing::ElementsAreArray(mac));
}

} // namespace
