// SPDX-License-Identifier: LGPL-2.1-or-later
// The register map: every register that is known, by page and offset. Neither class of chip has all of them;
// where both have something at one address, it is the same register.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace chip {

// One register, or `count` registers of one kind that stand `stride` offsets apart.
struct Register {
    const char *name;
    uint8_t page;
    uint8_t offset;
    uint8_t width; // bits that the register really has; the rest reads as zero
    uint8_t count = 1;
    uint8_t stride = 0;
    bool read_only = false; // keeps what the hardware says when it is written
    uint64_t starts = 0;    // bits that start an operation when written, and read as set until it is done

    [[nodiscard]] constexpr uint64_t mask() const { return ~uint64_t{0} >> (64 - width); }
    [[nodiscard]] constexpr unsigned position() const { return page * 256U + offset; }
};

// Banks of per-port registers begin with port 0's and end with port 8's.
inline constexpr uint8_t ports_in_bank = 9;
inline constexpr uint8_t cfp_transfer_registers = 31;

// MIB counters: a page for each port and one for the snapshot.
constexpr std::array<Register, 7> counters(const char *name, uint8_t page)
{
    const auto bank = [=](uint8_t offset, uint8_t width, uint8_t count) {
        return Register{.name = name,
                        .page = page,
                        .offset = offset,
                        .width = width,
                        .count = count,
                        .stride = 4,
                        .read_only = true};
    };
    return {bank(0x00, 64, 1), bank(0x08, 32, 18), bank(0x50, 64, 1), bank(0x58, 32, 12),
            bank(0x88, 64, 1), bank(0x90, 32, 10), bank(0xC0, 32, 6)};
}

