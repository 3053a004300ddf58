// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/tools/schema.h"

#include <filesystem>
#include <map>
#include <sstream>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "tests/tools/process.h"

namespace test {
namespace {

using Json = nlohmann::json;
using Adapter = valijson::adapters::NlohmannJsonAdapter;

// The parser takes definitions of one name in two files for the same: it gets one document of all files.
void lead_into_one_document(Json &schema, const std::string &file)
{
    for (const auto &[key, value] : schema.items()) {
        if (key == "$ref") {
            const std::string target = value;
            const size_t hash = std::min(target.find('#'), target.size());
            value = fmt::format("#/{}{}", hash == 0 ? file : target.substr(0, hash),
                                hash == target.size() ? "" : target.substr(hash + 1));
        } else if (value.is_structured()) {
            lead_into_one_document(value, file);
        }
    }
}

// By file name.
const Json &schemas()
{
    static const Json all = [] {
        Json files = Json::object();
        for (const auto &file : std::filesystem::directory_iterator(SCHEMAS)) {
            const std::string name = file.path().filename();
            files[name] = Json::parse(contents(file.path()));
            lead_into_one_document(files[name], name);
        }
        return files;
    }();
    return all;
}

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

// What the deepest error says: those above it only tell that something below is wrong.
std::string fault_at(const std::string &place, const std::string &text)
{
    const Json document = Json::parse(text, nullptr, false);
    if (document.is_discarded())
        return "not JSON";
    Json root = schemas();
    root["$ref"] = "#/" + place;
    valijson::Schema schema;
    valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(root), schema);
    valijson::ValidationResults results;
    if (valijson::Validator().validate(schema, Adapter(document), &results))
        return "";
    valijson::ValidationResults::Error deepest;
    for (valijson::ValidationResults::Error error; results.popError(error);) {
        if (deepest.description.empty() || error.context.size() > deepest.context.size())
            deepest = error;
    }
    return fmt::format("{}: {}", fmt::join(deepest.context, ""), deepest.description);
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
        return fault_at("general.schema.json/definitions/dry-run", printed);
    const std::string &place = places().at(command);
    if (!command.ends_with(" watch"))
        return fault_at(place, printed);
    std::istringstream lines(printed);
    std::string faults = printed.empty() ? "no document" : "";
    for (std::string document; std::getline(lines, document);)
        faults += fault_at(place, document);
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
