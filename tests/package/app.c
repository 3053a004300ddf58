/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* An application as its author writes it: C99, installed headers, pkg-config. Holds the exported globals by
 * copy relocation when it is linked without PIE. */
#include <stdio.h>

#include <esw.h>
#include <linux/ethtool.h>

int main(void)
{
    int32_t enabled = 0;
    uint32_t mode = 0;
    struct ethtool_eee eee = {0};
    if (eth_eee_get(1, &eee) != 0 || eee.cmd != ETHTOOL_GEEE || eee.reserved[0] != 2)
        return 7;
    if (esw_init("eth0") != ETH_E_NONE)
        return 1;
    if (gESWID != 0x2404 || gFd <= 0 || gSocket <= 0)
        return 2;
    if (ethHw_port_enable_get(8, &enabled) != ETH_E_NONE || enabled != 1)
        return 3;
    /* The library must see what the application stores. */
    gESWID = 0x11140;
    if (eth_cosq_ip_mac_layer_set(2) != ETH_E_NONE || eth_cosq_ip_mac_layer_get(&mode) != ETH_E_NONE ||
        mode != 2)
        return 4;
    gFd = -1;
    if (esw_reg_read32(0x02, 0x30, 32) != 0x2404)
        return 5;
    esw_exit();
    if (gFd != -1 || gSocket != -1)
        return 6;
    puts("fine");
    return 0;
}
