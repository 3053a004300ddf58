// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/lock.h"

namespace esw {

SwitchMutex switch_mutex; // zero-filled until ethHw_init() creates it

void SwitchMutex::lock() ESW_UNCHECKED { pthread_mutex_lock(&mutex_); }
void SwitchMutex::unlock() ESW_UNCHECKED { pthread_mutex_unlock(&mutex_); }

void lock_switch() { switch_mutex.lock(); }
void unlock_switch() { switch_mutex.unlock(); }

} // namespace esw
