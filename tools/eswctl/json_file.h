// SPDX-License-Identifier: LGPL-2.1-or-later
// JSON documents that users hand over. They are read strictly: no member twice, nothing behind the document,
// no deeper or wider than any that the tool takes.
#pragma once

#include <string>

#include "eswctl/report.h"

namespace eswctl {

// Throw Refused: "line 3, column 7: ...", the latter behind "cannot use FILE: ". In time that grows with the
// length, whatever the text holds.
Json parse_json(const std::string &text);
Json read_json(const std::string &path);

} // namespace eswctl
