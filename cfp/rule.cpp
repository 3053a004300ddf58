// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <span>

#include <esw/core.h>

#include "cfp/shared.h"
#include "core/poll.h"
#include "core/setting.h"

namespace {

using namespace esw;

constexpr Register command{0xA0, 0x00, 32};
constexpr Field slot_index{16, 16};
constexpr Field ram_select{10, 5};
constexpr Field start{0}; // reads as set until the operation is done
constexpr uint64_t read_slot = Field{1}.mask() | start.mask();
constexpr uint64_t write_slot = Field{2}.mask() | start.mask();
constexpr uint64_t clear_table = Field{4}.mask() | start.mask();
constexpr unsigned reads_until_timeout = 101;

constexpr Register policer_control{0xA0, 0x04, 32};
constexpr Field policers_in_use{2}; // class B
constexpr Setting enabled{
    .place = Register(0xA1, 0x00, 16)[{0}],
    .of_port = true,
    .port_bits = 1,
};

constexpr Field slot_in_use{0, 2}; // of data[0]
constexpr Field rate_mode{3, 2};   // of policer[0], class B
constexpr uint32_t unused_rate_mode = 3;
constexpr Field metered{31}; // of policer[1], class A

constexpr uint8_t word_of(size_t byte_offset) { return static_cast<uint8_t>(byte_offset / sizeof(uint32_t)); }
constexpr uint8_t first_data = word_of(offsetof(eth_cfp_rule_t, data));
constexpr uint8_t first_mask = word_of(offsetof(eth_cfp_rule_t, mask));
constexpr uint8_t first_action = word_of(offsetof(eth_cfp_rule_t, action));
constexpr uint8_t first_policer = word_of(offsetof(eth_cfp_rule_t, policer));
constexpr uint8_t first_ext_a = word_of(offsetof(eth_cfp_rule_t, ext_a));
constexpr uint8_t first_ext_b = word_of(offsetof(eth_cfp_rule_t, ext_b));

// A word of the record and the register that carries it: so far behind the command register.
struct Transfer {
    uint8_t word;
    uint8_t offset;
};

struct Run {
    uint8_t first_word;
    uint8_t first_offset;
    uint8_t words;
};

// In the order of exchange: data and mask by turns, then each run.
template <size_t count>
consteval std::array<Transfer, count> transfers(std::initializer_list<Run> runs)
{
    std::array<Transfer, count> all{};
    Transfer *next = all.data();
    const auto append = [&](uint8_t word, uint8_t offset, unsigned i) {
        *next++ = {static_cast<uint8_t>(word + i), static_cast<uint8_t>(offset + 4 * i)};
    };
    for (unsigned i = 0; i < 8; ++i) {
        append(first_data, 0x10, i);
        append(first_mask, 0x30, i);
    }
    for (const Run &run : runs) {
        for (unsigned i = 0; i < run.words; ++i)
            append(run.first_word, run.first_offset, i);
    }
    return all;
}

constexpr auto class_a_transfers =
    transfers<22>({{first_action, 0x50, 2}, {first_policer, 0x60, 2}, {first_ext_a, 0x70, 2}});
constexpr auto class_b_transfers =
    transfers<29>({{first_action, 0x50, 3}, {first_policer, 0x60, 7}, {first_ext_b, 0x80, 3}});
constexpr uint8_t ram_selects[] = {1, 2, 4, 8, 16, 24};

// What a class exchanges for one slot.
std::span<const Transfer> transfers_of(DeviceClass device)
{
    if (device == DeviceClass::b)
        return class_b_transfers;
    return class_a_transfers;
}

// The RAMs that hold it.
std::span<const uint8_t> rams_of(DeviceClass device)
{
    return std::span(ram_selects).first(device == DeviceClass::b ? 6 : 5);
}

enum class Direction : bool { to_switch, from_switch };

void exchange(DeviceClass device, eth_cfp_rule_t &rule, Direction direction)
{
    for (const Transfer transfer : transfers_of(device)) {
        const Register carrier = command.at(transfer.offset);
        uint32_t &word = reinterpret_cast<uint32_t *>(&rule)[transfer.word];
        if (direction == Direction::to_switch)
            write(carrier, word);
        else
            word = read32(carrier);
    }
}

int32_t ethHw_cfp_access_wait() { return poll(command[start], 0, reads_until_timeout); }

int32_t run(uint64_t operation)
{
    write(command, operation);
    return ethHw_cfp_access_wait();
}

int32_t run_on_all_rams(DeviceClass device, uint32_t slot, uint64_t operation)
{
    for (const uint8_t ram : rams_of(device)) {
        if (run(slot_index.put(slot) | ram_select.put(ram) | operation) != ETH_E_NONE)
            return ETH_E_TIMEOUT;
    }
    return ETH_E_NONE;
}

int32_t fetch(DeviceClass device, uint32_t slot, eth_cfp_rule_t &rule)
{
    if (run_on_all_rams(device, slot, read_slot) != ETH_E_NONE)
        return ETH_E_TIMEOUT;
    exchange(device, rule, Direction::from_switch);
    return ETH_E_NONE;
}

int32_t choose_free_slot(DeviceClass device)
{
    int32_t slot = last_chosen_slot();
    for (int32_t examined = 0; examined <= last_cfp_slot; ++examined) {
        eth_cfp_rule_t rule;
        if (fetch(device, static_cast<uint32_t>(slot), rule) != ETH_E_NONE)
            return ETH_E_TIMEOUT;
        if (!slot_in_use.get(rule.data[0])) {
            ethHw_cfp_last_idx_save(slot);
            return slot;
        }
        slot = (slot + 1) & last_cfp_slot;
    }
    return ETH_E_FULL;
}

} // namespace

