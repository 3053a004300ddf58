// SPDX-License-Identifier: LGPL-2.1-or-later
// The register map as the simulated switch behaves, row by row.
#include "tests/support/board.h"

#include <bit>

#include "chip/registers.h"
#include "sim/model/registers.h"

namespace {

using namespace test;

class RegisterMap : public Board {
protected:
    // A page's rows: name, offset/width, *count+stride, "ro" when a write changes nothing, !bits that start
    // an operation, and the power-on contents where they are not 0.
    std::string page(uint8_t number)
    {
        std::string text;
        for (const chip::Register &row : chip::registers) {
            if (row.page != number)
                continue;
            text += fmt::format("{}{} {:02x}/{}", text.empty() ? "" : "; ", row.name, row.offset, width(row));
            if (row.count > 1)
                text += fmt::format("*{}+{:x}", row.count, row.stride);
            text += row.read_only ? "ro" : "";
            text += row.starts ? fmt::format("!{:x}", row.starts) : "";
            const uint64_t first = contents(row, 0);
            text += first ? fmt::format("={:x}", first) : "";
            for (unsigned index = 1; index < row.count; ++index)
                text += contents(row, index) == first ? "" : " differs";
        }
        return text;
    }

private:
    static uint8_t at(const chip::Register &row, unsigned index)
    {
        return static_cast<uint8_t>(row.offset + index * row.stride);
    }
    uint64_t contents(const chip::Register &row, unsigned index)
    {
        power_on(class_b);
        return sim::Switch(state(), plain_).read(row.page, at(row, index));
    }
    // As many ones as it keeps, seen at the bank's end; what only the hardware writes shows all that it may.
    int width(const chip::Register &row)
    {
        power_on(class_b);
        sim::Switch simulated(state(), plain_);
        const uint8_t last = at(row, row.count - 1U);
        const uint64_t before = simulated.read(row.page, last);
        const bool acts = sim::find_bank(row.name)->role.written != nullptr;
        if (!acts)
            simulated.write(row.page, last, ~uint64_t{0});
        if (!acts && !row.read_only)
            return std::popcount(reg(row.page, last));
        EXPECT_EQ(simulated.read(row.page, last), before) << row.name;
        reg(row.page, last) = ~uint64_t{0};
        const int shown = std::popcount(simulated.read(row.page, last));
        return shown == 0 ? row.width : shown; // the search engine shows nothing while it rests
    }

