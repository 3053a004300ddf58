// SPDX-License-Identifier: LGPL-2.1-or-later
// Sequences of calls of the library on the model. After each, the lock is free and no descriptor is left;
// what a set stores, the get behind it tells.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <esw.h>

#include "fuzz/calls.h"
#include "sim/doors/session.h"

namespace {

// Bytes of the input; zeros behind its end.
class Input {
public:
    Input(const uint8_t *data, size_t size) : data_(data), left_(size) {}
    explicit operator bool() const { return left_ != 0; }
    uint64_t take(size_t bytes)
    {
        uint64_t number = 0;
        for (; bytes != 0; --bytes)
            number = number << 8 | (left_ != 0 ? (--left_, *data_++) : 0U);
        return number;
    }

private:
    const uint8_t *data_;
    size_t left_;
};

struct World {
    World()
    {
        char pattern[] = "/dev/shm/esw-fuzz-XXXXXX";
        directory = mkdtemp(pattern);
        if (!sim::create_board(directory.c_str(), 0x2404) || !(shared = sim::attach_board(directory.c_str())))
            abort();
        session.emplace(*shared, options, directory.c_str());
        atexit([] { std::filesystem::remove_all(world->directory); });
    }

    static World *world;
    std::string directory;
    sim::SharedSwitch *shared = nullptr;
    sim::Options options;
    std::optional<sim::Session> session;
};
World *World::world = nullptr;

void require(bool holds, const char *name, const char *what)
{
    if (holds)
        return;
    dprintf(2, "%s: %s\n", name, what);
    abort();
}

int lowest_descriptor()
{
    const int descriptor = dup(2);
    close(descriptor);
    return descriptor;
}

// A get behind a set: settings of a port or of the whole switch, of so many bits.
struct Setting {
    const char *name;
    int32_t (*set)(uint32_t port, uint32_t value);
    int32_t (*get)(uint32_t port, uint32_t *value);
    uint32_t values; // 0 to values - 1
};

#define PORT_SETTING(name, type, values)                                                                     \
    {                                                                                                        \
#name,                                                                                                  \
     [](uint32_t port, uint32_t value) { return name##_set(port, static_cast<type>(value)); },               \
     [](uint32_t port, uint32_t *value) { return name##_get(port, value); }, values    \
    }
#define SETTING(name, type, values)                                                                          \
    {                                                                                                        \
#name, [](uint32_t, uint32_t value) { return name##_set(static_cast<type>(value)); },                   \
     [](uint32_t, uint32_t *value) { return name##_get(value); }, values    \
    }

const Setting settings[] = {
    PORT_SETTING(eth_mirror_ingress, int32_t, 2),
    PORT_SETTING(eth_mirror_egress, int32_t, 2),
    PORT_SETTING(eth_protect, int32_t, 2),
    PORT_SETTING(eth_prio_remap_enable, int32_t, 2),
    PORT_SETTING(eth_cosq_enable, int32_t, 2),
    PORT_SETTING(eth_port_rate_ingress_control, uint32_t, 10),
    PORT_SETTING(eth_port_untagged_priority, int32_t, 8),
    PORT_SETTING(eth_cosq_port2tc, uint32_t, 8),
    PORT_SETTING(eth_vlan_mode, int32_t, 2),
    SETTING(eth_mirror_mode, int32_t, 2),
    SETTING(eth_learn_mcast, int32_t, 2),
    SETTING(eth_stat_snapshot_mode, int32_t, 2),
    SETTING(eth_vlan_drop_vtbl_miss, int32_t, 2),
    SETTING(eth_vlan_bypass_CRC, int32_t, 2),
    SETTING(eth_cosq_ip_mac_layer, int32_t, 4),
    {"eth_stg_stp", [](uint32_t port, uint32_t value) { return eth_stg_stp_set(0, port, value); },
     [](uint32_t port, uint32_t *value) {
         return eth_stg_stp_get(0, port, reinterpret_cast<int32_t *>(value));
     },
     5},
};

void check_setting(Input &input)
{
    const Setting &setting = settings[input.take(1) % std::size(settings)];
    const auto port = static_cast<uint32_t>(input.take(1));
    const auto value = static_cast<uint32_t>(input.take(1)) % setting.values;
    uint32_t got = ~value;
    if (setting.set(port, value) == ETH_E_NONE)
        require(setting.get(port, &got) == ETH_E_NONE && got == value, setting.name, "is not what was set");
}

void check_vlan(Input &input)
{
    const auto vid = static_cast<uint16_t>(input.take(2));
    const auto ports = static_cast<uint32_t>(input.take(2)) & 0x103;
    uint32_t members = 0, untagged = 0;
    const int32_t created = eth_vlan_create(vid);
    if (created != ETH_E_NONE)
        return;
    require(get_vid(vid) == 1 && eth_vlan_create(vid) == ETH_E_EXISTS, "eth_vlan_create", "has no effect");
    require(eth_vlan_port_add(vid, ports, 0) == ETH_E_NONE &&
                eth_vlan_port_get(vid, &members, &untagged) == ETH_E_NONE && (members & ports) == ports,
            "eth_vlan_port_add", "lost a port");
    require(eth_vlan_destroy(vid) == ETH_E_NONE && get_vid(vid) == 0, "eth_vlan_destroy", "has no effect");
}

void check_rule(Input &input)
{
    const auto slot = static_cast<uint32_t>(input.take(1)) % 64;
    eth_cfp_rule_t rule, got;
    eth_cfp_rule_t_init(&rule);
    rule.data[0] = static_cast<uint32_t>(input.take(4)) | 1;
    rule.mask[7] = static_cast<uint32_t>(input.take(4));
    rule.action[1] = static_cast<uint32_t>(input.take(4));
    got = rule;
    got.data[0] = got.mask[7] = got.action[1] = 0;
    if (eth_cfp_rule_set(static_cast<int32_t>(slot), rule) == static_cast<int32_t>(slot))
        require(eth_cfp_rule_get(slot, &got) == ETH_E_NONE && memcmp(&got, &rule, sizeof got) == 0,
                "eth_cfp_rule_get", "is not the rule that was set");
}

void run_call(Input &input)
{
    const calls::Call &call = calls::all[input.take(1) % calls::all.size()];
    std::array<uint64_t, 5> numbers = call.numbers;
    const uint64_t changed =
        input.take(1); // a bit for each number that the input chooses, and one for records
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (changed >> i & 1)
            numbers[i] = input.take(changed & 0x80 ? 4 : 1);
    }
    calls::Arguments arguments(numbers, changed & 0x40 ? static_cast<uint32_t>(input.take(4)) : call.word);
    const uint32_t device = gESWID;
    call.run(arguments);
    if (gFd < 0) // it was esw_exit()
        esw_init("eth0");
    gESWID = device;
}

} // namespace

sim::Session *sim::session() { return World::world ? &*World::world->session : nullptr; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr uint32_t devices[] = {0x2404, 0x11140, 0xD300, 0xD315};
    if (!World::world) {
        World::world = new World;
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        close(null);
    }
    World &world = *World::world;
    Input input(data, size);
    const auto first = static_cast<unsigned>(input.take(1));
    const sim::Behaviour plain;
    sim::Switch(world.shared->state, plain).power_on(devices[first % 3]);
    world.options = {};
    world.options.unprivileged = true;
    world.options.device_route = (first & 8) == 0;
    world.options.behaviour.latency = first >> 4;
    if (esw_init("eth0") != ETH_E_NONE)
        abort();
    gESWID = devices[first % 4];
    init_vid_list();
    const int lowest = lowest_descriptor();
    for (unsigned steps = 0; input && steps < 40; ++steps) {
        switch (input.take(1) % 8) {
        case 0:
            check_setting(input);
            break;
        case 1:
            check_vlan(input);
            break;
        case 2:
            check_rule(input);
            break;
        default:
            run_call(input);
        }
        require(lowest_descriptor() == lowest, "a call", "left a descriptor");
    }
    esw_exit();
    return 0;
}
