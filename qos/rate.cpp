// SPDX-License-Identifier: LGPL-2.1-or-later
#include <algorithm>

#include <esw/qos.h>

#include "core/device.h"
#include "core/floor.h"
#include "core/locked_register.h"
#include "core/ports.h"
#include "core/startup.h"
#include "qos/tables.h"

namespace {

using namespace esw;

// Class B egress: plain multiples of the registers' units.
constexpr LockedRegister egress_rate{0x47, 0x00, 32};   // of port 0; 64 kbit/s
constexpr LockedRegister egress_bucket{0x47, 0x30, 32}; // of port 0; 1/16 kilobyte
constexpr unsigned egress_stride = 4;                   // from port to port
constexpr unsigned rate_unit_shift = 6;
constexpr unsigned bucket_unit_shift = 4;
constexpr uint32_t kilobytes = 0x3FFFFF; // that count of a bucket size
constexpr uint32_t largest_multiple = 0x3FFFF;
constexpr LockedRegister egress_limiters{0x47, 0xE6, 16}; // as a port set

// Class B CPU port: counts packets instead, as long as the select bit is set.
constexpr LockedRegister cpu_packet_rate{0x47, 0xB0, 32};
constexpr int32_t packets_per_unit = 125;
constexpr LockedRegister cpu_rate_select{0x47, 0xE8, 16};
constexpr Field packets_selected{8};

constexpr LockedRegister cpu_rate_index{0x41, 0xC0, 8}; // class A

// A limiter that takes its rate and its bucket size as indexes into tables.
struct IndexedLimiter {
    Place on; // of port 0, like the others
    Place rate;
    Place burst;
    uint8_t port_offsets; // distance of the registers of neighbouring ports
    uint8_t on_bits;      // distance of the fields that switch their limiters on
    uint8_t index_bits;   // distance of the fields that hold their indexes
};

constexpr LockedRegister egress_limit{0x41, 0x80, 16};
constexpr IndexedLimiter class_a_egress{
    .on = egress_limit[{11}],
    .rate = egress_limit[{0, 8}],
    .burst = egress_limit[{8, 3}],
    .port_offsets = 2,
    .on_bits = 0,
    .index_bits = 0,
};

constexpr LockedRegister ingress_limit{0x41, 0x10, 32};
constexpr IndexedLimiter ingress{
    .on = ingress_limit[{22}],
    .rate = ingress_limit[{0, 8}],
    .burst = ingress_limit[{8, 3}],
    .port_offsets = 4,
    .on_bits = 1,
    .index_bits = 11,
};

// The same limiter of another port.
IndexedLimiter of_port(IndexedLimiter limiter, uint32_t port)
{
    const uint32_t offsets = limiter.port_offsets * port;
    limiter.on = moved(limiter.on, offsets, limiter.on_bits * port);
    limiter.rate = moved(limiter.rate, offsets, limiter.index_bits * port);
    limiter.burst = moved(limiter.burst, offsets, limiter.index_bits * port);
    return limiter;
}

// Rates of 2^31 and above count as negative, here and in the tables.
void limit(const IndexedLimiter &limiter, uint32_t port, uint32_t rate, uint32_t burst)
    ESW_REQUIRES(switch_mutex)
{
    const IndexedLimiter own = of_port(limiter, port);
    assign_flag(own.on, rate != 0);
    if (rate == 0)
        return;
    write_field(own.burst, floor_index(burst_sizes, static_cast<int32_t>(burst)));
    write_field(own.rate, floor_index(port_refresh_counts, static_cast<int32_t>(rate)));
}

void read_limit(const IndexedLimiter &limiter, uint32_t port, uint32_t *rate, uint32_t *burst)
    ESW_REQUIRES(switch_mutex)
{
    const IndexedLimiter own = of_port(limiter, port);
    const uint32_t word = read32(register_of(own.on));
    if (!field_of(own.on).get(word))
        return;
    *rate = static_cast<uint32_t>(entry(port_refresh_counts, field_of(own.rate).get(word)));
    *burst = static_cast<uint32_t>(entry(burst_sizes, field_of(own.burst).get(word)));
}

void limit_class_b_egress(uint32_t port, uint32_t rate, uint32_t burst) ESW_REQUIRES(switch_mutex)
{
    if (rate != 0) {
        const uint32_t distance = egress_stride * port;
        write(egress_rate.at(distance), std::min(rate >> rate_unit_shift, largest_multiple));
        write(egress_bucket.at(distance),
              std::min((burst & kilobytes) << bucket_unit_shift, largest_multiple));
        assign_flag(cpu_rate_select[packets_selected], false);
    }
    assign_flag(egress_limiters[port_flag(port)], rate != 0);
}

void read_class_b_egress(uint32_t port, uint32_t *rate, uint32_t *burst) ESW_REQUIRES(switch_mutex)
{
    if (!read_field(egress_limiters[port_flag(port)]))
        return;
    const uint32_t distance = egress_stride * port;
    *rate = read32(egress_rate.at(distance)) << rate_unit_shift;
    *burst = read32(egress_bucket.at(distance)) >> bucket_unit_shift & kilobytes;
}

constexpr Place nowhere{};

// Where a port's code is: nowhere on a device of neither class.
Place ingress_control(uint32_t port)
{
    constexpr Register class_a_control{0x41, 0x00, 32};
    constexpr Register class_b_control{0x41, 0x34, 16}; // of port 0
    constexpr Field code{0, 6};
    switch (device_class()) {
    case DeviceClass::a:
        return moved(class_a_control[code], 0, 9 * port);
    case DeviceClass::b:
        return moved(class_b_control[code], 2 * port, 8 * port);
    default:
        return nowhere;
    }
}

} // namespace

