// SPDX-License-Identifier: LGPL-2.1-or-later
// The doors between the library and libc. The library calls ioctl(), open() and perror() by name, so the
// program's own come first: there requests are watched (--trace), and withheld (--dry-run).
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <set>

#include <dlfcn.h>
#include <fcntl.h>

#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/dry_run.h"
#include "eswctl/terminal.h"

extern "C" {

int ioctl(int descriptor, unsigned long number, ...)
{
    using namespace eswctl;
    va_list rest;
    va_start(rest, number);
    const Request request{descriptor, number, va_arg(rest, void *)};
    va_end(rest);
    if (!request.is_register() && !request.is_mii() && !request.is_eee())
        return request.pass();
    const int result = withholds_writes() ? serve_withheld(request) : request.pass();
    observe(request, result);
    return result;
}

// The library tells of each request that fails. One such message is enough: the command fails, too.
void perror(const char *text)
{
    static std::set<std::string> told;
    const std::string message = fmt::format("{}: {}\n", text, strerror(errno));
    if (told.insert(message).second)
        eswctl::tell(message);
}

int open(const char *path, int flags, ...)
{
    using namespace eswctl;
    static const auto next = reinterpret_cast<int (*)(const char *, int, ...)>(dlsym(RTLD_NEXT, "open"));
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    const std::string place = withholds_writes() ? withheld_place(path, flags) : path;
    return next(place.c_str(), place == path ? flags : flags & ~O_NOFOLLOW, mode); // a copy's path is a link
}

} // extern "C"
