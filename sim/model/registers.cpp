// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/registers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "sim/model/families.h"

namespace sim {

// Not constant expressions: the compiler names them when a table has such a mistake.
void role_names_no_register();
void register_has_two_roles();
void register_starts_nothing();

namespace {

using Map = std::array<Bank, chip::registers.size()>;

constexpr void assign(Map &map, const Role &role)
{
    bool named = false;
    for (Bank &bank : map) {
        if (std::string_view(bank.name) != role.name)
            continue;
        if (bank.role.name)
            register_has_two_roles();
        bank.role = role;
        named = true;
    }
    if (!named)
        role_names_no_register();
}

template <typename... Families>
consteval Map with_roles(const Families &...families)
{
    Map map{};
    for (size_t i = 0; i < map.size(); ++i)
        map[i] = {chip::registers[i], {}};
    (std::ranges::for_each(families, [&](const Role &role) { assign(map, role); }), ...);
    for (const Bank &bank : map) {
        if (bank.starts != 0 && !bank.role.written)
            register_starts_nothing();
    }
    return map;
}

constexpr Map map =
    with_roles(core_roles, port_roles, l2_roles, mirror_roles, vlan_roles, qos_roles, stat_roles, cfp_roles);
static_assert(map.size() <= max_banks);

} // namespace

Located locate(uint8_t page, uint8_t offset)
{
    const chip::Located found = chip::locate(page, offset);
    if (!found.row)
        return {};
    const auto number = static_cast<unsigned>(found.row - chip::registers.data());
    return {&map[number], number, found.index};
}

const Bank *find_bank(const char *name)
{
    const auto *const found =
        std::ranges::find_if(map, [=](const Bank &b) { return strcmp(b.name, name) == 0; });
    return found == map.end() ? nullptr : found;
}

unsigned bank_count() { return map.size(); }

const Bank &bank(unsigned number) { return map[number]; }

} // namespace sim
