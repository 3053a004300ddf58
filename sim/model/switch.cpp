// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/switch.h"

#include <cstddef>
#include <cstring>

namespace sim {
namespace {

constexpr uint64_t reset_bits = 0x90;

} // namespace

void Switch::power_on(uint32_t device_id)
{
    memset(&state_, 0, sizeof state_);
    state_.device_id = device_id;
    reset();
}

void Switch::reset()
{
    constexpr size_t kept = offsetof(State, cells);
    state_.reset_runs = 1;
    memset(reinterpret_cast<char *>(&state_) + kept, 0, sizeof state_ - kept);
    for (unsigned number = 0; number < bank_count(); ++number) {
        const Bank &b = bank(number);
        for (unsigned index = 0; index < b.count; ++index)
            cell(b.page, static_cast<uint8_t>(b.offset + index * b.stride)) = b.role.power_on;
    }
    const Bank *id = find_bank("device-id");
    cell(id->page, id->offset) = state_.device_id;
    power_on_phys(*this);
    state_.reset_runs = 0;
}

void Switch::finish_reset()
{
    if (state_.reset_runs)
        reset();
}

bool Switch::is_passive(const Located &at, bool write) const
{
    if (!at.bank)
        return true;
    const Role &role = at.bank->role;
    if (write)
        return !role.written;
    const bool settled = !role.reading || (role.settled && role.settled(*this));
    return settled && !role.refresh && at.bank != behaviour_.stuck && state_.busy[at.number].reads == 0;
}

uint64_t Switch::read(uint8_t page, uint8_t offset)
{
    const auto [bank, number, index] = locate(page, offset);
    if (bank && bank->role.refresh)
        bank->role.refresh(*this);
    uint64_t value = cell(page, offset);
    if (!bank)
        return value;
    if (bank->role.reading)
        value = bank->role.reading(*this, index, value);
    if (bank == behaviour_.stuck) {
        value |= bank->starts;
    } else if (auto &busy = state_.busy[number]; busy.reads != 0) {
        --busy.reads;
        value |= busy.bits;
    }
    return value & bank->mask();
}

void Switch::write(uint8_t page, uint8_t offset, uint64_t value)
{
    const auto [bank, number, index] = locate(page, offset);
    if (!bank) {
        cell(page, offset) = value;
        return;
    }
    if (bank->read_only)
        return;
    value &= bank->mask();
    cell(page, offset) = value & ~bank->starts;
    if (value & bank->starts)
        state_.busy[number] = {behaviour_.latency, static_cast<uint32_t>(value & bank->starts)};
    if (bank->role.written)
        bank->role.written(*this, index, value);
}

// The start bits clear themselves.
void switch_reset_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & reset_bits) == reset_bits)
        simulated.reset();
}

} // namespace sim
