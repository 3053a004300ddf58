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
    std::vector<Column> columns = {{"device_id", "device ID"},
                                   {"class", "class"},
                                   {"route", "route to the driver"},
                                   {"ports", "ports"},
                                   {"version", "eswctl version"}};
    if (!device) {
        value["device_fault"] = control_device_fault();
        columns.insert(columns.begin() + 3, {"device_fault", "control device"});
    }
    return record(std::move(columns), std::move(value));
}

// The library keeps its list of VLANs, although the switch forgets their ports.
Report reset(const Arguments &arguments)
{
    check(ethHw_switch_reset(), "reset the switch");
    const bool vlans = arguments["--vlans"].get<bool>();
    if (vlans)
        empty_vlans(eth_vlan_destroy_all, "empty the list of VLANs");
    return done(vlans ? "switch reset, and no VLAN is left"
                      : "switch reset; the list of VLANs stays, without ports (see --vlans)",
                {{"reset", true}, {"vlans_kept", !vlans}});
}

} // namespace

Family general_family()
{
    Family family{"", ""};
    family.add("show", "Show the whole switch on one screen", overview);
    family.add("info", "Show which switch this is and how it is reached", info);
    family.add_asking("reset", "Reset the switch: every setting is lost, but not which VLANs exist", reset,
                      flag("--vlans", "empty the list of VLANs, too"));
    for (const auto add : {add_configuration_commands, add_pending_commands, add_batch_command,
                           add_completion_command, add_manual_command})
        add(family);
    return family;
}

} // namespace eswctl
