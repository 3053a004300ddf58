// SPDX-License-Identifier: LGPL-2.1-or-later
// Eight threads on the calls that hold the lock, and eight processes on what they share.
#include "tests/support/board.h"

#include <fstream>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include <esw.h>

namespace {

using namespace test;

class Concurrency : public StartedBoard {
protected:
    void SetUp() override
    {
        StartedBoard::SetUp();
        init_vid_list();
        for (const uint16_t vid : {uint16_t{10}, uint16_t{11}})
            eth_vlan_create(vid);
        count_only();
    }
};

// Sets a value and tells whether it reads back.
using Step = std::function<bool(uint32_t value)>;

eth_l2_addr_t station(uint8_t last, uint32_t port)
{
    const uint8_t mac[6] = {0x02, 0, 0x5E, 0, 0x53, last};
    eth_l2_addr_t entry;
    eth_l2_addr_t_init(&entry, mac, 1);
    entry.port = port;
    entry.flags = ETH_L2_VALID | ETH_L2_STATIC;
    return entry;
}

bool finds(const eth_l2_addr_t &entry)
{
    uint32_t found = 0;
    int32_t bin = 0;
    return eth_arl_entry_bin_check(&entry, &entry, &found, &bin) == 0 && found == 1;
}

// Threads that share registers and tables two by two: without the lock one undoes what the other does.
TEST_F(Concurrency, EightThreadsKeepWhatIsTheirs)
{
    options().behaviour.latency = 3;
    uint32_t untagged[2];
    const auto vlan = [&](uint16_t vid) {
        return [&, vid](uint32_t value) {
            const uint32_t ports = 1 + value % 3;
            uint32_t members = 0;
            return eth_vlan_port_remove(vid, 0x103) == 0 && eth_vlan_port_add(vid, ports, 0) == 0 &&
                   eth_vlan_port_get(vid, &members, &untagged[vid - 10]) == 0 && members == ports;
        };
    };
    const auto flag = [](auto set, auto get, auto... port) {
        return [=](uint32_t value) {
            uint32_t got = 5;
            int32_t changed = 5;
            return set(port..., value & 1) == 0 && get(port..., &got) == 0 && got == (value & 1) &&
                   eth_port_link_status_change_get(1, &changed) == 0;
        };
    };
    const auto address = [](uint8_t last) {
        return [last](uint32_t) {
            eth_l2_addr_t entry = station(last, 1);
            return eth_l2_addr_add(&entry) == 0 && eth_l2_addr_delete(entry.mac, 1) == 0;
        };
    };
    const Step steps[] = {
        vlan(10),
        vlan(11),
        flag(eth_mirror_ingress_set, eth_mirror_ingress_get, 0U),
        flag(eth_mirror_ingress_set, eth_mirror_ingress_get, 8U),
        address(1),
        address(2),
        flag(eth_vlan_bypass_CRC_set, eth_vlan_bypass_CRC_get),
        flag(eth_vlan_drop_vtbl_miss_set, eth_vlan_drop_vtbl_miss_get),
    };
    std::atomic<unsigned> wrong = 0;
    {
        std::vector<std::jthread> threads;
        for (const Step &step : steps)
            threads.emplace_back([&] {
                for (uint32_t value = 0; value < 400; ++value)
                    wrong += !step(value);
            });
    }
    EXPECT_EQ(wrong, 0u);
}

// What the headers promise to processes: who changes VLANs of its own loses nothing, and a parked rule is one
// that somebody parked. The lock does not reach them: one alone uses the address table.
TEST_F(Concurrency, EightProcessesKeepWhatIsPromised)
{
    const auto work = [](int number) {
        const auto first = static_cast<uint16_t>(100 * number);
        eth_l2_addr_t entry = station(7, 1);
        unsigned wrong = 0;
        for (uint16_t round = 0; round < 100; ++round) {
            eth_cfp_rule_t rule, loaded;
            memset(&rule, number, sizeof rule);
            wrong += eth_cfp_rule_store(&rule) != 0 || eth_cfp_rule_load(&loaded) != 0;
            const auto *bytes = reinterpret_cast<const char *>(&loaded);
            wrong += std::string(bytes, sizeof loaded) != std::string(sizeof loaded, *bytes);
            const auto vid = static_cast<uint16_t>(first + round % 10);
            wrong += eth_vlan_create(vid) != 0 || get_vid(vid) != 1 || set_vid(vid, 0) != 0;
            wrong += number == 1 &&
                     (eth_l2_addr_add(&entry) != 0 || !finds(entry) || eth_l2_addr_delete(entry.mac, 1) != 0);
        }
        return wrong + (eth_vlan_create(first) != 0);
    };
    std::vector<pid_t> children;
    for (int number = 1; number <= 8; ++number) {
        children.push_back(fork());
        if (children.back() == 0)
            _exit(work(number) != 0);
    }
    std::string expected(4096, '0');
    expected[10] = expected[11] = '1';
    for (size_t number = 1; number <= children.size(); ++number) {
        int status = -1;
        waitpid(children[number - 1], &status, 0);
        EXPECT_EQ(status, 0) << "process " << number;
        expected[100 * number] = '1';
    }
    EXPECT_EQ(contents(shm("vid_list.cfg")), expected);
}

} // namespace
