// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/connection.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include <esw.h>
#include <fmt/format.h>

#include "eswctl/driver.h"
#include "eswctl/errors.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

constexpr char control_device[] = "/dev/esw-ctl";
std::string chosen_interface;

constexpr uint32_t class_a_device = 0x11140;
constexpr uint32_t nothing_read = 0xFFFFFFFF;

constexpr char simulated[] = "to try it on the simulated switch, use esw-sim eswctl ...";

std::string interface_fault(const std::string &interface)
{
    const char *advice = interface == chosen_interface ? ", or name the switch's interface with -i" : "";
    switch (failed_with()) {
    case ENODEV:
        return fmt::format("no interface {}: load the driver{}", interface, advice);
    case EPERM:
    case EACCES:
        return fmt::format(
            "interface {} refuses requests of plain users: run eswctl as root, or with CAP_NET_ADMIN",
            interface);
    case EOPNOTSUPP:
    case ENOTTY:
    case EINVAL:
        return fmt::format("interface {} has no switch driver: load the driver{}", interface, advice);
    default:
        return fmt::format("the driver of interface {} does not answer: {}", interface,
                           why_requests_failed());
    }
}

std::string what_is_missing()
{
    const std::string reason = why_requests_failed();
    const std::string fault = control_device_fault();
    if (fault.empty())
        return fmt::format("the driver behind {} does not answer{}; {}", control_device,
                           reason.empty() ? "" : ": " + reason, simulated);
    if (errno == EACCES)
        return fmt::format("no permission to open {}; run eswctl as root", control_device);
    return fmt::format("there is no {}, and {}; {}", control_device, interface_fault(failed_interface()),
                       simulated);
}

std::string why()
{
    if (gSocket == 0)
        return "no socket can be created: the system's limits are reached";
    if (gSocket > 0)
        return "the switch lock cannot be created";
    if (gESWID != nothing_read)
        return fmt::format("the switch's device ID {:#x} is not supported", gESWID);
    return "no switch found: " + what_is_missing();
}

// The library starts even when the driver refuses what it writes then.
void refuse_half_started()
{
    try {
        check_requests();
    } catch (const Refused &) {
        esw_exit();
        throw;
    }
}

} // namespace

std::string control_device_fault() { return access(control_device, R_OK | W_OK) == 0 ? "" : strerror(errno); }

bool is_class_a() { return gESWID == class_a_device; }
bool is_class_b() { return !is_class_a(); } // esw_init() accepts no others

const std::string &interface_name() { return chosen_interface; }

Connection::Connection(const std::string &interface)
{
    chosen_interface = interface;
    HeldBack messages;
    const bool connected = esw_init(interface.c_str()) == ETH_E_NONE;
    const std::string text = messages.release();
    // Without a switch, one line says it better than the library's account of each step.
    const bool nothing_there = !connected && gSocket < 0 && gESWID == nothing_read;
    if (!nothing_there)
        tell(text);
    if (connected) {
        refuse_half_started();
        return;
    }
    const std::string reason = why();
    esw_exit();
    throw Refused{reason};
}

Connection::~Connection() { esw_exit(); }

} // namespace eswctl
