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

// "MAC,VID,PORT": six pairs of hexadecimal digits with colons, not a group address; 0 to 4095; 0, 1 or 8.
bool parse_station(const char *text, Station &station);

// The switch learns the station. A static entry stays as it is; a full bucket is only counted.
void learn(State &state, const Station &station);

// Dynamic entries that were not heard for the age time (taken as seconds) go, if ageing is on.
void let_time_pass(State &state, uint32_t seconds);

void arl_access_written(Switch &, unsigned index, uint64_t value);
void arl_search_written(Switch &, unsigned index, uint64_t value);
uint64_t arl_search_reading(Switch &, unsigned index, uint64_t stored);
uint64_t arl_result_data_reading(Switch &, unsigned index, uint64_t stored);
void fast_age_written(Switch &, unsigned index, uint64_t value);

inline constexpr std::array l2_registers = {
    Bank{.name = "arl-access",
         .page = 0x05,
         .offset = 0x00,
         .width = 8,
         .busy = 0x80,
         .written = arl_access_written},
    Bank{.name = "arl-mac-index", .page = 0x05, .offset = 0x02, .width = 48},
    Bank{.name = "arl-vid-index", .page = 0x05, .offset = 0x08, .width = 16},
    Bank{.name = "arl-bin-key", .page = 0x05, .offset = 0x10, .width = 64, .count = arl_bins, .stride = 0x10},
    Bank{
        .name = "arl-bin-data", .page = 0x05, .offset = 0x18, .width = 32, .count = arl_bins, .stride = 0x10},
    Bank{.name = "arl-search",
         .page = 0x05,
         .offset = 0x50,
         .width = 8,
         .busy = 0x80,
         .written = arl_search_written,
         .reading = arl_search_reading},
    Bank{.name = "arl-result-key", .page = 0x05, .offset = 0x60, .width = 64, .count = 2, .stride = 0x10},
    Bank{.name = "arl-result-data",
         .page = 0x05,
         .offset = 0x68,
         .width = 32,
         .count = 2,
         .stride = 0x10,
         .reading = arl_result_data_reading},
    Bank{.name = "arl-bin-full-counter", .page = 0x04, .offset = 0x70, .width = 32},
    Bank{.name = "arl-bin-full-forward", .page = 0x04, .offset = 0x74, .width = 16, .power_on = 1},

    Bank{.name = "fast-age",
         .page = 0x00,
         .offset = 0x88,
         .width = 8,
         .power_on = 0x02,
         .busy = 0x80,
         .written = fast_age_written},
    Bank{.name = "fast-age-port", .page = 0x00, .offset = 0x89, .width = 8},
    Bank{.name = "fast-age-vid", .page = 0x00, .offset = 0x8A, .width = 16},

    // On, 300.
    Bank{.name = "age-timer", .page = 0x02, .offset = 0x06, .width = 32, .power_on = 0x10012C},
    Bank{.name = "bpdu-address", .page = 0x04, .offset = 0x04, .width = 48, .power_on = 0x0180C2000000},
    Bank{.name = "mcast-control", .page = 0x00, .offset = 0x2F, .width = 8},
    Bank{.name = "protected-ports", .page = 0x00, .offset = 0x24, .width = 16},

    Bank{.name = "l2-cache-valid", .page = 0x04, .offset = 0x0E, .width = 16},
    Bank{.name = "l2-cache-key", .page = 0x04, .offset = 0x10, .width = 48, .count = 6, .stride = 0x10},
    Bank{.name = "l2-cache-data", .page = 0x04, .offset = 0x18, .width = 32, .count = 6, .stride = 0x10},
};

} // namespace sim
