// SPDX-License-Identifier: LGPL-2.1-or-later
// The configuration that can be read back: saved as one document, restored by its differences.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "eswctl/command.h"
#include "eswctl/connection.h"
#include "eswctl/errors.h"
#include "eswctl/ports.h"

namespace eswctl {

using Path = std::vector<std::string>; // of member names, from the document down

// One value. `get` yields null where this switch has none, or holds one that can't be set.
struct Setting {
    Path path;
    std::function<Json()> get;
    std::function<int32_t(const Json &)> set;
};

// A table whose entries come and go. `list` yields an array of objects; an entry is known by its members
// `key`.
struct Entries {
    Path path;
    std::vector<std::string> key;
    std::function<Json()> list;
    std::function<int32_t(const Json &)> put;    // adds the entry, or makes it this one
    std::function<int32_t(const Json &)> remove; // by its key
};

// What a restore has changed.
class Changes {
public:
    void note(const std::string &setting, const Json &from, const Json &to)
    {
        rows_.push_back({{"setting", setting}, {"from", from}, {"to", to}});
    }
    [[nodiscard]] Json rows() const { return rows_; }

private:
    Json rows_ = Json::array();
};

class Configuration {
public:
    void add(Setting setting) { settings_.push_back(std::move(setting)); }
    void add(Entries entries) { tables_.push_back(std::move(entries)); }

    [[nodiscard]] Json read() const;

    // Makes the switch what the document says; what the document does not name stays. Throws Refused at the
    // first change that fails; those until then are noted.
    void apply(const Json &document, Changes &changes) const;

private:
    std::vector<Setting> settings_;
    std::vector<Entries> tables_;
};

// What the families have to say, in the order in which it is restored.
void describe_ports(Configuration &configuration);
void describe_l2(Configuration &configuration);
void describe_vlans(Configuration &configuration);
void describe_qos(Configuration &configuration);
void describe_mirroring(Configuration &configuration);
void describe_controls(Configuration &configuration);
void describe_cfp(Configuration &configuration);

// A get call's out-value, or null when the call fails.
template <typename Out, typename Get>
Json got(Get get)
{
    Out out{};
    return get(&out) == ETH_E_NONE ? Json(out) : Json();
}

// The same, as a boolean.
template <typename Out, typename Get>
Json got_flag(Get get)
{
    const Json value = got<Out>(get);
    return value.is_null() ? value : Json(value != 0);
}

} // namespace eswctl
