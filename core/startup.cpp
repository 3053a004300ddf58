// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/startup.h"

#include <esw/core.h>

#include "core/device.h"
#include "core/register.h"

namespace esw {
namespace {

constexpr Register layer_selector{0x30, 0x00, 8}; // class A only
constexpr Field layer_selector_on{7};
constexpr Field layer{2, 2};

void build(RefreshCounts &counts)
{
    int32_t *next = counts.data();
    for (int32_t count = 0; count < 1856; count += 64)
        *next++ = count;
    for (int32_t count = 2048; count <= 102400; count += 1024)
        *next++ = count;
    for (int32_t count = 0x1A000; count < 0xFC000; count += 0x2000)
        *next++ = count;
}

} // namespace

RefreshCounts port_refresh_counts;
RefreshCounts cfp_refresh_counts;
std::array<int32_t, 11> cfp_ref_caps;

} // namespace esw

using namespace esw;

void ethHw_generate_refresh_count_list(void) { build(port_refresh_counts); }

void ethHw_cfp_util_generate_refresh_count_list(void) { build(cfp_refresh_counts); }

void ethHw_cfp_util_generate_cfp_rate_ref_cap_list(void)
{
    int32_t cap = 16;
    for (int32_t &entry : cfp_ref_caps) {
        entry = cap;
        cap *= 2;
    }
}

int32_t eth_cosq_ip_mac_layer_set(int32_t mode)
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    assign_flag(layer_selector[layer_selector_on], true);
    if (mode < 0 || mode > 3)
        return ETH_E_UNAVAIL;
    write_field(layer_selector[layer], static_cast<uint32_t>(mode));
    return ETH_E_NONE;
}

int32_t eth_cosq_ip_mac_layer_get(uint32_t *mode)
{
    if (!is_class_a())
        return ETH_E_UNAVAIL;
    *mode = read_field(layer_selector[layer]);
    return ETH_E_NONE;
}
