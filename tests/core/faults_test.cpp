// SPDX-License-Identifier: LGPL-2.1-or-later
// Every call of the library on a driver that fails: it ends with a documented result, within its bound of
// requests, with the lock free and no descriptor left open.
#include "tests/support/board.h"

#include <fstream>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

#include <esw.h>

#include "fuzz/calls.h"

namespace {

using namespace test;

// What a header says about a call, with what it says about the group that the call stands in.
const std::string &documentation(const std::string &name)
{
    static const std::map<std::string, std::string> all = [] {
        std::map<std::string, std::string> calls;
        for (const char *header : {"cfp", "control", "core", "l2", "mirror", "port", "qos", "stat", "vlan"}) {
            const std::string text = contents(fmt::format("{}/{}.h", HEADERS, header));
            std::string group, comment;
            for (size_t at = text.find("/* ----"); at != std::string::npos;) {
                const size_t end = text.find("*/", at);
                comment = text.substr(at, end - at);
                if (comment.starts_with("/* ----"))
                    group = comment;
                at = text.find("/*", end);
                const std::string code = text.substr(end, at - end);
                for (size_t bracket = 0; (bracket = code.find('(', bracket + 1)) != std::string::npos;) {
                    const size_t begin = code.find_last_of(" *", bracket) + 1;
                    calls[code.substr(begin, bracket - begin)] = group + comment;
                }
            }
        }
        // What a call says about another counts for it, too.
        const auto own = calls;
        for (auto &[call, text] : calls) {
            for (const auto &[other, words] : own)
                text += text.find(other + "()") == std::string::npos ? "" : words;
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
    return result == 0 || ((result == -1 || result == all_ones) && says_minus_one) ||
           (result > 0 &&
            (text.find("Returns 0") == std::string::npos || text.find("Returns 1") != std::string::npos));
}

struct Fault {
    std::string name;
    std::function<void(sim::Options &)> set;
};

class Faults : public Board {
protected:
    void SetUp() override { power_on(class_b); }

    // A switch with a VLAN and a cached address, as each run finds it.
    void prepare(const std::string &call, const std::pair<uint32_t, bool> &board)
    {
        const auto &[device, device_route] = board;
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
        fault.set(options());
        calls::Arguments arguments(call.numbers, call.word);
        const int64_t result = call.run(arguments);
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
};

TEST_F(Faults, EveryCallEndsWell)
{
    const int out = dup(1), error = dup(2), null = open("/dev/null", O_WRONLY);
    fflush(stdout);
    dup2(null, 1);
    dup2(null, 2);
    std::string wrong;
    unsigned runs = 0;
    const std::pair<uint32_t, bool> boards[] = {
        {class_b, true}, {class_b, false}, {class_a, true}, {early_class_b, false}, {unknown_device, true}};
    for (const auto &board : boards) {
        for (const calls::Call &call : calls::all) {
            const auto check = [&](const Fault &fault, uint64_t requests) {
                prepare(call.name, board);
                wrong += run(call, fault, requests);
                ++runs;
                return requests;
            };
            const uint64_t requests = check({"no fault", [](auto &) {}}, 0);
            // The longest repeat the same for each entry of a table, and wait for each when all fail.
            const bool is_long = requests > 100 || strcmp(call.name, "eth_vlan_destroy_all") == 0;
            const bool briefly = is_long && board != boards[0];
            if (briefly)
                continue;
            for (uint64_t n = 1; n <= requests; n += n >= 40 && is_long ? 97 : 1)
                check(
                    {fmt::format("request {} failing", n), [n](auto &faults) { faults.failing_request = n; }},
                    requests);
            // Their 385 waits make four million reads: see the VLAN tests.
            if (strcmp(call.name, "eth_vlan_init") == 0 || strcmp(call.name, "eth_vlan_evt_clear") == 0)
                continue;
            check({"all failing", [](auto &faults) { faults.all_requests_fail = true; }}, requests);
            for (const char *engine :
                 {"arl-access", "arl-search", "fast-age", "vlan-table-command", "evt-command", "cfp-command"})
                if (requests != 0)
                    check({fmt::format("{} stuck", engine),
                           [engine](auto &faults) { faults.behaviour.stuck = sim::find_bank(engine); }},
                          requests);
        }
    }
    fflush(stdout);
    dup2(out, 1);
    dup2(error, 2);
    for (const int descriptor : {out, error, null})
        close(descriptor);
    EXPECT_EQ(wrong, "") << runs << " runs";
    EXPECT_EQ(calls::all.size(), 178u);
}

} // namespace
