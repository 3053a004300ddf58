// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/tools/schema.h"

#include <regex>
#include <sstream>

#include "tests/tools/eswctl_test.h"

namespace test {
namespace {

TEST_F(Eswctl, EveryCommandHasASchemaAndNothingElseHasOne)
{
    const std::string begin = "\\fBeswctl ";
    std::set<std::string> commands;
    std::istringstream manual(eswctl("manual").out);
    for (std::string line; std::getline(manual, line);) {
        if (!line.starts_with(begin))
            continue;
        std::string words = line.substr(begin.size(), line.find("\\fR") - begin.size());
        std::erase(words, '\\');
        commands.insert(words);
        EXPECT_NE(schema_fault(words, R"({"foreign": 0})"), "") << words;
    }
    EXPECT_EQ(commands_with_schema(), commands);
}

std::set<std::string> matches(const std::string &text, const std::string &pattern)
{
    const std::regex regex(pattern);
    std::set<std::string> found;
    for (std::sregex_iterator each(text.begin(), text.end(), regex), end; each != end; ++each)
        found.insert((*each)[1]);
    return found;
}

// The schema of a configuration names the calls behind each setting, and behind what is no part of it.
TEST_F(Eswctl, EverySetterIsSavedOrLeftOutByName)
{
    const std::string schema = eswctl("schema").out;
    EXPECT_EQ(schema, contents(SCHEMAS "/configuration.schema.json")) << "eswctl schema makes it anew";
    std::set<std::string> named;
    for (const std::string &calls :
         matches(schema, R"re("\$comment": "(?:set by|not part of it:) ([^"]*)")re"))
        named.merge(matches(calls, R"((\w+))"));
    EXPECT_EQ(
        named,
        matches(contents(SCHEMAS "/../../core/exports.map"),
                R"((\w*(?:_set|set_|_write|_mask_|_add\b|_create\b|_enable\b|_store\b|CfpRuleAction)\w*);)"));
}

TEST(Schema, RejectsSpoiledDocuments)
{
    const std::string down =
        R"({"port": 0, "link": "down", "speed": null, "duplex": null, "pause_low": null, "pause_high": null})";
    struct {
        const char *line;
        std::string printed;
        const char *fault; // a part of it; empty: none
    } const cases[] = {
        {"-i lan bpdu --json show", R"({"bpdu_address": "01:80:c2:00:00:00"})", ""},
        {"bpdu show", R"({"bpdu_address": "01:80:c2:00:00"})", "regex"},
        {"bpdu show", R"({"bpdu_address": 1})", "type not permitted"},
        {"bpdu show", "{}", "Missing required property"},
        {"bpdu show", R"({"bpdu_address": "01:80:c2:00:00:00", "more": 0})", "could not be validated"},
        {"bpdu show", "BPDU address  01:80:c2:00:00:00\n", "not JSON"},
        {"bpdu show", "", "not JSON"},
        {"bpdu", "{}", "no schema"},
        {"reg read 0 0",
         R"({"registers": [{"page": "0x00", "offset": "0x00", "width": 8, "value": "0x01"}]})", ""},
        {"reg read 0 0",
         R"({"registers": [{"page": "0x00", "offset": "0x00", "width": 16, "value": "0x01"}]})",
         "[registers][0][width]: Failed to match"},
        {"link watch", down + '\n' + down + '\n', ""},
        {"link watch", down + "\n{}\n", "Missing required property"},
        {"link watch", "", "no document"},
        {"bpdu set 01:80:c2:00:00:00 --dry-run", R"({"changes": []})", ""},
        {"bpdu show --dry-run", R"({"bpdu_address": "01:80:c2:00:00:00"})", "could not be validated"},
    };
    for (const auto &[line, printed, fault] : cases) {
        const std::string found = schema_fault(line, printed);
        EXPECT_EQ(found.empty(), *fault == '\0') << line << printed << found;
        EXPECT_THAT(found, testing::HasSubstr(fault)) << line << printed;
    }
}

} // namespace
} // namespace test
