// SPDX-License-Identifier: LGPL-2.1-or-later
// PHY registers through the MII requests.
#include "tests/support/board.h"

#include <cerrno>

#include <sys/ioctl.h>

#include <esw.h>

#include "core/wire.h"

namespace {

using namespace test;

class Phy : public Board {};

TEST_F(Phy, AddressesFollowTheDeviceId)
{
    start();
    struct {
        uint32_t device_id, port, address;
    } const cases[] = {
        {0x2404, 1, 4}, {0x2407, 0, 3},  {0x2409, 0, 3}, {0xD310, 0, 3},       {0xD311, 0, 3},
        {0xD312, 0, 3}, {0xD313, 0, 3},  {0xD314, 1, 4}, {0x2404, 7, 10},      {0x2404, 0x1FFFE, 1},
        {0x2360, 1, 1}, {0xD300, 1, 1},  {0x5075, 1, 1}, {0x11140, 1, 1},      {0x2360, 7, 7},
        {0xD315, 1, 1}, {0x12404, 1, 1}, {0xD30F, 0, 0}, {0x2360, 0x10001, 1},
    };
    for (const auto &c : cases) {
        gESWID = c.device_id;
        uint32_t value = 0;
        EXPECT_THAT(traffic([&] { ethHw_port_phy_get_ioctl("eth0", c.port, 0, 0x10002, &value); }),
                    testing::StartsWith(fmt::format("{}.2", c.address)))
            << fmt::format("{:#x} port {:#x}", c.device_id, c.port);
    }
}

TEST_F(Phy, AccessesGoToTheCallersInterfaceOnTheSocket)
{
    start();
    ASSERT_GT(gFd, 0) << "register requests take the other route";
    uint32_t value = 0xFFFFFFFF;
    EXPECT_EQ(traffic([&] {
                  EXPECT_EQ(eth_port_phy_get("lan", 0, 7, 1, &value), 0);
                  EXPECT_EQ(eth_port_phy_set("eth0", 1, 7, 4, 0x12345), 0);
              }),
              "3.1:796d 4.4=2345");
    EXPECT_EQ(value, 0x796DU);

    // Names that nobody simulates reach the kernel. One that fills its field ends there.
    value = 5;
    log();
    EXPECT_EQ(eth_port_phy_get("nosuch0", 0, 0, 1, &value), ETH_E_PHY);
    EXPECT_EQ(ethHw_port_phy_set_ioctl("sixteen-letters-and-more", 1, 0, 1, 0), ETH_E_TIMEOUT);
    gSocket = -1;
    EXPECT_EQ(ethHw_port_phy_get_ioctl("eth0", 0, 0, 1, &value), ETH_E_TIMEOUT);
    EXPECT_EQ(eth_port_phy_set("eth0", 1, 0, 1, 0), ETH_E_PHY);
    EXPECT_EQ(
        log(),
        (Lines{"syslog 3: ethHw_port_phy_get_ioctl: SIOCGMIIREG on nosuch0 failed: No such device\n",
               "syslog 3: eth_port_phy_get: read PHY register failed!\n",
               "syslog 3: ethHw_port_phy_set_ioctl:SIOCSMIIREG on sixteen-letters- failed: No such device\n",
               "syslog 3: ethHw_port_phy_get_ioctl: SIOCGMIIREG on eth0 failed: Bad file descriptor\n",
               "syslog 3: ethHw_port_phy_set_ioctl:SIOCSMIIREG on eth0 failed: Bad file descriptor\n",
               "syslog 3: eth_port_phy_set: set PHY register failed!\n"}));
    EXPECT_EQ(value, 5U);
}

TEST_F(Phy, PowerIsWrittenOnlyWhereItChanges)
{
    start();
    struct {
        uint32_t device_id, port;
        int32_t enable;
        uint16_t control;
        int32_t result;
        const char *requests;
    } const cases[] = {
        {0x2404, 0, 0, 0x1940, 0, "3.0:1940"},          {0x2404, 1, -1, 0x1140, 0, "4.0:1140"},
        {0x2404, 0, 1, 0x1940, 0, "3.0:1940 3.0=1140"}, {0x2404, 1, 0, 0x3100, 0, "4.0:3100 4.0=3900"},
        {0x2404, 2, 1, 0x1140, ETH_E_PORT, ""},         {0x2404, 8, 1, 0x1140, ETH_E_PORT, ""},
        {0x11140, 5, 1, 0x1140, ETH_E_UNAVAIL, ""},     {0xD315, 0, 1, 0x1140, ETH_E_UNAVAIL, ""},
    };
    for (const auto &c : cases) {
        gESWID = c.device_id;
        for (sim::Phy &phy : state().phys)
            phy.registers[0] = c.control;
        EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_port_phy_enable("eth0", c.port, 0, c.enable), c.result); }),
                  c.requests);
    }
    options().mii_requests_fail = true;
    gESWID = 0x2404;
    EXPECT_EQ(traffic([&] { EXPECT_EQ(eth_port_phy_enable("eth0", 1, 0, 0), ETH_E_PHY); }), "4.0!");
}

// What the simulated network driver refuses, and with which errno.
TEST_F(Phy, DriverRefusesAsTheKernelDoes)
{
    start();
    esw::MiiRequest request{};
    esw::RequestBlock bad_data{.name = "lan", .data = reinterpret_cast<void *>(8), .unused = {}};
    ethtool_eee eee{};
    esw::RequestBlock record{.name = "eth0", .data = &eee, .unused = {}};
    const auto refused = [](unsigned long number, void *argument) {
        return ioctl(gSocket, number, argument) == -1 ? errno : 0;
    };
    const auto mii = [&](const char *name, uint16_t phy, uint16_t reg) {
        strncpy(request.name, name, sizeof request.name);
        request.mii.phy_id = phy;
        request.mii.reg_num = reg;
        return refused(esw::request_mii_read, &request);
    };
    EXPECT_EQ(mii("lan", 4, 31), 0);
    EXPECT_EQ(mii("eth0", 2, 0), ENODEV);
    EXPECT_EQ(mii("eth0", 5, 0), ENODEV);
    EXPECT_EQ(mii("eth0", 3, 32), EINVAL);
    EXPECT_EQ(mii("eth00", 3, 0), ENODEV);
    EXPECT_EQ(refused(esw::request_mii_read, reinterpret_cast<void *>(8)), EFAULT);
    EXPECT_EQ(refused(esw::request_eee_read, &bad_data), EFAULT);
    EXPECT_EQ(refused(esw::request_eee_read, &record), EOPNOTSUPP);
    eee.cmd = ETHTOOL_GEEE;
    EXPECT_EQ(refused(esw::request_eee_write, &record), EOPNOTSUPP);
    eee.reserved[0] = 3;
    EXPECT_EQ(refused(esw::request_eee_read, &record), EINVAL);
}

} // namespace
