// SPDX-License-Identifier: LGPL-2.1-or-later
// A test's own board: the library under test runs in this process, its requests go through the doors to a
// model in a directory of the test's own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "sim/doors/session.h"

namespace test {

using Lines = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;

inline constexpr uint32_t class_a = 0x11140;
inline constexpr uint32_t class_b = 0x2404;

struct Texts {
    std::string out;   // standard output
    std::string error; // standard error, the system's error texts included
};

class Board : public testing::Test {
protected:
    Board();
    ~Board() override;

    // The library, initialised for this device. Clears the log.
    void start(uint32_t device_id = class_b);

    // Makes this the device without initialising the library.
    void power_on(uint32_t device_id);

    // A register's contents.
    uint64_t &reg(uint8_t page, uint8_t offset);

    // Everything else that the switch remembers.
    sim::State &state();

    // What the library did since the last call: one line for each request ("read 02:30 w64 -> 0x2404",
    // "write 00:79 w64 <- 0x90", with " failed" behind), "lock" and "unlock" for the switch lock, and
    // "syslog PRIORITY: TEXT".
    Lines log();

    // log() without the syslog lines; of a call.
    Lines requests(const std::function<void()> &call);

    // requests() on one line, in short: "3.9:300 3.9=0" for a read and a write of register 9 of PHY 3,
    // "eee1:0 eee1=1" for a read and a write of the EEE enable of port set 1.
    std::string short_requests(const std::function<void()> &call);

    Texts printed(const std::function<void()> &call);

    // Faults, route and latency of the requests to come.
    sim::Options &options();

    // The system's interfaces as the library sees them; none by default.
    void interfaces(std::vector<std::string> names);
    void no_interface_list();

    [[nodiscard]] std::string directory() const;
};

class StartedBoard : public Board {
protected:
    void SetUp() override { start(); }
};

} // namespace test
