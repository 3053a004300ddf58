// rate, prio and qos.
#include "tests/tools/eswctl_test.h"

namespace test {
namespace {

constexpr char class_a[] = "--device 0x11140";
constexpr char early_class_b[] = "--device 0xD300";

TEST_F(Eswctl, RatesSayWhatTheSwitchUses)
{
    expect({
        {"rate egress set 0 1000 --burst 30", 0,
         "port 0: egress limited to 960 kbit/s with bursts of 30 kilobytes\n"
         "asked 1000 kbit/s, switch uses 960 kbit/s\n",
         ""},
        {"rate egress set 1 64k", 0, "limited to 64 kbit/s with bursts of 500 kilobytes\n", ""},
        {"rate egress set 8 1.5G --json", 0,
         "\"rate\": 1499968,\n  \"burst\": 500,\n  \"asked_rate\": 1500000,", ""},
        {"rate egress set 0 off", 0, "port 0: egress limit off\n", ""},
        {"rate egress show", 0,
         "port  limited  rate [kbit/s]  burst [kilobytes]\n"
         "   0  no                   -                  -\n"
         "   1  yes                 64                500\n"
         "   8  yes            1499968                500\n",
         ""},
        {"rate ingress set 1 1.5M --burst 20", 0, "asked 1500 kbit/s, switch uses 1472 kbit/s\n", ""},
        {"rate cpu set 1001", 0, "asked 1001 packets/s, switch uses 1000 packets/s\n", ""},
        {"rate egress show 8", 0, "8  no", ""},
        {"rate egress set 1 0.064M", 0, "limited to 64 kbit/s", ""},
        {"rate cpu show", 0, "limited      no\npacket rate  -\n", ""},
        {"rate cpu set 262144", 1, "", "of class B: its CPU port takes at most 262143 packets per second\n"},
        {"rate ingress-control 1 9", 0, "mode  9\n", ""},
        {"rate ingress set 8 64k", 2, "", "PORT: '8' is not accepted; use 0 or 1"},
        {"rate egress frob", 2, "", "'eswctl rate egress frob' is not a command; use one of show, set\n"},
        {"rate egress set 0 1.5k", 2, "",
         "RATE: '1.5k' is not accepted; use a rate such as 64k, 100M or 1.5G"},
        {"rate egress set 0 1..5G", 2, "", "RATE: '1..5G' is not accepted"},
        {"rate egress set 0 2147484M", 2, "", "RATE: '2147484M' is not accepted"},
    });
    expect(
        {{"rate egress set 0 1G --burst 30", 0,
          "asked 1000000 kbit/s, switch uses 999424 kbit/s\nasked 30 kilobytes, switch uses 28 kilobytes\n",
          ""},
         {"rate cpu set 1000", 0, "asked 1000 packets/s, switch uses 768 packets/s\n", ""},
         {"rate cpu set off", 1, "", "of class A: it can't turn the CPU port's limit off\n"}},
        class_a);
}

TEST_F(Eswctl, Priorities)
{
    expect({
        {"prio remap set 8 3 6", 0, "port 8: priority 3 becomes 6\n", ""},
        {"prio remap enable 8 on", 0, "port 8: remapping on\n", ""},
        {"prio remap show", 0,
         "port  remapping  priority 0  1  2  3  4  5  6  7\n"
         "   0  no                  0  1  2  3  4  5  6  7\n"
         "   1  no                  0  1  2  3  4  5  6  7\n"
         "   8  yes                 0  1  2  6  4  5  6  7\n",
         ""},
        {"prio init", 0, "CoS on and classification by DSCP off", ""},
    });
}

TEST_F(Eswctl, QueuesOfTheWholeSwitchAreClassAs)
{
    expect(
        {
            {"qos cosq map 3 0", 0, "priority 3 goes to queue 0\n", ""},
            {"qos cosq scheduler 3 --weights 4,3,2,1", 0, "scheduler in mode 3\n", ""},
            {"qos cosq enable 1 on", 0, "port 1: CoS on\n", ""},
            {"qos cosq show", 0,
             "scheduler mode               3\n"
             "weights of queues 0 to 3     4,3,2,1\n"
             "queues of priorities 0 to 7  0,0,1,0,2,2,3,3\n\n"
             "port  CoS\n   0  no\n   1  yes\n   8  no\n",
             ""},
            {"qos cosq layer 2", 0, "layer 2 selected", ""},
            {"qos cosq scheduler 3", 2, "", "mode 3 needs --weights"},
            {"qos cosq scheduler 3 --weights 1,2,3", 2, "",
             "--weights: '1,2,3' is not accepted; use 4 values"},
            {"qos port show", 0, "port  by DSCP\n   0  no\n", ""},
            {"qos port queue 0 1 2", 1, "", "eswctl: the switch is of class A: its ports have no queues"},
        },
        class_a);
    expect({{"qos cosq map 3 0", 1, "", "eswctl: the switch is of class B: it has no queues of the whole"}});
}

TEST_F(Eswctl, ClassesAndQueuesOfPorts)
{
    expect(
        {
            {"qos port dscp-map set 46 6", 0, "DSCP 46 has class 6\n", ""},
            {"qos port dscp-map show", 0,
             "  32            4  4  4  4  4  4  4  4\n"
             "  40            5  5  5  5  5  5  6  5\n"
             "  48            6  6  6  6  6  6  6  6\n",
             ""},
            {"qos port dscp-mode 1 on", 0, "port 1: classification by DSCP on\n", ""},
            {"qos port class-source 1 7 3", 0, "class source 7 set to 3\n", ""},
            {"qos port queue 1 7 0", 0, "class 7 goes to queue 0\n", ""},
            {"qos port drop 1 3 on", 0, "drop flag of class 3 on\n", ""},
            {"qos port default-class 1 4", 0, "default class 4\n", ""},
            {"qos port scheduler 1 7 --weights 256,1,1,1,1,1,1,2", 0, "scheduler in mode 7\n", ""},
            {"qos port scheduler 1 3", 0, "scheduler in mode 3\n", ""},
            {"qos port show 1", 0,
             "   1  yes                  4          3  256,1,1,1,1,1,1,2  0,1,2,3,4,5,6,0    3        "
             "0,0,0,0,0,0,0,3\n",
             ""},
            {"reg write 0x46 1 6 --width 8", 0, "written", ""},
            {"qos port show 1 --json", 0, "\"scheduler_mode\": null,\n      \"weights\": null,", ""},
        },
        early_class_b);
}

} // namespace
} // namespace test