    const sim::Behaviour plain_;
};

std::string counters(const char *name)
{
    return fmt::format("{0} 00/64ro; {0} 08/32*18+4ro; {0} 50/64ro; {0} 58/32*12+4ro; {0} 88/64ro; "
                       "{0} 90/32*10+4ro; {0} c0/32*6+4ro",
                       name);
}

TEST_F(RegisterMap, StandsAsDocumented)
{
    const std::pair<uint8_t, std::string> pages[] = {
        {0x00, "port-control 00/8*2+1=a0; control-0 08/8; control-27 0b/8; protected-ports 24/16; "
               "mcast-control 2f/8; switch-reset 79/8; fast-age 88/8!80=2; fast-age-port 89/8; "
               "fast-age-vid 8a/16"},
        {0x01, "link-status 00/16ro=103; link-change 02/16ro; speed 04/32ro=2000a; duplex 08/16ro=103; "
               "pause 0a/32ro"},
        {0x02, "cpu-port-control 00/8=80; age-timer 06/32=10012c; mirror-control 10/16=8; "
               "mirror-ingress-control 12/16; mirror-ingress-divider 14/16; mirror-ingress-mac 16/48; "
               "mirror-egress-control 1c/16; mirror-egress-divider 1e/16; mirror-egress-mac 20/48; "
               "device-id 30/32ro=2404; control-21 50/32"},
        {0x04, "bpdu-address 04/48=180c2000000; l2-cache-valid 0e/16; l2-cache-key 10/48*6+10; "
               "l2-cache-data 18/32*6+10; arl-bin-full-counter 70/32ro; arl-bin-full-forward 74/16=1"},
        {0x05, "arl-access 00/8!80; arl-mac-index 02/48; arl-vid-index 08/16; arl-bin-key 10/64*4+10; "
               "arl-bin-data 18/32*4+10; arl-search 50/8!80; arl-result-key 60/64*2+10ro; "
               "arl-result-data 68/32*2+10ro; vlan-table-command 80/8!80; vlan-table-index 81/16; "
               "vlan-table-entry 83/32"},
        {0x20, counters("port-0-counters")},
        {0x21, counters("port-1-counters")},
        {0x28, counters("port-8-counters")},
        {0x30, "layer-selector 00/8; cos-ports 04/16; dscp-ports 06/16; dscp-map-0 30/48=249249000000; "
               "late-dscp-map-0 34/48=249249000000; dscp-map-1 36/48=6db6db492492; "
               "late-dscp-map-1 3a/48=6db6db492492; dscp-map-2 3c/48=b6db6d924924; "
               "late-dscp-map-2 40/48=b6db6d924924; dscp-map-3 42/48=ffffffdb6db6; "
               "late-dscp-map-3 46/48=ffffffdb6db6; default-classes 48/32; class-sources 50/16*9+2; "
               "queue-map 62/16=fa50; class-queues 70/32*2+4=fac688; scheduler 80/8; weight 81/8*4+1=1; "
               "cpu-class-queues 90/32=fac688"},
        {0x34, "vlan-control-0 00/8=60; vlan-control-1 01/8=c; vlan-control-2 02/8; "
               "vlan-control-3 03/16; vlan-control-4 05/8=40; vlan-control-5 06/8=8; "
               "vlan-control-6 0a/16; default-tag 10/16*9+2=1; evt-command 40/32!5; evt-data 44/32"},
        {0x36, "control-4 00/32; control-18 04/8; control-19 08/32; control-20 0c/32"},
        {0x40, "jumbo-ports 01/32; frame-size-limit 05/16=5ee"},
        {0x41, "ingress-control 00/32; ingress-limiter 10/32*2+4; port-ingress-control 34/16*2+2; "
               "egress-limiter 80/16*9+2; cpu-rate-index c0/8=3f"},
        {0x46, "port-scheduler 00/8*9+1; port-weights 10/64*9+8=101010101010101"},
        {0x47, "egress-rate 00/32*9+4; egress-bucket 30/32*9+4; cpu-packet-rate b0/32; "
               "egress-limiters e6/16; cpu-rate-select e8/16"},
        {0x70, "snapshot-control 00/8"},
        {0x71, counters("snapshot-counters")},
        {0x91, "remap-control 00/32; remap 10/64*9+8=76543210"},
        {0xA0, "cfp-command 00/32!1; cfp-policer-control 04/32; cfp-transfer 10/32*31+4"},
        {0xA1, "cfp-enabled-ports 00/16; cfp-udf-a0 10/8*9+1; cfp-udf-a1 20/8*9+1; cfp-udf-a2 30/8*9+1; "
               "cfp-udf-b0 40/8*9+1; cfp-udf-b1 50/8*9+1; cfp-udf-b2 60/8*9+1; cfp-udf-c0 70/8*9+1; "
               "cfp-udf-c1 80/8*9+1; cfp-udf-c2 90/8*9+1; cfp-udf-d a0/8*12+1"},
    };
    size_t rows = 0;
    for (const auto &[number, text] : pages) {
        EXPECT_EQ(page(number), text) << int{number};
        rows += 1 + static_cast<size_t>(std::ranges::count(text, ';'));
    }
    EXPECT_EQ(rows, chip::registers.size());
}

// Power-on contents of one bank are equal, each register keeps its own, and nothing stands between them.
TEST_F(RegisterMap, LeadsToEachRegisterOfABank)
{
    unsigned known = 0;
    for (unsigned at = 0; at < 0x10000; ++at)
        known += chip::locate(static_cast<uint8_t>(at >> 8), static_cast<uint8_t>(at)).row != nullptr;
    unsigned registers = 0;
    for (const chip::Register &row : chip::registers) {
        registers += row.count;
        for (unsigned index = 0; index < row.count; ++index) {
            const auto [found, number] =
                chip::locate(row.page, static_cast<uint8_t>(row.offset + index * row.stride));
            EXPECT_TRUE(found == &row && number == index) << row.name << index;
        }
    }
    EXPECT_EQ(known, registers);
}

} // namespace
