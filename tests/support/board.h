// SPDX-License-Identifier: LGPL-2.1-or-later
// A test's own board: the library under test runs in this process, its requests go through the doors to a
// model in a directory of the test's own.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "sim/doors/session.h"

namespace test {

using Lines = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;

inline constexpr uint32_t class_a = 0x11140;
inline constexpr uint32_t class_b = 0x2404;
inline constexpr uint32_t early_class_b = 0xD300; // DSCP map at 30:30; that of class_b is at 30:34
inline constexpr uint32_t unknown_device = 0xD315;
inline constexpr uint32_t all_ones = 0xFFFFFFFF;

// A value that a call may write to. What it leaves alone is told from what it writes.
struct Out {
    static constexpr uint32_t untouched = 0x5A5A5A5A;

    operator uint32_t *() const { return at; }
    operator int32_t *() const { return reinterpret_cast<int32_t *>(at); }
    operator uint16_t *() const { return narrow<uint16_t>(); }
    operator uint8_t *() const { return narrow<uint8_t>(); }
    Out operator+(int further) const { return {at + further}; }

    uint32_t *at;

private:
    template <typename T>
    T *narrow() const
    {
        *at = static_cast<T>(untouched);
        return reinterpret_cast<T *>(at);
    }
};

// A call with up to ten values that it writes to: o, o + 1, ...
#define CALL(...) [&]([[maybe_unused]] test::Out o) -> int64_t { return __VA_ARGS__; }
using Call = std::function<int64_t(Out)>;

// A call on a fresh switch whose registers hold what the call is expected to read.
struct Case {
    const char *devices; // each letter one: class [a], late class [b], [e]arly class B, [u]nknown
    Call call;
    std::string outcome;
};

// In place of a log: what many calls, or many threads, do.
struct Counts {
    std::atomic<uint64_t> requests, locks, unlocks;
};

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

    // A freshly powered-on switch of any ID, which the library takes for one that it knows.
    void become(uint32_t device_id);

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

    // requests() in short, between brackets while the call holds the lock: "[30:04 r64=1 w64=101]" for a read
    // and a write of a register, whose address holds for what stands behind it; "3.9:300 3.9=0" for register
    // 9 of PHY 3; "eee1:0 eee1=1" for the EEE enable of port set 1. A '!' follows what failed.
    std::string traffic(const std::function<void()> &call);

    // "RESULT OUT...: TRAFFIC", in decimal. '.' is a value left alone; those at the end are left out.
    std::string outcome(const Call &call);
    void expect(const std::vector<Case> &cases);

    Texts printed(const std::function<void()> &call);

    // Nothing is logged from here on.
    Counts &count_only();

    // Faults, route and latency of the requests to come.
    sim::Options &options();

    // The system's interfaces as the library sees them; none by default.
    void interfaces(std::vector<std::string> names);
    void no_interface_list();

    [[nodiscard]] std::string directory() const;
    static sim::SharedSwitch *shared();

    // Where a file under /dev/shm really lies.
    [[nodiscard]] std::string shm(const std::string &name) const { return directory() + "/shm/" + name; }

private:
    void hold(std::string requests);
};

class StartedBoard : public Board {
protected:
    void SetUp() override { start(); }
};

size_t open_descriptors();
std::string contents(const std::string &path);

} // namespace test
