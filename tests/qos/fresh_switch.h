// Tests of single calls: each begins on a freshly powered-on switch of any ID.
#pragma once

#include <esw.h>

#include "tests/support/board.h"

namespace test {

inline constexpr uint32_t early_class_b = 0xD300; // DSCP map at 30:30; that of class_b is at 30:34
inline constexpr uint32_t unknown_device = 0xD315;

class FreshSwitch : public Board {
protected:
    void SetUp() override { start(); }

    void become(uint32_t device)
    {
        power_on(device);
        gESWID = device;
    }

    // "[r64 30:04=0x1 w64 30:04=0x101]": the requests of a call, between brackets while it holds the lock.
    std::string traffic(const std::function<void()> &call)
    {
        std::string all;
        for (const std::string &line : requests(call)) {
            if (line == "lock" || line == "unlock") {
                all += line == "lock" ? "[" : "]";
                continue;
            }
            char verb[8], address[8], arrow[4], value[20];
            unsigned width = 0;
            sscanf(line.c_str(), "%7s %7s w%u %3s %19s", verb, address, &width, arrow, value);
            all += all.empty() || all.back() == '[' ? "" : " ";
            all += fmt::format("{}{} {}={}", verb[0], width, address, value);
        }
        return all;
    }
};

} // namespace test
