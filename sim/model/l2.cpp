// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/l2.h"

#include "sim/model/switch.h"

namespace sim {
namespace {

constexpr unsigned vid_low = 48;
constexpr unsigned bucket_bits = 10;
constexpr uint64_t group_bit = uint64_t{1} << 40;

// Commands and selections, as written.
constexpr uint64_t start = 0x80;
constexpr uint64_t access_reads = 0x01;
constexpr uint64_t match_vid = 0x08;
constexpr uint64_t match_port = 0x04;
constexpr uint64_t flush_dynamic = 0x02;
constexpr uint64_t flush_static = 0x01;

constexpr uint8_t search_ready = 0x01;

constexpr uint64_t aging_enabled = 0x100000;
constexpr uint64_t age_time = 0xFFFFF;

struct Address {
    uint8_t page;
    uint8_t offset;
};
constexpr Address mac_index{0x05, 0x02};
constexpr Address vid_index{0x05, 0x08};
constexpr Address bin_full_counter{0x04, 0x70};
constexpr Address search_control{0x05, 0x50};
constexpr Address fast_age_port{0x00, 0x89};
constexpr Address fast_age_vid{0x00, 0x8A};
constexpr Address age_timer{0x02, 0x06};
constexpr Address port_control{0x00, 0x00}; // of port 0; port 1's is the next
constexpr Address cpu_port_control{0x02, 0x00};

constexpr uint64_t port_off = 0x03;    // either bit
constexpr uint64_t cpu_port_on = 0xC0; // either bit
constexpr uint32_t class_bits = 0x3800;

uint64_t &cell(State &state, Address at) { return state.cells[at.page][at.offset]; }

// Key and data words of bins and results stand alike: the data word 8 behind its key word.
Address bin_key(unsigned bin) { return {0x05, static_cast<uint8_t>(0x10 + 0x10 * bin)}; }
Address result_key(unsigned number) { return {0x05, static_cast<uint8_t>(0x60 + 0x10 * number)}; }
Address data_behind(Address key) { return {key.page, static_cast<uint8_t>(key.offset + 8)}; }

bool is_valid(const ArlBin &bin) { return (bin.data & arl_valid) != 0; }
bool is_dynamic(const ArlBin &bin) { return is_valid(bin) && (bin.data & arl_static) == 0; }

void show(State &state, Address key, const ArlBin &bin)
{
    cell(state, key) = bin.key;
    cell(state, data_behind(key)) = bin.data;
}

// A write stores the whole bucket. The bins beside the one that is meant don't become younger by it.
void store(State &state, Address key, ArlBin &bin, uint64_t meant)
{
    const auto data = static_cast<uint32_t>(cell(state, data_behind(key)));
    if (bin.key == meant || bin.key != cell(state, key) || bin.data != data)
        bin = {cell(state, key), data, 0};
}

bool is_enabled(State &state, uint8_t port)
{
    if (port == 8)
        return (cell(state, cpu_port_control) & cpu_port_on) != 0;
    return (cell(state, {port_control.page, static_cast<uint8_t>(port_control.offset + port)}) & port_off) ==
           0;
}

bool is_at_port(const ArlBin &bin, uint64_t port)
{
    const uint32_t ports = bin.data & 0x1FF;
    return (bin.key & group_bit) != 0 ? port < 32 && (ports >> port & 1) != 0 : ports == port;
}

auto &search_latency(State &state)
{
    return state.busy[locate(search_control.page, search_control.offset).number];
}

// Puts the next two valid entries into the result registers; what is missing at the end is cleared.
void show_next_results(Switch &simulated)
{
    State &state = simulated.state();
    AddressTable &arl = state.arl;
    for (unsigned number = 0; number < 2; ++number) {
        while (arl.next_searched < arl_entries && !is_valid(arl.bins[arl.next_searched]))
            ++arl.next_searched;
        const bool at_end = arl.next_searched >= arl_entries;
        show(state, result_key(number), at_end ? ArlBin{} : arl.bins[arl.next_searched++]);
    }
    search_latency(state) = {simulated.behaviour().latency, static_cast<uint32_t>(start)};
}

} // namespace

ArlBin *arl_bucket(AddressTable &table, uint64_t key)
{
    uint64_t bucket = 0;
    for (; key != 0; key >>= bucket_bits)
        bucket ^= key % arl_buckets;
    return &table.bins[bucket * arl_bins];
}

void arl_access_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & start) == 0)
        return;
    State &state = simulated.state();
    const uint64_t key = cell(state, mac_index) | cell(state, vid_index) << vid_low;
    ArlBin *bucket = arl_bucket(state.arl, key);
    for (unsigned bin = 0; bin < arl_bins; ++bin) {
        if (value & access_reads)
            show(state, bin_key(bin), bucket[bin]);
        else
            store(state, bin_key(bin), bucket[bin], key);
    }
}

