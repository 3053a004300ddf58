// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests of single calls: each begins on a freshly powered-on switch of any ID.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include <esw.h>

#include "tests/support/board.h"

namespace test {

inline constexpr uint32_t early_class_b = 0xD300; // DSCP map at 30:30; that of class_b is at 30:34
inline constexpr uint32_t unknown_device = 0xD315;

using Out = uint32_t *; // eight values of 5 that a call may write to

// A call on a fresh switch, whose registers hold what the call is expected to read.
struct Case {
    const char *devices; // each letter one: class [a], late class [b], [e]arly class B, [u]nknown
    std::function<int32_t(Out)> call;
    int32_t result;
    std::string requests;
    std::vector<uint32_t> out = {5}; // the first values
};

class FreshSwitch : public Board {
protected:
    void SetUp() override { start(); }

    void become(uint32_t device)
    {
        power_on(device);
        gESWID = device;
    }

    // "[30:04 r64=1 w64=101]": the requests of a call, between brackets while it holds the lock. An address
    // holds for what stands behind it.
    std::string traffic(const std::function<void()> &call)
    {
        std::string all, last_address;
        for (const std::string &line : requests(call)) {
            if (line == "lock" || line == "unlock") {
                all += line == "lock" ? "[" : "]";
                last_address.clear();
                continue;
            }
            char verb[8], address[8], arrow[4], value[20];
            unsigned width = 0;
            sscanf(line.c_str(), "%7s %7s w%u %3s 0x%19s", verb, address, &width, arrow, value);
            if (!all.empty() && all.back() != '[' && all.back() != ']')
                all += ' ';
            if (address != last_address)
                all += (last_address = address) + ' ';
            all += fmt::format("{}{}={}", verb[0], width, value);
        }
        return all;
    }

    // Each register that is read first.
    void hold(std::string requests)
    {
        std::ranges::replace(requests, '[', ' ');
        std::ranges::replace(requests, ']', ' ');
        std::istringstream words(requests);
        std::set<std::string> touched;
        for (std::string word, address; words >> word;) {
            if (word[2] == ':')
                address = word;
            else if (touched.insert(address).second && word[0] == 'r')
                reg(static_cast<uint8_t>(std::stoul(address, nullptr, 16)),
                    static_cast<uint8_t>(std::stoul(address.substr(3), nullptr, 16))) =
                    std::stoull(word.substr(4), nullptr, 16);
        }
    }

    void expect(const std::vector<Case> &cases)
    {
        static const std::map<char, uint32_t> ids = {
            {'a', class_a}, {'b', class_b}, {'e', early_class_b}, {'u', unknown_device}};
        for (const Case &c : cases) {
            for (const char device : std::string(c.devices)) {
                SCOPED_TRACE(fmt::format("case {} on device {}", &c - cases.data(), device));
                become(ids.at(device));
                hold(c.requests);
                std::vector<uint32_t> out(8, 5);
                EXPECT_EQ(traffic([&] { EXPECT_EQ(c.call(out.data()), c.result); }), c.requests);
                out.resize(c.out.size());
                EXPECT_EQ(out, c.out);
            }
        }
    }
};

} // namespace test
