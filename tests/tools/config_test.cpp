// What works over all families: save and restore, batches, dry runs.
#include "tests/tools/eswctl_test.h"

#include <fstream>

namespace test {
namespace {

using testing::HasSubstr;

class Configuration : public Eswctl {
protected:
    std::string write(const std::string &name, const std::string &text)
    {
        std::ofstream(scratch(name)) << text;
        return scratch(name);
    }

    // Something in every part of the configuration.
    std::string everything()
    {
        return write("everything",
                     "port disable 1\nport stp 0 blocking\nport frame-max 0 9720\nvlan create 10-12\n"
                     "vlan add 10 0,1 untagged 1\nvlan pvid 0 10\nrate egress set 8 5M\n"
                     "rate ingress set 1 2M --burst 40\nprio remap set 0 3 6\n"
                     "arl add 02:00:5e:00:53:01 1 0 --static\narl add 02:00:5e:00:53:02 1 1\n"
                     "l2cache set 02:00:5e:00:53:09 0x1234\nmirror to 8 ingress 0,1 egress 1\n"
                     "control set 21 8\ncfp set auto --data 0x3 --drop\ncfp enable 0\ncfp udf init\n");
    }
};

TEST_F(Configuration, SurvivesAWipe)
{
    const std::string commands = everything();
    for (const std::string device : {"0x2404", "0x11140", "0xD300"}) {
        SCOPED_TRACE(device);
        const std::string launcher = "--device " + device;
        const std::string first = scratch("first"), second = scratch("second");
        ASSERT_EQ(eswctl("batch " + commands, launcher).code, 0);
        EXPECT_EQ(eswctl("save " + first, launcher).code, 0);
        EXPECT_EQ(eswctl("restore " + first, launcher).out, "nothing to change\n");
        // The driver goes away in the middle: a second restore completes the first.
        if (device == "0x2404")
            eswctl("restore " + first, launcher + " --reset --fault from=1500");
        else
            launch(launcher + " --reset", {});
        EXPECT_EQ(eswctl("restore " + first, launcher).code, 0);
        EXPECT_EQ(eswctl("save " + second, launcher).code, 0);
        EXPECT_EQ(contents(first), contents(second));
    }
    EXPECT_THAT(eswctl("restore " + scratch("first"), "--device 0x11140").error,
                HasSubstr("is of a class B switch"));
}

TEST_F(Configuration, DocumentsThatPeopleSpoiledAreRefused)
{
    const std::pair<const char *, const char *> cases[] = {
        {"not JSON", "is not a configuration that eswctl save made"},
        {R"({"format": 1, "class": "B", "ports": {"port0": {"stp_state": 9}}})",
         "cannot restore ports.port0.stp_state to 9: ETH_E_PARAM"},
        {R"({"format": 1, "class": "B", "ports": {"port0": {"stp_state": "up"}}})",
         "not a value of the right kind"},
        {R"({"format": 1, "class": "B", "vlan": {"table": [{"members": [0]}]}})", "an entry has no vid"},
        {R"({"format": 1, "class": "B", "l2": {"bpdu_address": "nowhere"}})",
         "not a value of the right kind"},
    };
    for (const auto &[text, error] : cases) {
        const Finished got = eswctl("restore " + write("document", text));
        EXPECT_EQ(got.code, 1);
        EXPECT_THAT(got.error, HasSubstr(error));
    }
    EXPECT_THAT(eswctl("restore " + scratch("missing")).error, HasSubstr("No such file or directory"));
}

TEST_F(Configuration, BatchesStopAtTheFirstFailureUnlessForced)
{
    const std::string file =
        write("batch",
              "# a comment\nport disable 0\n\nport stp 1 'blocking' # behind\nport frob\nport disable 1\n");
    const Finished stopped = eswctl("batch " + file);
    EXPECT_EQ(stopped.code, 2);
    EXPECT_THAT(stopped.error, HasSubstr("eswctl: line 5: 'eswctl port frob' is not a command"));
    EXPECT_THAT(eswctl("port show 1").out, HasSubstr("1  yes"));
    const Finished forced = eswctl("batch --force --json " + file);
    EXPECT_EQ(forced.code, 1);
    EXPECT_THAT(forced.out, HasSubstr("\"line\": 6"));
    EXPECT_THAT(forced.error, HasSubstr("1 of 4 commands failed"));
    EXPECT_THAT(eswctl("port show 1").out, HasSubstr("1  no"));
}

// Each of these changes the switch; a dry run says what, and changes nothing.
TEST_F(Configuration, DryRunsWithholdEveryWrite)
{
    const std::pair<const char *, const char *> cases[] = {
        {"port disable 0", "port-control-0  00:00    0xa0  0xa3\n"},
        {"vlan create 10", "vlan      VID 10   absent  exists\n"},
        {"speed set 0 100", "phy-register  phy 3 reg 0  0x1140  0x3100\n"},
        {"reset", "switch-reset  00:79"},
        {"port show", "nothing would change\n"},
    };
    const std::string before = eswctl("save -").out;
    for (const auto &[line, change] : cases) {
        const Finished got = eswctl(std::string("--dry-run ") + line);
        EXPECT_EQ(got.code, 0) << got.error;
        EXPECT_THAT(got.out, HasSubstr(change)) << line;
    }
    EXPECT_EQ(eswctl("save -").out, before);
    EXPECT_THAT(eswctl("--trace port enable 0").error,
                HasSubstr("write 00:00 w64 <- 0xa0  port-control-0\n"));
}

TEST_F(Configuration, SuggestsWhatWasMeant)
{
    expect({
        {"prot show", 2, "", "; did you mean port?"},
        {"port shwo", 2, "", "; did you mean show?"},
        {"port stp 0 lisening", 2, "", "; did you mean listening?"},
        {"--jsno info", 2, "", "--jsno; see eswctl info --help"},
    });
}

} // namespace
} // namespace test