// The start bit stays set while a walk runs. A pair is ready once the latency is over, and is taken by the
// read of its last word. Behind the last entry comes one pair of cleared results; then the walk is over and
// nothing becomes ready any more.
void arl_search_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & start) == 0)
        return;
    simulated.state().arl.next_searched = 0;
    simulated.state().arl.search_runs = 1;
    show_next_results(simulated);
}

uint64_t arl_search_reading(Switch &simulated, unsigned, uint64_t)
{
    if (!simulated.state().arl.search_runs)
        return 0;
    const bool stuck = simulated.behaviour().stuck == locate(search_control.page, search_control.offset).bank;
    return start | (!stuck && search_latency(simulated.state()).reads == 0 ? search_ready : 0);
}

uint64_t arl_result_data_reading(Switch &simulated, unsigned index, uint64_t stored)
{
    State &state = simulated.state();
    if (index == 0 || !state.arl.search_runs)
        return stored;
    const bool was_last = (cell(state, data_behind(result_key(0))) & arl_valid) == 0;
    if (was_last)
        state.arl.search_runs = 0;
    else
        show_next_results(simulated);
    return stored;
}

void fast_age_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & start) == 0)
        return;
    State &state = simulated.state();
    const uint64_t port = cell(state, fast_age_port);
    const uint64_t vid = cell(state, fast_age_vid);
    for (ArlBin &bin : state.arl.bins) {
        const uint64_t kind = is_dynamic(bin) ? flush_dynamic : flush_static;
        const bool matches = ((value & match_port) == 0 || is_at_port(bin, port)) &&
                             ((value & match_vid) == 0 || bin.key >> vid_low == vid);
        if (is_valid(bin) && (value & kind) != 0 && matches)
            bin = {};
    }
}

void learn(State &state, const Station &station)
{
    if (!is_enabled(state, station.port))
        return;
    const uint64_t key = station.mac | uint64_t{station.vid} << vid_low;
    ArlBin *bucket = arl_bucket(state.arl, key);
    ArlBin *chosen = nullptr;
    for (ArlBin *bin = bucket + arl_bins; bin-- != bucket;) {
        if (!is_valid(*bin))
            chosen = chosen && is_valid(*chosen) ? chosen : bin;
        else if (bin->key == key)
            chosen = bin;
    }
    if (!chosen)
        ++cell(state, bin_full_counter);
    else if (!is_valid(*chosen) || is_dynamic(*chosen))
        *chosen = {key, station.port | arl_valid | (is_valid(*chosen) ? chosen->data & class_bits : 0), 0};
}

void let_time_pass(State &state, uint32_t seconds)
{
    const uint64_t timer = cell(state, age_timer);
    for (ArlBin &bin : state.arl.bins) {
        if (!is_dynamic(bin))
            continue;
        bin.age = seconds < ~bin.age ? bin.age + seconds : ~uint32_t{0};
        if ((timer & aging_enabled) != 0 && bin.age >= (timer & age_time))
            bin = {};
    }
}

} // namespace sim
