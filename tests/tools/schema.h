// SPDX-License-Identifier: LGPL-2.1-or-later
// JSON that eswctl prints, against the schemas that are installed with it.
#pragma once

#include <set>
#include <string>

namespace test {

// The command that a line runs: "port show" for "--json port show 0". Empty if there is no schema for any
// such command.
std::string command_of(const std::string &line);

// What is wrong with what `eswctl LINE --json` printed; empty when it matches the schema of its command.
std::string schema_fault(const std::string &line, const std::string &printed);

// Every command that has a schema.
std::set<std::string> commands_with_schema();

} // namespace test
