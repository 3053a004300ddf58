// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/stat.h>

#include <array>
#include <cstddef>

#include "core/device.h"
#include "core/lock.h"
#include "core/ports.h"
#include "core/register.h"

namespace {

using namespace esw;

constexpr Register cpu_port_control{0x02, 0x00, 8};
constexpr uint64_t counter_reset = 0x01; // of all ports

constexpr uint8_t mib_page = 0x20; // of port 0; the page of port N is N further on
constexpr bool has_64_bits(uint8_t offset) { return offset == 0x00 || offset == 0x50 || offset == 0x88; }

// What a counter adds up. A 0 ends the offsets, but for the first.
struct Counter {
    uint8_t number;
    std::array<uint8_t, 5> offsets;
    bool class_b_only = false;
};

constexpr bool class_b_only = true;

// Numbers that appear in none of these tables are not available.
// clang-format off
constexpr Counter composite_counters[] = {
    {  0, {0x50}},
    {  1, {0x94}},
    {  2, {0x98, 0x9C}},
    {  3, {0x90}},
    {  4, {0x80, 0x84, 0xA4, 0x78, 0x7C}},
    {  6, {0x00}},
    {  7, {0x18}},
    {  8, {0x14, 0x10}},
    {  9, {0x08}},
    { 10, {0x30, 0x2C}},
    { 18, {0x94, 0x98, 0x9C}},
    { 19, {0x18, 0x14, 0x10}},
    { 20, {0x90}}, { 21, {0x90}}, { 22, {0x98}}, { 23, {0x9C}}, { 24, {0x58}},
    { 25, {0xA4}}, { 26, {0x60}}, { 27, {0x64}}, { 28, {0x68}}, { 29, {0x6C}},
    { 30, {0x70}}, { 31, {0x74}}, { 32, {0x78}}, { 33, {0x7C}}, { 34, {0x50}},
    { 35, {0x94, 0x98, 0x9C}},
    { 36, {0x1C}},
    { 37, {0x84, 0x80}},
    { 40, {0x80}}, { 41, {0x84}}, { 42, {0x20}}, { 43, {0x24}},
    { 45, {0x28}}, { 46, {0x2C}}, { 47, {0x30}},
    { 50, {0x78, 0x7C}},
    { 52, {0xAC}}, { 54, {0x5C}}, { 55, {0x38}},
    { 80, {0x88}}, { 81, {0xA0}}, { 82, {0xA8}}, { 83, {0xB0}}, { 84, {0xB4}}, { 85, {0xC0}},
    { 89, {0x0C}},
    { 90, {0x3C}}, { 91, {0x40}}, { 92, {0x44}}, { 93, {0x48}}, { 94, {0x4C}},
    { 95, {0x10}}, { 96, {0x14}}, { 97, {0x34}}, { 98, {0xC4}}, { 99, {0xC8}},
    {100, {0xCC}}, {101, {0xD0}}, {102, {0xD4}},
    {103, {0xC8}, class_b_only},
    {104, {0xCC}, class_b_only},
};
// clang-format on

constexpr uint8_t zero_counters[] = {44, 48, 49, 51, 53};

// From the first number on, the registers from the first to the last offset.
constexpr struct {
    uint8_t number;
    uint8_t first_offset, last_offset;
} raw_counters[] = {
    {105, 0x00, 0x00}, {106, 0x08, 0x4C}, {124, 0x50, 0x50}, {125, 0x58, 0x84},
    {137, 0x88, 0x88}, {138, 0x90, 0xB4}, {148, 0xC0, 0xD4},
};

// The tables in a byte a counter. Offsets are multiples of 4: the low bits tell what the byte is.
enum : uint8_t {
    single = 0,    // an offset
    sum = 1,       // 4 times the index of the first offset among the sums
    class_b = 2,   // an offset, on class B only
    no_number = 3, // no register
    kind_bits = 3,

    unavailable = no_number,
    always_zero = no_number | 4,

    more = 1, // among the sums: another offset follows
};

struct Packed {
    std::array<uint8_t, ETH_STAT_LAST + 1> counters{};
    std::array<uint8_t, 24> sums{};
};

constexpr Packed packed = [] {
    Packed to;
    size_t used = 0;
    to.counters.fill(unavailable);
    for (const Counter &counter : composite_counters) {
        const auto &offsets = counter.offsets;
        uint8_t &byte = to.counters[counter.number];
        if (offsets[1] == 0) {
            byte = static_cast<uint8_t>(offsets[0] | (counter.class_b_only ? class_b : single));
            continue;
        }
        byte = static_cast<uint8_t>(used << 2 | sum);
        for (size_t i = 0; i < offsets.size() && offsets[i] != 0; ++i)
            to.sums[used++] = offsets[i] | more;
        to.sums[used - 1] = static_cast<uint8_t>(to.sums[used - 1] & ~more);
    }
    for (const uint8_t number : zero_counters)
        to.counters[number] = always_zero;
    for (const auto &run : raw_counters) {
        for (unsigned offset = run.first_offset; offset <= run.last_offset; offset += 4)
            to.counters[run.number + (offset - run.first_offset) / 4] = static_cast<uint8_t>(offset);
    }
    return to;
}();

// The registers of a single offset or of a sum.
uint64_t read_registers(Register page, const uint8_t *at)
{
    const auto offset = static_cast<uint8_t>(*at & ~kind_bits);
    if (has_64_bits(offset))
        return read64(page.at(offset));
    uint32_t total = 0;
    do
        total += read32(page.at(*at & ~kind_bits));
    while (*at++ & more);
    return total;
}

} // namespace

int32_t ethHw_stat_get(uint32_t port, uint32_t counter, uint64_t *value)
{
    *value = ~uint64_t{0};
    if (!is_port(port) && port != ETH_STAT_SNAPSHOT)
        return ETH_E_PORT;
    if (counter > ETH_STAT_LAST) {
        *value = 0;
        return ETH_E_UNAVAIL;
    }
    const uint8_t *at = &packed.counters[counter];
    switch (*at & kind_bits) {
    case no_number:
        if (*at == unavailable)
            return ETH_E_UNAVAIL;
        *value = 0;
        return ETH_E_NONE;
    case class_b:
        if (!is_class_b())
            return ETH_E_UNAVAIL;
        break;
    case sum:
        at = &packed.sums[*at >> 2];
        break;
    default:
        break;
    }
    *value = read_registers({static_cast<uint8_t>(mib_page + port), 0x00, 32}, at);
    return ETH_E_NONE;
}

int32_t eth_stat_get32(uint32_t port, uint32_t counter, uint32_t *value)
{
    uint64_t whole = 0;
    const int32_t result = ethHw_stat_get(port, counter, &whole);
    *value = static_cast<uint32_t>(whole);
    return result;
}

int32_t eth_stat_clear(uint32_t port)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    set_bits(cpu_port_control, counter_reset);
    clear_bits(cpu_port_control, counter_reset);
    return ETH_E_NONE;
}
