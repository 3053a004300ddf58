// SPDX-License-Identifier: LGPL-2.1-or-later
#include <algorithm>
#include <optional>

#include <esw/qos.h>

#include "core/device.h"
#include "core/floor.h"
#include "core/lock.h"
#include "core/ports.h"
#include "core/register.h"
#include "core/startup.h"
#include "qos/tables.h"

namespace {

using namespace esw;

// Class B egress: plain multiples of the registers' units.
constexpr Register egress_rate{0x47, 0x00, 32};   // of port 0; 64 kbit/s
constexpr Register egress_bucket{0x47, 0x30, 32}; // of port 0; 1/16 kilobyte
constexpr unsigned egress_stride = 4;             // from port to port
constexpr unsigned rate_unit_shift = 6;
constexpr unsigned bucket_unit_shift = 4;
constexpr uint32_t kilobytes = 0x3FFFFF; // that count of a bucket size
constexpr uint32_t largest_multiple = 0x3FFFF;
constexpr Register egress_limiters{0x47, 0xE6, 16}; // as a port set

// Class B CPU port: counts packets instead, as long as the select bit is set.
constexpr Register cpu_packet_rate{0x47, 0xB0, 32};
constexpr int32_t packets_per_unit = 125;
constexpr Register cpu_rate_select{0x47, 0xE8, 16};
constexpr uint64_t packets_selected = 0x100;

constexpr Register cpu_rate_index{0x41, 0xC0, 8}; // class A

// A limiter that takes its rate and its bucket size as indexes into tables.
struct IndexedLimiter {
    Register reg;
    uint32_t on;
    uint32_t shift; // of both indexes

    [[nodiscard]] Field rate() const { return Field{0, 8}.up(shift); }
    [[nodiscard]] Field burst() const { return Field{8, 3}.up(shift); }
};

constexpr IndexedLimiter class_a_egress(uint32_t port)
{
    constexpr Register of_port_0{0x41, 0x80, 16};
    return {of_port_0.at(2 * port), 0x800, 0};
}

// The indexes of port 1 sit 11 bits higher, in a register of their own.
constexpr IndexedLimiter ingress(uint32_t port)
{
    constexpr Register of_port_0{0x41, 0x10, 32};
    return {of_port_0.at(4 * port), uint32_t{1} << (22 + port), 11 * port};
}

// Rates of 2^31 and above count as negative, here and in the tables.
void limit(IndexedLimiter limiter, uint32_t rate, uint32_t burst) ESW_REQUIRES(switch_mutex)
{
    assign_bits(limiter.reg, limiter.on, rate != 0);
    if (rate == 0)
        return;
    write_field(limiter.reg, limiter.burst(), floor_index(burst_sizes, static_cast<int32_t>(burst)));
    write_field(limiter.reg, limiter.rate(), floor_index(port_refresh_counts, static_cast<int32_t>(rate)));
}

void read_limit(IndexedLimiter limiter, uint32_t *rate, uint32_t *burst) ESW_REQUIRES(switch_mutex)
{
    const uint32_t word = read32(limiter.reg);
    if ((word & limiter.on) == 0)
        return;
    *rate = static_cast<uint32_t>(entry(port_refresh_counts, limiter.rate().get(word)));
    *burst = static_cast<uint32_t>(entry(burst_sizes, limiter.burst().get(word)));
}

void limit_class_b_egress(uint32_t port, uint32_t rate, uint32_t burst) ESW_REQUIRES(switch_mutex)
{
    if (rate != 0) {
        const uint32_t distance = egress_stride * port;
        write(egress_rate.at(distance), std::min(rate >> rate_unit_shift, largest_multiple));
        write(egress_bucket.at(distance),
              std::min((burst & kilobytes) << bucket_unit_shift, largest_multiple));
        clear_bits(cpu_rate_select, packets_selected);
    }
    assign_bits(egress_limiters, port_bit(port), rate != 0);
}

void read_class_b_egress(uint32_t port, uint32_t *rate, uint32_t *burst) ESW_REQUIRES(switch_mutex)
{
    if ((read32(egress_limiters) & port_bit(port)) == 0)
        return;
    const uint32_t distance = egress_stride * port;
    *rate = read32(egress_rate.at(distance)) << rate_unit_shift;
    *burst = read32(egress_bucket.at(distance)) >> bucket_unit_shift & kilobytes;
}

struct RegisterField {
    Register reg;
    Field field;
};

// Nothing on a device of neither class.
std::optional<RegisterField> ingress_control(uint32_t port)
{
    constexpr Register class_a_control{0x41, 0x00, 32};
    constexpr Register class_b_control{0x41, 0x34, 16}; // of port 0
    constexpr Field code{0, 6};
    switch (device_class()) {
    case DeviceClass::a:
        return RegisterField{class_a_control, code.up(9 * port)};
    case DeviceClass::b:
        return RegisterField{class_b_control.at(2 * port), code.up(8 * port)};
    default:
        return {};
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
        limit(class_a_egress(port), rate, burst);
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
        read_limit(class_a_egress(port), rate, burst);
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
    limit(ingress(port), rate, burst);
    return ETH_E_NONE;
}

int32_t eth_port_rate_ingress_get(uint32_t port, uint32_t *rate, uint32_t *burst)
{
    *rate = 0;
    *burst = 0xFFFFFFFF;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const SwitchLock lock;
    read_limit(ingress(port), rate, burst);
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
        assign_bits(cpu_rate_select, packets_selected, on);
        assign_bits(egress_limiters, port_bit(cpu_port), on);
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
    const auto control = ingress_control(port);
    if (!control)
        return ETH_E_UNSUPPORTED;
    write_field(control->reg, control->field, ingress_control_codes[mode]);
    return ETH_E_NONE;
}

int32_t eth_port_rate_ingress_control_get(uint32_t port, uint32_t *mode)
{
    *mode = 0xFFFFFFFF;
    if (!is_phy_port(port))
        return ETH_E_PORT;
    const auto control = ingress_control(port);
    if (!control)
        return ETH_E_UNSUPPORTED;
    const uint32_t code = control->field.get(read32(control->reg));
    const auto *const found = std::ranges::find(ingress_control_codes, code);
    if (found == ingress_control_codes.end())
        return ETH_E_UNAVAIL;
    *mode = static_cast<uint32_t>(found - ingress_control_codes.begin());
    return ETH_E_NONE;
}
