// SPDX-License-Identifier: LGPL-2.1-or-later
// The function that a door stands in for.
#pragma once

#include <atomic>

#include <dlfcn.h>

namespace sim {

template <typename Function>
class Next {
public:
    constexpr Next(Function *, const char *name) : name_(name) {}

    Function *find()
    {
        void *found = found_.load(std::memory_order_relaxed);
        if (!found) {
            found = dlsym(RTLD_NEXT, name_);
            found_.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function *>(found);
    }

    template <typename... Arguments>
    auto operator()(Arguments... arguments)
    {
        return find()(arguments...);
    }

private:
    const char *name_;
    std::atomic<void *> found_ = nullptr;
};

} // namespace sim
