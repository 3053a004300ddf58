// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/kinds.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace eswctl {

namespace {

std::optional<uint64_t> parse_number(const std::string &text)
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char *first = text.data() + (hexadecimal ? 2 : 0);
    const char *last = text.data() + text.size();
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(first, last, value, hexadecimal ? 16 : 10);
    return error == std::errc() && end == last ? std::optional(value) : std::nullopt;
}

constexpr uint64_t last_vid = 4095;

// Six pairs of digits behind ':' or '-', or three groups of four behind '.'.
std::optional<Mac> parse_mac(const std::string &text)
{
    const size_t group = text.find('.') == std::string::npos ? 2 : 4;
    const char separator = group == 4 ? '.' : text.find('-') == std::string::npos ? ':' : '-';
    std::string digits;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i % (group + 1) == group ? text[i] != separator
                                     : !std::isxdigit(static_cast<unsigned char>(text[i])))
            return std::nullopt;
        if (i % (group + 1) != group)
            digits += text[i];
    }
    if (digits.size() != 12 || text.size() != 12 + 12 / group - 1)
        return std::nullopt;
    Mac mac{};
    for (size_t i = 0; i < mac.size(); ++i)
        mac[i] = static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    return mac;
}

// "8|16|32|64", where that is short.
std::string name_of(const std::vector<std::string> &words)
{
    const std::string text = fmt::format("{}", fmt::join(words, "|"));
    return text.size() <= 16 ? text : "WORD";
}

} // namespace

Kind number(uint64_t first, uint64_t last, const std::string &unit)
{
    const std::string range =
        last == UINT64_MAX ? "a number of up to 64 bits" : fmt::format("a number from {} to {}", first, last);
    std::string name = unit.empty() ? "N" : unit;
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::toupper(c); });
    return {unit.empty() ? range : range + ' ' + unit,
            [=](const std::string &text) -> Json {
                const auto value = parse_number(text);
                return value && *value >= first && *value <= last ? Json(*value) : Json();
            },
            name};
}

Kind one_of(const std::vector<uint32_t> &numbers)
{
    std::vector<std::string> words;
    for (const uint32_t n : numbers)
        words.push_back(std::to_string(n));
    return {enumerate(words),
            [=](const std::string &text) -> Json {
                const auto value = parse_number(text);
                return value && std::ranges::find(numbers, *value) != numbers.end() ? Json(*value) : Json();
            },
            name_of(words), words};
}

Kind choice(const std::vector<std::string> &words)
{
    return {enumerate(words),
            [=](const std::string &text) -> Json {
                return std::ranges::find(words, text) != words.end() ? Json(text) : Json();
            },
            name_of(words), words};
}

Kind on_off()
{
    return {"on or off",
            [](const std::string &text) -> Json {
                return text == "on" || text == "off" ? Json(text == "on") : Json();
            },
            "on|off",
            {"on", "off"}};
}

Kind text(const std::string &what)
{
    return {what, [](const std::string &given) -> Json { return given.empty() ? Json() : Json(given); }};
}

Kind list_of(size_t count, const Kind &item)
{
    return {fmt::format("{} values with commas between them, each {}", count, item.accepted),
            [=](const std::string &text) -> Json {
                Json values = Json::array();
                for (const std::string &part : split(text)) {
                    values.push_back(item.parse(part));
                    if (values.back().is_null())
                        return nullptr;
                }
                return values.size() == count ? values : Json();
            },
            "N,N,..."};
}

Kind file_name()
{
    Kind kind = text("a file name");
    kind.source = "file";
    kind.name = "FILE";
    return kind;
}

Kind vid()
{
    Kind kind = number(0, last_vid);
    kind.source = "vlan";
    kind.name = "VID";
    return kind;
}

Kind vid_list()
{
    return {"VIDs from 0 to 4095 such as 10-20,30",
            [](const std::string &text) -> Json {
                std::vector<uint32_t> vids;
                for (const std::string &item : split(text)) {
                    const size_t dash = item.find('-');
                    const auto first = parse_number(item.substr(0, dash));
                    const auto last = dash == std::string::npos ? first : parse_number(item.substr(dash + 1));
                    if (!first || !last || *first > *last || *last > last_vid)
                        return nullptr;
                    for (uint64_t value = *first; value <= *last; ++value)
                        vids.push_back(static_cast<uint32_t>(value));
                }
                return ascending(vids);
            },
            "VALUE",
            {},
            "vlan"};
}

Kind mac_address()
{
    return {"a MAC address such as 02:00:5e:00:53:01",
            [](const std::string &text) -> Json {
                const auto mac = parse_mac(text);
                return mac ? Json(from_mac(mac->data())) : Json();
            },
            "MAC"};
}

Mac to_mac(const Json &text) { return parse_mac(text.get<std::string>()).value(); }

std::string from_mac(const uint8_t mac[6]) { return fmt::format("{:02x}", fmt::join(mac, mac + 6, ":")); }

const char *on_or_off(bool on) { return on ? "on" : "off"; }

std::string hex(uint64_t value, unsigned bits) { return fmt::format("{:#0{}x}", value, bits / 4 + 2); }

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
