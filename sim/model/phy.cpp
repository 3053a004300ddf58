// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/phy.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <linux/ethtool.h>
#include <linux/mii.h>

#include "chip/devices.h"
#include "sim/model/switch.h"

namespace sim {
namespace {

// Status registers of the switch, one bit a port but for the speed.
enum : uint8_t {
    status_page = 0x01,
    link_status = 0x00,
    link_change = 0x02,
    speed = 0x04,
    duplex = 0x08,
    pause = 0x0A
};
enum : uint8_t { speed_10, speed_100, speed_1000 }; // as the speed register has it
constexpr unsigned second_pause_bit = 9;            // so far above the first

constexpr uint32_t eee_modes = ADVERTISED_100baseT_Full | ADVERTISED_1000baseT_Full;
constexpr Eee idle_eee = {eee_modes, eee_modes, eee_modes, 1, 1, 30};

struct Contents {
    uint8_t number;
    uint16_t value;
};
constexpr Contents power_on_contents[] = {
    {MII_BMCR, BMCR_ANENABLE | BMCR_FULLDPLX | BMCR_SPEED1000},
    {MII_BMSR, 0x7949}, // 10 and 100 Mb/s in both duplexes, negotiates, has the extended registers
    {MII_PHYSID1, 0x0001},
    {MII_PHYSID2, 0x7811},
    {MII_ADVERTISE, ADVERTISE_ALL | ADVERTISE_CSMA},
    {MII_CTRL1000, ADVERTISE_1000FULL | ADVERTISE_1000HALF},
    {MII_ESTATUS, ESTATUS_1000_TFULL | ESTATUS_1000_THALF},
};
constexpr uint8_t read_only[] = {MII_BMSR,      MII_PHYSID1,  MII_PHYSID2, MII_LPA,
                                 MII_EXPANSION, MII_STAT1000, MII_ESTATUS};

constexpr uint16_t partner_abilities = LPA_LPACK | LPA_NPAGE | LPA_PAUSE_CAP | ADVERTISE_ALL | ADVERTISE_CSMA;
constexpr uint16_t partner_gigabit = LPA_1000LOCALRXOK | LPA_1000REMRXOK | LPA_1000FULL | LPA_1000HALF;

struct Link {
    bool up = false;
    uint8_t speed = speed_10;
    bool full_duplex = false;
};

// What both ends may agree on, the best first.
struct Ability {
    uint8_t number;
    uint16_t bit;
    Link link;
};
constexpr Ability abilities[] = {
    {MII_CTRL1000, ADVERTISE_1000FULL, {true, speed_1000, true}},
    {MII_CTRL1000, ADVERTISE_1000HALF, {true, speed_1000, false}},
    {MII_ADVERTISE, ADVERTISE_100FULL, {true, speed_100, true}},
    {MII_ADVERTISE, ADVERTISE_100HALF, {true, speed_100, false}},
    {MII_ADVERTISE, ADVERTISE_10FULL, {true, speed_10, true}},
    {MII_ADVERTISE, ADVERTISE_10HALF, {true, speed_10, false}},
};

Link negotiated(const Phy &phy)
{
    const auto *const best = std::ranges::find_if(
        abilities, [&](const Ability &a) { return (phy.registers[a.number] & a.bit) != 0; });
    return best == std::end(abilities) ? Link{} : best->link;
}

Link forced(const Phy &phy)
{
    const uint16_t control = phy.registers[MII_BMCR];
    const uint8_t selected = (control & BMCR_SPEED1000)  ? speed_1000
                             : (control & BMCR_SPEED100) ? speed_100
                                                         : speed_10;
    return {true, selected, (control & BMCR_FULLDPLX) != 0};
}

// One port's PHY, and what the switch shows of it.
class Port {
public:
    Port(Switch &simulated, unsigned port)
        : switch_(simulated), port_(port), phy_(simulated.state().phys[port])
    {}

    void power_on()
    {
        phy_ = {};
        for (const auto &[number, value] : power_on_contents)
            phy_.registers[number] = value;
        hear_partner();
    }

    // A read while a negotiation is under way.
    void observe()
    {
        if (!phy_.negotiating)
            return;
        if (phy_.reads_to_settle == 0)
            settle();
        else
            --phy_.reads_to_settle;
    }

    void renegotiate()
    {
        show(Link{});
        phy_.registers[MII_LPA] = 0;
        phy_.registers[MII_STAT1000] = 0;
        phy_.negotiating = has_power() && has_cable();
        phy_.reads_to_settle = negotiates() ? switch_.behaviour().latency : 0;
        if (phy_.reads_to_settle == 0)
            observe();
    }

    // The link bit tells of a link lost in the meantime once, even when it is up again.
    uint16_t read_status()
    {
        uint32_t status = phy_.registers[MII_BMSR];
        if (phy_.registers[MII_LPA] != 0)
            status |= BMSR_ANEGCOMPLETE;
        if (is_up() && !phy_.link_was_lost)
            status |= BMSR_LSTATUS;
        phy_.link_was_lost = 0;
        return static_cast<uint16_t>(status);
    }

