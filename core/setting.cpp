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
    switch (kind) {
    case Kind::whole:
        write(register_of(place), value);
        break;
    case Kind::flag:
        assign_flag(place, value != 0);
        break;
    case Kind::narrow_flag:
        write_field(place, value != 0 ? ~uint32_t{0} : 0);
        break;
    case Kind::number:
        write_field(place, value);
        break;
    case Kind::wide_number:
        write64_masked(register_of(place), field_of(place).mask(), field_of(place).put(value));
        break;
    }
}

// The lock, for settings that ask for it.
class SettingLock {
public:
    explicit SettingLock(const Setting &setting) ESW_UNCHECKED : locked_(setting.locked)
    {
        if (locked_)
            lock_switch();
    }
    ~SettingLock() ESW_UNCHECKED
    {
        if (locked_)
            unlock_switch();
    }
    SettingLock(const SettingLock &) = delete;
    SettingLock &operator=(const SettingLock &) = delete;

private:
    bool locked_;
};

} // namespace

int32_t set(uint32_t port, uint32_t index, uint32_t value, const Setting &setting)
{
    if (const int32_t failure = check(port, index, value, setting))
        return failure;
    const SettingLock lock(setting);
    change(place_of(port, index, setting), setting.kind, value);
    return ETH_E_NONE;
}

int32_t get(uint32_t port, uint32_t index, uint32_t *value, const Setting &setting)
{
    if (setting.preset)
        *value = ~uint32_t{0};
    if (const int32_t failure = check(port, index, 0, setting))
        return failure;
    const SettingLock lock(setting);
    const Place place = place_of(port, index, setting);
    const Address reg = register_of(place);
    *value = field_of(place).get(setting.kind == Kind::wide_number ? read64(reg) : read32(reg));
    return ETH_E_NONE;
}

int32_t set(uint32_t port, uint32_t value, const Setting &setting) { return set(port, 0, value, setting); }
int32_t get(uint32_t port, uint32_t *value, const Setting &setting) { return get(port, 0, value, setting); }

int32_t set(uint32_t value, const Setting &setting) { return set(0, 0, value, setting); }
int32_t get(uint32_t *value, const Setting &setting) { return get(0, 0, value, setting); }

} // namespace esw
