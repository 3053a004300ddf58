// SPDX-License-Identifier: LGPL-2.1-or-later
// What the headers say of the switch lock, beside what each call does.
#include "tests/support/board.h"
#include "tests/support/headers.h"

#include <optional>
#include <sstream>

#include <esw.h>

#include "fuzz/calls.h"

namespace {

using namespace test;

// Which of a call's numbers is its port: neither pointers nor records are numbers.
std::optional<size_t> port_of(const Documented &call)
{
    std::istringstream parameters(call.parameters);
    size_t numbers = 0;
    for (std::string parameter; std::getline(parameters, parameter, ',');) {
        if (parameter.ends_with(" port"))
            return numbers;
        numbers +=
            parameter.find_first_of("*[") == std::string::npos && parameter.find("eth_") == std::string::npos;
    }
    return {};
}

class LockStatements : public StartedBoard {
protected:
    struct Seen {
        bool locked = false;
        bool outside = false; // a register request
    };
    Seen make(const calls::Call &call, uint32_t device, std::optional<size_t> port, uint64_t value)
    {
        become(device);
        init_vid_list();
        set_vid(10, 1);
        std::array<uint64_t, 5> numbers = call.numbers;
        if (port)
            numbers[*port] = value;
        calls::Arguments arguments(numbers, call.word);
        Seen seen;
        bool held = false;
        Lines lines;
        printed([&] { lines = requests([&] { call.run(arguments); }); });
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
    for (const Documented &documented : documented_calls()) {
        if (documented.name.ends_with("w_init") || documented.name.ends_with("w_exit"))
            continue; // esw_ and ethHw_: these make and destroy the lock
        SCOPED_TRACE(documented.name + ": " + documented.lock);
        const auto call =
            std::ranges::find_if(calls::all, [&](const calls::Call &c) { return c.name == documented.name; });
        ASSERT_NE(call, calls::all.end()) << "no row in fuzz/calls.cpp";
        const std::optional<size_t> port = port_of(documented);
        ++checked;
        Seen seen;
        for (const uint32_t device : {class_a, class_b}) {
            for (const uint64_t value : {good_port, all_ports}) {
                const Seen now = make(*call, device, port, value);
                seen = {seen.locked || now.locked, seen.outside || now.outside};
            }
        }
        const auto says = [&](const char *words) { return documented.lock.find(words) != std::string::npos; };
        EXPECT_TRUE(documented.lock.starts_with("none") || documented.lock.starts_with("held"));
        EXPECT_EQ(seen.locked, says("held"));
        EXPECT_FALSE(seen.locked && seen.outside) << "a register request outside the lock";
        if (says("not for the checks") && port) {
            EXPECT_FALSE(make(*call, class_b, port, bad_port).locked);
        }
        if (says("device check")) {
            EXPECT_EQ(make(*call, unknown_device, port, good_port).locked, says("device check too"));
        }
    }
    EXPECT_EQ(checked, 174U);
}

} // namespace
