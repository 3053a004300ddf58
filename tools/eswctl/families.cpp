// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/families.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace eswctl {

namespace {

struct Entry {
    const char *noun;
    Family (*make)();
};
constexpr Entry entries[] = {
    {"", general_family},         {"reg", register_family},    {"port", port_family},
    {"link", link_family},        {"speed", speed_family},     {"phy", phy_family},
    {"eee", eee_family},          {"arl", arl_family},         {"aging", aging_family},
    {"mcast", mcast_family},      {"bpdu", bpdu_family},       {"protect", protect_family},
    {"l2cache", l2_cache_family}, {"vlan", vlan_family},       {"rate", rate_family},
    {"prio", priority_family},    {"qos", qos_family},         {"stat", stat_family},
    {"mirror", mirror_family},    {"control", control_family}, {"cfp", cfp_family},
};

} // namespace

Argument required(const std::string &name, const std::string &help, const Kind &kind)
{
    return {name, help, kind, true};
}

Argument optional(const std::string &name, const std::string &help, const Kind &kind, const Json &fallback)
{
    return {name, help, kind, false, false, fallback};
}

Argument flag(const std::string &name, const std::string &help) { return {name, help, {}}; }

Argument several(Argument argument)
{
    argument.repeated = true;
    return argument;
}

const Family *family(const std::string &noun)
{
    static std::optional<Family> made[std::size(entries)];
    const auto *entry = std::ranges::find(entries, noun, &Entry::noun);
    if (entry == std::end(entries))
        return nullptr;
    std::optional<Family> &found = made[entry - entries];
    if (!found)
        found = entry->make();
    return &*found;
}

const std::vector<const Family *> &families()
{
    static const std::vector<const Family *> all = [] {
        std::vector<const Family *> list;
        for (const Entry &entry : entries)
            list.push_back(family(entry.noun));
        return list;
    }();
    return all;
}

} // namespace eswctl
