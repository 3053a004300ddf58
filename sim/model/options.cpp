// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/options.h"

#include <cctype>
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

} // namespace

bool parse_number(const char *text, uint64_t &number)
{
    if (!isdigit(static_cast<unsigned char>(*text)))
        return false;
    const char *digits = after(text, "0x");
    char *end = nullptr;
    number = strtoull(digits ? digits : text, &end, digits ? 16 : 10);
    return *end == '\0' && end != digits;
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

bool parse_faults(const char *text, Options &options)
{
    char fault[64];
    while (*text) {
        const size_t length = strcspn(text, " ");
        if (length >= sizeof fault)
            return false;
        memcpy(fault, text, length);
        fault[length] = '\0';
        if (length != 0 && !parse_fault(fault, options))
            return false;
        text += length + (text[length] != '\0');
    }
    return true;
}

} // namespace sim
