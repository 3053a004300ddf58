// SPDX-License-Identifier: LGPL-2.1-or-later
// What the headers say of the switch lock, beside what each call does: every call is read from its header and made.
#include "tests/support/board.h"

#include <filesystem>
#include <regex>

#include <dlfcn.h>

#include <esw.h>

namespace {

using namespace test;

struct Declared {
    std::string name, parameters, lock; // "none", "held, but not for the checks", ...
};

// The statement of a comment on one line; empty when it has none.
std::string lock_statement(const std::string &comment)
{
    const std::string line = std::regex_replace(comment, std::regex("\n \\*?|  +"), " ");
    std::smatch found;
    return std::regex_search(line, found, std::regex("Lock: +([^.:]*)")) ? found.str(1) : "";
}

// A call without a statement of its own is under that of its section, or else of its header.
std::vector<Declared> declared()
{
    static const std::regex piece("(?:^|\n)/\\*([^]*?)\\*/([^]*?)(?=\n/\\*|$)");
    static const std::regex function("(\\w+)\\(([^()]*)\\);");
    std::vector<Declared> calls;
    for (const auto &header : std::filesystem::directory_iterator(HEADERS)) {
        const std::string text = contents(header.path());
        std::string of_header, of_section;
        for (std::sregex_iterator at(text.begin(), text.end(), piece), end; at != end; ++at) {
            const std::string comment = at->str(1), code = at->str(2);
            const std::string own = lock_statement(comment);
            if (comment.find("numbered conventions") != std::string::npos)
                of_header = own;
            if (comment.find("----") != std::string::npos)
                of_section = own;
            for (std::sregex_iterator call(code.begin(), code.end(), function); call != end; ++call)
                calls.push_back({call->str(1), call->str(2),
                                 !own.empty()          ? own
                                 : !of_section.empty() ? of_section
                                                       : of_header});
        }
    }
    return calls;
}

// Arguments that pass the checks of nearly every call.
class Arguments {
public:
    Arguments(const Declared &call, uint64_t port)
    {
        for (auto &record : records_)
            std::fill(std::begin(record), std::end(record),
                      0x41U); // a valid entry, a weight, a multicast address
        const std::regex parameter("([^,]*?)(\\w+)(\\[\\d+\\])?(?:,|$)");
        size_t i = 0;
        for (std::sregex_iterator at(call.parameters.begin(), call.parameters.end(), parameter), end;
             at != end; ++at, ++i) {
            const std::string type = at->str(1) + at->str(3), name = at->str(2);
            records_[i][3] = 1; // the port of an entry
            values_[i] = name == "ifname" ? reinterpret_cast<uint64_t>("eth0")
                         : type.find_first_of("*[") != std::string::npos
                             ? reinterpret_cast<uint64_t>(records_[i])
                         : name == "port"  ? port
                         : name == "size"  ? 1518
                         : name == "speed" ? 10
                                           : 1;
        }
    }
    void pass_to(const std::string &name)
    {
        if (name == "eth_cfp_rule_set")
            eth_cfp_rule_set(1, {});
        else if (name == "eth_cfp_udf_set")
            eth_cfp_udf_set({});
        else
            reinterpret_cast<int64_t (*)(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t)>(
                dlsym(RTLD_DEFAULT, name.c_str()))(values_[0], values_[1], values_[2], values_[3], values_[4],
                                                   values_[5]);
    }

private:
    uint64_t values_[6] = {};
    uint32_t records_[6][64];
};

class LockStatements : public StartedBoard {
protected:
    struct Seen {
        bool locked = false;
        bool outside = false; // a register request
    };
    Seen make(const Declared &call, uint32_t device, uint64_t port)
    {
        become(device);
        call.name == "eth_vlan_create" ? init_vid_list() : set_vid(1, 1);
        Arguments arguments(call, port);
        Seen seen;
        bool held = false;
        Lines lines;
        printed([&] { lines = requests([&] { arguments.pass_to(call.name); }); });
        for (const std::string &line : lines) {
            held = line == "lock" || (held && line != "unlock");
            seen.locked = seen.locked || held;
            const bool of_register =
                line.find(" w64 ") != std::string::npos || line.find(" w32 ") != std::string::npos;
            seen.outside = seen.outside || (of_register && !held);
        }
        return seen;
    }
};

TEST_F(LockStatements, AreTrue)
{
    constexpr uint64_t good_port = 1, all_ports = 0xFFFFFFFF, bad_port = 2;
    size_t checked = 0;
    for (const Declared &call : declared()) {
        if (call.name.ends_with("w_init") || call.name.ends_with("w_exit"))
            continue; // esw_ and ethHw_: these make and destroy the lock
        SCOPED_TRACE(call.name + ": " + call.lock);
        const bool has_port = std::regex_search(call.parameters, std::regex(" port\\b"));
        ++checked;
        Seen seen;
        for (const uint32_t device : {class_a, class_b}) {
            for (const uint64_t port : {good_port, all_ports}) {
                if (port == all_ports && !has_port)
                    continue;
                const Seen now = make(call, device, port);
                seen = {seen.locked || now.locked, seen.outside || now.outside};
            }
        }
        const auto says = [&](const char *words) { return call.lock.find(words) != std::string::npos; };
        EXPECT_TRUE(call.lock.starts_with("none") || call.lock.starts_with("held"));
        EXPECT_EQ(seen.locked, says("held"));
        EXPECT_FALSE(seen.locked && seen.outside) << "a register request outside the lock";
        if (says("not for the checks") && has_port) {
            EXPECT_FALSE(make(call, class_b, bad_port).locked);
        }
        if (says("device check")) {
            EXPECT_EQ(make(call, unknown_device, good_port).locked, says("device check too"));
        }
    }
    EXPECT_EQ(checked, 174U);
}

} // namespace
