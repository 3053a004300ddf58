// SPDX-License-Identifier: LGPL-2.1-or-later
// The address table with its search, flush and ageing, what steers forwarding, and the L2 cache.
#pragma once

#include <array>

#include "sim/model/bank.h"

namespace sim {

struct State;

inline constexpr unsigned arl_buckets = 1024;
inline constexpr unsigned arl_bins = 4;
inline constexpr unsigned arl_entries = arl_buckets * arl_bins;

inline constexpr uint32_t arl_static = 0x8000;
inline constexpr uint32_t arl_valid = 0x10000;

struct ArlBin {
    uint64_t key;  // MAC address in bits 0 to 47, VID above
    uint32_t data; // port or port set in bits 0 to 8, class in bits 11 to 13, arl_static, arl_valid
    uint32_t age;  // time since the entry was written or its station was heard
};

struct AddressTable {
    ArlBin bins[arl_entries]; // bucket after bucket
    uint32_t next_searched;   // where the search goes on; arl_entries: at the end
    uint32_t search_runs;
};

// The four bins that this MAC address and VID can be in. Keys that count up fill the buckets evenly.
ArlBin *arl_bucket(AddressTable &table, uint64_t key);

// A station that sent a frame.
struct Station {
    uint64_t mac;
    uint16_t vid;
    uint8_t port;
};

// The switch learns the station, if its port is on. A static entry stays as it is, one that is there keeps
// its class; a full bucket is only counted.
void learn(State &state, const Station &station);

// Dynamic entries that were not heard for the age time (taken as seconds) go, if ageing is on.
void let_time_pass(State &state, uint32_t seconds);

void arl_access_written(Switch &, unsigned index, uint64_t value);
void arl_search_written(Switch &, unsigned index, uint64_t value);
uint64_t arl_search_reading(Switch &, unsigned index, uint64_t stored);
uint64_t arl_result_data_reading(Switch &, unsigned index, uint64_t stored);
void fast_age_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array l2_roles = {
    Role{.name = "arl-access", .written = arl_access_written},
    Role{.name = "arl-search", .written = arl_search_written, .reading = arl_search_reading},
    Role{.name = "arl-result-data", .reading = arl_result_data_reading},
    Role{.name = "arl-bin-full-forward", .power_on = 1},
    Role{.name = "fast-age", .power_on = 0x02, .written = fast_age_written},
    Role{.name = "age-timer", .power_on = 0x10012C}, // on, 300
    Role{.name = "bpdu-address", .power_on = 0x0180C2000000},
};

} // namespace sim
