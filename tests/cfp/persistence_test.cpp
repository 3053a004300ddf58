// The rule file. No call needs the library initialised.
#include "tests/support/board.h"

#include <filesystem>
#include <fstream>
#include <numeric>

#include <sys/stat.h>

#include <esw.h>

namespace {

using namespace test;

class CfpRuleFile : public Board {
protected:
    [[nodiscard]] std::string path() const { return directory() + "/shm/cfp_rule.cfg"; }

    std::string contents()
    {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void put(const std::string &bytes) { std::ofstream(path(), std::ios::binary) << bytes; }

    static std::string bytes(const eth_cfp_rule_t &rule)
    {
        return {reinterpret_cast<const char *>(&rule), sizeof rule};
    }

    static eth_cfp_rule_t numbered(uint32_t first)
    {
        eth_cfp_rule_t rule;
        auto *words = reinterpret_cast<uint32_t *>(&rule);
        std::iota(words, words + sizeof rule / sizeof *words, first);
        return rule;
    }
};

TEST_F(CfpRuleFile, HoldsTheRuleStoredLast)
{
    const eth_cfp_rule_t first = numbered(0xF0000000);
    const eth_cfp_rule_t second = numbered(0x01020304);
    EXPECT_EQ(eth_cfp_rule_store(&first), 0);
    EXPECT_EQ(eth_cfp_rule_store(&second), 0);
    EXPECT_EQ(contents().size(), 124u);
    EXPECT_EQ(contents(), bytes(second));
    struct stat status = {};
    stat(path().c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    eth_cfp_rule_t loaded;
    EXPECT_EQ(eth_cfp_rule_load(&loaded), 0);
    EXPECT_EQ(bytes(loaded), bytes(second));
}

TEST_F(CfpRuleFile, AMissingFileIsCreatedEmptyAndHoldsZeros)
{
    for (int time = 0; time < 2; ++time) {
        eth_cfp_rule_t rule = numbered(1);
        EXPECT_EQ(eth_cfp_rule_load(&rule), 0);
        EXPECT_EQ(bytes(rule), std::string(124, '\0'));
        EXPECT_TRUE(std::filesystem::exists(path()));
        EXPECT_EQ(contents(), "");
    }
}

TEST_F(CfpRuleFile, OtherSizesAreRefusedWithAWarning)
{
    for (const size_t size : {1u, 100u, 123u, 125u, 248u}) {
        put(std::string(size, 'x'));
        eth_cfp_rule_t rule = numbered(1);
        EXPECT_EQ(printed([&] { EXPECT_EQ(eth_cfp_rule_load(&rule), -1); }).out,
                  "\nWARNING file size not equals to 124");
        EXPECT_EQ(bytes(rule), bytes(numbered(1)));
    }
}

TEST_F(CfpRuleFile, WhatCannotBeOpenedOrWrittenFails)
{
    eth_cfp_rule_t rule = numbered(1);
    ASSERT_EQ(symlink("/dev/full", path().c_str()), 0);
    EXPECT_EQ(printed([&] { EXPECT_EQ(eth_cfp_rule_store(&rule), -1); }).error,
              "write: No space left on device\n");
    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(eth_cfp_rule_store(&rule), -1);
                  EXPECT_EQ(eth_cfp_rule_load(&rule), -1);
              }).error,
              "open: Is a directory\nopen: Is a directory\n");
    EXPECT_EQ(bytes(rule), bytes(numbered(1)));
}

} // namespace
