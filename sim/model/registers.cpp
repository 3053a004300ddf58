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
#ifndef __SANITIZE_ADDRESS__ // GCC does not tell the address of a function from null at compile time then
    for (const Bank &bank : map) {
        if (bank.starts != 0 && !bank.role.written)
            register_starts_nothing();
    }
#endif
    return map;
}

constexpr Map map =
    with_roles(core_roles, port_roles, l2_roles, mirror_roles, vlan_roles, qos_roles, stat_roles, cfp_roles);
static_assert(map.size() <= max_banks);

// Which bank is where, for each page that has any: every request looks here.
constexpr unsigned pages = [] {
    unsigned count = 0;
    for (size_t i = 0; i < map.size(); ++i)
        count += i == 0 || map[i].page != map[i - 1].page;
    return count;
}();
struct Places {
    uint8_t row_of[256] = {};            // by page; 0: no register on it
    uint8_t number[pages + 1][256] = {}; // of the bank, from 1 on; 0: no register there
};
constexpr Places places = [] {
    Places all;
    uint8_t rows = 0;
    for (size_t i = 0; i < map.size(); ++i) {
        uint8_t &row = all.row_of[map[i].page];
        row = row == 0 ? ++rows : row;
        for (unsigned index = 0; index < map[i].count; ++index)
            all.number[row][map[i].offset + index * map[i].stride] = static_cast<uint8_t>(i + 1);
    }
    return all;
}();

} // namespace

Located locate(uint8_t page, uint8_t offset)
{
    const unsigned number = places.number[places.row_of[page]][offset];
    if (number == 0)
        return {};
    const Bank &bank = map[number - 1];
    const unsigned distance = offset - bank.offset;
    return {&bank, number - 1, bank.count > 1 ? distance / bank.stride : 0};
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
