// SPDX-License-Identifier: LGPL-2.1-or-later
// A driver request as the kernel gets it, whatever its route.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "core/wire.h"

namespace eswctl {

using Address = std::pair<uint8_t, uint8_t>; // page, offset

struct Request {
    int descriptor;
    unsigned long number;
    void *argument;

    [[nodiscard]] bool is_register() const
    {
        return number == esw::request_read || number == esw::request_write;
    }
    [[nodiscard]] bool is_mii() const
    {
        return number == esw::request_mii_read || number == esw::request_mii_write;
    }
    [[nodiscard]] bool is_eee() const
    {
        return number == esw::request_eee_read || number == esw::request_eee_write;
    }
    [[nodiscard]] bool writes() const
    {
        return number == esw::request_write || number == esw::request_mii_write ||
               number == esw::request_eee_write;
    }
    [[nodiscard]] bool by_device() const;
    [[nodiscard]] std::string interface() const; // that it names, where it names one
    [[nodiscard]] esw::RegisterRequest &registers() const;
    [[nodiscard]] mii_ioctl_data &mii() const;
    [[nodiscard]] ethtool_eee &eee() const;

    [[nodiscard]] int pass() const; // to the driver
};

std::string register_name(Address address);
unsigned register_width(Address address); // in bits

std::string name_of(const Request &request);    // "read of 02:30 (device-id)"
std::string account_of(const Request &request); // a line of --trace

} // namespace eswctl
