// SPDX-License-Identifier: LGPL-2.1-or-later
// Rules of the field processor as people and programs see them: docs/cfp-rules.md has the notation.
#pragma once

#include <esw/cfp.h>

#include "eswctl/command.h"
#include "eswctl/connection.h"
#include "eswctl/errors.h"
#include "eswctl/ports.h"

namespace eswctl {

// Of a number, or of a text that shows one. `name` says in an error what it is.
uint32_t number_in(const Json &value, const std::string &name, uint32_t largest);

// The rule's members on this class of switch: raw words, and the values that they stand for.
Json rule_to_json(const eth_cfp_rule_t &rule);

// Gives a rule the members of an object: words first, then the values that differ from what the words say.
// Throws Refused for what this class of switch does not know. Yields what the switch holds otherwise than it
// was asked for: an array of {"member", "asked", "used"}.
Json change_rule(eth_cfp_rule_t &rule, const Json &members, bool by_option = false);
Json change_rule_by_file(eth_cfp_rule_t &rule, const std::string &path); // that holds one rule
Json change_rule_by_options(eth_cfp_rule_t &rule, const Arguments &arguments);

std::vector<Column> rule_columns();
std::vector<Argument> rule_options();

constexpr uint32_t last_slot = 63;

bool describes_free_slot(const eth_cfp_rule_t &rule);
eth_cfp_rule_t fresh_rule();
eth_cfp_rule_t read_rule(uint32_t slot);
void free_slot(uint32_t slot);

// The selectors of the user-defined fields.
Json udfs_to_json(const eth_cfp_udf_t &udf);
void change_udfs(eth_cfp_udf_t &udf, const Json &udfs);

// What `cfp show` prints, and the same from a file.
Json rule_document(Json rules);
Json rule_row(uint32_t slot, const eth_cfp_rule_t &rule);
Json field_processor();

Report save_rules(const Arguments &arguments);
Report restore_rules(const Arguments &arguments);

} // namespace eswctl
