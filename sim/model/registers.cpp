// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/registers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include "sim/model/families.h"

namespace sim {
namespace {

template <size_t... sizes>
constexpr auto concatenate(const std::array<Bank, sizes> &...families)
{
    std::array<Bank, (sizes + ...)> all{};
    auto next = all.begin();
    ((next = std::copy(families.begin(), families.end(), next)), ...);
    std::ranges::sort(all, {}, [](const Bank &bank) { return bank.page << 8 | bank.offset; });
    return all;
}

constexpr auto map =
    concatenate(core_registers, port_registers, l2_registers, control_registers, mirror_registers,
                vlan_registers, qos_registers, stat_registers, port_0_counters, port_1_counters,
                port_8_counters, snapshot_counters, cfp_registers);
static_assert(map.size() <= max_banks);

// first_on_page[p] .. first_on_page[p + 1] are page p's banks.
constexpr auto first_on_page = [] {
    std::array<uint8_t, 257> first{};
    for (const Bank &b : map)
        ++first[b.page + 1U];
    std::partial_sum(first.begin(), first.end(), first.begin());
    return first;
}();

} // namespace

Located locate(uint8_t page, uint8_t offset)
{
    for (unsigned number = first_on_page[page]; number < first_on_page[page + 1U]; ++number) {
        const Bank &bank = map[number];
        for (unsigned index = 0; index < bank.count; ++index) {
            if (bank.offset + index * bank.stride == offset)
                return {&bank, number, index};
        }
    }
    return {};
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
