// The families of commands, in the order in which help lists them.
#pragma once

#include "eswctl/command.h"

namespace eswctl {

const std::vector<Family> &families();

Family general_family();
Family register_family();
Family port_family();
Family link_family();
Family speed_family();
Family phy_family();
Family eee_family();

} // namespace eswctl
