// SPDX-License-Identifier: LGPL-2.1-or-later
// cfp udf: what the user-defined fields take from a frame.
#include <algorithm>
#include <span>

#include <fmt/format.h>

#include "eswctl/cfp.h"
#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

const std::vector<std::string> names = {"a0", "a1", "a2", "b0", "b1", "b2", "c0", "c1", "c2", "d"};

std::span<uint8_t> bytes_of(eth_cfp_udf_t &udf) { return {reinterpret_cast<uint8_t *>(&udf), sizeof udf}; }

// The record holds the fields one behind the other, in the order of their names.
std::span<uint8_t> selectors(eth_cfp_udf_t &udf, const std::string &name)
{
    const auto number = static_cast<size_t>(std::ranges::find(names, name) - names.begin());
    const std::span<uint8_t> bytes = bytes_of(udf);
    return name == "d" ? bytes.last(sizeof udf.udf_d) : bytes.subspan(9 * number, 9);
}

eth_cfp_udf_t read_udfs()
{
    eth_cfp_udf_t udf;
    check(eth_cfp_udf_get(&udf), "read the UDF selectors");
    return udf;
}

Json read_selectors(uint32_t)
{
    eth_cfp_udf_t udfs = read_udfs();
    Json values = Json::array();
    for (const uint8_t byte : bytes_of(udfs))
        values.push_back(hex(byte, 8));
    return values;
}

int32_t write_selectors(uint32_t, const Json &values)
{
    eth_cfp_udf_t udfs;
    std::ranges::transform(values, bytes_of(udfs).begin(),
                           [](const Json &value) { return static_cast<uint8_t>(from_hex(value)); });
    return eth_cfp_udf_set(udfs);
}

constexpr Setting selectors_setting = setting(
    "cfp.udf", "UDF selector", once,
    "cfp udf set a0 {0-8}\ncfp udf set a1 {9-17}\n"
    "cfp udf set a2 {18-26}\ncfp udf set b0 {27-35}\n"
    "cfp udf set b1 {36-44}\ncfp udf set b2 {45-53}\n"
    "cfp udf set c0 {54-62}\ncfp udf set c1 {63-71}\n"
    "cfp udf set c2 {72-80}\ncfp udf set d {81-92}",
    [](uint32_t) { return array_form(sizeof(eth_cfp_udf_t), hex_form(8)); },
    by(read_selectors, write_selectors, "eth_cfp_udf_set"));

Report show(const Arguments &)
{
    return table("udfs", {{"udf", "UDF"}, {"selectors", "selectors"}}, udfs_to_json(read_udfs()));
}

Report set(const Arguments &arguments)
{
    const auto name = arguments["UDF"].get<std::string>();
    const auto at = arguments["--at"].get<size_t>();
    const Json &given = arguments["SELECTOR"];
    eth_cfp_udf_t udf = read_udfs();
    const std::span<uint8_t> bytes = selectors(udf, name);
    if (at + given.size() > bytes.size())
        throw UsageError{fmt::format("SELECTOR: UDF {} has {} selectors", name, bytes.size())};
    for (size_t i = 0; i < given.size(); ++i)
        bytes[at + i] = given[i].get<uint8_t>();
    check(eth_cfp_udf_set(udf), "write the UDF selectors");
    return done(fmt::format("UDF {} set", name), {{"udfs", udfs_to_json(udf)}});
}

Report reset(const Arguments &)
{
    check(eth_cfp_udf_init(), "write the UDF selectors");
    return done("UDF selectors set to the default layout", {{"udfs", udfs_to_json(read_udfs())}});
}

Report clear(const Arguments &)
{
    check(eth_cfp_udf_clear(), "clear the UDF selectors");
    return done("UDF selectors cleared", {{"udfs", udfs_to_json(read_udfs())}});
}

} // namespace

Settings selector_settings() { return {&selectors_setting, 1}; }

Json udfs_to_json(const eth_cfp_udf_t &udf)
{
    eth_cfp_udf_t copy = udf;
    Json rows = Json::array();
    for (const std::string &name : names) {
        Json bytes = Json::array();
        for (const uint8_t byte : selectors(copy, name))
            bytes.push_back(hex(byte, 8));
        rows.push_back({{"udf", name}, {"selectors", std::move(bytes)}});
    }
    return rows;
}

void change_udfs(eth_cfp_udf_t &udf, const Json &udfs)
{
    std::vector<Json> rest(names.begin(), names.end());
    for (const Json &row : udfs) {
        const Json name = row.is_object() ? row.value("udf", Json()) : Json();
        const auto found = std::ranges::find(rest, name);
        if (found == rest.end())
            throw Refused{fmt::format("udfs: {} is not accepted as udf, or there twice; use {}",
                                      excerpt_of(name), fmt::join(names, ", "))};
        const std::span<uint8_t> bytes = selectors(udf, name);
        const Json given = row.value("selectors", Json());
        if (!given.is_array() || given.size() != bytes.size())
            throw Refused{fmt::format("UDF {}: {} is not accepted; use a list of {} selectors", name.dump(),
                                      excerpt_of(given), bytes.size())};
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(number_in(given[i], fmt::format("UDF {}", name.dump()), 0xFF));
        rest.erase(found);
    }
}

void add_udf_commands(Family &family)
{
    family.group("cfp udf", "User-defined fields of the keys");
    family.add("cfp udf show", "Show the selectors", show);
    family.add("cfp udf set", "Set selectors of one field; the others stay", set,
               required("UDF", "a0 to a2, b0 to b2, c0 to c2 (9 selectors each) or d (12)", choice(names)),
               several(required("SELECTOR", "selector, 0 to 0xff", number(0, 0xFF))),
               optional("--at", "position of the first one given", number(0, 11), 0));
    family.add_asking("cfp udf init", "Set all selectors to the library's default layout", reset);
    family.add_asking("cfp udf clear", "Set all selectors to 0", clear);
}

} // namespace eswctl
