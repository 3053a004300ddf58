// SPDX-License-Identifier: LGPL-2.1-or-later
// Energy Efficient Ethernet, and the sockets that it leaves behind: none.
#include "tests/support/board.h"

#include <linux/ethtool.h>
#include <sys/socket.h>

#include <esw.h>

#include "sim/doors/next.h"

namespace {

constinit sim::Next next_shutdown{&shutdown, "shutdown"};
unsigned shut_down = 0;

} // namespace

extern "C" int shutdown(int descriptor, int how) noexcept
{
    shut_down += how == SHUT_RDWR;
    return next_shutdown(descriptor, how);
}

namespace {

using namespace test;

class EnergyEfficientEthernet : public Board {
protected:
    void SetUp() override { power_on(class_b); } // works without esw_init()
};

TEST_F(EnergyEfficientEthernet, GetTurnsTheCallersRecordIntoTheRequest)
{
    ethtool_eee record;
    memset(&record, 0xAA, sizeof record);
    const ethtool_eee before = record;
    EXPECT_EQ(eth_eee_get(2, &record), ETH_E_PORT);
    EXPECT_EQ(memcmp(&record, &before, sizeof record), 0);

    state().eee[1].tx_lpi_timer = 77;
    EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_eee_get(1, &record), 0); }), "eee2:1");
    const ethtool_eee expected = {ETHTOOL_GEEE, 0x28, 0x28, 0x28, 1, 1, 1, 77, {2, 0xAAAAAAAA}};
    EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);

    options().eee_requests_fail = true;
    record = before;
    EXPECT_EQ(eth_eee_get(0, &record), -1);
    EXPECT_EQ(std::tuple(record.cmd, record.supported, record.advertised, record.reserved[0]),
              std::tuple(ETHTOOL_GEEE, 0U, before.advertised, 1U));
}

TEST_F(EnergyEfficientEthernet, SetWritesOnlyWhatDiffers)
{
    state().eee[0].advertised = 0x8;
    struct {
        uint32_t port, enable;
        uint64_t failing;
        int32_t result;
        const char *requests;
    } const cases[] = {
        {0, 1, 0, 0, "eee1:1"},          {0, 2, 0, 0, "eee1:1 eee1=2"}, {1, 0, 0, 0, "eee2:1 eee2=0"},
        {2, 1, 0, ETH_E_PORT, ""},       {8, 1, 0, ETH_E_PORT, ""},     {0, 0, 1, -1, "eee1!"},
        {0, 0, 3, -1, "eee1:2 eee1=0!"},
    };
    for (const auto &c : cases) {
        options().failing_request = c.failing;
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_eee_set(c.port, c.enable), c.result); }), c.requests);
        EXPECT_TRUE(c.result != -1 || errno == EIO) << "the failed request's errno: " << errno;
    }
    EXPECT_EQ(state().eee[0].advertised, 0x8U) << "the rest goes back as it was read";
}

TEST_F(EnergyEfficientEthernet, NoSocketStaysOpen)
{
    const auto before = open_descriptors();
    shut_down = 0;
    ethtool_eee record = {};
    for (uint32_t i = 0; i < 50; ++i) {
        options().eee_requests_fail = i % 5 == 0;
        eth_eee_get(i % 3, &record); // every third is refused before it has a socket
        eth_eee_set(0, i);
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(shut_down, 34U + 50U);

    options().no_socket = true;
    record = {};
    EXPECT_EQ(eth_eee_get(0, &record), ETH_E_RESOURCE);
    EXPECT_EQ(eth_eee_set(0, 1), ETH_E_RESOURCE);
    EXPECT_EQ(record.cmd, 0U);
}

} // namespace
