// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulated switch without drivers and library: what its options accept, and what its engines do.
#include "tests/support/board.h"

#include <ctime>

#include "sim/model/stat.h"

namespace {

using namespace test;

// Every option that differs from none, or "refused".
std::string parsed(const std::string &text, bool (*parse)(const char *, sim::Options &))
{
    sim::Options options;
    if (!parse(text.c_str(), options))
        return "refused";
    std::string all = options.device_route ? "" : " interface";
    if (options.failing_request || options.failing_from)
        all += fmt::format(" {}/{}", options.failing_request, options.failing_from);
    if (options.behaviour.stuck)
        all += fmt::format(" {}", options.behaviour.stuck->name);
    for (const bool flag : {options.all_requests_fail, options.mii_requests_fail, options.eee_requests_fail,
                            options.no_socket, options.no_lock})
        all += flag ? '1' : '0';
    for (unsigned i = 0; i < options.interface_count; ++i)
        all += fmt::format(" {}", options.interfaces[i]);
    return all;
}

TEST(SimulatorOptions, AreTakenWhole)
{
    const struct {
        bool (*parse)(const char *, sim::Options &);
        std::string text, options;
    } cases[] = {
        {sim::parse_route, "device", "00000"},
        {sim::parse_route, "interface", " interface00000"},
        {sim::parse_route, "devic", "refused"},
        {sim::parse_route, "interfaces", "refused"},
        {sim::parse_faults, "", "00000"},
        {sim::parse_faults, " all  mii", "11000"},
        {sim::parse_faults, "eee", "00100"},
        {sim::parse_faults, "socket lock", "00011"},
        {sim::parse_faults, "nth=1 from=0x12", " 1/1800000"},
        {sim::parse_faults, "stuck=5:80", " vlan-table-command00000"},
        {sim::parse_faults, "stuck=cfp-command", " cfp-command00000"},
        {sim::parse_interfaces, "sw0 switch012345678", "00000 sw0 switch012345678"},
        {sim::parse_interfaces, "a b c d e f g h", "00000 a b c d e f g h"},
        {sim::parse_interfaces, "a b c d e f g h i", "refused"},
        {sim::parse_interfaces, "sixteen_letters_", "refused"},
        {sim::parse_interfaces, "a/b", "refused"},
        {sim::parse_interface, "a b", "refused"},
        {sim::parse_interface, "", "refused"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parsed(c.text, c.parse), c.options) << c.text;
    for (const char *text : {"nth=0", "from=0", "nth=", "nth=1x", "stuck=", "stuck=5", "stuck=5;80",
                             "stuck=5:80x", "stuck=105:80", "stuck=5:180", "stuck=5:100", "stuck=2:30",
                             "stuck=7:0", "al", "alll", "lock,socket"})
        EXPECT_EQ(parsed(text, sim::parse_faults), "refused") << text;
    EXPECT_EQ(parsed(std::string(64, 'a'), sim::parse_faults), "refused") << "longer than any";
}

TEST(SimulatorOptions, NumbersAndStations)
{
    uint64_t number = 0;
    const std::pair<const char *, uint64_t> numbers[] = {
        {"0", 0}, {"0x0", 0}, {"019", 19}, {"0xaF", 0xAF}, {"18446744073709551615", UINT64_MAX}};
    for (const auto &[text, expected] : numbers)
        EXPECT_TRUE(sim::parse_number(text, number) && number == expected) << text;
    for (const char *text :
         {"", "x", "-1", "+1", " 1", "1 ", "1a", "0x", "0X1", "0x-1", "0x0x1", "0xg", "18446744073709551616"})
        EXPECT_FALSE(sim::parse_number(text, number)) << text;

    sim::Station station{};
    EXPECT_TRUE(sim::parse_station("02:ab:5E:00:53:01,4095,8", station));
    EXPECT_TRUE(station.mac == 0x02AB5E005301 && station.vid == 4095 && station.port == 8);
    EXPECT_TRUE(sim::parse_station("00:00:00:00:00:00,0,1", station));
    EXPECT_TRUE(station.mac == 0 && station.vid == 0 && station.port == 1);
    for (const char *text : {"02:00:5e:00:53:01", "02:00:5e:00:53:01,1", "02:00:5e:00:53:01,4096,0",
                             "02:00:5e:00:53:01,1,2", "02:00:5e:00:53:01,1,9", "02:00:5e:00:53:01,1,10",
                             "02:00:5e:00:53:01,1,0 ", "03:00:5e:00:53:01,1,0", "02:00:5e:00:53:1,1,0",
                             "02-00-5e-00-53-01,1,0", "02:00:5e:00:53:0g,1,0", "02:00:5e:00:53,1,0", ""})
        EXPECT_FALSE(sim::parse_station(text, station)) << text;
}

class Engines : public StartedBoard {
protected:
    // The counters of a page that are not 0.
    std::string counters(uint8_t page)
    {
        std::string text;
        for (unsigned offset = 0; offset < 0x100; ++offset) {
            const uint64_t value = reg(page, static_cast<uint8_t>(offset));
            text += value ? fmt::format(" {:02x}={}", offset, value) : "";
        }
        return text;
    }

    // So many frames since the rate was set, at one a second; counted with the next request that shows them.
    void pass(unsigned frames)
    {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const uint64_t half_a_second_ago = static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 +
                                           static_cast<uint64_t>(now.tv_nsec) - 500'000'000;
        state().traffic[1].since = half_a_second_ago - frames * uint64_t{1'000'000'000};
    }

    const sim::Behaviour plain_;
    sim::Switch switch_{state(), plain_};
};

TEST_F(Engines, TrafficIsCountedFrameByFrame)
{
    const std::string ten =
        " 00=4510 10=1 14=1 18=8 50=4510 60=4 64=1 68=1 6c=1 70=1 74=2 88=4510 94=8 98=1 9c=1";
    const std::string twenty_five =
        " 00=11324 10=3 14=2 18=20 50=11324 60=11 64=2 68=2 6c=2 70=3 74=5 88=11324 94=20 98=2 9c=3";
    EXPECT_FALSE(sim::set_traffic(switch_, 2, 1));
    EXPECT_TRUE(sim::set_traffic(switch_, 1, 1));
    pass(10);
    switch_.write(0x70, 0x00, 0x01);
    switch_.write(0x70, 0x00, 0x82);
    EXPECT_EQ(counters(0x71), "") << "neither without the bit nor of a port that does not count";
    switch_.write(0x70, 0x00, 0x81);
    EXPECT_EQ(counters(0x71), ten);
    pass(25);
    EXPECT_EQ(switch_.read(0x21, 0x60), 11u);
    EXPECT_EQ(counters(0x21), twenty_five);
    EXPECT_EQ(counters(0x71), ten);
    EXPECT_EQ(counters(0x20) + counters(0x28), "");
    switch_.write(0x02, 0x00, 0xFE);
    EXPECT_EQ(counters(0x21), twenty_five);
    pass(3); // fewer than are counted: the system has been restarted
    EXPECT_EQ(switch_.read(0x21, 0x60), 11u);
    EXPECT_EQ(counters(0x21), twenty_five);
    switch_.write(0x02, 0x00, 0x01);
    EXPECT_EQ(counters(0x21), "");
    EXPECT_EQ(counters(0x71), ten);
}

// Entries lie apart, and only a start does anything.
TEST_F(Engines, TablesOfVlans)
{
    auto &vlans = state().vlan_table;
    auto &translations = state().evt;
    const auto run = [&](uint64_t command, uint64_t translation) {
        switch_.write(0x05, 0x80, command);
        switch_.write(0x34, 0x40, translation);
    };
    for (const uint64_t number : {1, 2}) {
        switch_.write(0x05, 0x81, number << 11 | 1);
        switch_.write(0x05, 0x83, number + 7);
        switch_.write(0x34, 0x44, number + 9);
        run(0x00, number << 8 | 0x12);
        EXPECT_EQ(vlans[0x001] | vlans[0x801] | translations[1][number], number - 1 ? 8U : 0U);
        run(0x80, number << 8 | 0x13);
        run(0x83, 0x10); // no operation
    }
    EXPECT_EQ(std::tuple(vlans[0x801], vlans[0x001]), std::tuple(8U, 9U)) << "12 bits are the VID";
    EXPECT_EQ(std::tuple(translations[1][1], translations[1][2]), std::tuple(10U, 11U));
    run(0x82, 0x04);
    EXPECT_EQ(vlans[0x801] | vlans[0x001] | translations[1][1] | translations[1][2], 0U);
}

TEST_F(Engines, EeeKeepsWhatThePhySupports)
{
    ethtool_eee record{};
    record.cmd = ETHTOOL_SEEE;
    record.reserved[0] = 2;
    record.advertised = ~0u;
    record.tx_lpi_timer = 77;
    sim::Driver &driver = sim::session()->driver();
    EXPECT_EQ(driver.serve_eee(true, record), 0);
    record = {};
    record.cmd = ETHTOOL_GEEE;
    record.reserved[0] = 2;
    EXPECT_EQ(driver.serve_eee(false, record), 0);
    EXPECT_EQ(record.advertised, record.supported);
    EXPECT_NE(record.advertised, 0u);
    EXPECT_EQ(std::tuple(record.eee_enabled, record.eee_active, record.tx_lpi_enabled, record.tx_lpi_timer),
              std::tuple(0u, 0u, 0u, 77u));
}

// Entries grow old while the timer runs, all but static ones.
TEST_F(Engines, AddressesAge)
{
    sim::ArlBin *bins = state().arl.bins;
    const uint32_t timers[] = {0x10012C, 0x12C}; // 300 seconds, and switched off
    for (const uint32_t timer : timers) {
        switch_.write(0x02, 0x06, timer);
        bins[0] = {1, sim::arl_valid, 0};
        bins[1] = {1, sim::arl_valid | sim::arl_static, 0};
        bins[2] = {1, sim::arl_valid, 1};
        sim::let_time_pass(state(), 299);
        EXPECT_EQ(std::tuple(bins[0].age, bins[1].age, bins[2].data == 0),
                  std::tuple(299U, 0U, timer == timers[0]));
        sim::let_time_pass(state(), 1);
        EXPECT_EQ(std::tuple(bins[0].data == 0, bins[0].key == 0, bins[1].data != 0),
                  std::tuple(timer == timers[0], timer == timers[0], true));
        sim::let_time_pass(state(), ~0u);
        EXPECT_EQ(bins[2].age, timer == timers[0] ? 0 : ~0u);
    }
}

TEST_F(Engines, TheFieldProcessorClearsAllRules)
{
    switch_.write(0xA0, 0x10, 7);
    switch_.write(0xA0, 0x00, 63 << 16 | 1 << 10 | 5);
    switch_.write(0xA0, 0x00, 0x10);
    EXPECT_EQ(state().cfp_slots[63][0], 7u) << "without a start";
    switch_.write(0xA0, 0x00, 0x11);
    EXPECT_EQ(state().cfp_slots[63][0], 0u);
}

// What one port negotiates leaves the other's bits alone.
TEST_F(Engines, PhysShowTheirLink)
{
    const struct {
        unsigned port, number;
        uint16_t value;
        const char *shown; // link, change, speed, duplex, pause
    } steps[] = {
        {0, 0, 0x2100, "103 1 20009 103 0"},   // 100 Mb/s, full duplex, forced
        {0, 0, 0x2300, "103 0 20009 103 0"},   // a restart without negotiation
        {1, 0, 0x0000, "103 2 20001 101 0"},   // 10 Mb/s, half duplex
        {1, 0, 0x0040, "103 2 20009 101 0"},   // 1000 Mb/s
        {0, 4, 0x0DE1, "103 0 20009 101 0"},   // to be negotiated
        {0, 0, 0x1340, "103 1 2000a 101 201"}, // with pauses
        {0, 9, 0x0100, "103 0 2000a 101 201"}, {0, 0, 0x1140, "103 0 2000a 101 201"},
        {0, 0, 0x1340, "103 1 2000a 100 201"}, // half duplex
        {0, 9, 0x0000, "103 0 2000a 100 201"}, {0, 4, 0x0021, "103 0 2000a 100 201"},
        {0, 0, 0x1340, "103 1 20008 100 0"},   {0, 4, 0x0000, "103 0 20008 100 0"},
        {0, 0, 0x1340, "102 1 20008 100 0"}, // nothing in common
        {0, 0, 0x8000, "103 1 2000a 101 0"}, // a reset
        {1, 0, 0x1940, "101 2 2000a 101 0"}, // without power
    };
    for (const unsigned read_only : {1U, 2U, 3U, 5U, 6U, 10U, 15U})
        sim::write_phy(switch_, 0, read_only, 0xFFFF);
    std::string registers;
    for (unsigned number = 0; number < sim::phy_register_count; ++number) {
        const uint16_t value = sim::read_phy(switch_, 0, number);
        registers += value ? fmt::format(" {}={:x}", number, value) : "";
    }
    EXPECT_EQ(registers, " 0=1140 1=796d 2=1 3=7811 4=1e1 5=c5e1 9=300 10=3c00 15=3000");
    for (const auto &c : steps) {
        sim::write_phy(switch_, c.port, c.number, c.value);
        std::string shown;
        for (const uint8_t offset : std::initializer_list<uint8_t>{0x00, 0x02, 0x04, 0x08, 0x0A})
            shown += fmt::format("{}{:x}", shown.empty() ? "" : " ", switch_.read(0x01, offset));
        EXPECT_EQ(shown, c.shown) << "step " << &c - steps;
    }
}

} // namespace
