// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/setting.h"

#include <esw/types.h>

#include "core/lock.h"
#include "core/ports.h"

namespace esw {
namespace {

int32_t check(uint32_t port, uint32_t index, uint32_t value, const Setting &setting)
{
    if (setting.only_on != DeviceClass::unknown && setting.only_on != device_class())
        return ETH_E_UNAVAIL;
    if (setting.of_port && !is_port(port))
        return ETH_E_PORT;
    const bool too_large = setting.last_value != 0 && value > setting.last_value;
    return index > setting.last_index || too_large ? ETH_E_PARAM : ETH_E_NONE;
}

Place place_of(uint32_t port, uint32_t index, const Setting &setting)
{
    return moved(setting.place, setting.port_offsets * port,
                 setting.port_bits * port + setting.index_bits * index);
}

void change(Place place, Kind kind, uint32_t value)
{
    if (kind == Kind::whole) {
        write(register_of(place), value);
        return;
    }
    const bool is_flag = kind == Kind::flag || kind == Kind::narrow_flag;
    const bool wide = kind == Kind::flag || kind == Kind::wide_number;
    write_field(place, is_flag && value != 0 ? ~uint32_t{0} : value, wide);
}

uint32_t read(Place place, Kind kind)
{
    const Address reg = register_of(place);
    return field_of(place).get(kind == Kind::wide_number ? read64(reg) : read32(reg));
}

// Reads the setting where there is a result to fill; changes it otherwise.
int32_t access(uint32_t port, uint32_t index, uint32_t value, const Setting &setting,
               uint32_t *result) ESW_UNCHECKED
{
    if (result && setting.preset)
        *result = ~uint32_t{0};
    if (const int32_t failure = check(port, index, value, setting))
        return failure;
    if (setting.locked)
        lock_switch();
    const Place place = place_of(port, index, setting);
    if (result)
        *result = read(place, setting.kind);
    else
        change(place, setting.kind, value);
    if (setting.locked)
        unlock_switch();
    return ETH_E_NONE;
}

} // namespace

int32_t set(uint32_t port, uint32_t index, uint32_t value, const Setting &setting)
{
    return access(port, index, value, setting, nullptr);
}

int32_t get(uint32_t port, uint32_t index, uint32_t *value, const Setting &setting)
{
    return access(port, index, 0, setting, value);
}

int32_t set(uint32_t port, uint32_t value, const Setting &setting) { return set(port, 0, value, setting); }
int32_t get(uint32_t port, uint32_t *value, const Setting &setting) { return get(port, 0, value, setting); }

int32_t set(uint32_t value, const Setting &setting) { return set(0, 0, value, setting); }
int32_t get(uint32_t *value, const Setting &setting) { return get(0, 0, value, setting); }

} // namespace esw
