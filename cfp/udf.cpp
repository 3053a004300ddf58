// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include "core/register.h"

namespace {

using namespace esw;

// Each group's registers stand in a row; the groups of a bank are 0x10, the banks 0x30 apart.
constexpr Register first_selector{0xA1, 0x10, 8};
constexpr Register first_udf_d_selector{0xA1, 0xA0, 8};
constexpr unsigned banks = 3;
constexpr unsigned groups = 3;
constexpr unsigned selectors = 9;

constexpr eth_cfp_udf_t default_layout = {
    .udf_a = {{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06}, {0x46, 0x47, 0x48, 0x49, 0x60, 0x61}},
    .udf_b = {{0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x4B, 0x60},
              {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06},
              {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61}},
    .udf_c = {{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06}},
    .udf_d = {0x4C, 0x4D, 0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53, 0x61},
};

enum class Direction : bool { to_switch, from_switch };

void exchange(Register selector, uint8_t &value, Direction direction)
{
    if (direction == Direction::to_switch)
        write(selector, value);
    else
        value = static_cast<uint8_t>(read32(selector));
}

// Selector by selector through the banks a, b and c, then d.
int32_t exchange(eth_cfp_udf_t &udf, Direction direction)
{
    auto *const values = reinterpret_cast<uint8_t *>(&udf);
    for (unsigned group = 0; group < groups; ++group) {
        for (unsigned i = 0; i < selectors; ++i) {
            for (unsigned bank = 0; bank < banks; ++bank)
                exchange(first_selector.at(0x30 * bank + 0x10 * group + i),
                         values[(bank * groups + group) * selectors + i], direction);
        }
    }
    for (unsigned i = 0; i < sizeof udf.udf_d; ++i)
        exchange(first_udf_d_selector.at(i), udf.udf_d[i], direction);
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
