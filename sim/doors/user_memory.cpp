// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/doors/user_memory.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <sys/syscall.h>
#include <unistd.h>

namespace sim {
namespace {

constexpr uintptr_t page_bytes = 4096;

// Asks the kernel to store a number there, over bytes that are about to be stored anyway.
bool is_writable(char *at) { return syscall(SYS_getcpu, at, nullptr, nullptr) == 0; }

bool on_one_page(const char *first, const char *last)
{
    return (reinterpret_cast<uintptr_t>(first) ^ reinterpret_cast<uintptr_t>(last)) < page_bytes;
}

// Memory on the page that this very call runs on needs no question.
[[gnu::always_inline]] inline bool on_this_page(const char *first, const char *last)
{
    const auto *here = static_cast<const char *>(__builtin_frame_address(0));
    return on_one_page(first, here) && on_one_page(last, here);
}

} // namespace

// The kernel reads eight bytes there before it finds that -1 is no way to change a signal mask. At 0 it would
// read nothing.
bool is_readable(const void *at)
{
    const auto word = reinterpret_cast<uintptr_t>(at) & ~uintptr_t{7};
    const int kept = errno;
    const bool readable =
        word != 0 && syscall(SYS_rt_sigprocmask, -1, word, nullptr, 8) == -1 && errno == EINVAL;
    errno = kept;
    return readable;
}

bool fetch(void *to, const void *from, size_t size)
{
    const char *first = static_cast<const char *>(from);
    const char *last = first + size - 1;
    const bool readable =
        on_this_page(first, last) || (is_readable(first) && (on_one_page(first, last) || is_readable(last)));
    if (readable)
        memcpy(to, from, size);
    return readable;
}

bool store(void *to, const void *from, size_t size)
{
    const int kept = errno;
    char *first = static_cast<char *>(to);
    char *last_word = first + size - sizeof(uint32_t);
    const bool writable =
        on_this_page(first, last_word + 3) ||
        (is_writable(first) && (on_one_page(first, last_word + 3) || is_writable(last_word)));
    errno = kept;
    if (writable)
        memcpy(to, from, size);
    return writable;
}

} // namespace sim
