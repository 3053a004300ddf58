// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/driver.h"

#include <cerrno>
#include <cstring>
#include <optional>

#include <fmt/format.h>

#include "eswctl/connection.h"
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
