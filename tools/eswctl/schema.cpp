// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/schema.h"

#include <algorithm>

#include <fmt/format.h>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

namespace eswctl {

// Generated from docs/schema: file name and text, up to a null.
extern const char *const schema_files[][2];

namespace {

using nlohmann::json;
using Adapter = valijson::adapters::NlohmannJsonAdapter;

// The parser takes definitions of one name in two files for the same: it gets one document of all files.
void lead_into_one_document(json &schema, const std::string &file)
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

json read_schemas()
{
    json all = json::object();
    for (const auto *file = schema_files; (*file)[0]; ++file) {
        all[(*file)[0]] = json::parse((*file)[1]);
        lead_into_one_document(all[(*file)[0]], (*file)[0]);
    }
    return all;
}

// "ports.port0.stp_state" out of "<root>", "[ports]", "[port0]", "[stp_state]".
std::string dotted(const std::vector<std::string> &context)
{
    std::string path;
    for (size_t i = 1; i < context.size(); ++i) {
        std::string name = context[i];
        std::erase_if(name, [](char c) { return c == '[' || c == ']' || c == '"'; });
        path += (path.empty() ? "" : ".") + name;
    }
    return path.empty() ? "" : path + ": ";
}

} // namespace

const json &schemas()
{
    static const json all = read_schemas();
    return all;
}

std::string schema_fault(const std::string &place, const std::string &text)
{
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded())
        return "not JSON";
    json root = schemas();
    root["$ref"] = "#/" + place;
    valijson::Schema schema;
    valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(root), schema);
    valijson::ValidationResults results;
    if (valijson::Validator().validate(schema, Adapter(document), &results))
        return "";
    // The deepest says most: those above it only tell that something below is wrong.
    valijson::ValidationResults::Error deepest;
    for (valijson::ValidationResults::Error error; results.popError(error);) {
        if (deepest.description.empty() || error.context.size() > deepest.context.size())
            deepest = error;
    }
    return dotted(deepest.context) + deepest.description;
}

} // namespace eswctl
