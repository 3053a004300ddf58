// SPDX-License-Identifier: LGPL-2.1-or-later
// Switch registers, their fields, and the access helpers that every subsystem uses.
#pragma once

#include <cstdint>

namespace esw {

// Bits low .. low + bits - 1 of a word. A flag is a field of one bit.
struct Field {
    uint8_t low;
    uint8_t bits = 1;

    [[nodiscard]] constexpr uint64_t mask() const { return ((uint64_t{1} << bits) - 1) << low; }
    [[nodiscard]] constexpr uint64_t put(uint64_t value) const { return (value << low) & mask(); }
    [[nodiscard]] constexpr uint32_t get(uint64_t word) const
    {
        return static_cast<uint32_t>(word >> low & ((uint64_t{1} << bits) - 1));
    }
    // The same field `distance` bits further up: one field per port, priority or queue.
    [[nodiscard]] constexpr Field up(unsigned distance) const
    {
        return {static_cast<uint8_t>(low + distance), bits};
    }
};

// What the helpers below take is one word, and so one immediate operand where it is constant.
enum class Address : uint32_t {}; // of a register: page << 8 | offset << 16, as the bytes of a request
enum class Place : uint32_t {};   // of a field: besides, bits | low << 24

// A register of the switch.
class Register {
public:
    // The width, in bits, is for the reader: requests carry one of their own.
    constexpr Register(uint8_t page, uint8_t offset, uint8_t /*width*/)
        : word_(uint32_t{page} << 8 | uint32_t{offset} << 16)
    {}

    // The register `distance` offsets further on: banks hold one register per port, slot or bin.
    [[nodiscard]] constexpr Register at(unsigned distance) const
    {
        Register further = *this;
        further.word_ += distance << 16;
        return further;
    }

    constexpr operator Address() const { return Address{word_}; }
    constexpr Place operator[](Field field) const
    {
        return Place{word_ | field.bits | uint32_t{field.low} << 24};
    }

private:
    uint32_t word_;
};

constexpr Address register_of(Place place) { return Address{static_cast<uint32_t>(place) & 0xFFFF00}; }
constexpr Field field_of(Place place)
{
    const auto word = static_cast<uint32_t>(place);
    return {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word)};
}
// So many registers further on, and so many bits further up.
constexpr Place moved(Place place, unsigned offsets, unsigned bits)
{
    return Place{static_cast<uint32_t>(place) + (offsets << 16) + (bits << 24)};
}

// A failed read yields all ones. The other helpers return the write's result: 0, or -1 when it failed.
uint32_t read32(Address reg);
uint64_t read64(Address reg);
int32_t write(Address reg, uint64_t value);

// Change what a 32-bit read finds.
int32_t write32_masked(Address reg, uint32_t mask, uint32_t value);
uint32_t read_field(Place place);
int32_t write_field(Place place, uint32_t value);
int32_t write_field(Place place, uint32_t value, bool wide); // with a 64-bit read, if wide

// Change what a 64-bit read finds.
int32_t write64_masked(Address reg, uint64_t mask, uint64_t value);
int32_t set_bits(Address reg, uint64_t mask);
int32_t clear_bits(Address reg, uint64_t mask);
int32_t assign_bits(Address reg, uint64_t mask, bool on);
int32_t assign_flag(Place place, bool on); // all bits of a field of at most 32 bits

} // namespace esw
