// SPDX-License-Identifier: LGPL-2.1-or-later
// reg: single registers.
#include <esw.h>
#include <fmt/format.h>

#include "eswctl/families.h"

namespace eswctl {
namespace {

const Kind byte = number(0, 0xFF);
const Kind width_in_bits = one_of({8, 16, 32, 64});

Argument width_option()
{
    return {"--width", "width of the register in bits: 8, 16, 32 or 64", width_in_bits, false, false, 64};
}

Report show(const Arguments &arguments)
{
    const auto page = arguments["PAGE"].get<uint8_t>();
    const auto width = arguments["--width"].get<uint8_t>();
    Json rows = Json::array();
    for (const Json &given : arguments["OFFSET"]) {
        const auto offset = given.get<uint8_t>();
        const uint64_t value =
            width == 32 ? esw_reg_read32(page, offset, width) : esw_reg_read(page, offset, width);
        rows.push_back({{"page", hex(page, 8)},
                        {"offset", hex(offset, 8)},
                        {"width", width},
                        {"value", hex(value & UINT64_MAX >> (64 - width), width)}});
    }
    return table("registers",
                 {{"page", "page"}, {"offset", "offset"}, {"width", "width", "bits"}, {"value", "value"}},
                 std::move(rows));
}

// Both fit the width, or the register would take something else than was asked for.
void check_fits(const Arguments &arguments, const char *name)
{
    const auto width = arguments["--width"].get<unsigned>();
    if (width < 64 && arguments[name].is_number() && arguments[name].get<uint64_t>() >> width != 0)
        throw UsageError{fmt::format("{}: {} does not fit into {} bits; use a smaller number or --width",
                                     name, hex(arguments[name].get<uint64_t>(), 8), width)};
}

Report store(const Arguments &arguments)
{
    check_fits(arguments, "VALUE");
    check_fits(arguments, "--mask");
    const auto page = arguments["PAGE"].get<uint8_t>();
    const auto offset = arguments["OFFSET"].get<uint8_t>();
    const auto width = arguments["--width"].get<uint8_t>();
    const auto value = arguments["VALUE"].get<uint64_t>();
    const std::string what = fmt::format("register {}:{}", hex(page, 8), hex(offset, 8));
    Json report = {
        {"page", hex(page, 8)}, {"offset", hex(offset, 8)}, {"width", width}, {"value", hex(value, width)}};
    if (arguments["--mask"].is_null()) {
        check(esw_reg_write(page, offset, width, value), "write " + what);
    } else {
        const auto mask =
            arguments["--mask"].get<uint64_t>(); // little-endian, so narrow operands begin here too
        check(esw_reg_write_masked(page, offset, width, &mask, &value), "write " + what);
        report["mask"] = hex(mask, width);
    }
    return done(fmt::format("{} written", what), std::move(report));
}

} // namespace

Family register_family()
{
    const Argument page = required("PAGE", "register page, 0 to 0xff", byte);
    const std::string where = "register offset, 0 to 0xff";
    Family family{"reg", "Read and write registers"};
    family.add("reg read", "Read registers of one page", show, page, several(required("OFFSET", where, byte)),
               width_option());
    family.add("reg write", "Write a register", store, page, required("OFFSET", where, byte),
               required("VALUE", "value to write", number(0, UINT64_MAX)), width_option(),
               optional("--mask", "change only these bits", number(0, UINT64_MAX)));
    return family;
}

} // namespace eswctl
