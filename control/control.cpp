// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/control.h>

#include <array>
#include <cstddef>

#include "core/management.h"

namespace {

using namespace esw;

enum class Kind : uint8_t {
    none,  // not available
    bit,   // 0 or 1
    value, // a whole register
    code,  // two bits that stand for 2, 4 or 8
};

struct Control {
    Place place;
    Kind kind;
};

constexpr Register group_00{0x00, 0x08, 8};
constexpr Register group_04{0x36, 0x00, 32};
constexpr Register group_18{0x36, 0x04, 8};
constexpr Register group_19{0x36, 0x08, 32};
constexpr Register group_20{0x36, 0x0C, 32};
constexpr Register group_21{0x02, 0x50, 32};
constexpr Register group_27{0x00, 0x0B, 8};

constexpr std::array<Control, 30> controls = {{
    {group_00[{2}], Kind::bit},       // 0
    {group_00[{3}], Kind::bit},       // 1
    {group_00[{4}], Kind::bit},       // 2
    {management[{1}], Kind::bit},     // 3
    {group_04[{13}], Kind::bit},      // 4
    {group_04[{12}], Kind::bit},      // 5
    {group_04[{11}], Kind::bit},      // 6
    {group_04[{10}], Kind::bit},      // 7
    {group_04[{9}], Kind::bit},       // 8
    {group_04[{8}], Kind::bit},       // 9
    {group_04[{7}], Kind::bit},       // 10
    {group_04[{6}], Kind::bit},       // 11
    {group_04[{5}], Kind::bit},       // 12
    {group_04[{4}], Kind::bit},       // 13
    {group_04[{3}], Kind::bit},       // 14
    {group_04[{2}], Kind::bit},       // 15
    {group_04[{1}], Kind::bit},       // 16
    {{}, Kind::none},                 // 17
    {group_18[{0, 32}], Kind::value}, // 18
    {group_19[{0, 32}], Kind::value}, // 19
    {group_20[{0, 32}], Kind::value}, // 20
    {group_21[{9, 2}], Kind::code},   // 21
    {group_21[{11, 2}], Kind::code},  // 22
    {group_21[{13, 2}], Kind::code},  // 23
    {group_21[{15, 2}], Kind::code},  // 24
    {group_21[{17, 2}], Kind::code},  // 25
    {{}, Kind::none},                 // 26
    {group_27[{1}], Kind::bit},       // 27
    {group_27[{0}], Kind::bit},       // 28
    {group_21[{8}], Kind::bit},       // 29
}};

constexpr Control control(uint32_t type) { return type < controls.size() ? controls[type] : Control{}; }

// By the two bits; the pattern 10 has no code of its own.
constexpr std::array<uint8_t, 4> codes = {4, 2, 4, 8};

int32_t write_code(Place place, int32_t code)
{
    const Address reg = register_of(place);
    const Field lower{field_of(place).low};
    switch (code) {
    case 2:
        clear_bits(reg, lower.up(1).mask());
        set_bits(reg, lower.mask());
        return ETH_E_NONE;
    case 4:
    case 8:
        assign_flag(place, code == 8);
        return ETH_E_NONE;
    default:
        return ETH_E_UNAVAIL;
    }
}

} // namespace

int32_t eth_switch_control_get(uint32_t type, uint32_t *value)
{
    *value = ~uint32_t{0};
    const auto [place, kind] = control(type);
    if (kind == Kind::none)
        return ETH_E_UNAVAIL;
    const uint32_t held = read_field(place);
    *value = kind == Kind::code ? codes[held] : held;
    return ETH_E_NONE;
}

int32_t eth_switch_control_set(uint32_t type, int32_t value)
{
    const auto [place, kind] = control(type);
    switch (kind) {
    case Kind::bit:
        assign_flag(place, value != 0);
        return ETH_E_NONE;
    case Kind::value:
        write(register_of(place), static_cast<uint64_t>(int64_t{value}));
        return ETH_E_NONE;
    case Kind::code:
        return write_code(place, value);
    default:
        return ETH_E_UNAVAIL;
    }
}
