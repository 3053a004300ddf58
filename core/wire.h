// SPDX-License-Identifier: LGPL-2.1-or-later
// Wire formats and request numbers of the kernel drivers.
#pragma once

#include <cstddef>
#include <cstdint>

#include <linux/ethtool.h>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>

namespace esw {

inline constexpr char control_device[] = "/dev/esw-ctl";

// What ioctl() takes for a request's number: an unsigned long in glibc, an int in musl.
template <typename Number>
Number number_type(int (*)(int, Number, ...));
using RequestNumber = decltype(number_type(ioctl));

// The same on both routes.
inline constexpr RequestNumber request_read = SIOCDEVPRIVATE + 1;
inline constexpr RequestNumber request_write = SIOCDEVPRIVATE + 2;

// One register access. The padding is spelled out so that no stack contents reach the driver.
struct RegisterRequest {
    uint64_t value = 0;
    uint8_t width = 0; // bits
    uint8_t page = 0;
    uint8_t offset = 0;
    uint8_t padding[5] = {};
};
static_assert(sizeof(RegisterRequest) == 16);
static_assert(offsetof(RegisterRequest, value) == 0);
static_assert(offsetof(RegisterRequest, width) == 8);
static_assert(offsetof(RegisterRequest, page) == 9);
static_assert(offsetof(RegisterRequest, offset) == 10);

inline constexpr size_t interface_name_size = 16;

// struct ifreq as the interface route uses it.
struct RequestBlock {
    char name[interface_name_size]; // not terminated when the name fills it
    void *data;
    uint8_t unused[16];
};
static_assert(sizeof(RequestBlock) == 40);
static_assert(offsetof(RequestBlock, name) == 0);
static_assert(offsetof(RequestBlock, data) == 16);

// Access to one PHY register through the interface that the request names.
inline constexpr RequestNumber request_mii_read = SIOCGMIIREG;
inline constexpr RequestNumber request_mii_write = SIOCSMIIREG;

struct MiiRequest {
    char name[interface_name_size];
    mii_ioctl_data mii;
    uint8_t unused[16];
};
static_assert(sizeof(MiiRequest) == 40);
static_assert(offsetof(MiiRequest, name) == 0);
static_assert(offsetof(MiiRequest, mii.phy_id) == 16);
static_assert(offsetof(MiiRequest, mii.reg_num) == 18);
static_assert(offsetof(MiiRequest, mii.val_in) == 20);
static_assert(offsetof(MiiRequest, mii.val_out) == 22);

// Energy Efficient Ethernet of one port: a request block whose data is a struct ethtool_eee with the port's
// bit in the first reserved word.
inline constexpr RequestNumber request_eee_read = SIOCDEVPRIVATE + 5;
inline constexpr RequestNumber request_eee_write = SIOCDEVPRIVATE + 6;

static_assert(sizeof(ethtool_eee) == 40);
static_assert(offsetof(ethtool_eee, cmd) == 0);
static_assert(offsetof(ethtool_eee, supported) == 4);
static_assert(offsetof(ethtool_eee, eee_enabled) == 20);
static_assert(offsetof(ethtool_eee, reserved) == 32);

} // namespace esw
