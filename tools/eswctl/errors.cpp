// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/errors.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"

namespace eswctl {
namespace {

struct Code {
    int32_t value;
    const char *name;
    const char *meaning;
};
constexpr Code codes[] = {
    {ETH_E_FAIL, "ETH_E_FAIL", "the driver refused a request"},
    {ETH_E_PARAM, "ETH_E_PARAM", "an argument is out of its range"},
    {ETH_E_FULL, "ETH_E_FULL", "no slot is free"},
    {ETH_E_NOT_FOUND, "ETH_E_NOT_FOUND", "it does not exist"},
    {ETH_E_EXISTS, "ETH_E_EXISTS", "it exists already"},
    {ETH_E_TIMEOUT, "ETH_E_TIMEOUT", "the switch did not finish in time"},
    {ETH_E_PHY, "ETH_E_PHY", "the driver refused a PHY request"},
    {ETH_E_EMPTY, "ETH_E_EMPTY", "the slot holds no entry"},
    {ETH_E_RESOURCE, "ETH_E_RESOURCE", "the system has no socket left"},
    {ETH_E_UNAVAIL, "ETH_E_UNAVAIL", "this switch does not have it"},
    {ETH_E_UNSUPPORTED, "ETH_E_UNSUPPORTED", "switches of this class do not have it"},
    {ETH_E_PORT, "ETH_E_PORT", "not a port that this operation accepts"},
};

} // namespace

std::string describe(int32_t result, const Meanings &meanings)
{
    const Code *code = std::ranges::find(codes, result, &Code::value);
    if (code == std::end(codes))
        return fmt::format("result {}", result);
    const auto own = std::ranges::find(meanings, result, &Meaning::code);
    const std::string closed = own == meanings.end() ? "" : why_closed(own->file);
    const std::string meaning = !closed.empty() ? closed : own == meanings.end() ? code->meaning : own->text;
    const std::string reason = why_requests_failed();
    return fmt::format("{} ({}{}{})", code->name, meaning, reason.empty() ? "" : ": ", reason);
}

// As the library opens it: in a directory that is everybody's, the system may keep others, and root, from a
// file that they could create.
std::string why_closed(const char *file)
{
    struct stat status = {};
    if (!file || stat(file, &status) != 0)
        return "";
    const int opened = open(file, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (opened >= 0)
        close(opened);
    if (opened >= 0 || errno != EACCES)
        return "";
    const passwd *owner = getpwuid(status.st_uid);
    return fmt::format("{} belongs to {}, and is closed to this user; {}", file,
                       owner ? owner->pw_name : std::to_string(status.st_uid),
                       geteuid() == 0 ? "give it to root"
                                      : "run eswctl as its owner, or let root give it to your group");
}

int32_t check(int32_t result, const std::string &what, const Meanings &meanings)
{
    if (result < 0)
        throw Refused{fmt::format("cannot {}: {}", what, describe(result, meanings))};
    return result;
}

} // namespace eswctl
