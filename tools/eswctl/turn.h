// SPDX-License-Identifier: LGPL-2.1-or-later
// One program at a time: tables of the switch lie behind index, data and command registers, and two programs
// at once would mix them up. All who join hold an advisory lock on a file meanwhile.
#pragma once

#include <cstdint>
#include <string>

namespace eswctl {

inline constexpr uint64_t no_limit = UINT64_MAX;

// To the end of its scope, the switch is this command's. Waits for those who have it, at most so many
// seconds, and says so after one. Throws Refused when it waited in vain. A child process that goes on after
// its parent takes a turn of its own.
class Turn {
public:
    explicit Turn(uint64_t seconds = no_limit);
    ~Turn();
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;
};

// The path of a file in the directory of the lock: what all programs on this switch share, until the system
// starts anew.
std::string beside_lock(const std::string &name);

// Lets others have the switch to the end of its scope: while a command asks, sleeps, or shows what it has
// read. What was read before may be different afterwards.
class UnlockedWhile {
public:
    UnlockedWhile();
    ~UnlockedWhile();
    UnlockedWhile(const UnlockedWhile &) = delete;
    UnlockedWhile &operator=(const UnlockedWhile &) = delete;

private:
    bool had_turn_;
};

} // namespace eswctl
