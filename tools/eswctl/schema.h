// SPDX-License-Identifier: LGPL-2.1-or-later
// The JSON Schemas of what the tool prints and reads: the files of docs/schema, built in.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace eswctl {

// All of them in one document, by file name.
const nlohmann::json &schemas();

// What is wrong with a JSON text; empty when it is right. A place is "port.schema.json/definitions/show".
std::string schema_fault(const std::string &place, const std::string &text);

} // namespace eswctl
