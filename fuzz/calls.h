// SPDX-License-Identifier: LGPL-2.1-or-later
// Every call of the library, with arguments that reach its registers.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace calls {

// What a call is given: numbers one behind the other; the interface "eth0" for text; for each pointer, and
// for each record by value, memory of its own.
class Arguments {
public:
    // Fills the memory with 32-bit words.
    Arguments(std::span<const uint64_t> numbers, uint32_t word) : numbers_(numbers)
    {
        for (auto &record : records_)
            record.fill(word);
    }

    template <typename T>
    T next()
    {
        if constexpr (std::is_same_v<T, const char *>)
            return "eth0";
        else if constexpr (std::is_pointer_v<T>)
            return reinterpret_cast<T>(records_[records_used_++].data());
        else if constexpr (std::is_class_v<T>)
            return *next<T *>();
        else
            return static_cast<T>(numbers_used_ < numbers_.size() ? numbers_[numbers_used_++] : 0);
    }

    // What a call found or left in its first record.
    [[nodiscard]] uint32_t word(size_t index = 0) const { return records_[0][index]; }

private:
    std::span<const uint64_t> numbers_;
    size_t numbers_used_ = 0;
    size_t records_used_ = 0;
    std::array<std::array<uint32_t, 64>, 4> records_;
};

struct Call {
    const char *name;
    int64_t (*run)(Arguments &arguments); // 0 for a call without result
    uint32_t word;
    std::array<uint64_t, 5> numbers;
};

extern const std::span<const Call> all;

} // namespace calls
