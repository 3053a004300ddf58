// SPDX-License-Identifier: LGPL-2.1-or-later
// esw_init, esw_exit and the states between them.
#include "tests/support/board.h"

#include <filesystem>
#include <map>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <esw.h>

#include "chip/devices.h"
#include "core/interface_name.h"

namespace {

using namespace test;
using testing::HasSubstr;

class Lifecycle : public Board {
protected:
    // gSocket and gFd as the states name them: -1, 0, or 1 for any open descriptor.
    static std::pair<int, int> descriptors() { return {std::min(gSocket, 1), std::min(gFd, 1)}; }
};

// What a program finds that has just loaded the library, in whatever order the tests run.
const std::tuple<uint32_t, int, int> at_load{gESWID, gFd, gSocket};

TEST_F(Lifecycle, AtLoadNothingIsOpenAndEveryRequestFails)
{
    EXPECT_EQ(at_load, std::tuple(all_ones, -1, -1));
    EXPECT_EQ(descriptors(), std::pair(-1, -1));
    const Texts texts = printed([] {
        EXPECT_EQ(esw_reg_read32(0, 0, 8), 0xFFFFFFFF);
        EXPECT_EQ(esw_reg_read(0, 0, 8), ~uint64_t{0});
        EXPECT_EQ(esw_reg_write(0, 0, 8, 1), -1);
    });
    EXPECT_EQ(texts.error, "ESW: read32 error !\n: Bad file descriptor\n"
                           "ESW: read error !\n: Bad file descriptor\n"
                           "ESW: write error !\n: Bad file descriptor\n");
    EXPECT_THAT(log(), IsEmpty());
}

// A second call finds the library initialised, unless the first has closed everything; an exit makes it ready for
// another start.
TEST_F(Lifecycle, StartsOnceAndEndsWhole)
{
    const auto logged = [](const char *what) {
        return fmt::format("syslog 6: \nPID {} ThreadID {} pthread_mutex_{}()\n", getpid(),
                           static_cast<int>(pthread_self()), what);
    };
    const std::string made = logged("init"), failed = "syslog 3: \n mutex init failed\n";
    const struct {
        uint32_t device;
        bool sim::Options::*option; // that is not as usual
        std::string outcome;        // result, socket, device, and what is printed
        Lines log;
    } starts[] = {
        {class_b, nullptr, "0 1 1 ", {"read 02:30 w64 -> 0x2404", made}},
        {class_b, &sim::Options::device_route, "0 1 0 ", {"interface read 02:30 w64 -> 0x2404", made}},
        {class_b, &sim::Options::no_socket, "-1 0 1 ESW: open socket error!\n: Too many open files\n", {}},
        {class_a, &sim::Options::no_lock, "-1 1 1 ", {"read 02:30 w64 -> 0x11140", failed}},
        {class_b,
         &sim::Options::all_requests_fail,
         "-1 -1 -1 Switch(0xffffffff) NOT supported!\nESW: read error !\n: Input/output error\n",
         {"read 02:30 w64 failed"}},
    };
    const size_t before = open_descriptors();
    const auto start_again = [&] {
        int32_t result = 5;
        log();
        const Texts texts = printed([&] { result = esw_init("eth0"); });
        const auto [socket, device] = descriptors();
        return fmt::format("{} {} {} {}{}", result, socket, device, texts.out, texts.error);
    };
    for (const auto &c : starts) {
        SCOPED_TRACE(c.outcome);
        power_on(c.device);
        if (c.option)
            options().*c.option = !(options().*c.option);
        EXPECT_EQ(start_again(), c.outcome);
        EXPECT_EQ(log(), c.log);
        const size_t opened = open_descriptors();
        if (opened != before) {
            EXPECT_EQ(start_again(),
                      "0" + c.outcome.substr(c.outcome.find(' '), 5) + "ESW: Already initialized!\n");
            EXPECT_EQ(std::pair(open_descriptors(), log()), std::pair(opened, Lines()));
        }
        EXPECT_EQ(esw_exit(), -1);
        EXPECT_EQ(log(), Lines{logged("destroy")});
        EXPECT_EQ(std::pair(descriptors(), open_descriptors()), std::pair(std::pair(-1, -1), before));
        options() = {};
        options().unprivileged = true;
    }
    EXPECT_EQ(gESWID, all_ones);
}

TEST_F(Lifecycle, ClassASelectsItsLayerAndClassBDoesNot)
{
    power_on(class_a);
    reg(0x30, 0x00) = 0x0F;
    EXPECT_EQ(esw_init("eth0"), 0);
    EXPECT_EQ(reg(0x30, 0x00), 0x83u);
}

TEST_F(Lifecycle, TheRouteIsDecidedAnewForEachRequest)
{
    options().device_route = false;
    start();
    options().device_route = true;
    gFd = open("/dev/esw-ctl", O_RDWR);
    EXPECT_EQ(outcome(CALL(esw_reg_read32(0x02, 0x30, 32))), "9220: 02:30 r32=2404");
}

// Descriptor 0 counts as none and stays open; any other number is as good as the rest.
TEST_F(Lifecycle, LowDescriptors)
{
    const struct {
        std::vector<int> closed;
        bool device_route;
        int socket, device; // 3: any that is higher
        bool left_open;
    } cases[] = {{{0}, true, 3, 0, true},
                 {{0, 1}, true, 1, 0, true},
                 {{0}, false, 0, 0, true},
                 {{1}, true, 3, 1, false},
                 {{1, 2}, true, 2, 1, false}};
    for (const auto &c : cases) {
        options().device_route = c.device_route;
        int kept[3];
        for (const int number : {0, 1, 2}) {
            kept[number] = fcntl(number, F_DUPFD, 100);
            if (std::ranges::count(c.closed, number))
                close(number);
        }
        log();
        const int result = esw_init("eth0");
        const std::tuple got(result, std::min(gSocket, 3), gFd, log()[0].starts_with("interface"));
        const int again = esw_init("eth0");
        const bool silent = log().size() == 0;
        esw_exit();
        const bool left_open = fcntl(c.closed[0], F_GETFD) == 0;
        for (const int number : {0, 1, 2}) {
            dup2(kept[number], number);
            close(kept[number]);
        }
        EXPECT_EQ(got, std::tuple(0, c.socket, c.device, c.device == 0));
        EXPECT_EQ(std::pair(again, silent), std::pair(0, true)) << "initialised already";
        EXPECT_EQ(left_open, c.left_open);
    }
}

TEST_F(Lifecycle, TheHardwareExitDestroysTheLockAndClosesNothing)
{
    start();
    EXPECT_EQ(ethHw_exit(), 0);
    EXPECT_THAT(log(), ElementsAre(HasSubstr("pthread_mutex_destroy()\n")));
    EXPECT_EQ(descriptors(), std::pair(1, 1));
}

TEST_F(Lifecycle, AcceptsTheListedDeviceIdsAndNoneBeside)
{
    // Those of the list, their neighbours, and what a comparison of fewer bits would take.
    std::map<uint32_t, bool> ids = {{0, false}, {0x1140, false}, {0x12360, false}, {0x2360, true}};
    for (const chip::Device &device : chip::devices) {
        for (const uint32_t id : {device.id - 1, device.id, device.id + 1, device.id | 0x10000})
            ids[id] |= chip::device(id).device_class != chip::DeviceClass::unknown;
    }
    const size_t before = open_descriptors();
    for (const auto &[id, accepted] : ids) {
        SCOPED_TRACE(fmt::format("{:#x}", id));
        power_on(id);
        int32_t result = 5;
        const Texts texts = printed([&] { result = esw_init("eth0"); });
        EXPECT_EQ(result, accepted ? 0 : -1);
        EXPECT_EQ(gESWID, id);
        EXPECT_EQ(texts.out, accepted ? "" : fmt::format("Switch(0x{:x}) NOT supported!\n", id));
        EXPECT_EQ(descriptors(), accepted ? std::pair(1, 1) : std::pair(-1, -1));
        EXPECT_EQ(open_descriptors(), before + (accepted ? 2 : 0));
        if (!accepted)
            continue; // leaves the library ready for another try
        EXPECT_EQ(outcome(CALL(eth_port_phy_get("eth0", 1, 0, 4, o))),
                  fmt::format("0 481: {}.4:1e1", chip::device(id).first_phy + 1));
        esw_exit();
    }
}

// Each class is told by a call that only it has.
TEST_F(Lifecycle, KnowsTheDevicesThatThereAre)
{
    start();
    for (gESWID = 0; gESWID < 0x20000; ++gESWID) {
        uint32_t mode = 0;
        const bool a = eth_cosq_ip_mac_layer_get(&mode) != ETH_E_UNAVAIL;
        const bool b = eth_port_phy_enable("eth0", 2, 0, 0) != ETH_E_UNAVAIL;
        const auto found = a ? chip::DeviceClass::a : b ? chip::DeviceClass::b : chip::DeviceClass::unknown;
        ASSERT_EQ(found, chip::device(gESWID).device_class) << gESWID;
    }
}

// The interface route is served for "lan" and "eth0" alone: a request that succeeds names one of them.
TEST_F(Lifecycle, PrefersAnInterfaceNamedLan)
{
    struct {
        const char *given;
        std::vector<std::string> interfaces;
        bool served;
    } const cases[] = {
        {"eth0", {}, true},
        {"nosuch0", {}, false},
        {"nosuch0", {"lo", "lan", "lan"}, true},
        {"nosuch0", {"lo", "lan0", "wlan", "la"}, false},
        {"eth0", {"lan0"}, true},
        {"eth0567890123456", {}, false},
    };
    options().device_route = false;
    for (const auto &c : cases) {
        interfaces(c.interfaces);
        int32_t result = 5;
        printed([&] { result = esw_init(c.given); });
        EXPECT_EQ(result, c.served ? 0 : -1) << c.given << ' ' << testing::PrintToString(c.interfaces);
        esw_exit();
    }
}

TEST_F(Lifecycle, WithoutAnInterfaceListTheCallersNameStays)
{
    options().device_route = false;
    no_interface_list();
    EXPECT_EQ(esw_init("eth0"), 0);
}

TEST(InterfaceName, IsCopiedAsStrncpyDoes)
{
    const std::pair<const char *, std::string> cases[] = {
        {"", std::string(16, '\0')},
        {"lan", std::string("lan") + std::string(13, '\0')},
        {"0123456789abcde", std::string("0123456789abcde") + '\0'},
        {"0123456789abcdef", "0123456789abcdef"},
        {"0123456789abcdefgh", "0123456789abcdef"},
    };
    for (const auto &[name, bytes] : cases) {
        char field[16];
        memset(field, 'x', sizeof field);
        esw::copy_interface_name(field, name);
        EXPECT_EQ(std::string(field, sizeof field), bytes) << name;
    }
}

TEST_F(Lifecycle, SendIoctlTakesTheDataPointerFromTheBlock)
{
    start();
    struct {
        uint64_t value;
        uint8_t width, page, offset, padding[5];
    } request{0, 64, 0x02, 0x30, {}};
    const void *data = &request;
    char block[1 + 40] = {}; // at an odd address
    memcpy(block + 1, "eth0", 5);
    memcpy(block + 1 + 16, &data, sizeof data);

    EXPECT_EQ(esw_send_ioctl(block + 1, 0x89F1, 0), 0);
    EXPECT_EQ(request.value, class_b);
    request.value = 0;
    EXPECT_EQ(esw_send_ioctl(block + 1, 0x89F1, 2), 0) << "any non-zero flag means the socket";
    EXPECT_EQ(request.value, class_b);
    EXPECT_THAT(log(), ElementsAre("read 02:30 w64 -> 0x2404", "interface read 02:30 w64 -> 0x2404"));
    EXPECT_EQ(esw_send_ioctl(block + 1, 0x1234, 0), -1);
    EXPECT_EQ(errno, ENOTTY);
}

} // namespace
