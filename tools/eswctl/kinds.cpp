// What arguments accept, and the small notations that all families share.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <utility>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/command.h"

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

constexpr uint32_t class_a_device = 0x11140;
constexpr uint64_t last_vid = 4095;

// At the commas; an empty item is kept, so that its parser refuses it.
std::vector<std::string> split(const std::string &list)
{
    std::vector<std::string> items(1);
    for (const char c : list) {
        if (c == ',')
            items.emplace_back();
        else
            items.back() += c;
    }
    return items;
}

Json ascending(std::vector<uint32_t> numbers)
{
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

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

// "a, b or c"
std::string enumerate(const std::vector<std::string> &words)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        const char *separator = i == 0 ? "" : i + 1 == words.size() ? " or " : ", ";
        text += separator + words[i];
    }
    return text;
}

struct Code {
    int32_t value;
    const char *name;
    const char *meaning;
};
constexpr Code codes[] = {
    {ETH_E_FAIL, "ETH_E_FAIL", "initialisation, transport or file failure"},
    {ETH_E_PARAM, "ETH_E_PARAM", "an argument is out of its range"},
    {ETH_E_FULL, "ETH_E_FULL", "no slot is free"},
    {ETH_E_NOT_FOUND, "ETH_E_NOT_FOUND", "the VLAN does not exist"},
    {ETH_E_EXISTS, "ETH_E_EXISTS", "the VLAN exists already"},
    {ETH_E_TIMEOUT, "ETH_E_TIMEOUT", "the switch did not finish in time"},
    {ETH_E_PHY, "ETH_E_PHY", "a PHY register access failed"},
    {ETH_E_EMPTY, "ETH_E_EMPTY", "the slot holds no entry"},
    {ETH_E_RESOURCE, "ETH_E_RESOURCE", "no socket can be created"},
    {ETH_E_UNAVAIL, "ETH_E_UNAVAIL", "not available on this switch"},
    {ETH_E_UNSUPPORTED, "ETH_E_UNSUPPORTED", "not supported by this class of switch"},
    {ETH_E_PORT, "ETH_E_PORT", "not a port that this operation accepts"},
};

} // namespace

Kind number(uint64_t first, uint64_t last, const std::string &unit)
{
    const std::string range =
        last == UINT64_MAX ? "a number" : fmt::format("a number from {} to {}", first, last);
    return {unit.empty() ? range : range + ' ' + unit, [=](const std::string &text) -> Json {
                const auto value = parse_number(text);
                return value && *value >= first && *value <= last ? Json(*value) : Json();
            }};
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
            words};
}

Kind choice(const std::vector<std::string> &words)
{
    return {enumerate(words),
            [=](const std::string &text) -> Json {
                return std::ranges::find(words, text) != words.end() ? Json(text) : Json();
            },
            words};
}

Kind on_off()
{
    return {"on or off",
            [](const std::string &text) -> Json {
                return text == "on" || text == "off" ? Json(text == "on") : Json();
            },
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
            }};
}

Kind port_set()
{
    return {"ports such as 0,8, or all, or none", [](const std::string &text) -> Json {
                if (text == "none")
                    return Json::array();
                if (text == "all")
                    return {0, 1, 8};
                std::vector<uint32_t> ports;
                for (const std::string &item : split(text)) {
                    const Json port = any_port().parse(item);
                    if (port.is_null())
                        return nullptr;
                    ports.push_back(port.get<uint32_t>());
                }
                return ascending(ports);
            }};
}

Kind file_name()
{
    Kind kind = text("a file name");
    kind.source = "file";
    return kind;
}

Kind word_or_ports(const std::vector<std::string> &words)
{
    return {enumerate(words) + ", each with ports behind it such as 0,8, or all, or none",
            [=](const std::string &text) -> Json {
                return std::ranges::find(words, text) != words.end() ? Json(text) : port_set().parse(text);
            },
            words};
}

Kind vid()
{
    Kind kind = number(0, last_vid);
    kind.source = "vlan";
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
            {},
            "vlan"};
}

Kind mac_address()
{
    return {"a MAC address such as 02:00:5e:00:53:01", [](const std::string &text) -> Json {
                const auto mac = parse_mac(text);
                return mac ? Json(from_mac(mac->data())) : Json();
            }};
}

Kind any_port() { return one_of({0, 1, 8}); }
Kind phy_port() { return one_of({0, 1}); }

std::string describe(int32_t result)
{
    const Code *found = std::ranges::find(codes, result, &Code::value);
    return found == std::end(codes) ? fmt::format("result {}", result)
                                    : fmt::format("{} ({})", found->name, found->meaning);
}

int32_t check(int32_t result, const std::string &what)
{
    if (result < 0)
        throw Refused{fmt::format("cannot {}: {}", what, describe(result))};
    return result;
}

std::vector<uint32_t> ports_or_all(const Json &port)
{
    if (port.is_null())
        return {0, 1, 8};
    return {port.get<uint32_t>()};
}

Mac to_mac(const Json &text) { return parse_mac(text.get<std::string>()).value(); }

std::string from_mac(const uint8_t mac[6]) { return fmt::format("{:02x}", fmt::join(mac, mac + 6, ":")); }

uint32_t to_port_set(const Json &ports)
{
    uint32_t set = 0;
    for (const Json &port : ports)
        set |= 1U << port.get<unsigned>();
    return set;
}

std::map<std::string, Json> ports_by_word(const Json &given, const std::string &first,
                                          const std::string &usage)
{
    std::map<std::string, Json> ports;
    std::string word = first;
    for (const Json &item : given) {
        if (item.is_string()) {
            word = item.get<std::string>();
        } else {
            if (word.empty())
                throw UsageError{usage};
            ports[std::exchange(word, "")] = item;
        }
    }
    if (!word.empty() && word != first)
        throw UsageError{usage};
    return ports;
}

Json from_port_set(uint32_t ports)
{
    Json list = Json::array();
    for (unsigned port = 0; port < 32; ++port) {
        if (ports >> port & 1)
            list.push_back(port);
    }
    return list;
}

bool is_class_a() { return gESWID == class_a_device; }
bool is_class_b() { return !is_class_a(); } // esw_init() accepts no others

std::string hex(uint64_t value, unsigned bits) { return fmt::format("{:#0{}x}", value, bits / 4 + 2); }

} // namespace eswctl
