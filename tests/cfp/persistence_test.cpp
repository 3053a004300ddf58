// SPDX-License-Identifier: LGPL-2.1-or-later
// The rule file. No call needs the library initialised.
#include "tests/support/board.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>

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
    const auto both = [&] { EXPECT_EQ(eth_cfp_rule_store(&rule) + eth_cfp_rule_load(&rule), -2); };
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/dev/full", path);
    const std::string link = "open: Too many levels of symbolic links\n";
    EXPECT_EQ(printed(both).error, link + link);
    std::filesystem::remove(path);
    mkfifo(path.c_str(), 0600);
    EXPECT_EQ(printed(both).error, "open: No such device or address\nfstat: No such device or address\n");
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(printed(both).error, "open: Is a directory\nopen: Is a directory\n");
    EXPECT_EQ(bytes(rule), bytes(filled('1')));
}

// A store that ends early leaves a file that no load takes for a rule.
TEST_F(CfpRuleFile, StoresWhole)
{
    eth_cfp_rule_t rule = filled('1');
    std::ofstream(path, std::ios::binary) << std::string(200, 'x');
    EXPECT_EQ(eth_cfp_rule_store(&rule), 0);
    EXPECT_EQ(contents(path), bytes(rule)) << "what was longer is cut";

    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{100, limit.rlim_max};
    const auto before = signal(SIGXFSZ, SIG_IGN);
    const auto store = [&] {
        setrlimit(RLIMIT_FSIZE, &small);
        EXPECT_EQ(eth_cfp_rule_store(&rule), -1);
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    EXPECT_EQ(printed(store).out, "Warning: write doesn't return expected number of bytes");
    signal(SIGXFSZ, before);
    EXPECT_EQ(std::filesystem::file_size(path), 100);
}

TEST_F(CfpRuleFile, ALoadBesideAStoreGivesARuleThatWasStored)
{
    const eth_cfp_rule_t rules[] = {filled('2'), filled('3')};
    ASSERT_EQ(eth_cfp_rule_store(&rules[0]), 0);
    std::atomic<bool> ends = false;
    std::thread other([&] {
        for (int round = 0; !ends; ++round)
            eth_cfp_rule_store(&rules[round % 2]);
    });
    for (int round = 0; round < 300; ++round) {
        eth_cfp_rule_t rule;
        EXPECT_EQ(eth_cfp_rule_load(&rule), 0);
        EXPECT_THAT(bytes(rule), testing::AnyOf(bytes(rules[0]), bytes(rules[1])));
    }
    ends = true;
    other.join();
}

} // namespace
