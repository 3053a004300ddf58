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
    int error;
};
std::optional<Failure> failure;

bool tracing = false;

} // namespace

void observe(const Request &request, int result)
{
    const int kept = errno;
    if (result != 0)
        failure = {name_of(request), kept};
    if (tracing)
        tell(fmt::format("{}{}\n", account_of(request), result == 0 ? "" : " failed"));
    errno = kept;
}

std::string why_requests_failed()
{
    if (!failure)
        return "";
    switch (failure->error) {
    case EPERM:
    case EACCES:
        return "no permission; run eswctl as root, or with CAP_NET_ADMIN";
    case ENODEV:
        return fmt::format("there is no interface {}; name the switch's with -i", interface_name());
    case EOPNOTSUPP:
        return fmt::format("interface {} has no switch behind it; name the switch's with -i",
                           interface_name());
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
