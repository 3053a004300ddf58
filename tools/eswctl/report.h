// SPDX-License-Identifier: LGPL-2.1-or-later
// What a command has to say, once, for people and for programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace eswctl {

using Json = nlohmann::ordered_json;

// How one member of the value looks as text.
struct Column {
    std::string key; // a member's name, or a pointer into it: "/queues/3"
    std::string title;
    std::string unit = ""; // shown behind the title
};

// A section shows an array of objects as a table, or an object as lines of a name and a value each.
struct Section {
    std::string key; // a member's name, or a pointer into the value; empty for the value itself
    std::vector<Column> columns;
    std::string when_empty = ""; // what an empty array means
};

struct Report {
    Json value = Json::object(); // printed whole as JSON; null prints nothing
    std::vector<Section> sections = {};
    std::string sentence = ""; // what a command that changes something has done
    std::string text = "";     // printed as it stands, for what is a text already
    bool one_of_many = false;  // of a watch: as JSON, it takes one line
    bool of_settings = false;  // a dry run prints it, too, in place of registers
    bool different = false;    // what was compared is not equal: an exit code of its own
};

// One column for each element of an array member; only the first title names it.
void append_elements(std::vector<Column> &columns, const std::string &array, const std::string &title,
                     unsigned count);

Report table(const std::string &key, std::vector<Column> columns, Json rows,
             const std::string &when_empty = "");
Report record(std::vector<Column> columns, Json value);
Report done(const std::string &sentence, Json value);
Report changed(const std::string &sentence, const Report &state); // a new state, told in one line

// Tables keep within so many columns as far as they can.
std::string as_text(const Report &report, size_t columns = SIZE_MAX);
std::string as_json(const Report &report);

} // namespace eswctl
