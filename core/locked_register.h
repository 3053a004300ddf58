// SPDX-License-Identifier: LGPL-2.1-or-later
// Registers that belong to whoever holds the switch lock.
#pragma once

#include "core/lock.h"
#include "core/register.h"

namespace esw {

// Clang builds fail where such a register is named without the lock. They don't tell where a register that other calls
// access without it is concerned (the VLAN and translation commands, the class A scheduler, the management register), a
// membership file, or a row of settings: tests hold those.
class LockedRegister {
public:
    constexpr LockedRegister(uint8_t page, uint8_t offset, uint8_t width) : register_(page, offset, width) {}
    constexpr LockedRegister(Register reg) : register_(reg) {}

    constexpr operator Register() const ESW_REQUIRES(switch_mutex) { return register_; }
    constexpr operator Address() const ESW_REQUIRES(switch_mutex) { return register_; }
    [[nodiscard]] constexpr Register at(unsigned distance) const ESW_REQUIRES(switch_mutex)
    {
        return register_.at(distance);
    }
    constexpr Place operator[](Field field) const ESW_REQUIRES(switch_mutex) { return register_[field]; }

private:
    Register register_;
};

} // namespace esw
