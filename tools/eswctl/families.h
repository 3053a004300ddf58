// The families of commands, in the order in which help lists them.
#pragma once

#include "eswctl/command.h"

namespace eswctl {

const std::vector<Family> &families();

Family general_family();
Family register_family();
Family port_family();
Family cfp_family();
Family cfp_udf_family();

} // namespace eswctl
