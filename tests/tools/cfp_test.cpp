#include "tests/tools/eswctl_test.h"

#include <fstream>

#include <fmt/format.h>

namespace test {
namespace {

constexpr char class_a[] = "--device 0x11140";
constexpr char class_b[] = "--device 0xD300";

TEST_F(Eswctl, FieldProcessorOfClassA)
{
    expect({{"cfp show", 0, "ports with CFP  -\n\nno rules\n", ""},
            {"cfp set 3 --data 0x3,0,0x800 --dst 0x41 --action 1 --tc 5 --chain 9 --vlan-bypass", 0,
             "slot 3\n", ""},
            {"cfp set auto --data 1 --rate 1000 --burst 100", 0, "rule written to slot 0\n", ""},
            {"cfp set auto --data 1 --drop", 0, "rule written to slot 1\n", ""},
            {"cfp show", 0,
             "slot  action 1  dst 1  action 2  dst 2  TC  chain  bypass  rate  burst\n"
             "   0         0  0x000         0  0x000   -      0  no       960     64\n"
             "   1         2  0x000         2  0x000   -      0  no         -      -\n"
             "   3         1  0x041         0  0x000   5      9  yes        -      -\n",
             ""},
            {"cfp set 3 --keep --tc 2", 0, "slot 3", ""},
            {"cfp show 3 --raw", 0, "\n   3  action   0x000000c1,0x00026801\n", ""},
            {"cfp set auto --data 1 --eir 3", 1, "", "--eir is for class B switches; this one is of class A"},
            {"cfp set auto --data 1 --dst 0x80", 1, "",
             "--dst: 128 is not accepted; use a number from 0 to 127"},
            {"cfp set auto --drop", 2, "", "such a rule leaves the slot free"},
            {"cfp set 1 --data 1 --drop --dst 1", 2, "", "--dst does not go with --drop"},
            {"cfp set auto --keep", 2, "", "--keep needs a slot"},
            {"cfp set 64 --data 1", 2, "", "SLOT: '64' is not accepted; use a slot from 0 to 63, or auto"},
            {"cfp del 3", 0, "slot 3 freed\n", ""},
            {"cfp del 3", 1, "", "slot 3 is free"},
            {"cfp clear", 0, "all rules deleted\n", ""},
            {"cfp show", 0, "no rules\n", ""}},
           class_a);
}

TEST_F(Eswctl, FieldProcessorOfClassB)
{
    expect({{"cfp set 7 --data 1 --dst 0x41 --rate-mode 1 --eir 1001 --eir-burst 7", 0, "slot 7", ""},
            {"cfp show 7", 0, "\n   7         0  0x081         0  0x000   -      0  no              1 ", ""},
            {"cfp show 7 --json", 0, "\"eir\": 1000,\n      \"eir_burst\": 7,\n      \"cir\": 0", ""},
            {"cfp set 8 --data 1 --burst 5", 1, "", "--burst is for class A switches"},
            {"cfp unpark 1", 1, "", "no rule is parked"},
            {"cfp park 9", 1, "", "slot 9 is free"},
            {"cfp park 7", 0, "rule of slot 7 parked\n", ""},
            {"cfp park", 0, "   -         0  0x081", ""},
            {"cfp unpark auto", 0, "rule written to slot 0\n", ""},
            {"cfp enable 0 8", 0, "field processor enabled on port 0, 8\n", ""},
            {"cfp disable 0", 0, "field processor disabled on port 0\n", ""},
            {"cfp show", 0, "ports with CFP  8\n", ""},
            {"cfp udf set b1 0x44 5 --at 7", 0, "UDF b1 set\n", ""},
            {"cfp udf set b1 1 2 3 --at 7", 2, "", "SELECTOR: UDF b1 has 9 selectors"},
            {"cfp udf show", 0, "\nb1   0x00,0x00,0x00,0x00,0x00,0x00,0x00,0x44,0x05\n", ""},
            {"cfp udf init --json", 0, "\"0x53\"", ""},
            {"cfp udf clear", 0, "UDF selectors cleared\n", ""},
            {"cfp init", 0, "field processor initialised\n", ""},
            {"cfp show 0", 0, "slot 0 is free\n", ""}},
           class_b);
    expect({{"cfp show 1", 1, "", "cannot read slot 1: ETH_E_TIMEOUT"}},
           "--device 0xD300 --fault stuck=cfp-command");
}

// Words that stand for no value, values of both kinds, and bits that no value covers.
TEST_F(Eswctl, A64RuleSetIsRestoredBitByBit)
{
    struct {
        const char *device, *name, *other;
        int action, policer, ext;
    } const classes[] = {{class_a, "A", "ext_a", 2, 2, 2}, {class_b, "B", "ext_b", 3, 7, 3}};
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
        std::ofstream(scratch("given"))
            << fmt::format("{{\"class\": \"{}\", \"rules\": [{}]}}", c.name, rules);

        const auto done = [&](const std::string &line) { EXPECT_EQ(eswctl(line, c.device).code, 0) << line; };
        done("cfp enable 1");
        done("cfp restore " + scratch("given"));
        done("cfp save " + scratch("saved"));
        const std::string saved = contents(scratch("saved"));
        size_t at = 0;
        for (const std::string &word : words) {
            at = saved.find(word, at);
            ASSERT_NE(at, std::string::npos) << word;
        }
        EXPECT_EQ(eswctl("cfp set auto --data 1", c.device).error,
                  "eswctl: cannot write the rule: ETH_E_FULL (no slot is free)\n");
        done("cfp init");
        done("cfp disable 1");
        done("cfp restore " + scratch("saved"));
        done("cfp save " + scratch("again"));
        EXPECT_EQ(contents(scratch("again")), saved);
    }
    EXPECT_EQ(eswctl("cfp restore " + scratch("saved"), class_a).code, 1) << "of the other class";
}

TEST_F(Eswctl, FieldProcessorFilesAreCheckedBeforeTheSwitchIsTouched)
{
    eswctl("cfp set 5 --data 1 --tc 3");
    struct {
        const char *text;
        const char *error;
    } const cases[] = {
        {"{", "parse error"},
        {R"({"class": "A", "rules": []})", "its rules are for class \"A\", and this switch is of class B"},
        {R"({"rules": [{"slot": 1}]})", "the rule of slot 1 leaves its slot free"},
        {R"({"rules": [{"slot": 1, "data": [1]}, {"slot": 1, "data": [1]}]})", "slot 1 is there twice"},
        {R"({"rules": [{"slot": 1, "data": [1], "tc": 1}]})", "'tc' is not a member of a rule"},
        {R"({"rules": [{"slot": 1, "data": [1], "rate": 1}]})", "rate is for class A"},
        {R"({"rules": [{"slot": 1, "data": [1], "traffic_class": 8}]})", "use a number from 0 to 7"},
        {R"({"rules": [{"slot": 1, "data": [1,1,1,1,1,1,1,1,1]}]})",
         "data: a list of at most 8 words is needed"},
        {R"({"rules": [], "ports": [99]})", "port 99 is not accepted; use 0, 1 or 8"},
        {R"({"rules": [], "udfs": [{"udf": "d", "selectors": []}]})",
         "UDF 'd' does not exist, or not with 0"},
    };
    const std::string path = scratch("rules");
    for (const auto &c : cases) {
        std::ofstream(path) << c.text;
        const Finished got = eswctl("cfp restore " + path);
        EXPECT_EQ(got.code, 1);
        EXPECT_THAT(got.error, testing::HasSubstr(c.error));
    }
    std::ofstream(path) << eswctl("cfp show 5 --json").out;
    EXPECT_EQ(eswctl("cfp set 6 --from " + path + " --chain 4").code, 0);
    EXPECT_THAT(eswctl("cfp show").out,
                testing::ContainsRegex("\n   5 .*  3      0  no .*\n   6 .*  3      4  no "));
    std::ofstream(path)
        << R"({"data": ["3"], "vlan_bypass": true, "action": ["0", "0xffffffff"], "chain_id": 1})";
    EXPECT_EQ(eswctl("cfp set 6 --from " + path).code, 0);
    EXPECT_THAT(eswctl("cfp show 6 --raw").out, testing::HasSubstr("0x00000001,0xf01fffff,0x00000000"));
}

} // namespace
} // namespace test
