// SPDX-License-Identifier: LGPL-2.1-or-later
// Every call of the library on a driver that fails: it ends with a documented result, within its bound of
// requests, with the lock free and no descriptor left open.
#include "tests/support/board.h"
#include "tests/support/file_calls.h"
#include "tests/support/headers.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <esw.h>

#include "fuzz/calls.h"

namespace {

using namespace test;
namespace fs = std::filesystem;

// What a header says about a call, and about those that it names.
const std::string &documentation(const std::string &name)
{
    static const std::map<std::string, std::string> all = [] {
        std::map<std::string, std::string> calls;
        for (const Documented &call : documented_calls()) {
            calls[call.name] = call.text;
            for (const Documented &other : documented_calls())
                calls[call.name] += call.text.find(other.name + "()") == std::string::npos ? "" : other.text;
        }
        return calls;
    }();
    return all.at(name);
}

// How often a wait reads at most; 0 for a call without.
uint64_t budget(const std::string &text)
{
    for (const char *reads : {"10002 times", "10001 times", "10001 reads", "101 times", "101 reads"}) {
        if (text.find(reads) != std::string::npos)
            return std::stoul(reads);
    }
    return 0;
}

bool is_documented(int64_t result, const std::string &text)
{
    static const std::map<int64_t, const char *> codes = {
        {ETH_E_FAIL, "ETH_E_FAIL"},           {ETH_E_PARAM, "ETH_E_PARAM"},
        {ETH_E_FULL, "ETH_E_FULL"},           {ETH_E_EXISTS, "ETH_E_EXISTS"},
        {ETH_E_TIMEOUT, "ETH_E_TIMEOUT"},     {ETH_E_PHY, "ETH_E_PHY"},
        {ETH_E_EMPTY, "ETH_E_EMPTY"},         {ETH_E_UNAVAIL, "ETH_E_UNAVAIL"},
        {ETH_E_RESOURCE, "ETH_E_RESOURCE"},   {ETH_E_PORT, "ETH_E_PORT"},
        {ETH_E_NOT_FOUND, "ETH_E_NOT_FOUND"}, {ETH_E_UNSUPPORTED, "ETH_E_UNSUPPORTED"}};
    const auto code = codes.find(result);
    if (code != codes.end() && text.find(code->second) != std::string::npos)
        return true;
    const bool says_minus_one = text.find("-1") < text.size() || text.find("all ones") < text.size();
    // Values: a register's contents, a slot, whether a VLAN exists.
    return result == 0 || text.find("that byte (0 to 255) minus") < text.size() ||
           ((result == -1 || result == all_ones) && says_minus_one) ||
           (result > 0 &&
            (text.find("Returns 0") == std::string::npos || text.find("Returns 1") != std::string::npos));
}

struct Fault {
    std::string name;
    std::function<void(sim::Options &, FileCalls &)> set;
};

// Nothing is printed meanwhile.
class Silence {
public:
    Silence() { redirect({null_, null_}); }
    ~Silence()
    {
        redirect({kept_[0], kept_[1]});
        for (const int descriptor : {kept_[0], kept_[1], null_})
            close(descriptor);
    }

private:
    static void redirect(std::pair<int, int> to)
    {
        fflush(stdout);
        dup2(to.first, 1);
        dup2(to.second, 2);
    }

    const int kept_[2] = {dup(1), dup(2)}, null_ = open("/dev/null", O_WRONLY);
};

struct Place {
    uint32_t device;
    bool device_route;
};

class Faults : public Board {
protected:
    void SetUp() override
    {
        power_on(class_b);
        silence_.emplace();
    }

    void TearDown() override
    {
        silence_.reset();
        EXPECT_EQ(wrong_, "") << runs_ << " runs";
        EXPECT_EQ(calls::all.size(), 178u);
    }

    // Runs the call on a board where something has been planted. The requests that it made.
    uint64_t check(
        const calls::Call &call, const Place &place, const Fault &fault, uint64_t requests = 0,
        const std::function<void()> &plant = [] {})
    {
        plant_at_all([](auto &) {});
        prepare(call.name, place);
        plant();
        wrong_ += run(call, fault, requests);
        ++runs_;
        return requests;
    }

    void plant_at_all(const std::function<void(const std::string &path)> &plant) const
    {
        for (const char *name : {"vid_list.cfg", "cfp_rule.cfg", "cfp_last_idx.cfg"}) {
            fs::remove_all(shm(name));
            plant(shm(name));
        }
    }

    FileCalls files_;
    std::string wrong_;
    unsigned runs_ = 0;

private:
    // A switch with a VLAN and a cached address, as each run finds it.
    void prepare(const std::string &call, const Place &place)
    {
        const auto &[device, device_route] = place;
        options() = {};
        options().unprivileged = true;
        options().device_route = device_route;
        become(device == unknown_device ? class_b : device);
        reg(0x04, 0x0E) = 8;
        esw_init("eth0");
        gESWID = device;
        if (call.find("vlan") < call.size() || call.find("vid") < call.size())
            std::ofstream(shm("vid_list.cfg")) << std::string(4096, '0').replace(10, 1, "1");
    }

