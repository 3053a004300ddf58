// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/switch.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace sim {
namespace {

constexpr uint64_t reset_bits = 0x90;

} // namespace

void Switch::power_on(uint32_t device_id)
{
    memset(&state_, 0, sizeof state_);
    state_.device_id = device_id;
    for (unsigned number = 0; number < bank_count(); ++number) {
        const Bank &b = bank(number);
        for (unsigned index = 0; index < b.count; ++index)
            cell(b.page, static_cast<uint8_t>(b.offset + index * b.stride)) = b.role.power_on;
    }
    const Bank *id = find_bank("device-id");
    cell(id->page, id->offset) = device_id;
    power_on_phys(*this);
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

// A reset brings every register back to its power-on contents. What comes from outside, traffic and pulled
// cables, stays. The start bits clear themselves.
void switch_reset_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & reset_bits) != reset_bits)
        return;
    const State &state = simulated.state();
    const std::array traffic = std::to_array(state.traffic);
    const uint32_t unplugged = state.unplugged;
    simulated.power_on(state.device_id);
    std::ranges::copy(traffic, simulated.state().traffic);
    for (unsigned port = 0; port < phy_count; ++port)
        plug_cable(simulated, port, (unplugged >> port & 1) == 0);
}

} // namespace sim
