/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* Misuse of the doors, and what comes of it: on the simulated switch just what it is with a driver. */
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

struct request {
    uint64_t value;
    uint8_t width, page, offset, reserved[5];
};

enum {
    request_read = SIOCDEVPRIVATE + 1,
    request_write,
    request_unknown,
    eee_read = SIOCDEVPRIVATE + 5,
    eee_write
};

static void tell(const char *what, long result)
{
    printf("%s: %s\n", what, result < 0 ? strerror(errno) : "fine");
}

static void ask_device(int device, void *unmapped, void *read_only)
{
    struct request id = {.width = 8, .page = 0x02, .offset = 0x30};
    char byte = 0;
    tell("device", ioctl(device, request_read, &id));
    printf("width 8 of the device ID: %#llx\n", (unsigned long long)id.value);
    tell("bits above 31 of the number", ioctl(device, request_read | 1UL << 40, &id));
    tell("another number", ioctl(device, 0x5678, &id));
    tell("an EEE request to the device", ioctl(device, eee_read, &id));
    tell("no request", ioctl(device, request_read, NULL));
    tell("unmapped request", ioctl(device, request_write, unmapped));
    tell("reading into read-only memory", ioctl(device, request_read, read_only));
    tell("writing from read-only memory", ioctl(device, request_write, read_only));
    tell("read()", read(device, &byte, 1));
    tell("write()", write(device, &byte, 1));
    tell("mmap()", mmap(NULL, 4096, PROT_READ, MAP_SHARED, device, 0) == MAP_FAILED ? -1 : 0);
    tell("ftruncate()", ftruncate(device, 0));
    tell("lseek()", lseek(device, 0, SEEK_END));
}

static void ask_interface(int socket, void *unmapped)
{
    static const struct {
        const char *what, *name;
        unsigned long number;
        int unmapped;
    } cases[] = {
        {"interface", "eth0", request_read, 0},
        {"its other name", "lan", request_read, 0},
        {"another number of the interface", "eth0", request_unknown, 0},
        {"unknown interface", "nosuch", request_read, 0},
        {"interface without a switch", "lo", request_read, 0},
        {"unmapped request of the interface", "eth0", request_read, 1},
        {"unmapped EEE record", "eth0", eee_read, 1},
        {"EEE of another interface", "nosuch", eee_read, 0},
        {"bits above 31 of the interface's number", "eth0", request_read | 1UL << 40, 0},
        {"a PHY that is not there", "eth0", SIOCGMIIREG, 0},
    };
    for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) {
        struct request id = {.page = 0x02, .offset = 0x30};
        struct ifreq block = {0};
        strcpy(block.ifr_name, cases[i].name);
        block.ifr_data = cases[i].unmapped ? unmapped : (void *)&id;
        tell(cases[i].what, ioctl(socket, cases[i].number, &block));
    }
    tell("unmapped block", ioctl(socket, request_read, unmapped));
    tell("general ethtool request", ioctl(socket, SIOCETHTOOL, unmapped));
}

static void ask_eee(int socket)
{
    static const struct {
        const char *what;
        unsigned long number;
        uint32_t cmd, ports;
    } cases[] = {
        {"EEE", eee_read, ETHTOOL_GEEE, 1},
        {"EEE of both ports", eee_read, ETHTOOL_GEEE, 3},
        {"EEE of no port", eee_read, ETHTOOL_GEEE, 0},
        {"EEE read with the command of a write", eee_read, ETHTOOL_SEEE, 1},
        {"EEE write with the command of a read", eee_write, ETHTOOL_GEEE, 1},
    };
    for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) {
        struct ethtool_eee record = {.cmd = cases[i].cmd, .reserved = {cases[i].ports}};
        struct ifreq block = {0};
        strcpy(block.ifr_name, "eth0");
        block.ifr_data = (void *)&record;
        tell(cases[i].what, ioctl(socket, cases[i].number, &block));
    }
}

int main(void)
{
    void *const unmapped = mmap(NULL, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    void *const read_only = mmap(NULL, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const int device = open("/dev/esw-ctl", O_RDWR);
    const int inet = socket(AF_INET, SOCK_DGRAM, 0);
    struct stat status = {0};
    tell("open", device);
    tell("stat", stat("/dev/esw-ctl", &status));
    printf("a character device: %s\n", S_ISCHR(status.st_mode) ? "yes" : "no");
    tell("creating what is there", open("/dev/esw-ctl", O_RDWR | O_CREAT | O_EXCL, 0600));
    ask_device(device, unmapped, read_only);
    ask_interface(inet, unmapped);
    ask_eee(inet);
    return 0;
}
