// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include <array>
#include <cstddef>

#include "core/register.h"

namespace {

using namespace esw;

// Of selector 0 of the banks a, b and c, and of d.
constexpr Register first_selector{0xA1, 0x10, 8};
constexpr unsigned banks = 3, bank_distance = 0x30;
constexpr unsigned groups = 3, group_distance = 0x10;
constexpr unsigned selectors = 9; // of a group
constexpr unsigned udf_d_distance = 0x90;

constexpr eth_cfp_udf_t default_layout = {
    .udf_a = {{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06}, {0x46, 0x47, 0x48, 0x49, 0x60, 0x61}},
    .udf_b = {{0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x60},
              {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06},
              {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61}},
    .udf_c = {{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06}},
    .udf_d = {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61},
};

// A byte of the record, and how far its register is from the first one.
struct Selector {
    uint8_t byte;
    uint8_t distance;
};

// In the order of exchange: selector by selector through the banks a, b and c, then d.
constexpr auto order = [] {
    std::array<Selector, sizeof(eth_cfp_udf_t)> all{};
    Selector *next = all.data();
    for (unsigned group = 0; group < groups; ++group) {
        for (unsigned i = 0; i < selectors; ++i) {
            for (unsigned bank = 0; bank < banks; ++bank)
                *next++ = {
                    .byte = static_cast<uint8_t>((bank * groups + group) * selectors + i),
                    .distance = static_cast<uint8_t>(bank * bank_distance + group * group_distance + i),
                };
        }
    }
    for (unsigned i = 0; i < sizeof(eth_cfp_udf_t::udf_d); ++i)
        *next++ = {
            .byte = static_cast<uint8_t>(offsetof(eth_cfp_udf_t, udf_d) + i),
            .distance = static_cast<uint8_t>(udf_d_distance + i),
        };
    return all;
}();

enum class Direction : bool { to_switch, from_switch };

int32_t exchange(eth_cfp_udf_t &udf, Direction direction)
{
    for (const Selector &selector : order) {
        const Register reg = first_selector.at(selector.distance);
        uint8_t &value = reinterpret_cast<uint8_t *>(&udf)[selector.byte];
        if (direction == Direction::to_switch)
            write(reg, value);
        else
            value = static_cast<uint8_t>(read32(reg));
    }
    return ETH_E_NONE;
}

} // namespace

int32_t eth_cfp_udf_t_init(eth_cfp_udf_t *udf)
{
    *udf = {};
    return ETH_E_NONE;
}

int32_t eth_cfp_udf_set(eth_cfp_udf_t udf) { return exchange(udf, Direction::to_switch); }

int32_t eth_cfp_udf_get(eth_cfp_udf_t *udf) { return exchange(*udf, Direction::from_switch); }

int32_t eth_cfp_udf_init(void) { return eth_cfp_udf_set(default_layout); }

int32_t eth_cfp_udf_clear(void) { return eth_cfp_udf_set({}); }
