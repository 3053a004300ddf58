// SPDX-License-Identifier: LGPL-2.1-or-later
// The library, initialised for the length of one command.
#pragma once

#include <string>

namespace eswctl {

class Connection {
public:
    // Throws Refused, in one line that says what is missing.
    explicit Connection(const std::string &interface);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
};

// The network interface chosen with -i: requests to PHYs name it.
const std::string &interface_name();

// Why the control device can't be used, and requests go to the interface; empty when it can.
std::string control_device_fault();

// What the switch at hand is.
bool is_class_a();
bool is_class_b();

} // namespace eswctl
