#include "eswctl/families.h"

namespace eswctl {

const std::vector<Family> &families()
{
    static const std::vector<Family> all = {
        general_family(),
        register_family(),
        port_family(),
        cfp_family(),
        cfp_udf_family(),
    };
    return all;
}

} // namespace eswctl
