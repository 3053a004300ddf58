// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/model/driver.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace sim {
namespace {

void get_eee(Switch &simulated, unsigned port, ethtool_eee &record)
{
    const Eee &eee = simulated.state().eee[port];
    record.supported = eee.supported;
    record.advertised = eee.advertised;
    record.lp_advertised = eee.lp_advertised;
    record.eee_active = is_eee_active(simulated, port);
    record.eee_enabled = eee.enabled;
    record.tx_lpi_enabled = eee.tx_lpi_enabled;
    record.tx_lpi_timer = eee.tx_lpi_timer;
}

void set_eee(Switch &simulated, unsigned port, const ethtool_eee &record)
{
    Eee &eee = simulated.state().eee[port];
    eee.advertised = record.advertised & eee.supported;
    eee.enabled = record.eee_enabled;
    eee.tx_lpi_enabled = record.tx_lpi_enabled;
    eee.tx_lpi_timer = record.tx_lpi_timer;
}

} // namespace

bool Driver::fails_now(bool this_kind_fails)
{
    const bool this_one_fails = options_.all_requests_fail || this_kind_fails;
    if (options_.failing_request == 0 && options_.failing_from == 0)
        return this_one_fails; // nothing to count for
    const uint64_t number = ++requests_;
    const bool from_now_on = options_.failing_from != 0 && number >= options_.failing_from;
    return number == options_.failing_request || from_now_on || this_one_fails;
}

// A failed read has no value.
void Driver::trace_access(const char *access, bool write, uint64_t value, int error) const
{
    char line[128];
    if (write || error == 0)
        snprintf(line, sizeof line, "%s %s 0x%" PRIx64 "%s", access, write ? "<-" : "->", value,
                 error ? " failed" : "");
    else
        snprintf(line, sizeof line, "%s failed", access);
    trace_(context_, line);
}

void Driver::access(bool write, esw::RegisterRequest &request)
{
    if (write)
        switch_.write(request.page, request.offset, request.value);
    else
        request.value = switch_.read(request.page, request.offset);
}

int Driver::serve(Route route, bool write, esw::RegisterRequest &request)
{
    const int error = fails_now() ? EIO : 0;
    const uint64_t sent = request.value;
    if (error == 0)
        access(write, request);
    if (trace_) {
        char access[64];
        snprintf(access, sizeof access, "%s %s %02x:%02x w%u",
                 route == Route::device ? "device   " : "interface", write ? "write" : "read ", request.page,
                 request.offset, request.width);
        trace_access(access, write, write ? sent : request.value, error);
    }
    return error;
}

int Driver::serve_mii(bool write, esw::MiiRequest &request)
{
    mii_ioctl_data &mii = request.mii;
    const unsigned port = port_of_phy(switch_.state().device_id, mii.phy_id);
    int error = 0;
    if (fails_now(options_.mii_requests_fail))
        error = EIO;
    else if (port >= phy_count)
        error = ENODEV;
    else if (mii.reg_num >= phy_register_count)
        error = EINVAL;
    else if (write)
        write_phy(switch_, port, mii.reg_num, mii.val_in);
    else
        mii.val_out = read_phy(switch_, port, mii.reg_num);
    if (trace_) {
        char access[64];
        snprintf(access, sizeof access, "interface mii %s phy %u reg %u", write ? "write" : "read ",
                 mii.phy_id, mii.reg_num);
        trace_access(access, write, write ? mii.val_in : mii.val_out, error);
    }
    return error;
}

int Driver::serve_eee(bool write, ethtool_eee &record)
{
    const uint32_t bit = record.reserved[0];
    const unsigned port = bit == 1 ? 0 : bit == 2 ? 1 : phy_count;
    int error = 0;
    if (fails_now(options_.eee_requests_fail))
        error = EIO;
    else if (record.cmd != (write ? ETHTOOL_SEEE : ETHTOOL_GEEE))
        error = EOPNOTSUPP;
    else if (port >= phy_count)
        error = EINVAL;
    else if (write)
        set_eee(switch_, port, record);
    else
        get_eee(switch_, port, record);
    if (trace_) {
        char access[64];
        snprintf(access, sizeof access, "interface eee %s enabled on ports 0x%x", write ? "write" : "read ",
                 record.reserved[0]);
        trace_access(access, write, record.eee_enabled, error);
    }
    return error;
}

} // namespace sim
