// SPDX-License-Identifier: LGPL-2.1-or-later
// Settings as data. Most calls check their arguments, take the lock, and read or change one field of a
// register: a row says all that there is to know of such a setting, and one pair of functions serves every
// row.
#pragma once

#include <cstdint>

#include "core/device.h"
#include "core/register.h"

namespace esw {

// What becomes of a value, and how the register is read: a get always with 32 bits but for a wide number.
enum class Kind : uint8_t {
    flag,        // all bits of the field on or off; changed behind a 64-bit read
    narrow_flag, // the same, behind a 32-bit read
    number,      // behind a 32-bit read
    wide_number, // behind a 64-bit read
    whole,       // the register as it is: written without a read
};

struct Setting {
    Place place; // of port 0 and index 0
    Kind kind = Kind::flag;
    DeviceClass only_on = DeviceClass::unknown; // the class that has it; unknown: no matter which
    bool of_port = false; // each port has it, and the calls check theirs; otherwise the switch has it
    bool locked = false;  // the calls hold the switch lock during their requests
    bool preset = false;  // a get that fails leaves all ones

    uint8_t port_offsets = 0; // distance of the registers of port N and N + 1
    uint8_t port_bits = 0;    // distance of their fields
    uint8_t index_bits = 0;   // distance of the fields of index N and N + 1

    uint8_t last_index = 0;
    uint16_t last_value = 0; // that a set accepts; 0: any
};

// They check the chip (ETH_E_UNAVAIL), the port (ETH_E_PORT), then index and value (ETH_E_PARAM). Behind the
// checks they succeed: these calls don't report a failed request.
int32_t set(uint32_t port, uint32_t index, uint32_t value, const Setting &setting);
int32_t get(uint32_t port, uint32_t index, uint32_t *value, const Setting &setting);

// Of a port, without an index.
int32_t set(uint32_t port, uint32_t value, const Setting &setting);
int32_t get(uint32_t port, uint32_t *value, const Setting &setting);

// Of the switch.
int32_t set(uint32_t value, const Setting &setting);
int32_t get(uint32_t *value, const Setting &setting);

// The interface knows both kinds of numbers.
inline int32_t set(uint32_t port, int32_t value, const Setting &setting)
{
    return set(port, static_cast<uint32_t>(value), setting);
}
inline int32_t get(uint32_t port, int32_t *value, const Setting &setting)
{
    return get(port, reinterpret_cast<uint32_t *>(value), setting);
}
inline int32_t set(int32_t value, const Setting &setting)
{
    return set(static_cast<uint32_t>(value), setting);
}

} // namespace esw
