// SPDX-License-Identifier: LGPL-2.1-or-later
// Switch registers, their fields, and the access helpers that every subsystem uses.
#pragma once

#include <cstdint>

namespace esw {

// A register of the switch, in one word: it travels in one machine register, and moving on in a bank is one
// addition.
class Register {
public:
    constexpr Register() = default;
    constexpr Register(uint8_t page, uint8_t offset, uint8_t width)
        : word_(uint32_t{page} << 16 | uint32_t{offset} << 8 | width)
    {}

    [[nodiscard]] constexpr uint8_t page() const { return static_cast<uint8_t>(word_ >> 16); }
    [[nodiscard]] constexpr uint8_t offset() const { return static_cast<uint8_t>(word_ >> 8); }
    [[nodiscard]] constexpr uint8_t width() const { return static_cast<uint8_t>(word_); } // bits

    // The register `distance` offsets further on: banks hold one register per port, slot or bin.
    [[nodiscard]] constexpr Register at(unsigned distance) const
    {
        Register further = *this;
        further.word_ += distance << 8;
        return further;
    }

private:
    uint32_t word_ = 0;
};

// Bits low .. low + bits - 1 of a register.
struct Field {
    uint8_t low;
    uint8_t bits;

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

// A failed read yields all ones. The other helpers return the write's result: 0, or -1 when it failed.
uint32_t read32(Register reg);
uint64_t read64(Register reg);
int32_t write(Register reg, uint64_t value);
int32_t set_bits(Register reg, uint64_t mask);
int32_t clear_bits(Register reg, uint64_t mask);
int32_t assign_bits(Register reg, uint64_t mask, bool on); // set_bits or clear_bits
int32_t write32_masked(Register reg, uint32_t mask, uint32_t value);
int32_t write64_masked(Register reg, uint64_t mask, uint64_t value);
int32_t write_field(Register reg, Field field, uint32_t value); // write32_masked

} // namespace esw
