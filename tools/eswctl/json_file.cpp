// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/json_file.h"

#include <algorithm>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "eswctl/errors.h"
#include "eswctl/kinds.h"
#include "eswctl/output.h"

namespace eswctl {
namespace {

constexpr size_t deepest = 16;
constexpr size_t most_members = 256; // more than that takes too long to look up

// Finds what is wrong with a text, and where.
class Checker : public nlohmann::json_sax<Json> {
public:
    explicit Checker(const std::string &text) : text_(text), stream_(text) {}

    void check()
    {
        if (const size_t zero = text_.find('\0'); zero != std::string::npos)
            fail("a zero byte", zero);
        Json::sax_parse(stream_, this);
    }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(int64_t) override { return true; }
    bool number_unsigned(uint64_t) override { return true; }
    bool number_float(double, const std::string &) override { return true; }
    bool string(std::string &) override { return true; }
    bool binary(Json::binary_t &) override { return true; }
    bool start_object(size_t) override { return enter(); }
    bool start_array(size_t) override { return enter(); }
    bool end_object() override { return leave(); }
    bool end_array() override { return leave(); }

    bool key(std::string &name) override
    {
        if (!names_.back().insert(name).second)
            fail(fmt::format("\"{}\" is there twice", excerpt(name)));
        if (names_.back().size() > most_members)
            fail(fmt::format("an object of more than {} members", most_members));
        return true;
    }

    // "[...] parse error at ...: syntax error while parsing ... - REASON; last read: ..."
    bool parse_error(size_t, const std::string &, const Json::exception &error) override
    {
        const std::string what = error.what();
        const size_t dash = what.find(" - ");
        fail(dash == std::string::npos ? "a number that is too large"
                                       : what.substr(dash + 3, what.find("; last read") - dash - 3));
    }

private:
    bool enter()
    {
        names_.emplace_back();
        if (names_.size() > deepest)
            fail(fmt::format("more than {} objects and arrays in each other", deepest));
        return true;
    }

    bool leave()
    {
        names_.pop_back();
        return true;
    }

    [[noreturn]] void fail(const std::string &reason)
    {
        const auto ahead = static_cast<size_t>(std::max<std::streamsize>(stream_.rdbuf()->in_avail(), 0));
        fail(reason, std::max(text_.size() - ahead, size_t{1}) - 1);
    }

    [[noreturn]] void fail(const std::string &reason, size_t at) const
    {
        const std::string before = text_.substr(0, at);
        const size_t line = before.rfind('\n'); // the end of the one before; npos + 1 is 0
        throw Refused{
            fmt::format("line {}, column {}: {}", std::ranges::count(before, '\n') + 1, at - line, reason)};
    }

    const std::string &text_;
    std::istringstream stream_;
    std::vector<std::set<std::string>> names_; // of each object or array that is open
};

} // namespace

Json parse_json(const std::string &text)
{
    Checker(text).check();
    return Json::parse(text);
}

Json read_json(const std::string &path)
{
    try {
        return parse_json(read_file(path));
    } catch (const Refused &refused) {
        throw Refused{fmt::format("cannot use {}: {}", name_file(path), refused.message)};
    }
}

} // namespace eswctl
