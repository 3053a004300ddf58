// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/stat.h"

#include <algorithm>
#include <ctime>

#include "sim/model/port.h"
#include "sim/model/switch.h"

namespace sim {
namespace {

constexpr uint64_t counter_reset = 0x01;
constexpr uint64_t snapshot_port = 0x0F;
constexpr uint64_t snapshot_latch = 0x80;
constexpr uint64_t nanoseconds = 1'000'000'000;

// What this switch counts where; the registers that are not named here stay as they are.
enum Counter : uint8_t {
    octets_sent = 0x00,
    broadcasts_sent = 0x10,
    multicasts_sent = 0x14,
    unicasts_sent = 0x18,
    octets_received = 0x50,
    received_64 = 0x60, // frames by size: of 64 bytes, and of up to so many
    received_127 = 0x64,
    received_255 = 0x68,
    received_511 = 0x6C,
    received_1023 = 0x70,
    received_1518 = 0x74,
    good_octets_received = 0x88,
    unicasts_received = 0x94,
    multicasts_received = 0x98,
    broadcasts_received = 0x9C,
};

struct Frame {
    uint16_t octets;
    Counter size, received, sent;
};

// Passes over and over again.
constexpr Frame mix[] = {
    {64, received_64, unicasts_received, unicasts_sent},
    {1518, received_1518, unicasts_received, unicasts_sent},
    {64, received_64, broadcasts_received, broadcasts_sent},
    {594, received_1023, unicasts_received, unicasts_sent},
    {64, received_64, unicasts_received, unicasts_sent},
    {128, received_255, multicasts_received, multicasts_sent},
    {1518, received_1518, unicasts_received, unicasts_sent},
    {96, received_127, unicasts_received, unicasts_sent},
    {400, received_511, unicasts_received, unicasts_sent},
    {64, received_64, unicasts_received, unicasts_sent},
};
constexpr uint64_t mix_size = sizeof mix / sizeof *mix;

uint64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * nanoseconds + static_cast<uint64_t>(time.tv_nsec);
}

// Seconds and the rest apart: their product with the rate stays within 64 bits.
uint64_t frames_in(uint64_t duration, uint64_t frames_per_second)
{
    return duration / nanoseconds * frames_per_second +
           duration % nanoseconds * frames_per_second / nanoseconds;
}

// How many of the first `frames` frames are the mix's frame of that number.
uint64_t share(uint64_t frames, uint64_t number) { return (frames + mix_size - 1 - number) / mix_size; }

void count_frames(Switch &simulated, uint8_t page, uint64_t counted, uint64_t frames)
{
    for (uint64_t number = 0; number < mix_size; ++number) {
        const Frame &frame = mix[number];
        const uint64_t more = share(frames, number) - share(counted, number);
        for (const Counter counter : {octets_sent, octets_received, good_octets_received})
            simulated.cell(page, counter) += more * frame.octets;
        for (const Counter counter : {frame.size, frame.received, frame.sent})
            simulated.cell(page, counter) += more;
    }
}

uint8_t page_of(uint8_t port) { return static_cast<uint8_t>(first_mib_page + port); }

void for_each_counter(void (*act)(Switch &, uint8_t page, uint8_t offset), Switch &simulated, uint8_t page)
{
    for (const chip::Register &row : chip::registers) {
        for (unsigned index = 0; row.page == page && index < row.count; ++index)
            act(simulated, page, static_cast<uint8_t>(row.offset + index * row.stride));
    }
}

} // namespace

bool set_traffic(Switch &simulated, uint64_t port, uint32_t frames_per_second)
{
    const auto *const found = std::ranges::find(counting_ports, port);
    if (found == counting_ports.end())
        return false;
    count_traffic(simulated);
    simulated.state().traffic[found - counting_ports.begin()] = {now(), 0, frames_per_second};
    return true;
}

void count_traffic(Switch &simulated)
{
    const uint64_t time = now();
    for (size_t i = 0; i < counting_ports.size(); ++i) {
        Traffic &traffic = simulated.state().traffic[i];
        if (traffic.frames_per_second == 0)
            continue;
        const uint64_t frames = frames_in(time - traffic.since, traffic.frames_per_second);
        if (time < traffic.since || frames < traffic.counted) {
            // The system has been restarted since, and its clock with it.
            traffic = {time, 0, traffic.frames_per_second};
            continue;
        }
        count_frames(simulated, page_of(counting_ports[i]), traffic.counted, frames);
        traffic.counted = frames;
    }
}

void cpu_port_control_written(Switch &simulated, unsigned, uint64_t value)
{
    if ((value & counter_reset) == 0)
        return;
    count_traffic(simulated);
    for (const uint8_t port : counting_ports)
        for_each_counter([](Switch &s, uint8_t page, uint8_t offset) { s.cell(page, offset) = 0; }, simulated,
                         page_of(port));
}

void snapshot_control_written(Switch &simulated, unsigned, uint64_t value)
{
    const auto port = static_cast<uint8_t>(value & snapshot_port);
    if ((value & snapshot_latch) == 0 || std::ranges::find(counting_ports, port) == counting_ports.end())
        return;
    count_traffic(simulated);
    for_each_counter(
        [](Switch &s, uint8_t page, uint8_t offset) { s.cell(snapshot_page, offset) = s.cell(page, offset); },
        simulated, page_of(port));
}

} // namespace sim
