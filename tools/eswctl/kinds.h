// SPDX-License-Identifier: LGPL-2.1-or-later
// What arguments accept, and the small notations that all families share.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "eswctl/report.h"

namespace eswctl {

// What an argument accepts. `parse` throws nothing and returns null for a text that it does not accept.
struct Kind {
    std::string accepted; // completes "use ..."
    std::function<Json(const std::string &)> parse;
    std::string name = "VALUE";          // stands for it in the usage of an option
    std::vector<std::string> words = {}; // all that it accepts, when that can be listed
    std::string source = "";             // what completion offers besides: "vlan", "cfp", "interface", "file"
};

Kind number(uint64_t first, uint64_t last, const std::string &unit = ""); // hexadecimal with 0x, or decimal
Kind one_of(const std::vector<uint32_t> &numbers);
Kind choice(const std::vector<std::string> &words); // yields the word
Kind on_off();                                      // yields a boolean
Kind text(const std::string &what);
Kind file_name();
Kind list_of(size_t count, const Kind &item); // "4,3,2,1"; yields an array

Kind vid();         // 0 to 4095
Kind vid_list();    // "10-20,30"; yields an array in ascending order
Kind mac_address(); // with colons, hyphens or three groups with dots; yields lower case with colons

// As registers are shown everywhere: "0x02".
std::string hex(uint64_t value, unsigned bits);

// Between the notations of the tool and those of the library.
using Mac = std::array<uint8_t, 6>;
Mac to_mac(const Json &text);
std::string from_mac(const uint8_t mac[6]);

// "on" or "off"
const char *on_or_off(bool on);

// Lists on the command line, taken apart and put together.
std::vector<std::string> split(const std::string &list, char separator = ','); // an empty item is kept
std::vector<uint32_t> ascending(std::vector<uint32_t> numbers);                // each once
std::string enumerate(const std::vector<std::string> &words);                  // "a, b or c"
std::string ranges_of(const std::vector<uint32_t> &numbers);                   // "10-20,30"

// At most 80 characters of what somebody gave, in one line: control characters are escaped.
std::string excerpt(const std::string &text);
std::string excerpt_of(const Json &value); // as JSON

} // namespace eswctl