int32_t eth_port_rate_egress_set(uint32_t port, uint32_t rate, uint32_t burst)
{
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    switch (device_class()) {
    case DeviceClass::a:
        limit(class_a_egress, port, rate, burst);
        return ETH_E_NONE;
    case DeviceClass::b:
        limit_class_b_egress(port, rate, burst);
        return ETH_E_NONE;
    default:
        return ETH_E_UNSUPPORTED;
    }
}

int32_t eth_port_rate_egress_get(uint32_t port, uint32_t *rate, uint32_t *burst)
{
    *rate = 0;
    *burst = 0xFFFFFFFF;
    if (!is_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    switch (device_class()) {
    case DeviceClass::a:
        read_limit(class_a_egress, port, rate, burst);
        return ETH_E_NONE;
    case DeviceClass::b:
        read_class_b_egress(port, rate, burst);
        return ETH_E_NONE;
    default:
        return ETH_E_UNSUPPORTED;
    }
}

int32_t eth_port_rate_ingress_set(uint32_t port, uint32_t rate, uint32_t burst)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    limit(ingress, port, rate, burst);
    return ETH_E_NONE;
}

int32_t eth_port_rate_ingress_get(uint32_t port, uint32_t *rate, uint32_t *burst)
{
    *rate = 0;
    *burst = 0xFFFFFFFF;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    read_limit(ingress, port, rate, burst);
    return ETH_E_NONE;
}

int32_t eth_rate_set(int32_t rate)
{
    const SwitchLock lock;
    switch (device_class()) {
    case DeviceClass::a:
        write(cpu_rate_index, floor_index(cpu_port_rates, rate));
        return ETH_E_NONE;
    case DeviceClass::b: {
        const bool on = rate > 0 && rate <= static_cast<int32_t>(largest_multiple);
        write(cpu_packet_rate, on ? static_cast<uint32_t>(rate / packets_per_unit) : 0);
        assign_flag(cpu_rate_select[packets_selected], on);
        assign_flag(egress_limiters[port_flag(cpu_port)], on);
        return ETH_E_NONE;
    }
    default:
        return ETH_E_UNSUPPORTED;
    }
}

int32_t eth_rate_get(int32_t *rate)
{
    const SwitchLock lock;
    switch (device_class()) {
    case DeviceClass::a:
        *rate = entry(cpu_port_rates, read32(cpu_rate_index));
        return ETH_E_NONE;
    case DeviceClass::b:
        *rate = static_cast<int32_t>(read32(cpu_packet_rate) & largest_multiple) * packets_per_unit;
        return ETH_E_NONE;
    default:
        return ETH_E_UNSUPPORTED;
    }
}

int32_t eth_port_rate_ingress_control_set(uint32_t port, uint32_t mode)
{
    if (!is_phy_port(port))
        return ETH_E_PORT;
    if (mode >= ingress_control_codes.size())
        return ETH_E_UNAVAIL;
    const Place control = ingress_control(port);
    if (control == nowhere)
        return ETH_E_UNSUPPORTED;
    write_field(control, ingress_control_codes[mode]);
    return ETH_E_NONE;
}

int32_t eth_port_rate_ingress_control_get(uint32_t port, uint32_t *mode)
{
    *mode = 0xFFFFFFFF;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const Place control = ingress_control(port);
    if (control == nowhere)
        return ETH_E_UNSUPPORTED;
    const auto *const found = std::ranges::find(ingress_control_codes, read_field(control));
    if (found == ingress_control_codes.end())
        return ETH_E_UNAVAIL;
    *mode = static_cast<uint32_t>(found - ingress_control_codes.begin());
    return ETH_E_NONE;
}
