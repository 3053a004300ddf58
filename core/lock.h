// SPDX-License-Identifier: LGPL-2.1-or-later
// The switch lock: one mutex a process, not recursive.
#pragma once

#include <pthread.h>

#include "core/thread_safety.h"

namespace esw {

class ESW_CAPABILITY("mutex") SwitchMutex {
public:
    [[nodiscard]] bool create() { return pthread_mutex_init(&mutex_, nullptr) == 0; }
    void destroy() { pthread_mutex_destroy(&mutex_); }
    void lock() ESW_ACQUIRE();
    void unlock() ESW_RELEASE();

private:
    pthread_mutex_t mutex_;
};

[[gnu::visibility("hidden")]] extern SwitchMutex switch_mutex;

// Out of line and without arguments: what a SwitchLock costs its caller is two bare calls.
void lock_switch() ESW_ACQUIRE(switch_mutex);
void unlock_switch() ESW_RELEASE(switch_mutex);

// Holds the switch lock to the end of its scope.
class ESW_SCOPED_CAPABILITY SwitchLock {
public:
    [[nodiscard]] SwitchLock() ESW_ACQUIRE(switch_mutex) { lock_switch(); }
    ~SwitchLock() ESW_RELEASE() { unlock_switch(); }
    SwitchLock(const SwitchLock &) = delete;
    SwitchLock &operator=(const SwitchLock &) = delete;
};

} // namespace esw
