// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <net/if.h>
#include <pthread.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <esw/core.h>

#include "core/device.h"
#include "core/lock.h"
#include "core/register.h"
#include "core/transport.h"

using namespace esw;

uint32_t gESWID = 0xFFFFFFFF;
int32_t gFd = -1;
int32_t gSocket = -1;

namespace {

constexpr Register device_id{0x02, 0x30, 32};

constexpr char preferred_interface[] = "lan";

void prefer_lan_interface()
{
    struct if_nameindex *interfaces = if_nameindex();
    if (!interfaces)
        return;
    for (const struct if_nameindex *entry = interfaces; entry->if_index != 0 || entry->if_name; ++entry) {
        if (entry->if_name && strcmp(entry->if_name, preferred_interface) == 0) {
            readdress_requests_to(entry->if_name);
            break;
        }
    }
    if_freenameindex(interfaces);
}

void close_both()
{
    if (gSocket > 0)
        close(gSocket);
    if (gFd > 0)
        close(gFd);
    gSocket = -1;
    gFd = -1;
}

void log_lock_event(const char *format)
{
    const auto thread = static_cast<int32_t>(pthread_self());
    syslog(LOG_INFO, format, getpid(), thread);
}

} // namespace

int32_t esw_init(const char *ifname)
{
    if (gSocket >= 0 || gFd > 0) {
        puts("ESW: Already initialized!");
        return ETH_E_NONE;
    }

    gFd = open(control_device, O_RDWR);
    if (gFd < 0)
        gFd = 0;

    gSocket = socket(AF_INET, SOCK_DGRAM, 0);
    if (gSocket < 0) {
        perror("ESW: open socket error!\n");
        gSocket = 0;
        return ETH_E_FAIL;
    }

    address_requests_to(ifname);
    prefer_lan_interface();

    gESWID = static_cast<uint32_t>(read64(device_id));
    if (device_class() != DeviceClass::unknown)
        return ethHw_init();

    printf("Switch(0x%x) NOT supported!\n", gESWID);
    close_both();
    return ETH_E_FAIL;
}

int32_t esw_exit(void)
{
    ethHw_exit();
    close_both();
    return -1;
}

int32_t ethHw_init(void)
{
    if (!switch_mutex.create()) {
        syslog(LOG_ERR, "\n mutex init failed\n");
        return ETH_E_FAIL;
    }
    log_lock_event("\nPID %d ThreadID %d pthread_mutex_init()\n");

    ethHw_generate_refresh_count_list();
    ethHw_cfp_util_generate_refresh_count_list();
    ethHw_cfp_util_generate_cfp_rate_ref_cap_list();
    if (is_class_a())
        eth_cosq_ip_mac_layer_set(0);
    return ETH_E_NONE;
}

int32_t ethHw_exit(void)
{
    log_lock_event("\nPID %d ThreadID %d pthread_mutex_destroy()\n");
    switch_mutex.destroy();
    return ETH_E_NONE;
}
