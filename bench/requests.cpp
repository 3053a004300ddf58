// SPDX-License-Identifier: LGPL-2.1-or-later
// What the library adds to its driver requests: calls beside bare loops of exactly the same requests, which are
// recorded from the calls. The driver is a function of this program, which either costs next to nothing or makes one
// real system call.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <esw.h>

#include "core/wire.h"

namespace {

using esw::RegisterRequest;

struct Request {
    unsigned long number;
    RegisterRequest record;
};

bool driver_is_real = false;
uint64_t answer = 0; // to every read
std::vector<Request> *recorded = nullptr;
std::array<char, 64> own_shm; // stands in for /dev/shm

constexpr char shm[] = "/dev/shm/";

} // namespace

extern "C" {

int ioctl(int descriptor, unsigned long number, ...)
{
    va_list rest;
    va_start(rest, number);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    if (number == esw::request_read)
        static_cast<RegisterRequest *>(argument)->value = answer;
    if (recorded)
        recorded->push_back({number, number == esw::request_eee_read
                                         ? RegisterRequest{}
                                         : *static_cast<RegisterRequest *>(argument)});
    return driver_is_real ? static_cast<int>(syscall(SYS_ioctl, descriptor, FIOCLEX)) : 0;
}

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    std::array<char, 128> place;
    if (strncmp(path, shm, strlen(shm)) == 0) {
        snprintf(place.data(), place.size(), "%s/%s", own_shm.data(), path + strlen(shm));
        path = place.data();
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

} // extern "C"

namespace {

constexpr uint8_t mac[6] = {0x02, 0x00, 0x5E, 0x00, 0x53, 0x01};
constexpr uint16_t known_vid = 10;        // which exists at the beginning of each call
constexpr uint64_t every_slot_in_use = 2; // bits 1..0 of a rule's first word; as a command register: not busy

void replay(const std::vector<Request> &requests)
{
    for (const Request &request : requests) {
        RegisterRequest record = request.record;
        ioctl(gFd, request.number, &record);
        benchmark::DoNotOptimize(record);
    }
}

void replay_on_own_socket(const std::vector<Request> &)
{
    ethtool_eee eee{};
    const int own = socket(AF_INET, SOCK_DGRAM, 0);
    esw::RequestBlock block{.name = "eth0", .data = &eee, .unused = {}};
    eee.cmd = ETHTOOL_GEEE;
    eee.reserved[0] = 1;
    ioctl(own, esw::request_eee_read, &block);
    benchmark::DoNotOptimize(block);
    shutdown(own, SHUT_RDWR);
    close(own);
}

struct Case {
    const char *name;
    std::function<void()> call;
    std::function<void(const std::vector<Request> &)> loop =
        replay; // with the call's work on files and sockets
    uint64_t answer = 0;
};

const Case cases[] = {
    {"read", [] { benchmark::DoNotOptimize(esw_reg_read32(0x01, 0x00, 16)); }},
    {"read-modify-write", [] { esw_reg_mask_set(0x34, 0x00, 8, 0x60); }},
    {"link status",
     [] {
         int32_t link;
         eth_port_link_status_get(0, &link);
         benchmark::DoNotOptimize(link);
     }},
    {"sum of five counters",
     [] {
         uint64_t sum;
         ethHw_stat_get(0, 4, &sum);
         benchmark::DoNotOptimize(sum);
     }},
    {"ARL add",
     [] {
         eth_l2_addr_t addr;
         eth_l2_addr_t_init(&addr, mac, 1);
         addr.flags = ETH_L2_STATIC | ETH_L2_VALID;
         eth_l2_addr_add(&addr);
     }},
    {"VLAN port add", [] { eth_vlan_port_add(known_vid, 0x3, 0x1); },
     [](const std::vector<Request> &requests) {
         get_vid(known_vid);
         replay(requests);
     }},
    {"egress translation clear", [] { eth_vlan_evt_clear(); }},
    {"CFP rule get",
     [] {
         eth_cfp_rule_t rule;
         eth_cfp_rule_get(5, &rule);
         benchmark::DoNotOptimize(rule);
     }},
    {"CFP rule set",
     [] {
         eth_cfp_rule_t rule;
         eth_cfp_rule_t_init(&rule);
         eth_cfp_rule_set(5, rule);
     }},
    {"CFP scan, all slots used",
     [] {
         eth_cfp_rule_t rule;
         eth_cfp_rule_t_init(&rule);
         eth_cfp_rule_set(-1, rule);
     },
     [](const std::vector<Request> &requests) {
         eth_cfp_rule_t rule; // a file of the same kind as the one that says where the scan begins
         eth_cfp_rule_load(&rule);
         replay(requests);
     },
     every_slot_in_use},
    {"VLAN destroy all",
     [] {
         eth_vlan_destroy_all();
         set_vid(known_vid, 1);
     },
     [](const std::vector<Request> &requests) {
         for (uint16_t vid = 0; vid < 4096; ++vid)
             set_vid(vid, 0);
         replay(requests);
         set_vid(known_vid, 1);
     }},
    {"EEE get",
     [] {
         ethtool_eee eee{};
         eth_eee_get(0, &eee);
         benchmark::DoNotOptimize(eee);
     },
     replay_on_own_socket},
};

std::vector<Request> requests_of(const Case &subject)
{
    std::vector<Request> requests;
    answer = subject.answer;
    recorded = &requests;
    subject.call();
    recorded = nullptr;
    return requests;
}

void add(const Case &subject, const std::vector<Request> &requests, bool real, bool bare)
{
    const std::string name =
        std::string(subject.name) + (real ? "/system call/" : "/free ioctl/") + (bare ? "loop" : "library");
    benchmark::RegisterBenchmark(name.c_str(), [&subject, &requests, real, bare](benchmark::State &state) {
        if (requests_of(subject).size() != requests.size())
            state.SkipWithError("makes other requests than at first");
        driver_is_real = real;
        for (auto _ : state) {
            if (bare)
                subject.loop(requests);
            else
                subject.call();
        }
        state.counters["requests"] = static_cast<double>(requests.size());
    });
}

} // namespace

int main(int argc, char **argv)
{
    snprintf(own_shm.data(), own_shm.size(), "/dev/shm/esw-bench-XXXXXX");
    if (!mkdtemp(own_shm.data())) {
        perror("esw_bench: a directory in /dev/shm");
        return 1;
    }
    gESWID = 0x2404;
    gFd = open("/dev/null", O_RDWR);
    ethHw_init();
    set_vid(known_vid, 1);

    benchmark::Initialize(&argc, argv);
    std::vector<std::vector<Request>> requests;
    requests.reserve(std::size(cases));
    for (const Case &subject : cases) {
        requests.push_back(requests_of(subject));
        for (const bool real : {false, true}) {
            for (const bool bare : {false, true})
                add(subject, requests.back(), real, bare);
        }
    }
    const bool understood = !benchmark::ReportUnrecognizedArguments(argc, argv);
    if (understood)
        benchmark::RunSpecifiedBenchmarks();
    for (const char *name : {"vid_list.cfg", "cfp_rule.cfg", "cfp_last_idx.cfg"})
        unlink((std::string(own_shm.data()) + '/' + name).c_str());
    rmdir(own_shm.data());
    return understood ? 0 : 1;
}