DeviceClass esw::served_class(const char *function)
{
    const DeviceClass device = device_class();
    if (device == DeviceClass::unknown)
        printf("%s: switch (0x%X) NOT supported!\n", function, gESWID);
    return device;
}

void eth_cfp_rule_t_init(eth_cfp_rule_t *rule)
{
    *rule = {};
    if (is_class_b())
        rule->policer[0] = static_cast<uint32_t>(rate_mode.put(unused_rate_mode));
}

int32_t eth_cfp_rule_get(uint32_t index, eth_cfp_rule_t *rule)
{
    if (index > last_cfp_slot)
        return ETH_E_PARAM;
    const DeviceClass device = served_class(__func__);
    if (device == DeviceClass::unknown)
        return ETH_E_UNSUPPORTED;
    return fetch(device, index, *rule);
}

int32_t eth_cfp_rule_set(int32_t index, eth_cfp_rule_t rule)
{
    if (index > last_cfp_slot)
        return ETH_E_PARAM;
    const DeviceClass device = served_class(__func__);
    if (device == DeviceClass::unknown)
        return ETH_E_UNSUPPORTED;

    if (index < 0)
        index = choose_free_slot(device);
    if (index < 0)
        return index;

    exchange(device, rule, Direction::to_switch);
    if (run_on_all_rams(device, static_cast<uint32_t>(index), write_slot) != ETH_E_NONE)
        return ETH_E_TIMEOUT;
    if (device == DeviceClass::b && rate_mode.get(rule.policer[0]) != unused_rate_mode)
        assign_flag(policer_control[policers_in_use], true);
    return index;
}

int32_t eth_cfp_rule_clear(void)
{
    eth_cfp_rule_t cleared;
    eth_cfp_rule_t_init(&cleared);
    cleared.policer[1] = static_cast<uint32_t>(metered.mask());
    for (int32_t slot = 0; slot <= last_cfp_slot; ++slot)
        eth_cfp_rule_set(slot, cleared);
    return run(clear_table);
}

int32_t eth_cfp_enable_set(uint32_t port, int32_t enable) { return set(port, enable, enabled); }

int32_t eth_cfp_enable_get(uint32_t port, uint32_t *on) { return get(port, on, enabled); }
