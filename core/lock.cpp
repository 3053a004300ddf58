#include "core/lock.h"

namespace esw {

SwitchMutex switch_mutex; // zero-filled until ethHw_init() creates it

void SwitchMutex::lock() ESW_UNCHECKED { pthread_mutex_lock(&mutex_); }
void SwitchMutex::unlock() ESW_UNCHECKED { pthread_mutex_unlock(&mutex_); }

SwitchLock::SwitchLock() { switch_mutex.lock(); }
SwitchLock::~SwitchLock() { switch_mutex.unlock(); }

} // namespace esw
