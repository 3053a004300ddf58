// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/options.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

// Behind the prefix, or null.
const char *after(const char *text, const char *prefix)
{
    const size_t length = strlen(prefix);
    return strncmp(text, prefix, length) == 0 ? text + length : nullptr;
}

const Bank *bank_at(const char *address)
{
    char *end = nullptr;
    const unsigned long page = strtoul(address, &end, 16);
    if (*end != ':' || page > 0xFF)
        return nullptr;
    const unsigned long offset = strtoul(end + 1, &end, 16);
    if (*end != '\0' || offset > 0xFF)
        return nullptr;
    return locate(static_cast<uint8_t>(page), static_cast<uint8_t>(offset)).bank;
}

bool parse_stuck(const char *text, Options &options)
{
    const Bank *bank = strchr(text, ':') ? bank_at(text) : find_bank(text);
    if (!bank || bank->starts == 0)
        return false;
    options.behaviour.stuck = bank;
    return true;
}

constexpr uint64_t group_address = uint64_t{1} << 40;

// Up to the separator, which is skipped; null when it is missing.
const char *take_number(const char *text, char separator, uint64_t last, uint64_t &number)
{
    char word[16];
    const char *end = strchr(text, separator);
    const size_t length = end ? static_cast<size_t>(end - text) : sizeof word;
    if (length >= sizeof word)
        return nullptr;
    memcpy(word, text, length);
    word[length] = '\0';
    return parse_number(word, number) && number <= last ? end + 1 : nullptr;
}

const char *take_mac(const char *text, uint64_t &mac)
{
    mac = 0;
    for (int byte = 0; byte < 6; ++byte, text += 3) {
        const char digits[] = {text[0], text[0] ? text[1] : '\0', '\0'};
        if (!isxdigit(static_cast<unsigned char>(digits[0])) ||
            !isxdigit(static_cast<unsigned char>(digits[1])) || text[2] != (byte == 5 ? ',' : ':'))
            return nullptr;
        mac = mac << 8 | strtoul(digits, nullptr, 16);
    }
    return text;
}

} // namespace

bool parse_number(const char *text, uint64_t &number)
{
    const char *hexadecimal = after(text, "0x");
    const char *digits = hexadecimal ? hexadecimal : text;
    const size_t count = strspn(digits, hexadecimal ? "0123456789abcdefABCDEF" : "0123456789");
    errno = 0;
    number = strtoull(digits, nullptr, hexadecimal ? 16 : 10);
    return count != 0 && digits[count] == '\0' && errno == 0;
}

bool parse_route(const char *text, Options &options)
{
    options.device_route = strcmp(text, "device") == 0;
    return options.device_route || strcmp(text, "interface") == 0;
}

bool parse_fault(const char *text, Options &options)
{
    if (const char *count = after(text, "nth="))
        return parse_number(count, options.failing_request) && options.failing_request != 0;
    if (const char *count = after(text, "from="))
        return parse_number(count, options.failing_from) && options.failing_from != 0;
    if (const char *which = after(text, "stuck="))
        return parse_stuck(which, options);
    if (strcmp(text, "all") == 0)
        return options.all_requests_fail = true;
    if (strcmp(text, "mii") == 0)
        return options.mii_requests_fail = true;
    if (strcmp(text, "eee") == 0)
        return options.eee_requests_fail = true;
    if (strcmp(text, "socket") == 0)
        return options.no_socket = true;
    if (strcmp(text, "lock") == 0)
        return options.no_lock = true;
    return false;
}

bool parse_station(const char *text, Station &station)
{
    uint64_t vid = 0;
    uint64_t port = 0;
    text = take_mac(text, station.mac);
    text = text ? take_number(text, ',', 4095, vid) : nullptr;
    if (!text || !take_number(text, '\0', 8, port) || (port > 1 && port != 8))
        return false;
    station.vid = static_cast<uint16_t>(vid);
    station.port = static_cast<uint8_t>(port);
    return (station.mac & group_address) == 0;
}

bool parse_interface(const char *text, Options &options)
{
    const size_t length = strlen(text);
    if (length == 0 || length >= esw::interface_name_size || text[strcspn(text, "/ ")] != '\0' ||
        options.interface_count == max_interfaces)
        return false;
    memcpy(options.interfaces[options.interface_count++], text, length + 1);
    return true;
}

namespace {

bool parse_each(const char *text, Options &options, bool (*parse)(const char *, Options &))
{
    char word[64];
    while (*text) {
        const size_t length = strcspn(text, " ");
        if (length >= sizeof word)
            return false;
        memcpy(word, text, length);
        word[length] = '\0';
        if (length != 0 && !parse(word, options))
            return false;
        text += length + (text[length] != '\0');
    }
    return true;
}

} // namespace

bool parse_faults(const char *text, Options &options) { return parse_each(text, options, parse_fault); }

bool parse_interfaces(const char *text, Options &options)
{
    return parse_each(text, options, parse_interface);
}

} // namespace sim
