// What a command is: words, arguments and a function that makes a report. The command line, its help and its
// checks all come from the families' tables of these.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <esw/types.h>

#include "eswctl/report.h"

namespace eswctl {

// The command line is wrong: exit code 2.
struct UsageError {
    std::string message;
};

// The switch or the library refused: exit code 1.
struct Refused {
    std::string message;
};

// What an argument accepts. `parse` throws nothing and returns null for a text that it does not accept.
struct Kind {
    std::string accepted; // completes "use ..."
    std::function<Json(const std::string &)> parse;
    std::vector<std::string> words = {}; // all that it accepts, when that can be listed
    std::string source = "";             // what completion offers besides: "vlan", "cfp" or "file"
};

Kind number(uint64_t first, uint64_t last, const std::string &unit = ""); // hexadecimal with 0x, or decimal
Kind one_of(const std::vector<uint32_t> &numbers);
Kind choice(const std::vector<std::string> &words); // yields the word
Kind on_off();                                      // yields a boolean
Kind text(const std::string &what);
Kind file_name();
Kind list_of(size_t count, const Kind &item); // "4,3,2,1"; yields an array

Kind any_port();                                           // 0, 1 or 8
Kind phy_port();                                           // 0 or 1
Kind port_set();                                           // "0,8", "all" or "none"; yields an array of ports
Kind word_or_ports(const std::vector<std::string> &words); // for "ingress 0,1 egress 1", word by word
Kind vid();                                                // 0 to 4095
Kind vid_list();                                           // "10-20,30"; yields an array in ascending order
Kind mac_address(); // with colons, hyphens or Cisco's dots; yields lower case with colons

// A positional argument ("PORT"), an option with a value ("--width") or, without a kind, a flag ("--yes").
struct Argument {
    std::string name;
    std::string help;
    Kind kind;
    bool required = false;
    bool repeated = false; // yields an array
    Json fallback = nullptr;
};

// The values given, by argument name. Absent ones hold their fallback.
using Arguments = Json;

// Words that only lead to commands ("rate egress" of "rate egress set") have a row of their own before those
// commands, without arguments and without a function.
struct Command {
    std::string words; // "port enable"
    std::string summary;
    std::vector<Argument> arguments;
    std::function<Report(const Arguments &)> run;
    bool asks = false;    // destructive: asks on a terminal unless --yes
    bool offline = false; // needs no switch
};

struct Family {
    std::string noun; // empty for commands of a single word
    std::string summary;
    std::vector<Command> commands;
};

// Passes a library call's result on, or throws Refused: "cannot WHAT: ETH_E_PORT (...)".
int32_t check(int32_t result, const std::string &what);
std::string describe(int32_t result);

// The ports that a command means: the one given, or all of them.
std::vector<uint32_t> ports_or_all(const Json &port);

// As registers are shown everywhere: "0x02".
std::string hex(uint64_t value, unsigned bits);

// Between the notations of the tool and those of the library.
using Mac = std::array<uint8_t, 6>;
Mac to_mac(const Json &text);
std::string from_mac(const uint8_t mac[6]);
uint32_t to_port_set(const Json &ports);

// The port sets behind each word; those before any word go to `first`, unless it is empty. Throws UsageError
// with `usage` where ports or a word are missing.
std::map<std::string, Json> ports_by_word(const Json &given, const std::string &first,
                                          const std::string &usage);
Json from_port_set(uint32_t ports);

// The network interface chosen with -i: requests to PHYs name it.
const std::string &interface_name();

// What the switch at hand is.
bool is_class_a();
bool is_class_b();

} // namespace eswctl
