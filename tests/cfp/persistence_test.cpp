// SPDX-License-Identifier: LGPL-2.1-or-later
// The rule file. No call needs the library initialised.
#include "tests/support/board.h"

#include <filesystem>
#include <fstream>

#include <esw.h>

namespace {

using namespace test;

std::string bytes(const eth_cfp_rule_t &rule) { return {reinterpret_cast<const char *>(&rule), sizeof rule}; }

eth_cfp_rule_t filled(char byte)
{
    eth_cfp_rule_t rule;
    memset(&rule, byte, sizeof rule);
    return rule;
}

class CfpRuleFile : public Board {
protected:
    const std::string path = shm("cfp_rule.cfg");
};

TEST_F(CfpRuleFile, HoldsTheRuleStoredLast)
{
    eth_cfp_rule_t rule = filled('1');
    EXPECT_EQ(eth_cfp_rule_load(&rule), 0) << "a missing file is created empty and holds zeros";
    EXPECT_EQ(bytes(rule), std::string(124, '\0'));
    EXPECT_TRUE(std::filesystem::is_empty(path));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms{0600});

    const eth_cfp_rule_t first = filled('2');
    eth_cfp_rule_t second = filled('3');
    second.ext_b[2] = 0x01020304;
    EXPECT_EQ(eth_cfp_rule_store(&first), 0);
    EXPECT_EQ(eth_cfp_rule_store(&second), 0);
    EXPECT_EQ(contents(path), std::string(120, '3') + "\4\3\2\1");
    EXPECT_EQ(eth_cfp_rule_load(&rule), 0);
    EXPECT_EQ(bytes(rule), bytes(second));
}

TEST_F(CfpRuleFile, FailuresLeaveTheRecordAlone)
{
    eth_cfp_rule_t rule = filled('1');
    for (const size_t size : {1u, 100u, 123u, 125u, 248u}) {
        std::ofstream(path, std::ios::binary) << std::string(size, 'x');
        EXPECT_EQ(printed([&] { EXPECT_EQ(eth_cfp_rule_load(&rule), -1); }).out,
                  "\nWARNING file size not equals to 124");
    }
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/dev/full", path);
    EXPECT_EQ(printed([&] { EXPECT_EQ(eth_cfp_rule_store(&rule), -1); }).error,
              "write: No space left on device\n");
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    const auto both = [&] { EXPECT_EQ(eth_cfp_rule_store(&rule) + eth_cfp_rule_load(&rule), -2); };
    EXPECT_EQ(printed(both).error, "open: Is a directory\nopen: Is a directory\n");
    EXPECT_EQ(bytes(rule), bytes(filled('1')));
}

} // namespace
