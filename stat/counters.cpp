// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/stat.h>

#include <array>
#include <cstddef>
#include <span>

#include "core/device.h"
#include "core/lock.h"
#include "core/management.h"
#include "core/ports.h"

namespace {

using namespace esw;

constexpr Field counter_reset{0}; // of all ports

constexpr uint8_t mib_page = 0x20; // of port 0; the page of port N is N further on
constexpr bool has_64_bits(uint8_t offset) { return offset == 0x00 || offset == 0x50 || offset == 0x88; }

// What a counter adds up. A 0 ends the offsets, but for the first.
struct Counter {
    uint8_t number;
    std::array<uint8_t, 5> offsets;
    bool class_b_only = false;
};

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
    {.number = 103, .offsets = {0xC8}, .class_b_only = true},
    {.number = 104, .offsets = {0xCC}, .class_b_only = true},
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

enum class Available : uint8_t { never, on_class_b, always };

// One counter, as it is found by its number.
struct Sum {
    Available available = Available::never;
    bool wide = false;     // one register of 64 bits
    uint8_t registers = 0; // none: always zero
    std::array<uint8_t, 5> offsets{};
};

constexpr auto sums = [] {
    std::array<Sum, ETH_STAT_LAST + 1> all{};
    for (const Counter &counter : composite_counters) {
        uint8_t registers = 1;
        while (registers < counter.offsets.size() && counter.offsets[registers] != 0)
            ++registers;
        all[counter.number] = {
            .available = counter.class_b_only ? Available::on_class_b : Available::always,
            .wide = has_64_bits(counter.offsets[0]),
            .registers = registers,
            .offsets = counter.offsets,
        };
    }
    for (const uint8_t number : zero_counters)
        all[number].available = Available::always;
    for (const auto &run : raw_counters) {
        for (uint8_t offset = run.first_offset, number = run.number; offset <= run.last_offset; offset += 4) {
            all[number++] = {
                .available = Available::always,
                .wide = has_64_bits(offset),
                .registers = 1,
                .offsets = {offset},
            };
        }
    }
    return all;
}();

bool is_available(const Sum &sum)
{
    return sum.available == Available::always || (sum.available == Available::on_class_b && is_class_b());
}

uint64_t read_sum(Register page, const Sum &sum)
{
    if (sum.wide)
        return read64(page.at(sum.offsets[0]));
    uint32_t total = 0;
    for (const uint8_t offset : std::span(sum.offsets).first(sum.registers))
        total += read32(page.at(offset));
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
    const Sum &sum = sums[counter];
    if (!is_available(sum))
        return ETH_E_UNAVAIL;
    *value = read_sum({static_cast<uint8_t>(mib_page + port), 0x00, 32}, sum);
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
    assign_flag(management[counter_reset], true);
    assign_flag(management[counter_reset], false);
    return ETH_E_NONE;
}
