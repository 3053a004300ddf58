// SPDX-License-Identifier: LGPL-2.1-or-later
// Commands of a single word.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

Report info(const Arguments &)
{
    const bool device = gFd > 0;
    Json value = {
        {"device_id", fmt::format("{:#x}", gESWID)},
        {"class", is_class_a() ? "A" : "B"},
        {"route", device ? "device" : "interface"},
        {"ports", {0, 1, 8}},
        {"version", ESW_VERSION},
    };
    return record({{"device_id", "device ID"},
                   {"class", "class"},
                   {"route", "route to the driver"},
                   {"ports", "ports"},
                   {"version", "eswctl version"}},
                  std::move(value));
}

Report reset(const Arguments &)
{
    check(ethHw_switch_reset(), "reset the switch");
    return done("switch reset", {{"reset", true}});
}

} // namespace

Family general_family()
{
    return {"",
            "",
            {
                {"show", "Show the whole switch on one screen", {}, overview},
                {"info", "Show which switch this is and how it is reached", {}, info},
                {"reset", "Reset the switch: every setting is lost", {}, reset, true},
                save_command(),
                restore_command(),
                batch_command(),
                completion_command(),
                manual_command(),
            }};
}

} // namespace eswctl
