// eswctl vlan.
#include "tests/tools/eswctl_test.h"

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

namespace test {
namespace {

TEST_F(Eswctl, VlansAndTheirPorts)
{
    expect({
        {"vlan show", 0, "no VLANs\n", ""},
        {"vlan create 10-12,30 7", 0, "VLANs 7,10-12,30 created\n", ""},
        {"vlan create 5,12", 1, "",
         "eswctl: cannot create VLAN 12: ETH_E_EXISTS (the VLAN exists already)\n"},
        {"vlan add 10-11 0,8 --untagged 0", 0, "VLANs 10-11 changed\n", ""},
        {"vlan add 10 ports 0 untagged 0", 0, "VLAN 10 changed\n", ""},
        {"vlan add 10 untagged", 2, "", "PORTS: use member ports, untagged PORTS or both"},
        {"vlan add 7 all", 0, "VLAN 7 changed\n", ""},
        {"vlan remove 7 ports 1 --json", 0, "\"removed\": [\n    1\n  ]", ""},
        {"vlan destroy 12,30 --yes", 0, "VLANs 12,30 destroyed\n", ""},
        {"vlan show", 0,
         "VID  members  untagged\n"
         "  5  -        -\n"
         "  7  0,8      -\n"
         " 10  0,8      0\n"
         " 11  0,8      0\n",
         ""},
        {"vlan show 11-4095 --json", 0, "\"vid\": 11,\n      \"members\": [\n        0,\n        8\n      ]",
         ""},
        {"vlan show 12-40", 0, "no such VLANs\n", ""},
        {"vlan show 12", 1, "", "cannot read the ports of VLAN 12: ETH_E_NOT_FOUND"},
        {"vlan add 12 0", 1, "", "cannot add ports to VLAN 12: ETH_E_NOT_FOUND"},
        {"vlan create 4096", 2, "", "VID: '4096' is not accepted; use VIDs from 0 to 4095 such as 10-20,30"},
        {"vlan add 10 2", 2, "", "PORTS: '2' is not accepted; use ports or untagged, each with ports"},
        {"--trace vlan show 7", 0, "  7  0,8      -\n",
         "read  05:80 w32 -> 0x1  vlan-table-command\nread  05:83 w32 -> 0x101"},
        {"vlan destroy-all", 0, "all VLANs destroyed\n", ""},
        {"vlan show --json", 0, "\"vlans\": []", ""},
    });
}

TEST_F(Eswctl, VlanSettings)
{
    expect({
        {"vlan pvid 8 100", 0, "   8   100         0\n", ""},
        {"vlan priority 0 7", 0, "   0     1         7\n", ""},
        {"vlan pvid --json", 0, "\"pvid\": 100,\n      \"priority\": 0", ""},
        {"vlan pvid 0 4096", 2, "", "VID: '4096' is not accepted; use a number from 0 to 4095"},
        {"vlan mode 4 on", 0, "   4  yes\n", ""},
        {"vlan mode", 0, "   3  no\n   4  yes\n   5  no\n", ""},
        {"vlan mode 7 on", 2, "", "MODE: '7' is not accepted; use a number from 0 to 6"},
        {"vlan learning off", 0, "learning mode  0\n", ""},
        {"vlan drop-miss off --json", 0, "\"drop_miss\": false", ""},
        {"vlan bypass-crc on", 0, "CRC bypass  yes\n", ""},
        {"vlan translate show", 0, "no translations\n", ""},
        {"vlan translate add 8 5 100 --code 2", 0, "   8      5  100     2\n", ""},
        {"vlan translate add 0 256 1", 2, "", "INDEX: '256' is not accepted; use a number from 0 to 255"},
        {"vlan translate show", 0, "port  index  VID  code\n   8      5  100     2\n", ""},
        {"vlan translate clear --yes", 0, "translations cleared\n", ""},
        {"vlan translate show 8 5", 0, "   8      5    0     0\n", ""},
        {"vlan translate", 2, "",
         "'eswctl vlan translate' needs a command behind it; use one of show, add, clear"},
        {"vlan init", 0, "VLANs initialised\n", ""},
        {"vlan pvid 8", 0, "   8     1         0\n", ""},
        {"vlan learning", 0, "learning mode  3\n", ""},
    });
    expect({{"vlan mode 4 on", 1, "", "cannot switch VLAN mode 4: ETH_E_UNAVAIL"},
            {"vlan translate add 0 1 2", 1, "", "the switch did not keep it"}},
           "--device 0x5075");
}

// The library takes such a file for what it is; nobody is told that something was done when it was not.
TEST_F(Eswctl, VlansWithADamagedMembershipFile)
{
    const std::string file = scratch("state") + "/0x2404/shm/vid_list.cfg";
    const char *const warning =
        "WARNING file size not equals to 4096\neswctl: cannot read /dev/shm/vid_list.cfg";
    eswctl("info");
    std::ofstream(file) << std::string(5000, '0');
    expect({{"vlan show", 1, "", warning},
            {"vlan create 7", 1, "", "4096\neswctl: cannot create VLAN 7: ETH_E_FAIL"},
            {"vlan destroy-all", 1, "", warning},
            {"vlan init", 0, "VLANs initialised\n", ""},
            {"vlan create 7", 0, "VLAN 7 created\n", ""}});
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    expect({{"vlan init", 1, "", "open: Is a directory\n"}});
}

} // namespace
} // namespace test
