// SPDX-License-Identifier: LGPL-2.1-or-later
// The address table as commands show it and as a configuration holds it.
#pragma once

#include <esw/l2.h>

#include "eswctl/command.h"
#include "eswctl/connection.h"
#include "eswctl/errors.h"
#include "eswctl/ports.h"

namespace eswctl {

// Every entry, ordered by VLAN and address. Throws Refused when the walk fails.
std::vector<eth_l2_addr_t> walk_addresses();

Json address_to_json(const eth_l2_addr_t &entry);
eth_l2_addr_t address_from_json(const Json &members);

} // namespace eswctl
