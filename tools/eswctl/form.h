// SPDX-License-Identifier: LGPL-2.1-or-later
// What a value may be, written as JSON Schema: from it come the checks of documents, the texts that say what
// is accepted, and the published schema.
#pragma once

#include <initializer_list>
#include <optional>
#include <utility>

#include "eswctl/report.h"

namespace eswctl {

using Form = Json;

Form integer_form(uint64_t first, uint64_t last);
Form words_form(const std::vector<std::string> &words);
Form numbers_form(const std::vector<uint32_t> &numbers);
Form constant_form(const Json &value);
Form flag_form();
Form ports_form(); // a set of ports 0, 1 and 8
Form mac_form();
Form hex_form(unsigned bits);
Form array_form(size_t count, const Form &item);
Form record_form(std::initializer_list<std::pair<std::string, Form>> members,
                 const std::vector<std::string> &optional = {});
Form either_form(std::initializer_list<Form> forms);

std::string accepted_by(const Form &form); // completes "use ..."

// The first part of a value that its form does not accept. A message shows no more than a line of what is
// there.
struct Fault {
    std::string path; // of the part: ".scheduler.weights[3]"
    std::string reason;
};
std::optional<Fault> fault_in(const Json &value, const Form &form);
bool accepts(const Form &form, const Json &value);

// Members in the form's order, sets of ports ascending: equal values are equal then.
Json in_order(const Json &value, const Form &form);

// As people read it: "0,8", "on", "none", "members 0,8, untagged none".
std::string in_words(const Json &value);

uint32_t from_hex(const Json &text);

} // namespace eswctl