    // What is wrong with a run of the call; `requests`, when not 0, are those of a run without fault.
    std::string run(const calls::Call &call, const Fault &fault, uint64_t &requests)
    {
        const std::string name = call.name;
        const std::string &text = documentation(name);
        if (name == "esw_init")
            esw_exit();
        const int lowest = lowest_descriptor();
        restart_counts();
        files_ = {};
        fault.set(options(), files_);
        calls::Arguments arguments(call.numbers, call.word);
        watched = &files_;
        const int64_t result = call.run(arguments);
        watched = nullptr;
        options() = {};
        std::string wrong;
        if (!is_documented(result, text))
            wrong += fmt::format(" result {}", result);
        if (requests != 0 && counts_.requests > requests + 2 + requests * budget(text))
            wrong += fmt::format(" {} requests", counts_.requests.load());
        if (counts_.locks != counts_.unlocks)
            wrong += " locked";
        if (name == "esw_init" || name == "esw_exit")
            esw_exit();
        if (lowest_descriptor() != (name == "esw_exit" ? std::min(lowest, lowest_descriptor()) : lowest))
            wrong += " descriptor left";
        requests = counts_.requests;
        esw_exit();
        return wrong.empty() ? "" : fmt::format("{} with {}:{}\n", name, fault.name, wrong);
    }

    static int lowest_descriptor()
    {
        const int descriptor = dup(2);
        close(descriptor);
        return descriptor;
    }

    void restart_counts() { counts_.requests = counts_.locks = counts_.unlocks = 0; }

    Counts &counts_ = count_only();
    std::optional<Silence> silence_;
};

const Fault no_fault = {"no fault", [](auto &, auto &) {}};

TEST_F(Faults, EveryCallEndsWell)
{
    const Place places[] = {
        {class_b, true}, {class_b, false}, {class_a, true}, {early_class_b, false}, {unknown_device, true}};
    for (const Place &place : places) {
        for (const calls::Call &call : calls::all) {
            const uint64_t requests = check(call, place, no_fault);
            // The longest repeat the same for each entry of a table, and wait for each when all fail.
            const bool is_long = requests > 100 || strcmp(call.name, "eth_vlan_destroy_all") == 0;
            if (is_long && &place != places)
                continue;
            for (uint64_t n = 1; n <= requests; n += n >= 60 && is_long ? 31 : 1)
                check(call, place,
                      {fmt::format("request {} failing", n),
                       [n](auto &faults, auto &) { faults.failing_request = n; }},
                      requests);
            // Their 385 waits make four million reads: see the VLAN tests.
            if (strcmp(call.name, "eth_vlan_init") == 0 || strcmp(call.name, "eth_vlan_evt_clear") == 0)
                continue;
            check(call, place, {"all failing", [](auto &faults, auto &) { faults.all_requests_fail = true; }},
                  requests);
            for (const char *engine :
                 {"arl-access", "arl-search", "fast-age", "vlan-table-command", "evt-command", "cfp-command"})
                if (requests != 0)
                    check(
                        call, place,
                        {fmt::format("{} stuck", engine),
                         [engine](auto &faults, auto &) { faults.behaviour.stuck = sim::find_bank(engine); }},
                        requests);
        }
    }
}

// The files that anybody may have planted under /dev/shm, and what calls on them can meet.
TEST_F(Faults, EveryCallEndsWellWhateverItsFiles)
{
    const std::string victim = directory() + "/victim", random = "\x9C\x01#1\n0\xFF\x7F";
    const auto with_bytes = [&](size_t size) {
        return [=](const std::string &path) {
            std::string bytes;
            while (bytes.size() < size)
                bytes += random;
            std::ofstream(path, std::ios::binary) << bytes.substr(0, size);
        };
    };
    std::vector<std::function<void(const std::string &path)>> plants = {
        [&](const std::string &path) { fs::create_symlink(victim, path); },
        [](const std::string &path) { fs::create_symlink("nowhere", path); },
        [](const std::string &path) { mkfifo(path.c_str(), 0600); },
        [](const std::string &path) { fs::create_directory(path); },
    };
    for (const size_t size : {0u, 1u, 4u, 5u, 124u, 125u, 4095u, 4096u, 5000u})
        plants.emplace_back(with_bytes(size));
    std::ofstream(victim) << "precious";
    const auto remove = [&] { plant_at_all([](auto &) {}); };
    constexpr Place place = {class_b, true};
    for (const calls::Call &call : calls::all) {
        if (strcmp(call.name, "esw_init") == 0) // whose files are the doors
            continue;
        check(call, place, no_fault);
        const unsigned made = files_.made;
        const bool is_long = made > 100; // the same for each VLAN
        for (unsigned n = 1; n <= made; n += n < 10 || !is_long ? 1 : made / 2) {
            for (const std::string kind : {"fails", "fails from then on", "is short"}) {
                const Fault fault = {fmt::format("file call {} that {}", n, kind), [=](auto &, auto &files) {
                                         files.is_short = kind == "is short";
                                         files.fails = [=](auto &, unsigned number) {
                                             return number == n || (kind.ends_with("on") && number > n);
                                         };
                                     }};
                check(call, place, fault);
                if (!is_long)
                    check(call, place, fault, 0, remove);
            }
        }
        for (size_t plant = 0; made != 0 && plant < plants.size(); ++plant)
            check(call, place, {fmt::format("file {}", plant), no_fault.set}, 0,
                  [&] { plant_at_all(plants[plant]); });
    }
    EXPECT_EQ(contents(victim), "precious");
}

} // namespace
