// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/vlan.h"

#include <cstring>

#include "chip/devices.h"
#include "sim/model/switch.h"

namespace sim {
namespace {

constexpr uint64_t table_start = 0x80;
constexpr uint64_t table_operation = 0x03;
enum : uint8_t { operation_write, operation_read, operation_clear };

constexpr uint64_t evt_start = 0x1;
constexpr uint64_t evt_write = 0x2;
constexpr uint64_t evt_clear = 0x4;

void exchange(uint64_t &reg, uint32_t &entry, bool write)
{
    if (write)
        entry = static_cast<uint32_t>(reg);
    else
        reg = entry;
}

} // namespace

void vlan_table_command_written(Switch &simulated, unsigned, uint64_t value)
{
    auto &table = simulated.state().vlan_table;
    const uint64_t operation = value & table_operation;
    if ((value & table_start) == 0)
        return;
    if (operation == operation_write || operation == operation_read)
        exchange(simulated.cell(0x05, 0x83), table[simulated.cell(0x05, 0x81) & 0xFFF],
                 operation == operation_write);
    else if (operation == operation_clear)
        memset(table, 0, sizeof table);
}

void evt_command_written(Switch &simulated, unsigned, uint64_t value)
{
    auto &table = simulated.state().evt;
    if (value & evt_start)
        exchange(simulated.cell(0x34, 0x44), table[value >> 4 & 0xF][value >> 8 & 0xFF],
                 (value & evt_write) != 0);
    if (value & evt_clear)
        memset(table, 0, sizeof table);
}

// Without a translation table its registers read as zero.
uint64_t evt_reading(Switch &simulated, unsigned, uint64_t stored)
{
    return chip::device(simulated.state().device_id).translates_egress ? stored : 0;
}

} // namespace sim
