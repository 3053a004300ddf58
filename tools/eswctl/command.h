// SPDX-License-Identifier: LGPL-2.1-or-later
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
    std::string source = "";             // what completion offers besides: "vlan", "cfp", "interface", "file"
    std::string name = "VALUE";          // stands for it in the usage of an option
};

Kind number(uint64_t first, uint64_t last, const std::string &unit = ""); // hexadecimal with 0x, or decimal
Kind one_of(const std::vector<uint32_t> &numbers);
Kind choice(const std::vector<std::string> &words); // yields the word
Kind on_off();                                      // yields a boolean
Kind text(const std::string &what);
Kind file_name();
Kind list_of(size_t count, const Kind &item); // "4,3,2,1"; yields an array

Kind any_port();                                           // 0, 1 or 8
Kind any_ports();                                          // "0,8" or "all"; yields an array of ports
Kind phy_ports();                                          // the same of 0 and 1
Kind port_set();                                           // any_ports(), or "none"
Kind word_or_ports(const std::vector<std::string> &words); // for "ingress 0,1 egress 1", word by word
Kind vid();                                                // 0 to 4095
Kind vid_list();                                           // "10-20,30"; yields an array in ascending order
Kind mac_address(); // with colons, hyphens or three groups with dots; yields lower case with colons

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
    bool goes_on = false; // until Ctrl-C
};

struct Family {
    std::string noun; // empty for commands of a single word
    std::string summary;
    std::vector<Command> commands;
};

// What a result code of the library means in one command, where that is more than it means everywhere.
struct Meaning {
    int32_t code;
    std::string text;
};
using Meanings = std::vector<Meaning>;

// Passes a library call's result on, or throws Refused: "cannot WHAT: ETH_E_PORT (...)".
int32_t check(int32_t result, const std::string &what, const Meanings &meanings = {});
std::string describe(int32_t result, const Meanings &meanings = {});

// Ports as every command takes them: lists such as 0,8, one behind the other or not, or all. Those that are
// not required are all of them.
Argument ports_to_show(const Kind &ports);
Argument ports_required(const Kind &ports); // one list: other arguments follow
Argument ports_to_switch(const Kind &ports);
std::vector<uint32_t> ports_in(const Json &given);
inline const std::vector<uint32_t> all_ports = {0, 1, 8};

std::string name_ports(const std::vector<uint32_t> &ports); // "port 8", "ports 0,8"

// A row a port: what the call returns.
Report port_table(const Arguments &arguments, std::vector<Column> columns,
                  const std::function<Json(uint32_t port)> &get);

// Does something to each port. Says what came of it, with a row a port: what the call returns.
Report set_ports(const Arguments &arguments, const std::string &outcome,
                 const std::function<Json(uint32_t port)> &set);

// Does something for each of a list, named "slot" in messages. Where one is refused, tells which were done.
void do_each(const std::vector<uint32_t> &items, const std::string &noun,
             const std::function<void(uint32_t item)> &call);
std::string name_each(const std::string &noun, const std::vector<uint32_t> &items); // "slot 8", "slots 1-3,8"

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

// "on" or "off"
const char *on_or_off(bool on);

// The network interface chosen with -i: requests to PHYs name it.
const std::string &interface_name();

// What the switch at hand is.
bool is_class_a();
bool is_class_b();

} // namespace eswctl