    void write_control(uint16_t value)
    {
        const uint16_t before = phy_.registers[MII_BMCR];
        if (value & BMCR_RESET) {
            power_on();
            renegotiate();
            return;
        }
        phy_.registers[MII_BMCR] = value & static_cast<uint16_t>(~BMCR_ANRESTART);
        const unsigned selection = BMCR_SPEED100 | BMCR_SPEED1000 | BMCR_FULLDPLX;
        const unsigned matters = BMCR_PDOWN | BMCR_ANENABLE | (negotiates() ? 0 : selection);
        if (((before ^ value) & matters) || (negotiates() && (value & BMCR_ANRESTART)))
            renegotiate();
    }

    [[nodiscard]] bool is_up() const { return (shown(link_status) >> port_ & 1) != 0; }

private:
    uint64_t &shown(uint8_t offset) const { return switch_.cell(status_page, offset); }

    [[nodiscard]] bool has_power() const { return (phy_.registers[MII_BMCR] & BMCR_PDOWN) == 0; }
    [[nodiscard]] bool has_cable() const { return (switch_.state().unplugged >> port_ & 1) == 0; }
    [[nodiscard]] bool negotiates() const { return (phy_.registers[MII_BMCR] & BMCR_ANENABLE) != 0; }

    void hear_partner()
    {
        phy_.registers[MII_LPA] = partner_abilities;
        phy_.registers[MII_STAT1000] = partner_gigabit;
    }

    void settle()
    {
        phy_.negotiating = 0;
        if (negotiates())
            hear_partner();
        show(negotiates() ? negotiated(phy_) : forced(phy_));
    }

    // Without a link, speed, duplex and pause stay as they were.
    void show(const Link &link)
    {
        if (link.up != is_up())
            put(link_change, 0, 1, 1);
        if (is_up() && !link.up)
            phy_.link_was_lost = 1;
        put(link_status, 0, 1, link.up);
        if (!link.up)
            return;
        const bool pauses = negotiates() && (phy_.registers[MII_ADVERTISE] & ADVERTISE_PAUSE_CAP) != 0;
        put(speed, 0, 2, link.speed);
        put(duplex, 0, 1, link.full_duplex);
        put(pause, 0, 1, pauses);
        put(pause, second_pause_bit, 1, pauses);
    }

    // The register holds `bits` bits for each port, from bit `low` on.
    void put(uint8_t offset, unsigned low, unsigned bits, uint64_t value)
    {
        const unsigned at = low + bits * port_;
        const uint64_t mask = ((uint64_t{1} << bits) - 1) << at;
        shown(offset) = (shown(offset) & ~mask) | value << at;
    }

    Switch &switch_;
    unsigned port_;
    Phy &phy_;
};

uint64_t observed(Switch &simulated, uint8_t offset)
{
    for (unsigned port = 0; port < phy_count; ++port)
        Port(simulated, port).observe();
    return simulated.cell(status_page, offset);
}

} // namespace

unsigned port_of_phy(uint32_t device_id, uint32_t address)
{
    return std::min(address - chip::device(device_id).first_phy, phy_count);
}

void power_on_phys(Switch &simulated)
{
    for (unsigned port = 0; port < phy_count; ++port) {
        Port(simulated, port).power_on();
        simulated.state().eee[port] = idle_eee;
        if (simulated.state().unplugged >> port & 1)
            Port(simulated, port).renegotiate();
    }
}

uint16_t read_phy(Switch &simulated, unsigned port, unsigned number)
{
    Port at(simulated, port);
    at.observe();
    return number == MII_BMSR ? at.read_status() : simulated.state().phys[port].registers[number];
}

void write_phy(Switch &simulated, unsigned port, unsigned number, uint16_t value)
{
    if (number == MII_BMCR)
        Port(simulated, port).write_control(value);
    else if (std::ranges::find(read_only, number) == std::end(read_only))
        simulated.state().phys[port].registers[number] = value;
}

void plug_cable(Switch &simulated, unsigned port, bool in)
{
    uint32_t &unplugged = simulated.state().unplugged;
    const uint32_t bit = 1U << port;
    if (((unplugged & bit) == 0) == in)
        return;
    unplugged ^= bit;
    Port(simulated, port).renegotiate();
}

bool is_eee_active(Switch &simulated, unsigned port)
{
    const Eee &eee = simulated.state().eee[port];
    const uint64_t now = simulated.cell(status_page, speed) >> 2 * port & 3;
    const uint32_t mode = now == speed_10    ? 0
                          : now == speed_100 ? ADVERTISED_100baseT_Full
                                             : ADVERTISED_1000baseT_Full;
    return eee.enabled != 0 && Port(simulated, port).is_up() &&
           (eee.advertised & eee.lp_advertised & mode) != 0;
}

bool links_are_settled(const Switch &simulated)
{
    return std::ranges::none_of(simulated.state().phys, [](const Phy &phy) { return phy.negotiating != 0; });
}

uint64_t link_status_reading(Switch &s, unsigned, uint64_t) { return observed(s, link_status); }
uint64_t speed_reading(Switch &s, unsigned, uint64_t) { return observed(s, speed); }
uint64_t duplex_reading(Switch &s, unsigned, uint64_t) { return observed(s, duplex); }
uint64_t pause_reading(Switch &s, unsigned, uint64_t) { return observed(s, pause); }

uint64_t link_change_reading(Switch &s, unsigned, uint64_t)
{
    const uint64_t changes = observed(s, link_change);
    s.cell(status_page, link_change) = 0;
    return changes;
}

} // namespace sim
