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

enum : uint32_t { width_of_read32 = 32, width_of_all_others = 64 }; // in requests

uint64_t read(Address reg, uint32_t width)
{
    Request request{.value = 0, .target = static_cast<uint32_t>(reg) | width};
    if (send(request_read, request) == 0)
        return request.value;
    perror(width == width_of_read32 ? "ESW: read32 error !\n" : "ESW: read error !\n");
    return ~uint64_t{0};
}

template <typename T>
constexpr T merge(T old, T mask, T value)
{
    return (old & ~mask) | (value & mask);
}

int32_t write_masked(Address reg, uint64_t mask, uint64_t value, bool wide)
{
    return write(reg, merge(wide ? read64(reg) : read32(reg), mask, value));
}

} // namespace

uint32_t read32(Address reg) { return static_cast<uint32_t>(read(reg, width_of_read32)); }

uint64_t read64(Address reg) { return read(reg, width_of_all_others); }

int32_t write(Address reg, uint64_t value)
{
    Request request{.value = value, .target = static_cast<uint32_t>(reg) | width_of_all_others};
    if (send(request_write, request) == 0)
        return ETH_E_NONE;
    perror("ESW: write error !\n");
    return ETH_E_FAIL;
}

uint32_t read_field(Place place) { return field_of(place).get(read32(register_of(place))); }

int32_t write_field(Place place, uint32_t value, bool wide)
{
    const Field field = field_of(place);
    return write_masked(register_of(place), field.mask(), uint64_t{value} << field.low, wide);
}

int32_t write_field(Place place, uint32_t value) { return write_field(place, value, false); }

int32_t write32_masked(Address reg, uint32_t mask, uint32_t value)
{
    return write_masked(reg, mask, value, false);
}

int32_t write64_masked(Address reg, uint64_t mask, uint64_t value)
{
    return write_masked(reg, mask, value, true);
}

int32_t set_bits(Address reg, uint64_t mask) { return write64_masked(reg, mask, mask); }

int32_t clear_bits(Address reg, uint64_t mask) { return write64_masked(reg, mask, 0); }

int32_t assign_bits(Address reg, uint64_t mask, bool on) { return write64_masked(reg, mask, on ? mask : 0); }

int32_t assign_flag(Place place, bool on) { return write_field(place, on ? ~uint32_t{0} : 0, true); }

} // namespace esw

using esw::Register;

uint32_t esw_reg_read32(uint8_t page, uint8_t offset, uint8_t width)
{
    return esw::read32(Register(page, offset, width));
}

uint64_t esw_reg_read(uint8_t page, uint8_t offset, uint8_t width)
{
    return esw::read64(Register(page, offset, width));
}

int32_t esw_reg_write(uint8_t page, uint8_t offset, uint8_t width, uint64_t value)
{
    return esw::write(Register(page, offset, width), value);
}

int32_t esw_reg_mask_set(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask)
{
    return esw::set_bits(Register(page, offset, width), mask);
}

int32_t esw_reg_mask_clear(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask)
{
    return esw::clear_bits(Register(page, offset, width), mask);
}

int32_t esw_reg_write32_masked(uint8_t page, uint8_t offset, uint8_t width, uint32_t mask, uint32_t value)
{
    return esw::write32_masked(Register(page, offset, width), mask, value);
}

int32_t esw_reg_write64_masked(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask, uint64_t value)
{
    return esw::write64_masked(Register(page, offset, width), mask, value);
}

int32_t esw_reg_write_masked(uint8_t page, uint8_t offset, uint8_t width, const void *mask, const void *value)
{
    const bool narrow = width == 8 || width == 16 || width == 32;
    const size_t bytes = narrow ? width / 8U : sizeof(uint64_t);
    uint64_t mask_bits = 0;
    uint64_t value_bits = 0;
    memcpy(&mask_bits, mask, bytes); // little-endian: the operand is the low end
    memcpy(&value_bits, value, bytes);
    const uint64_t kept = narrow ? ~(~uint64_t{0} << width) : ~uint64_t{0};
    const Register reg(page, offset, width);
    return esw::write(reg, esw::merge(esw::read64(reg), mask_bits, value_bits) & kept);
}
