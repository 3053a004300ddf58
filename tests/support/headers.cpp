// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/headers.h"

#include <filesystem>
#include <regex>

#include "tests/support/board.h"

namespace {

// The statement of a comment on one line; empty when it has none.
std::string lock_statement(const std::string &comment)
{
    const std::string line = std::regex_replace(comment, std::regex("\n \\*?|  +"), " ");
    std::smatch found;
    return std::regex_search(line, found, std::regex("Lock: +([^.:]*)")) ? found.str(1) : "";
}

void read(const std::string &header, std::vector<test::Documented> &calls)
{
    static const std::regex piece("(?:^|\n)/\\*([^]*?)\\*/([^]*?)(?=\n/\\*|$)");
    static const std::regex function("(\\w+)\\(([^()]*)\\);");
    std::string section, of_header;
    for (std::sregex_iterator at(header.begin(), header.end(), piece), end; at != end; ++at) {
        const std::string comment = at->str(1), code = at->str(2);
        if (comment.find("numbered conventions") != std::string::npos)
            of_header = lock_statement(comment);
        if (comment.find("----") != std::string::npos)
            section = comment;
        // A call without a statement of its own is under that of its section, or else of its header.
        std::string lock = of_header;
        for (const std::string &text : {section, comment})
            lock = lock_statement(text).empty() ? lock : lock_statement(text);
        for (std::sregex_iterator call(code.begin(), code.end(), function); call != end; ++call)
            calls.push_back({call->str(1), call->str(2), section + comment, lock});
    }
}

} // namespace

const std::vector<test::Documented> &test::documented_calls()
{
    static const std::vector<Documented> all = [] {
        std::vector<Documented> calls;
        for (const auto &header : std::filesystem::directory_iterator(HEADERS))
            read(contents(header.path()), calls);
        return calls;
    }();
    return all;
}
