// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/families.h"

namespace eswctl {

const std::vector<Family> &families()
{
    // clang-format off
    static const std::vector<Family> all = {
        general_family(),
        register_family(),
        port_family(),
        link_family(),
        speed_family(),
        phy_family(),
        eee_family(),
        arl_family(),
        aging_family(),
        mcast_family(),
        bpdu_family(),
        protect_family(),
        l2_cache_family(),
        vlan_family(),
        rate_family(),
        priority_family(),
        qos_family(),
        stat_family(),
        mirror_family(),
        control_family(),
        cfp_family(),
    };
    // clang-format on
    return all;
}

} // namespace eswctl
