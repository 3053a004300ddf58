// SPDX-License-Identifier: LGPL-2.1-or-later
// VLANs as commands show them and as a configuration holds them.
#pragma once

#include "eswctl/command.h"

namespace eswctl {

// In ascending order, read at once: the library opens its file for each VID. Throws Refused where the file is
// damaged.
std::vector<uint32_t> existing_vids();

struct VlanPorts {
    uint32_t members;
    uint32_t untagged;

    bool operator==(const VlanPorts &) const = default;
};

VlanPorts vlan_ports(uint32_t vid);

// Makes a VLAN that exists exactly this; ports that have their part already are not touched. Yields what other
// software gave it and no call takes away: ports that there are not.
VlanPorts set_vlan_ports(uint32_t vid, const VlanPorts &wanted);

} // namespace eswctl