// clang-format off
constexpr std::array settings_and_tables = {
    // The switch and its ports.
    Register{.name = "port-control",            .page = 0x00, .offset = 0x00, .width = 8, .count = 2, .stride = 1},
    Register{.name = "control-0",               .page = 0x00, .offset = 0x08, .width = 8},
    Register{.name = "control-27",              .page = 0x00, .offset = 0x0B, .width = 8},
    Register{.name = "protected-ports",         .page = 0x00, .offset = 0x24, .width = 16},
    Register{.name = "mcast-control",           .page = 0x00, .offset = 0x2F, .width = 8},
    Register{.name = "switch-reset",            .page = 0x00, .offset = 0x79, .width = 8},
    Register{.name = "fast-age",                .page = 0x00, .offset = 0x88, .width = 8, .starts = 0x80},
    Register{.name = "fast-age-port",           .page = 0x00, .offset = 0x89, .width = 8},
    Register{.name = "fast-age-vid",            .page = 0x00, .offset = 0x8A, .width = 16},
    Register{.name = "link-status",             .page = 0x01, .offset = 0x00, .width = 16, .read_only = true},
    Register{.name = "link-change",             .page = 0x01, .offset = 0x02, .width = 16, .read_only = true},
    Register{.name = "speed",                   .page = 0x01, .offset = 0x04, .width = 32, .read_only = true},
    Register{.name = "duplex",                  .page = 0x01, .offset = 0x08, .width = 16, .read_only = true},
    Register{.name = "pause",                   .page = 0x01, .offset = 0x0A, .width = 32, .read_only = true},
    Register{.name = "cpu-port-control",        .page = 0x02, .offset = 0x00, .width = 8},
    Register{.name = "age-timer",               .page = 0x02, .offset = 0x06, .width = 32},
    Register{.name = "mirror-control",          .page = 0x02, .offset = 0x10, .width = 16},
    Register{.name = "mirror-ingress-control",  .page = 0x02, .offset = 0x12, .width = 16},
    Register{.name = "mirror-ingress-divider",  .page = 0x02, .offset = 0x14, .width = 16},
    Register{.name = "mirror-ingress-mac",      .page = 0x02, .offset = 0x16, .width = 48},
    Register{.name = "mirror-egress-control",   .page = 0x02, .offset = 0x1C, .width = 16},
    Register{.name = "mirror-egress-divider",   .page = 0x02, .offset = 0x1E, .width = 16},
    Register{.name = "mirror-egress-mac",       .page = 0x02, .offset = 0x20, .width = 48},
    Register{.name = "device-id",               .page = 0x02, .offset = 0x30, .width = 32, .read_only = true},
    Register{.name = "control-21",              .page = 0x02, .offset = 0x50, .width = 32},

    // Addresses: BPDU, L2 cache, ARL with its search, VLAN table.
    Register{.name = "bpdu-address",            .page = 0x04, .offset = 0x04, .width = 48},
    Register{.name = "l2-cache-valid",          .page = 0x04, .offset = 0x0E, .width = 16},
    Register{.name = "l2-cache-key",            .page = 0x04, .offset = 0x10, .width = 48, .count = 6, .stride = 0x10},
    Register{.name = "l2-cache-data",           .page = 0x04, .offset = 0x18, .width = 32, .count = 6, .stride = 0x10},
    Register{.name = "arl-bin-full-counter",    .page = 0x04, .offset = 0x70, .width = 32, .read_only = true},
    Register{.name = "arl-bin-full-forward",    .page = 0x04, .offset = 0x74, .width = 16},
    Register{.name = "arl-access",              .page = 0x05, .offset = 0x00, .width = 8, .starts = 0x80},
    Register{.name = "arl-mac-index",           .page = 0x05, .offset = 0x02, .width = 48},
    Register{.name = "arl-vid-index",           .page = 0x05, .offset = 0x08, .width = 16},
    Register{.name = "arl-bin-key",             .page = 0x05, .offset = 0x10, .width = 64, .count = 4, .stride = 0x10},
    Register{.name = "arl-bin-data",            .page = 0x05, .offset = 0x18, .width = 32, .count = 4, .stride = 0x10},
    Register{.name = "arl-search",              .page = 0x05, .offset = 0x50, .width = 8, .starts = 0x80},
    Register{.name = "arl-result-key",          .page = 0x05, .offset = 0x60, .width = 64, .count = 2, .stride = 0x10,
             .read_only = true},
    Register{.name = "arl-result-data",         .page = 0x05, .offset = 0x68, .width = 32, .count = 2, .stride = 0x10,
             .read_only = true},
    Register{.name = "vlan-table-command",      .page = 0x05, .offset = 0x80, .width = 8, .starts = 0x80},
    Register{.name = "vlan-table-index",        .page = 0x05, .offset = 0x81, .width = 16},
    Register{.name = "vlan-table-entry",        .page = 0x05, .offset = 0x83, .width = 32},

    // Priorities, queues and traffic classes. Later class B chips have the DSCP map 4 offsets further.
    Register{.name = "layer-selector",          .page = 0x30, .offset = 0x00, .width = 8},
    Register{.name = "cos-ports",               .page = 0x30, .offset = 0x04, .width = 16},
    Register{.name = "dscp-ports",              .page = 0x30, .offset = 0x06, .width = 16},
    Register{.name = "dscp-map-0",              .page = 0x30, .offset = 0x30, .width = 48},
    Register{.name = "late-dscp-map-0",         .page = 0x30, .offset = 0x34, .width = 48},
    Register{.name = "dscp-map-1",              .page = 0x30, .offset = 0x36, .width = 48},
    Register{.name = "late-dscp-map-1",         .page = 0x30, .offset = 0x3A, .width = 48},
    Register{.name = "dscp-map-2",              .page = 0x30, .offset = 0x3C, .width = 48},
    Register{.name = "late-dscp-map-2",         .page = 0x30, .offset = 0x40, .width = 48},
    Register{.name = "dscp-map-3",              .page = 0x30, .offset = 0x42, .width = 48},
    Register{.name = "late-dscp-map-3",         .page = 0x30, .offset = 0x46, .width = 48},
    Register{.name = "default-classes",         .page = 0x30, .offset = 0x48, .width = 32},
    Register{.name = "class-sources",           .page = 0x30, .offset = 0x50, .width = 16, .count = ports_in_bank, .stride = 2},
    Register{.name = "queue-map",               .page = 0x30, .offset = 0x62, .width = 16}, // class A
    Register{.name = "class-queues",            .page = 0x30, .offset = 0x70, .width = 32, .count = 2, .stride = 4}, // class B
    Register{.name = "scheduler",               .page = 0x30, .offset = 0x80, .width = 8},
    Register{.name = "weight",                  .page = 0x30, .offset = 0x81, .width = 8, .count = 4, .stride = 1},
    Register{.name = "cpu-class-queues",        .page = 0x30, .offset = 0x90, .width = 32},

    // VLAN control and egress translation.
    Register{.name = "vlan-control-0",          .page = 0x34, .offset = 0x00, .width = 8},
    Register{.name = "vlan-control-1",          .page = 0x34, .offset = 0x01, .width = 8},
    Register{.name = "vlan-control-2",          .page = 0x34, .offset = 0x02, .width = 8},
    Register{.name = "vlan-control-3",          .page = 0x34, .offset = 0x03, .width = 16},
    Register{.name = "vlan-control-4",          .page = 0x34, .offset = 0x05, .width = 8},
    Register{.name = "vlan-control-5",          .page = 0x34, .offset = 0x06, .width = 8},
    Register{.name = "vlan-control-6",          .page = 0x34, .offset = 0x0A, .width = 16},
    Register{.name = "default-tag",             .page = 0x34, .offset = 0x10, .width = 16, .count = ports_in_bank, .stride = 2},
    Register{.name = "evt-command",             .page = 0x34, .offset = 0x40, .width = 32, .starts = 0x05},
    Register{.name = "evt-data",                .page = 0x34, .offset = 0x44, .width = 32},

    Register{.name = "control-4",               .page = 0x36, .offset = 0x00, .width = 32},
    Register{.name = "control-18",              .page = 0x36, .offset = 0x04, .width = 8},
    Register{.name = "control-19",              .page = 0x36, .offset = 0x08, .width = 32},
    Register{.name = "control-20",              .page = 0x36, .offset = 0x0C, .width = 32},

    Register{.name = "jumbo-ports",             .page = 0x40, .offset = 0x01, .width = 32},
    Register{.name = "frame-size-limit",        .page = 0x40, .offset = 0x05, .width = 16},

    // Rate limiters: both classes' ingress and class A's egress; class B's schedulers; class B's egress.
    Register{.name = "ingress-control",         .page = 0x41, .offset = 0x00, .width = 32},
    Register{.name = "ingress-limiter",         .page = 0x41, .offset = 0x10, .width = 32, .count = 2, .stride = 4},
    Register{.name = "port-ingress-control",    .page = 0x41, .offset = 0x34, .width = 16, .count = 2, .stride = 2},
    Register{.name = "egress-limiter",          .page = 0x41, .offset = 0x80, .width = 16, .count = ports_in_bank, .stride = 2},
    Register{.name = "cpu-rate-index",          .page = 0x41, .offset = 0xC0, .width = 8},
    Register{.name = "port-scheduler",          .page = 0x46, .offset = 0x00, .width = 8, .count = ports_in_bank, .stride = 1},
    Register{.name = "port-weights",            .page = 0x46, .offset = 0x10, .width = 64, .count = ports_in_bank, .stride = 8},
    Register{.name = "egress-rate",             .page = 0x47, .offset = 0x00, .width = 32, .count = ports_in_bank, .stride = 4},
    Register{.name = "egress-bucket",           .page = 0x47, .offset = 0x30, .width = 32, .count = ports_in_bank, .stride = 4},
    Register{.name = "cpu-packet-rate",         .page = 0x47, .offset = 0xB0, .width = 32},
    Register{.name = "egress-limiters",         .page = 0x47, .offset = 0xE6, .width = 16},
    Register{.name = "cpu-rate-select",         .page = 0x47, .offset = 0xE8, .width = 16},

    Register{.name = "snapshot-control",        .page = 0x70, .offset = 0x00, .width = 8},

    Register{.name = "remap-control",           .page = 0x91, .offset = 0x00, .width = 32},
    Register{.name = "remap",                   .page = 0x91, .offset = 0x10, .width = 64, .count = ports_in_bank, .stride = 8},

    // Field processor.
    Register{.name = "cfp-command",             .page = 0xA0, .offset = 0x00, .width = 32, .starts = 0x01},
    Register{.name = "cfp-policer-control",     .page = 0xA0, .offset = 0x04, .width = 32},
    Register{.name = "cfp-transfer",            .page = 0xA0, .offset = 0x10, .width = 32, .count = cfp_transfer_registers, .stride = 4},
    Register{.name = "cfp-enabled-ports",       .page = 0xA1, .offset = 0x00, .width = 16},
    Register{.name = "cfp-udf-a0",              .page = 0xA1, .offset = 0x10, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-a1",              .page = 0xA1, .offset = 0x20, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-a2",              .page = 0xA1, .offset = 0x30, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-b0",              .page = 0xA1, .offset = 0x40, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-b1",              .page = 0xA1, .offset = 0x50, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-b2",              .page = 0xA1, .offset = 0x60, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-c0",              .page = 0xA1, .offset = 0x70, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-c1",              .page = 0xA1, .offset = 0x80, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-c2",              .page = 0xA1, .offset = 0x90, .width = 8, .count = 9, .stride = 1},
    Register{.name = "cfp-udf-d",               .page = 0xA1, .offset = 0xA0, .width = 8, .count = 12, .stride = 1},
};
// clang-format on

template <size_t... sizes>
constexpr auto in_order(const std::array<Register, sizes> &...parts)
{
    std::array<Register, (sizes + ...)> all{};
    auto next = all.begin();
    ((next = std::copy(parts.begin(), parts.end(), next)), ...);
    std::ranges::sort(all, {}, &Register::position);
    return all;
}

// By page and offset.
inline constexpr auto registers =
    in_order(settings_and_tables, counters("port-0-counters", 0x20), counters("port-1-counters", 0x21),
             counters("port-8-counters", 0x28), counters("snapshot-counters", 0x71));

// Where an address leads: the row of the map, and the register's number within its bank.
struct Located {
    const Register *row = nullptr; // null: no known register there
    unsigned index = 0;
};

constexpr Located locate(uint8_t page, uint8_t offset)
{
    for (const Register &row : registers) {
        if (row.page != page)
            continue;
        const unsigned distance = static_cast<unsigned>(offset) - row.offset; // huge in front of the bank
        if (distance == 0 ||
            (row.count > 1 && distance % row.stride == 0 && distance / row.stride < row.count))
            return {&row, row.count > 1 ? distance / row.stride : 0};
    }
    return {};
}

} // namespace chip
