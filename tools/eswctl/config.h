// SPDX-License-Identifier: LGPL-2.1-or-later
// Making the switch what a document says, with a way back.
#pragma once

#include "eswctl/command.h"
#include "eswctl/document.h"

namespace eswctl {

// Makes the switch what the document says, changing only what differs; what the document does not name stays.
// Throws Refused at the first change that fails, unless it is to go on; Interrupted when the user wants an
// end.
struct Interrupted {};
void apply(const Json &document, bool goes_on = false);

// Makes the switch what it was. Yields what could not be taken back, in the words of the settings.
std::string go_back_to(const Json &before);
std::string way_back_in_words(const std::string &left);

} // namespace eswctl
