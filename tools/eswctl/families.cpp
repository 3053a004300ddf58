#include "eswctl/families.h"

namespace eswctl {

const std::vector<Family> &families()
{
    static const std::vector<Family> all = {
        general_family(), register_family(), port_family(),    arl_family(),      aging_family(),
        mcast_family(),   bpdu_family(),     protect_family(), l2_cache_family(),
    };
    return all;
}

} // namespace eswctl
