// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/cfp.h"

#include <cstring>

#include "chip/devices.h"
#include "sim/model/switch.h"

namespace sim {
namespace {

constexpr uint8_t page = 0xA0;
constexpr uint8_t first_transfer = 0x10;

constexpr uint64_t read_slot = 0x02;
constexpr uint64_t write_slot = 0x04;
constexpr uint64_t clear_table = 0x10;

// What one RAM select moves: the transfer registers from first to last. Together they cover what the device
// class has: key and mask, action, policer, and further words, which share registers with class B's policer
// on class A.
struct Ram {
    uint8_t select;
    uint8_t first;
    uint8_t last;
};
constexpr Ram class_a_rams[] = {
    {1, 0x10, 0x4C}, {2, 0x50, 0x54}, {4, 0x60, 0x64}, {8, 0x70, 0x70}, {16, 0x74, 0x74},
};
constexpr Ram class_b_rams[] = {
    {1, 0x10, 0x4C}, {2, 0x50, 0x58}, {4, 0x60, 0x78}, {8, 0x80, 0x80}, {16, 0x84, 0x84}, {24, 0x88, 0x88},
};

template <size_t count>
const Ram *find(const Ram (&rams)[count], unsigned select)
{
    for (const Ram &ram : rams) {
        if (ram.select == select)
            return &ram;
    }
    return nullptr;
}

} // namespace

void cfp_command_written(Switch &simulated, unsigned, uint64_t value)
{
    State &state = simulated.state();
    const auto slot = static_cast<unsigned>(value >> 16 & 0xFFFF);
    const auto select = static_cast<unsigned>(value >> 10 & 0x1F);
    if (!(value & 1))
        return;
    if (value & clear_table)
        memset(state.cfp_slots, 0, sizeof state.cfp_slots);
    const bool is_class_a = chip::device(state.device_id).device_class == chip::DeviceClass::a;
    const Ram *ram = is_class_a ? find(class_a_rams, select) : find(class_b_rams, select);
    if (!ram || slot >= cfp_slots)
        return;
    for (unsigned offset = ram->first; offset <= ram->last; offset += 4) {
        uint32_t &held = state.cfp_slots[slot][(offset - first_transfer) / 4];
        uint64_t &transfer = simulated.cell(page, static_cast<uint8_t>(offset));
        if (value & read_slot)
            transfer = held;
        else if (value & write_slot)
            held = static_cast<uint32_t>(transfer);
    }
}

} // namespace sim
