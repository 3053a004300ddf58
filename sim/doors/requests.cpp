// SPDX-License-Identifier: LGPL-2.1-or-later
// Doors for requests: ioctl, and what can be made to fail while the library starts.
#include <cerrno>
#include <cstdarg>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "sim/doors/next.h"
#include "sim/doors/session.h"

namespace {

constinit sim::Next next_ioctl{&ioctl, "ioctl"};
constinit sim::Next next_socket{&socket, "socket"};
constinit sim::Next next_mutex_init{&pthread_mutex_init, "pthread_mutex_init"};

const sim::Options &options()
{
    static constexpr sim::Options nothing_special;
    const sim::Session *session = sim::session();
    return session ? session->options() : nothing_special;
}

// Also where the library was loaded for one user only: its object is asked by name.
bool is_in_libesw(const void *address)
{
    Dl_info caller = {};
    Dl_info found = {};
    if (!dladdr(address, &caller))
        return false;
    void *object = dlopen(caller.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    void *known = object ? dlsym(object, "ethHw_init") : dlsym(RTLD_DEFAULT, "ethHw_init");
    if (object)
        dlclose(object);
    return known && dladdr(known, &found) && found.dli_fbase == caller.dli_fbase;
}

} // namespace

extern "C" {

int ioctl(int descriptor, unsigned long number, ...)
{
    va_list rest;
    va_start(rest, number);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    sim::Session *session = sim::session();
    int result = 0;
    if (session && session->serve(descriptor, number, argument, result))
        return result;
    result = next_ioctl(descriptor, number, argument);
    if (result == -1 && errno == EINVAL && session && sim::kind_of(descriptor) == sim::Kind::control)
        errno = ENOTTY; // what stands for the device has a few requests of its own
    return result;
}

int socket(int domain, int type, int protocol) noexcept
{
    const int kind = type & ~(SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (domain == AF_INET && kind == SOCK_DGRAM && options().no_socket) {
        errno = EMFILE;
        return -1;
    }
    return next_socket(domain, type, protocol);
}

int pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) noexcept
{
    if (options().no_lock && is_in_libesw(__builtin_return_address(0)))
        return ENOMEM;
    return next_mutex_init(mutex, attributes);
}

} // extern "C"
