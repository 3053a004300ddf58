// SPDX-License-Identifier: LGPL-2.1-or-later
// Clang's thread-safety annotations: clang builds fail where the switch lock is missing or taken twice.
#pragma once

#if defined(__clang__)
#define ESW_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ESW_THREAD_ATTRIBUTE(x)
#endif

#define ESW_CAPABILITY(name) ESW_THREAD_ATTRIBUTE(capability(name))
#define ESW_SCOPED_CAPABILITY ESW_THREAD_ATTRIBUTE(scoped_lockable)
#define ESW_GUARDED_BY(lock) ESW_THREAD_ATTRIBUTE(guarded_by(lock))
#define ESW_ACQUIRE(...) ESW_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ESW_RELEASE(...) ESW_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ESW_REQUIRES(...) ESW_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ESW_UNCHECKED ESW_THREAD_ATTRIBUTE(no_thread_safety_analysis)
