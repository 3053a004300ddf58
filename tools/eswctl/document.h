// SPDX-License-Identifier: LGPL-2.1-or-later
// Saved configurations: documents with a member for each setting.
#pragma once

#include "eswctl/settings.h"

namespace eswctl {

// Where a setting, or one of its instances, stands in a document.
struct Place {
    const Setting *setting;
    const Instance *instance;

    [[nodiscard]] std::string path() const; // "ports.port0.stp_state"
    [[nodiscard]] std::string words() const;
    [[nodiscard]] Form form() const { return setting->accepts(instance->number); }
    [[nodiscard]] bool is_table() const { return !setting->key.empty(); }
    [[nodiscard]] Json in(const Json &document) const; // null where the document does not name it
    [[nodiscard]] Json key_of(const Json &entry) const;
    [[nodiscard]] std::string name_of(const Json &entry) const; // "vlan.table[10]"
    [[nodiscard]] std::string words_of(const Json &entry) const;
};

std::vector<Place> places_here(); // that this switch has, in the order in which they are restored

Json configuration_schema();

// What the switch holds, and in words what of it no call can set.
struct Reading {
    Json document;
    std::vector<std::string> left_out;
};
Reading read_switch();

// A file's document, understood whole: throws Refused for anything that this switch does not take. What it
// lacks is refused, too, unless it is to be left out. Equal settings of two documents are equal.
Json read_document(const std::string &file, bool skip_unsupported);
Json understand(const std::string &text, const std::string &name, bool skip_unsupported);

// Rows of "setting", "from" and "to"; what `to` does not name is no difference unless it is to be one.
Json differences(const Json &from, const Json &to, bool absent_differs = false);

// "vlan 10: members 8 -> 0,8", a line each.
std::string differences_in_words(const Json &rows);

// What makes a switch hold the document's settings, whatever it held: lines as behind eswctl.
std::vector<std::string> commands_for(const Json &document);

} // namespace eswctl
