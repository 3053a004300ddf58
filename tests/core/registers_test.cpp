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

TEST_F(Registers, SendTheirWidthsInOrder)
{
    const uint8_t m8 = 0x0F, v8 = 0x05;
    const uint16_t m16 = 0x0FF0, v16 = 0x1230;
    const uint32_t m32 = 0xFF000000, v32 = 0xAB123456;
    const uint64_t m64 = 0xFF00000000000000, v64 = 0x1122334455667788;
    expect({
        {"abu", CALL(esw_reg_read32(page, offset, 8)), "878082202: e0:10 r32=123456789a"},
        {"abu", CALL(int64_t(esw_reg_read(page, offset, 8))), "78187493530: e0:10 r64=123456789a"},
        {"b", CALL(esw_reg_write(page, offset, 8, 0xFEDCBA9876543210)), "0: e0:10 w64=fedcba9876543210"},
        {"b", CALL(esw_reg_mask_set(page, offset, 8, 0x6)),
         "0: e0:10 r64=8000000000000001 w64=8000000000000007"},
        {"b", CALL(esw_reg_mask_clear(page, offset, 8, 0x8000000000000002)),
         "0: e0:10 r64=8000000000000007 w64=5"},
        {"b", CALL(esw_reg_write32_masked(page, offset, 64, 0xFF, 0xABCD)),
         "0: e0:10 r32=ffffffff12345678 w64=123456cd"},
        {"b", CALL(esw_reg_write32_masked(page, offset, 8, 0, 0xFF)), "0: e0:10 r32=55 w64=55"},
        {"b", CALL(esw_reg_write64_masked(page, offset, 8, 0xF000000000000000, 0)),
         "0: e0:10 r64=ffffffff12345678 w64=fffffff12345678"},
        {"b", CALL(esw_reg_write_masked(page, offset, 8, &m8, &v8)), "0: e0:10 r64=1f3 w64=f5"},
        {"b", CALL(esw_reg_write_masked(page, offset, 16, &m16, &v16)), "0: e0:10 r64=9f00f w64=f23f"},
        {"b", CALL(esw_reg_write_masked(page, offset, 32, &m32, &v32)),
         "0: e0:10 r64=9112233445 w64=ab233445"},
        {"b", CALL(esw_reg_write_masked(page, offset, 64, &m64, &v64)),
         "0: e0:10 r64=5 w64=1100000000000005"},
        {"b", CALL(esw_reg_write_masked(page, offset, 48, &m64, &v64)),
         "0: e0:10 r64=5 w64=1100000000000005"},
    });
}

TEST_F(Registers, FailuresPrintOneMessageEachAndRmwsGoOn)
{
    options().all_requests_fail = true;
    const std::string read32 = "ESW: read32 error !\n: Input/output error\n";
    const std::string read = "ESW: read error !\n: Input/output error\n";
    const std::string write = "ESW: write error !\n: Input/output error\n";
    const struct {
        Call call;
        std::string outcome, error;
    } cases[] = {
        {CALL(esw_reg_read32(page, offset, 32)), "4294967295: e0:10 r32!", read32},
        {CALL(int64_t(esw_reg_read(page, offset, 32))), "-1: e0:10 r64!", read},
        {CALL(esw_reg_write(page, offset, 32, 1)), "-1: e0:10 w64=1!", write},
        {CALL(esw_reg_mask_clear(page, offset, 32, 1)), "-1: e0:10 r64! w64=fffffffffffffffe!", read + write},
        {CALL(esw_reg_write32_masked(page, offset, 32, 1, 0)), "-1: e0:10 r32! w64=fffffffe!",
         read32 + write},
    };
    for (const auto &c : cases)
        EXPECT_EQ(printed([&] { EXPECT_EQ(outcome(c.call), c.outcome); }).error, c.error);
    options().all_requests_fail = false;
    options().failing_request = 1; // a failed read does not change the write's result
    printed([&] {
        EXPECT_THAT(outcome(CALL(esw_reg_mask_set(page, offset, 32, 1))),
                    testing::StartsWith("0: e0:10 r64! "));
    });
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

TEST_F(Registers, LayerSelectorSetsItsBitBeforeItLooksAtTheMode)
{
    expect({
        {"a", CALL(eth_cosq_ip_mac_layer_set(3)), "0: 30:00 r64=53 w64=d3 r32=d3 w64=df"},
        {"a", CALL(eth_cosq_ip_mac_layer_get(o)), "0 3: 30:00 r32=df"},
        {"a", CALL(eth_cosq_ip_mac_layer_get(o)), "0 1: 30:00 r32=f4"},
        {"a", CALL(eth_cosq_ip_mac_layer_set(4)), "-16: 30:00 r64=4 w64=84"},
        {"a", CALL(eth_cosq_ip_mac_layer_set(-1)), "-16: 30:00 r64=4 w64=84"},
        {"beu", CALL(eth_cosq_ip_mac_layer_set(0)), "-16"},
        {"beu", CALL(eth_cosq_ip_mac_layer_get(o)), "-16"},
    });
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
