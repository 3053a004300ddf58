// SPDX-License-Identifier: LGPL-2.1-or-later
// Rules of the field processor as people and programs see them: docs/cfp-rules.md describes the notation.
#pragma once

#include <esw/cfp.h>

#include "eswctl/command.h"

namespace eswctl {

// The rule's members on this class of switch: raw words, and the values that they stand for.
Json rule_to_json(const eth_cfp_rule_t &rule);

// Gives a rule the members of an object: words first, then the values that differ from what the words say.
// Throws Refused for what this class of switch does not know.
void change_rule(eth_cfp_rule_t &rule, const Json &members);

std::vector<Column> rule_columns();

// The members that options on the command line can give, and those that were given.
std::vector<Argument> rule_options();
Json members_given(const Arguments &arguments);

bool describes_free_slot(const eth_cfp_rule_t &rule);
eth_cfp_rule_t fresh_rule();
eth_cfp_rule_t read_rule(uint32_t slot);

// The selectors of the user-defined fields.
Json udfs_to_json(const eth_cfp_udf_t &udf);
void change_udfs(eth_cfp_udf_t &udf, const Json &udfs);

// What `cfp show` prints, and the same from a file.
Json rule_document(Json rules);
Json field_processor();
void change_rule_by_file(eth_cfp_rule_t &rule, const std::string &path); // that holds one rule

Report save_rules(const Arguments &arguments);
Report restore_rules(const Arguments &arguments);

} // namespace eswctl
