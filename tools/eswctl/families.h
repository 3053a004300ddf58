// SPDX-License-Identifier: LGPL-2.1-or-later
// The families of commands, in the order in which help lists them.
#pragma once

#include "eswctl/command.h"
#include "eswctl/connection.h"
#include "eswctl/errors.h"
#include "eswctl/ports.h"

namespace eswctl {

// All of them. Describing one takes a while: a command line needs only its own.
const std::vector<const Family *> &families();
const Family *family(const std::string &noun); // null when there is none

Family general_family();
Family register_family();
Family port_family();
Family link_family();
Family speed_family();
Family phy_family();
Family eee_family();
Family arl_family();
Family aging_family();
Family mcast_family();
Family bpdu_family();
Family protect_family();
Family l2_cache_family();
Family vlan_family();
Family rate_family();
Family priority_family();
Family qos_family();
Family stat_family();
Family mirror_family();
Family control_family();
Family cfp_family();

// The rest of a family whose commands fill more than one file.
void add_vlan_settings(Family &family);
void add_udf_commands(Family &family);

Report overview(const Arguments &arguments);
Json link_of(uint32_t port); // as link show has it

// In ascending order, read at once: the library opens its file for each VID. Throws Refused where the file is
// damaged.
std::vector<uint32_t> existing_vids();

// A call about all VLANs at once: none may be left.
void empty_vlans(int32_t (*call)(), const std::string &what);

// Commands of a single word that have a file of their own.
void add_configuration_commands(Family &family);
void add_pending_commands(Family &family);
void add_batch_command(Family &family);
void add_completion_command(Family &family);
void add_manual_command(Family &family);

const char *embedded(const std::string &file); // a file of docs/ that is part of the program

} // namespace eswctl
