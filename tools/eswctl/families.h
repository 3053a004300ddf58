// The families of commands, in the order in which help lists them.
#pragma once

#include "eswctl/command.h"

namespace eswctl {

const std::vector<Family> &families();

Family general_family();
Family register_family();
Family port_family();
Family rate_family();
Family priority_family();
Family qos_family();

// Commands of a single word that have a file of their own.
Command batch_command();
Command completion_command();
Command manual_command();

} // namespace eswctl
