// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/tools/eswctl_test.h"

#include <fmt/format.h>

namespace test {
namespace {

// Words that stand for no value, values of both kinds, and bits that no value covers.
TEST_F(Eswctl, A64RuleSetIsRestoredBitByBit)
{
    struct {
        const char *device, *name, *other;
        int action, policer, ext;
    } const classes[] = {{"--device 0x11140", "A", "ext_a", 2, 2, 2},
                         {"--device 0xD300", "B", "ext_b", 3, 7, 3}};
    for (const auto &c : classes) {
        std::vector<std::string> words;
        std::string rules;
        const auto add_words = [&](const char *key, int count) {
            rules += fmt::format(", \"{}\": [", key);
            for (int i = 0; i < count; ++i) {
                const auto word = static_cast<uint32_t>(0x9E3779B1 * (words.size() + 1)) | (i == 0);
                words.push_back(fmt::format("\"{:#010x}\"", word));
                rules += (i ? ", " : "") + words.back();
            }
            rules += ']';
        };
        for (int slot = 0; slot < 64; ++slot) {
            rules += fmt::format("{}{{\"slot\": {}", slot ? ", " : "", slot);
            add_words("data", 8);
            add_words("mask", 8);
            add_words("action", c.action);
            add_words("policer", c.policer);
            add_words(c.other, c.ext);
            rules += '}';
        }
        const std::string given = fmt::format("{{\"class\": \"{}\", \"rules\": [{}]}}", c.name, rules);
        const auto done = [&](const std::string &line) {
            EXPECT_EQ(eswctl(line, c.device, given).code, 0) << line;
        };
        done("cfp enable 1");
        done("cfp restore --yes -");
        done("cfp save " + scratch("saved"));
        const std::string saved = contents(scratch("saved"));
        size_t at = 0;
        for (const std::string &word : words) {
            at = saved.find(word, at);
            ASSERT_NE(at, std::string::npos) << word;
        }
        EXPECT_EQ(eswctl("cfp set auto --data 1", c.device).error,
                  "eswctl: cannot write the rule: ETH_E_FULL (all slots are in use)\n");
        done("cfp init --yes");
        done("cfp disable 1");
        done("cfp restore --yes " + scratch("saved"));
        done("cfp save " + scratch("again"));
        EXPECT_EQ(contents(scratch("again")), saved);
    }
}

TEST_F(Eswctl, HostileRuleFilesAreRefusedInOneShortLine)
{
    const std::string big(1000000, 'x');
    std::string many = "0";
    for (int i = 0; i < 10000; ++i)
        many += ", {}";
    std::string wide = "\"0\": 0";
    for (int i = 1; i <= 256; ++i)
        wide += fmt::format(", \"{}\": 0", i);
    const struct {
        std::string document, fault;
    } cases[] = {
        {"{\"\\u001b" + big + "\": 1}", "'\\u001bxxxxxxx"},
        {"{\"rules\": [" + many + "]}", "rules: [0,{},{},"},
        {'{' + wide + '}', "line 1, column 2456: an object of more than 256 members"},
        {"{\"rules\": []}" + big, "line 1, column 14: invalid literal"},
        {"{}\n" + std::string(1, '\0') + "{}", "line 2, column 1: a zero byte"},
    };
    for (const auto &[document, fault] : cases) {
        const Finished got = eswctl("cfp restore --yes -", "", document);
        EXPECT_EQ(got.code, 1);
        EXPECT_THAT(got.error, testing::HasSubstr("eswctl: cannot use standard input: " + fault));
        EXPECT_LT(got.error.size(), 240);
    }
}

} // namespace
} // namespace test
