// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/notation.h"

#include <algorithm>

#include <fmt/format.h>

namespace eswctl {

std::vector<std::string> split(const std::string &list, char separator)
{
    std::vector<std::string> items(1);
    for (const char c : list) {
        if (c == separator)
            items.emplace_back();
        else
            items.back() += c;
    }
    return items;
}

std::vector<uint32_t> ascending(std::vector<uint32_t> numbers)
{
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

std::string enumerate(const std::vector<std::string> &words)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        const char *separator = i == 0 ? "" : i + 1 == words.size() ? " or " : ", ";
        text += separator + words[i];
    }
    return text;
}

std::string ranges_of(const std::vector<uint32_t> &numbers)
{
    std::string ranges;
    for (size_t first = 0, last = 0; first < numbers.size(); first = ++last) {
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1)
            ++last;
        ranges += fmt::format("{}{}", ranges.empty() ? "" : ",", numbers[first]);
        if (last != first)
            ranges += fmt::format("-{}", numbers[last]);
    }
    return ranges;
}

std::string excerpt_of(const Json &value)
{
    constexpr size_t longest = 80;
    std::string shown = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    return shown.size() <= longest ? shown : shown.replace(longest - 3, std::string::npos, "...");
}

std::string excerpt(const std::string &text)
{
    const std::string shown = excerpt_of(text);
    return shown.substr(1, shown.size() - (shown.ends_with('"') ? 2 : 1));
}

} // namespace eswctl
