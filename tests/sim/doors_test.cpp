// SPDX-License-Identifier: LGPL-2.1-or-later
// What a preloaded layer usually gets wrong, and what the simulated switch must not.
#include "tests/support/board.h"

#include <csignal>
#include <fstream>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <esw.h>

#include "core/wire.h"

namespace {

using namespace test;

class Doors : public Board {
protected:
    void SetUp() override { start(); }

    // The errno of a request, 0 when it is served.
    static int error_of(int descriptor, unsigned long number, const void *argument)
    {
        errno = 0;
        return ioctl(descriptor, number, argument) == 0 ? 0 : errno;
    }

    static esw::RegisterRequest id_request() { return {.width = 32, .page = 0x02, .offset = 0x30}; }
};

TEST_F(Doors, MisuseIsAFailedRequest)
{
    void *const unmapped = mmap(nullptr, 8192, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto *const read_only = static_cast<esw::RegisterRequest *>(
        mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    esw::RegisterRequest request = id_request();
    esw::RequestBlock block{"eth0", &request, {}};
    esw::RequestBlock dangling{"eth0", unmapped, {}};
    esw::RequestBlock elsewhere{"lo", &request, {}};
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const struct {
        const char *what;
        int descriptor;
        unsigned long number;
        const void *argument;
        int error;
    } cases[] = {
        {"device", gFd, esw::request_read, &request, 0},
        {"interface", gSocket, esw::request_read, &block, 0},
        {"null", gFd, esw::request_read, nullptr, EFAULT},
        {"unmapped", gFd, esw::request_write, unmapped, EFAULT},
        {"reading into read-only memory", gFd, esw::request_read, read_only, EFAULT},
        {"writing from read-only memory", gFd, esw::request_write, read_only, 0},
        {"block with a bad pointer", gSocket, esw::request_read, &dangling, EFAULT},
        {"no block", gSocket, esw::request_read, unmapped, EFAULT},
        {"another request of the device", gFd, 0x5678, &request, ENOTTY},
        {"another kind of descriptor", ends[0], esw::request_read, &request, ENOTTY},
        {"no descriptor", -1, esw::request_read, &request, EBADF},
    };
    for (const auto &c : cases)
        EXPECT_EQ(error_of(c.descriptor, c.number, c.argument), c.error) << c.what;
    EXPECT_NE(error_of(gSocket, esw::request_read, &elsewhere), 0) << "served another interface";
    close(ends[0]);
    close(ends[1]);
    munmap(unmapped, 8192);
    munmap(read_only, 4096);
}

TEST_F(Doors, DescriptorsAreKnownByWhatTheyAre)
{
    esw::RegisterRequest request = id_request();
    const int copy = dup(gFd);
    EXPECT_EQ(error_of(copy, esw::request_read, &request), 0);
    close(copy);
    const int file = open("/dev/null", O_RDWR); // takes the number that the copy had
    EXPECT_EQ(file, copy);
    EXPECT_EQ(error_of(file, esw::request_read, &request), ENOTTY);
    close(file);
}

TEST_F(Doors, EveryWayToOpenReachesTheBoard)
{
    const char *const path = "/dev/shm/vid_list.cfg";
    std::ofstream(shm("vid_list.cfg")) << "board";
    const int descriptors[] = {open(path, O_RDONLY), open64(path, O_RDONLY), openat(AT_FDCWD, path, O_RDONLY),
                               openat64(AT_FDCWD, path, O_RDONLY)};
    for (const int descriptor : descriptors) {
        char text[6] = {};
        EXPECT_EQ(read(descriptor, text, 5), 5);
        EXPECT_STREQ(text, "board");
        close(descriptor);
    }
    struct stat status = {};
    EXPECT_EQ(stat(path, &status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_EQ(access(path, W_OK), 0);
    FILE *stream = fopen(path, "r");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fgetc(stream), 'b');
    fclose(stream);
    EXPECT_EQ(unlink(path), 0);
    EXPECT_EQ(open(path, O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Doors, RequestsLeaveErrnoAlone)
{
    errno = ERANGE;
    esw_reg_read32(0x02, 0x30, 32);
    EXPECT_EQ(errno, ERANGE);
}

// A process that is killed inside a request must not stop the others.
TEST_F(Doors, ADyingProcessLeavesTheSwitchUsable)
{
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            for (uint64_t count = 1;; ++count)
                esw_reg_write(0xE0, 0x00, 64, count);
        }
        while (*const_cast<volatile uint64_t *>(&reg(0xE0, 0x00)) < 100)
            usleep(100);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        reg(0xE0, 0x00) = 0;
        EXPECT_EQ(esw_reg_read32(0x02, 0x30, 32), class_b);
    }
}

TEST_F(Doors, BusyBitsClearAfterTheirLatencyOrStick)
{
    options().behaviour.latency = 2;
    esw_reg_write(0x05, 0x80, 8, 0x81);
    EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8), 0x81u);
    EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8), 0x81u);
    EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8), 0x01u);
    ASSERT_TRUE(sim::parse_faults("stuck=vlan-table-command nth=9", options()));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8) & 0x80, 0x80u);
}

TEST_F(Doors, RegistersKeepTheirOwnWidth)
{
    esw_reg_write(0x40, 0x05, 16, 0xFFFFFFFFFFFF1234);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 0x1234u);
    esw_reg_write(0x00, 0x79, 8, 0x90);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 1518u) << "a reset restores power-on contents";
    EXPECT_EQ(esw_reg_read(0x02, 0x30, 32), class_b);
}

} // namespace
