// SPDX-License-Identifier: LGPL-2.1-or-later
// What the kernel driver makes of a request: faults, the register access, and a line for the trace.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/wire.h"
#include "sim/model/options.h"
#include "sim/model/switch.h"

namespace sim {

enum class Route : uint8_t { device, interface };

class Driver {
public:
    // Receives each request's line, without a line feed.
    using Trace = void (*)(void *context, const char *line);

    Driver(State &state, const Options &options) : options_(options), switch_(state, options.behaviour) {}

    void trace_to(Trace trace, void *context)
    {
        trace_ = trace;
        context_ = context;
    }

    // Whether each request gets a line: then requests are served in the lines' order.
    [[nodiscard]] bool is_traced() const { return trace_ != nullptr; }

    // Counts a request; whether it fails.
    [[nodiscard]] bool fails_now(bool this_kind_fails = false);

    // A register access that is counted already.
    void access(bool write, esw::RegisterRequest &request);
    [[nodiscard]] const Switch &simulated() const { return switch_; }

    // Serves a register request. 0 when done, else an errno value.
    int serve(Route route, bool write, esw::RegisterRequest &request);

    // Likewise a PHY access, and an EEE request.
    int serve_mii(bool write, esw::MiiRequest &request);
    int serve_eee(bool write, ethtool_eee &record);

private:
    void trace_access(const char *access, bool write, uint64_t value, int error) const;

    const Options &options_;
    Switch switch_;
    std::atomic<uint64_t> requests_ = 0;
    Trace trace_ = nullptr;
    void *context_ = nullptr;
};

} // namespace sim
