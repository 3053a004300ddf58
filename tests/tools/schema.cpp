// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/tools/schema.h"

#include <map>
#include <sstream>
#include <utility>

#include "eswctl/schema.h"
#include "tests/tools/process.h"

namespace test {
namespace {

using eswctl::schemas;
using Json = nlohmann::json;

// By command: "port show" is at "port.schema.json/definitions/show".
const std::map<std::string, std::string> &places()
{
    static const auto all = [] {
        std::map<std::string, std::string> commands;
        for (const Json &file : schemas()) {
            for (const Json &any : file.value("anyOf", Json::array())) {
                const std::string place = any.value("$ref", "#/").substr(1);
                const Json &definition = schemas().at(Json::json_pointer(place == "/" ? "" : place));
                if (definition.contains("title"))
                    commands[definition["title"]] = place.substr(1);
            }
        }
        return commands;
    }();
    return all;
}

} // namespace

std::string command_of(const std::string &line)
{
    std::string words;
    std::string command;
    bool names_interface = false;
    for (const std::string &word : words_of(line)) {
        if (std::exchange(names_interface, word == "-i" || word == "--interface") || word.starts_with('-'))
            continue;
        words += (words.empty() ? "" : " ") + word;
        if (places().contains(words))
            command = words;
    }
    return command;
}

std::string schema_fault(const std::string &line, const std::string &printed)
{
    const std::string command = command_of(line);
    if (command.empty())
        return "no schema";
    if (line.find("--dry-run") != std::string::npos)
        return eswctl::schema_fault("general.schema.json/definitions/dry-run", printed);
    const std::string &place = places().at(command);
    if (!command.ends_with(" watch"))
        return eswctl::schema_fault(place, printed);
    std::istringstream lines(printed);
    std::string faults = printed.empty() ? "no document" : "";
    for (std::string document; std::getline(lines, document);)
        faults += eswctl::schema_fault(place, document);
    return faults;
}

std::set<std::string> commands_with_schema()
{
    std::set<std::string> commands;
    for (const auto &[command, place] : places())
        commands.insert(command);
    return commands;
}

} // namespace test
