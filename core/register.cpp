// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/register.h"

#include <bit>
#include <cstdio>
#include <cstring>

#include <esw/core.h>

#include "core/transport.h"

namespace esw {
namespace {

static_assert(std::endian::native == std::endian::little, "operands and requests are in native order");

enum : uint8_t { width_of_read32 = 32, width_of_all_others = 64 };

// All ones when the request fails. Out of line: its callers differ in constants only.
[[gnu::noinline]] uint64_t read(Register reg, uint8_t request_width, const char *message)
{
    RegisterRequest request{.width = request_width, .page = reg.page(), .offset = reg.offset()};
    if (transfer(request, request_read) == 0)
        return request.value;
    perror(message);
    return ~uint64_t{0};
}

template <typename T>
constexpr T merge(T old, T mask, T value)
{
    return static_cast<T>((old & ~mask) | (value & mask));
}

} // namespace

uint32_t read32(Register reg)
{
    return static_cast<uint32_t>(read(reg, width_of_read32, "ESW: read32 error !\n"));
}

uint64_t read64(Register reg) { return read(reg, width_of_all_others, "ESW: read error !\n"); }

int32_t write(Register reg, uint64_t value)
{
    RegisterRequest request{
        .value = value, .width = width_of_all_others, .page = reg.page(), .offset = reg.offset()};
    if (transfer(request, request_write) == 0)
        return ETH_E_NONE;
    perror("ESW: write error !\n");
    return ETH_E_FAIL;
}

int32_t set_bits(Register reg, uint64_t mask) { return write64_masked(reg, mask, mask); }

int32_t clear_bits(Register reg, uint64_t mask) { return write64_masked(reg, mask, 0); }

int32_t assign_bits(Register reg, uint64_t mask, bool on) { return write64_masked(reg, mask, on ? mask : 0); }

int32_t write32_masked(Register reg, uint32_t mask, uint32_t value)
{
    return write(reg, merge(read32(reg), mask, value));
}

int32_t write_field(Register reg, Field field, uint32_t value)
{
    return write32_masked(reg, static_cast<uint32_t>(field.mask()), value << field.low);
}

int32_t write64_masked(Register reg, uint64_t mask, uint64_t value)
{
    return write(reg, merge(read64(reg), mask, value));
}

} // namespace esw

uint32_t esw_reg_read32(uint8_t page, uint8_t offset, uint8_t width)
{
    return esw::read32({page, offset, width});
}

uint64_t esw_reg_read(uint8_t page, uint8_t offset, uint8_t width)
{
    return esw::read64({page, offset, width});
}

int32_t esw_reg_write(uint8_t page, uint8_t offset, uint8_t width, uint64_t value)
{
    return esw::write({page, offset, width}, value);
}

int32_t esw_reg_mask_set(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask)
{
    return esw::set_bits({page, offset, width}, mask);
}

int32_t esw_reg_mask_clear(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask)
{
    return esw::clear_bits({page, offset, width}, mask);
}

int32_t esw_reg_write32_masked(uint8_t page, uint8_t offset, uint8_t width, uint32_t mask, uint32_t value)
{
    return esw::write32_masked({page, offset, width}, mask, value);
}

int32_t esw_reg_write64_masked(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask, uint64_t value)
{
    return esw::write64_masked({page, offset, width}, mask, value);
}

int32_t esw_reg_write_masked(uint8_t page, uint8_t offset, uint8_t width, const void *mask, const void *value)
{
    const bool narrow = width == 8 || width == 16 || width == 32;
    const size_t bytes = narrow ? width / 8U : sizeof(uint64_t);
    uint64_t mask_bits = 0;
    uint64_t value_bits = 0;
    memcpy(&mask_bits, mask, bytes); // little-endian: the operand is the low end
    memcpy(&value_bits, value, bytes);
    const esw::Register reg{page, offset, width};
    const uint64_t kept = narrow ? ~(~uint64_t{0} << width) : ~uint64_t{0};
    return esw::write(reg, esw::merge(esw::read64(reg), mask_bits, value_bits) & kept);
}
