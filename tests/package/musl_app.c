/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* A switch of plain registers behind the library's own ioctl(), for a C library that the simulated switch is
 * not built for: the whole way from call to request and back. */
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <esw.h>
#include <linux/sockios.h>

struct request {
    uint64_t value;
    uint8_t width, page, offset;
};

static uint64_t registers[256][256] = {[2][0x30] = 0x2404};
static int requests;

int ioctl(int fd, int number, ...)
{
    va_list arguments;
    va_start(arguments, number);
    char *block = va_arg(arguments, char *);
    va_end(arguments);
    struct request *request = (struct request *)block;
    if (fd == gSocket && strcmp(block, "eth0") == 0) /* the data pointer stands behind the interface's name */
        memcpy(&request, block + 16, sizeof request);
    ++requests;
    if (number == SIOCDEVPRIVATE + 1)
        request->value = registers[request->page][request->offset];
    else if (number == SIOCDEVPRIVATE + 2)
        registers[request->page][request->offset] = request->value;
    else
        return -1;
    return 0;
}

static const char *first_difference(void)
{
    const uint8_t sent[6] = {2, 0, 0x5E, 0, 0x53, 1};
    uint8_t mac[6] = {0};
    uint32_t port = 0, tag = 0;
    int32_t enabled = 0;
    uint64_t octets = 0;
    if (esw_init("eth0") != ETH_E_NONE || gESWID != 0x2404)
        return "esw_init";
    if (ethHw_port_enable_set(1, 0) != ETH_E_NONE || registers[0][1] != 3)
        return "ethHw_port_enable_set";
    if (ethHw_port_enable_get(1, &enabled) != ETH_E_NONE || enabled != 0)
        return "ethHw_port_enable_get";
    if (eth_mirror_to_set(8) != ETH_E_NONE || eth_mirror_to_get(&port) != ETH_E_NONE || port != 8)
        return "eth_mirror_to_set";
    if (eth_l2_bpdu_set(0, sent) != ETH_E_NONE || eth_l2_bpdu_get(0, mac) != ETH_E_NONE ||
        memcmp(mac, sent, 6) != 0)
        return "eth_l2_bpdu_set";
    if (eth_port_untagged_priority_set(8, 5) != ETH_E_NONE ||
        eth_port_untagged_priority_get(8, &tag) != ETH_E_NONE || tag != 5)
        return "eth_port_untagged_priority_set";
    registers[0x20][0x50] = 1ULL << 40;
    if (ethHw_stat_get(0, 0, &octets) != ETH_E_NONE || octets != 1ULL << 40)
        return "ethHw_stat_get";
    if (eth_port_rate_egress_set(0, 960, 30) != ETH_E_NONE || eth_vlan_port_add(4096, 1, 1) != ETH_E_PARAM)
        return "eth_port_rate_egress_set";
    return esw_exit() == -1 && gSocket == -1 && requests > 15 ? NULL : "esw_exit";
}

int main(void)
{
    const char *difference = first_difference();
    puts(difference ? difference : "fine");
    return difference != NULL;
}
