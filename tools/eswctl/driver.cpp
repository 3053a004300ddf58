// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/driver.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>

#include <dlfcn.h>
#include <fcntl.h>

#include <fmt/format.h>

#include "eswctl/connection.h"
#include "eswctl/dry_run.h"
#include "eswctl/errors.h"
#include "eswctl/request.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

struct Failure {
    std::string request;
    std::string interface; // that it named, if any
    bool eee;
    int error; // 0: the driver itself answered with a number
    int result;
};
std::optional<Failure> failure;

bool tracing = false;

} // namespace

void observe(const Request &request, int result)
{
    const int kept = errno;
    if (result != 0)
        failure = {name_of(request), request.interface(), request.is_eee(), result < 0 ? kept : 0, result};
    if (tracing)
        tell(fmt::format("{}{}\n", account_of(request), result == 0 ? "" : " failed"));
    errno = kept;
}

int failed_with() { return failure ? failure->error : 0; }

std::string failed_interface() { return failure ? failure->interface : ""; }

std::string why_requests_failed()
{
    if (!failure)
        return "";
    // The library itself chooses the interface for EEE, and lan where there is one.
    const char *advice = failure->eee                             ? "; requests about EEE always name it"
                         : failure->interface == interface_name() ? "; name the switch's with -i"
                                                                  : "";
    switch (failure->error) {
    case 0:
        return fmt::format("it answered {} in place of 0", failure->result);
    case EPERM:
    case EACCES:
        return "no permission; run eswctl as root, or with CAP_NET_ADMIN";
    case ENODEV:
        return fmt::format("there is no interface {}{}", failure->interface, advice);
    case EOPNOTSUPP:
        return fmt::format("interface {} has no switch behind it{}", failure->interface, advice);
    default:
        return strerror(failure->error);
    }
}

void forget_failures() { failure.reset(); }

void check_requests()
{
    if (!failure)
        return;
    const std::string message =
        fmt::format("the driver refused a {}: {}", failure->request, why_requests_failed());
    forget_failures();
    throw Refused{message};
}

void trace_requests() { tracing = true; }

} // namespace eswctl

// The doors between the library and libc. The library calls ioctl(), open() and perror() by name, so the
// program's own come first: there requests are watched (--trace), and withheld (--dry-run).
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
