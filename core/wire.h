// Wire formats and request numbers of the kernel drivers.
#pragma once

#include <cstddef>
#include <cstdint>

#include <linux/sockios.h>

namespace esw {

inline constexpr char control_device[] = "/dev/esw-ctl";

// The same on both routes.
inline constexpr unsigned long request_read = SIOCDEVPRIVATE + 1;
inline constexpr unsigned long request_write = SIOCDEVPRIVATE + 2;

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

} // namespace esw
