// SPDX-License-Identifier: LGPL-2.1-or-later
// What a preloaded layer usually gets wrong, and what the simulated switch must not.
#include "tests/support/board.h"

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
#include <tuple>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
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
        errno = EINVAL; // left over from an earlier call
        return ioctl(descriptor, number, argument) == 0 ? 0 : errno;
    }

    static unsigned file_mode(const std::string &path)
    {
        struct stat status = {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }
    static time_t modified(const std::string &path)
    {
        struct stat status = {};
        return stat(path.c_str(), &status) == 0 ? status.st_mtime : 0;
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
    ASSERT_TRUE(sim::parse_interfaces("sw0 switch012345678", options()));
    esw::RequestBlock cut_name{"switch012345678", &request, {}};
    cut_name.name[15] = 'x';
    const void *const next_to_null = reinterpret_cast<void *>(8);
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
        {"pipe with a good block", ends[0], esw::request_read, &block, ENOTTY},
        {"PHY request on the device", gFd, esw::request_mii_read, &block, ENOTTY},
        {"bits that the kernel does not look at", gFd, esw::request_read | 7UL << 32, &request, 0},
        {"name of 16 characters", gSocket, esw::request_read, &cut_name, 0},
        {"next to null", gFd, esw::request_read, next_to_null, EFAULT},
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

// Looks like a device without operations, however it was come by.
TEST_F(Doors, TheControlDeviceIsADevice)
{
    struct stat status = {};
    struct statx extended = {};
    EXPECT_EQ(stat(esw::control_device, &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode) && status.st_rdev == makedev(10, 120)) << status.st_mode;
    EXPECT_EQ(statx(AT_FDCWD, "/dev//esw-ctl", 0, STATX_BASIC_STATS, &extended), 0);
    EXPECT_TRUE(S_ISCHR(extended.stx_mode) && extended.stx_size == 0);
    EXPECT_EQ(std::pair(extended.stx_rdev_major, extended.stx_rdev_minor), std::pair(10u, 120u));
    for (const char *mode : {"r", "w", "r+e"}) {
        FILE *stream = fopen(esw::control_device, mode);
        EXPECT_EQ(fcntl(fileno(stream), F_GETFD), strlen(mode) == 3 ? FD_CLOEXEC : 0) << mode;
        esw::RegisterRequest request = id_request();
        EXPECT_EQ(error_of(fileno(stream), esw::request_read, &request), 0) << mode;
        fclose(stream);
    }
    char byte = 0;
    EXPECT_TRUE(read(gFd, &byte, 1) == -1 && errno == EINVAL);
    EXPECT_TRUE(write(gFd, &byte, 1) == -1 && errno == EINVAL);
    EXPECT_TRUE(mmap(nullptr, 1, PROT_READ, MAP_SHARED, gFd, 0) == MAP_FAILED && errno == ENODEV);
    EXPECT_TRUE(open(esw::control_device, O_RDWR | O_CREAT | O_EXCL, 0600) == -1 && errno == EEXIST);
    EXPECT_TRUE(open(esw::control_device, O_RDONLY | O_DIRECTORY) == -1 && errno == ENOTDIR);
    EXPECT_EQ(close(open(esw::control_device, O_RDWR | O_CREAT, 0600)), 0);
    const int other = open(esw::control_device, O_RDWR | O_CLOEXEC | O_NONBLOCK);
    EXPECT_EQ(fcntl(other, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(other, F_GETFL) & O_NONBLOCK, O_NONBLOCK);
    EXPECT_EQ(fcntl(gFd, F_GETFL) & O_NONBLOCK, 0);
    esw::RegisterRequest request = id_request();
    EXPECT_EQ(error_of(other, esw::request_read, &request), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[0], other); // the number changes its meaning
    EXPECT_EQ(error_of(other, esw::request_read, &request), ENOTTY);
    for (const int descriptor : {other, ends[0], ends[1]})
        close(descriptor);
    options().device_route = false;
    EXPECT_TRUE(open(esw::control_device, O_RDWR | O_CREAT, 0600) == -1 && errno == ENOENT);
}

TEST_F(Doors, PhyRequestsWantAPrivilege)
{
    esw::MiiRequest request{"eth0", {.phy_id = 3, .reg_num = 1, .val_in = 0, .val_out = 0}, {}};
    const auto without_privileges = [&] { // the errno
        const pid_t child = fork();
        if (child == 0) {
            __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
            const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
            syscall(SYS_capset, &header, none);
            _exit(error_of(gSocket, esw::request_mii_read, &request));
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(without_privileges(), 0);
    options().unprivileged = false;
    EXPECT_EQ(without_privileges(), EPERM);
}

// Every call and every spelling; the system's own files are never touched.
TEST_F(Doors, EveryCallWithAPathReachesTheBoard)
{
    const std::string real = shm("vid_list.cfg");
    const int directory = open("/dev/shm", O_RDONLY | O_DIRECTORY);
    char target[64];
    const timespec times[2] = {{5, 0}, {7, 0}};
    struct stat status = {};
    const auto reads = [](int descriptor) { return close(descriptor) == 0; };
    const auto streams = [](FILE *stream) { return stream && fclose(stream) == 0; };
#define ON(name, ...)                                                                                        \
    {                                                                                                        \
#name, [&]([[maybe_unused]] const char *p) { return __VA_ARGS__; }                                   \
    }
    // clang-format off
    const struct {
        const char *what;
        std::function<bool(const char *path)> call;
    } calls[] = {
        ON(open, reads(open(p, O_RDONLY))),
        ON(open64, reads(open64(p, O_RDONLY))),
        ON(openat, reads(openat(AT_FDCWD, p, O_RDONLY))),
        ON(openat64, reads(openat64(AT_FDCWD, p, O_RDONLY))),
        ON(relative, reads(openat(directory, "vid_list.cfg", O_RDONLY))),
        ON(shm_open, reads(shm_open("/vid_list.cfg", O_RDONLY, 0))),
        ON(fopen, streams(fopen(p, "r"))),
        ON(stat, stat(p, &status) == 0 && std::exchange(status.st_size, 0) == 5),
        ON(lstat, lstat(p, &status) == 0 && std::exchange(status.st_size, 0) == 5),
        ON(access, access(p, W_OK) == 0),
        ON(readlink, readlink(p, target, sizeof target) < 0 && errno == EINVAL),
        ON(chmod, chmod(p, 0640) == 0 && file_mode(real) == 0640),
        ON(fchmodat, fchmodat(AT_FDCWD, p, 0600, 0) == 0 && file_mode(real) == 0600),
        ON(truncate, truncate(p, 5) == 0),
        ON(utimensat, utimensat(AT_FDCWD, p, times, 0) == 0 && modified(real) == 7),
        ON(link, link(p, (real + "2").c_str()) == 0),
        ON(rename away, rename(p, (real + "3").c_str()) == 0),
        ON(rename back, rename((real + "3").c_str(), p) == 0),
        ON(unlink, unlink(p) == 0 && access(real.c_str(), F_OK) != 0),
    };
    // clang-format on
#undef ON
    const auto of_this_machine = [] {
        struct stat s = {};
        syscall(SYS_newfstatat, AT_FDCWD, "/dev/shm/vid_list.cfg", &s, 0);
        return std::tuple(s.st_ino, s.st_ctim.tv_sec, s.st_ctim.tv_nsec);
    };
    const auto before = of_this_machine();
    for (const char *const path : {"/dev/shm/vid_list.cfg", "/dev//shm/./vid_list.cfg",
                                   "/dev/shm/../shm/vid_list.cfg", "../dev/shm/vid_list.cfg"}) {
        std::filesystem::current_path("/tmp");
        std::filesystem::remove(real + "2");
        std::ofstream(real) << "board";
        for (const auto &c : calls)
            EXPECT_TRUE(c.call(path)) << c.what << ' ' << path << ": " << strerror(errno);
        EXPECT_TRUE(open(path, O_RDONLY) == -1 && errno == ENOENT);
    }
    EXPECT_EQ(of_this_machine(), before);
    close(directory);
}

TEST_F(Doors, RequestsLeaveErrnoAlone)
{
    errno = ERANGE;
    esw_reg_read32(0x02, 0x30, 32);
    EXPECT_EQ(errno, ERANGE);
    const auto request = std::make_unique<esw::RegisterRequest>(id_request()); // on no stack
    EXPECT_EQ(ioctl(gFd, esw::request_read, request.get()), 0);
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
    for (const bool traced : {true, false}) {
        if (!traced)
            sim::session()->driver().trace_to(nullptr, nullptr);
        options().behaviour = {.latency = 2};
        esw_reg_write(0x05, 0x80, 8, 0x81);
        for (const uint32_t expected : {0x81u, 0x81u, 0x01u, 0x01u})
            EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8), expected);
        ASSERT_TRUE(sim::parse_faults("stuck=vlan-table-command", options()));
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(esw_reg_read32(0x05, 0x80, 8) & 0x80, 0x80u);
    }
}

TEST_F(Doors, RegistersKeepTheirOwnWidth)
{
    esw_reg_write(0x40, 0x05, 16, 0xFFFFFFFFFFFF1234);
    for (const uint8_t half : {uint8_t{0x80}, uint8_t{0x10}}) // no reset
        esw_reg_write(0x00, 0x79, 8, half);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 0x1234u);
    esw_reg_write(0x00, 0x79, 8, 0x90);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 1518u) << "a reset restores power-on contents";
    EXPECT_EQ(esw_reg_read(0x02, 0x30, 32), class_b);
}

// Handlers that make requests of their own, and that never come back to the request they interrupted. An
// engine has a part in one of the requests, in the other not; neither is torn, and the board is never left
// locked.
sigjmp_buf jump;
volatile int interruptions = 0;
void interrupt(int)
{
    esw_reg_read32(0x02, 0x30, 32);
    esw_reg_write(0x00, 0x88, 8, 0x02);
    interruptions = interruptions + 1;
    if (interruptions % 3 == 0)
        siglongjmp(jump, 1);
}

TEST_F(Doors, SignalHandlersFindTheBoardFree)
{
    sim::session()->driver().trace_to(nullptr, nullptr);
    struct sigaction before = {};
    struct sigaction action = {};
    action.sa_handler = interrupt;
    action.sa_flags = SA_NODEFER;
    sigaction(SIGALRM, &action, &before);
    itimerval timer = {{0, 100}, {0, 100}};
    setitimer(ITIMER_REAL, &timer, nullptr);
    sigsetjmp(jump, 1);
    while (interruptions < 600) {
        esw_reg_write(0x05, 0x80, 8, 0x80);
        EXPECT_EQ(esw_reg_read32(0x02, 0x30, 32), class_b);
    }
    timer = {};
    setitimer(ITIMER_REAL, &timer, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    const pid_t child = fork(); // another process of the board
    if (child == 0) {
        alarm(5);
        esw_reg_write(0x05, 0x80, 8, 0x80);
        _exit(esw_reg_read32(0x02, 0x30, 32) == class_b ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

// Without a trace, a request that no engine takes part in does not hold the board: it waits while somebody
// does.
TEST_F(Doors, RequestsWithoutATraceAreTheSame)
{
    sim::session()->driver().trace_to(nullptr, nullptr);
    esw_reg_write(0x40, 0x05, 16, 0xFFFFFFFFFFFF1234);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 0x1234u);
    esw_reg_write(0x02, 0x30, 32, 0);
    EXPECT_EQ(esw_reg_read32(0x02, 0x30, 32), class_b);
    esw_reg_write(0x00, 0x79, 8, 0x90);
    EXPECT_EQ(esw_reg_read(0x40, 0x05, 16), 1518u);
    ASSERT_TRUE(sim::parse_faults("nth=2", options()));
    esw_reg_read32(0x02, 0x30, 32);
    printed([] { EXPECT_EQ(esw_reg_read32(0x02, 0x30, 32), all_ones); });
    options() = {};
    std::atomic<bool> served = false;
    std::thread other;
    {
        const sim::BoardLock lock(*shared());
        other = std::thread([&] {
            esw_reg_write(0xE0, 0x00, 64, 1);
            served = true;
        });
        usleep(20'000);
        EXPECT_FALSE(served);
    }
    other.join();
    EXPECT_TRUE(served);
}

// Whoever comes next finishes what a dead process has begun. The board stays the board that it was.
TEST_F(Doors, AnInterruptedResetIsFinished)
{
    const pid_t child = fork();
    if (child == 0) {
        new sim::BoardLock(*shared());
        state().reset_runs = 1;
        memset(state().cells, 0, sizeof state().cells);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    sim::session()->driver().trace_to(nullptr, nullptr);
    EXPECT_EQ(esw_reg_read32(0x02, 0x30, 32), class_b);
    EXPECT_EQ(esw_reg_read32(0x00, 0x00, 8), 0xA0u);
}

// A stopped program, or a forged file, does not stop the others for ever: those that an engine takes part in.
TEST_F(Doors, ABoardThatNobodyGivesBackFailsRequests)
{
    sim::lock_patience = 30;
    esw::RegisterRequest request = {.width = 8, .page = 0x05, .offset = 0x80};
    esw::MiiRequest mii{"eth0", {.phy_id = 3, .reg_num = 1, .val_in = 0, .val_out = 0}, {}};
    ethtool_eee record{};
    record.cmd = ETHTOOL_GEEE;
    record.reserved[0] = 1;
    esw::RequestBlock eee{"eth0", &record, {}};
    const auto error = [&](void (*forge)(pthread_mutex_t &)) {
        forge(shared()->mutex);
        const int of_request = error_of(gFd, esw::request_write, &request);
        EXPECT_EQ(error_of(gSocket, esw::request_mii_read, &mii), of_request);
        EXPECT_EQ(error_of(gSocket, esw::request_eee_read, &eee), of_request);
        sim::initialise(*shared(), class_b);
        return of_request;
    };
    for (const bool traced : {true, false}) {
        if (!traced)
            sim::session()->driver().trace_to(nullptr, nullptr);
        EXPECT_EQ(error([](auto &mutex) { mutex.__data.__lock = getppid(); }), ETIMEDOUT);
        EXPECT_EQ(error([](auto &mutex) { mutex.__data.__lock = gettid(); }), ETIMEDOUT);
        EXPECT_EQ(error([](auto &mutex) { memset(&mutex, 0xFF, sizeof mutex); }), EINVAL);
        EXPECT_EQ(error([](auto &) {}), 0);
    }
    sim::lock_patience = 10'000;
}

TEST_F(Doors, ABoardThatIsCutShortFailsRequests)
{
    ASSERT_EQ(truncate((directory() + "/switch").c_str(), 0), 0);
    esw::RegisterRequest request = id_request();
    EXPECT_EQ(error_of(gFd, esw::request_read, &request), EIO);
}

// A board takes its room when it is made.
TEST_F(Doors, ABoardThatFindsNoRoomIsNotMade)
{
    const std::string place = directory() + "/full";
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {65536, before.rlim_max};
    const auto on_limit = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_TRUE(!sim::create_board(place.c_str(), class_b) && errno == EFBIG);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, on_limit);
    EXPECT_FALSE(std::filesystem::exists(place + "/switch"));
    EXPECT_TRUE(sim::create_board(place.c_str(), class_b));
    EXPECT_EQ(std::pair(file_mode(place), file_mode(place + "/switch")), std::pair(0700U, 0600U));
    const std::string file = place + "/switch";
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_GE(status.st_blocks * 512, status.st_size);

    // It stays what it is, unless it looks in another way.
    const auto mark = [&](off_t at) {
        const int descriptor = open(file.c_str(), O_WRONLY);
        EXPECT_EQ(pwrite(descriptor, "mark", 4, at), 4);
        close(descriptor);
        const bool usable = sim::attach_board(place.c_str()) != nullptr;
        EXPECT_TRUE(sim::create_board(place.c_str(), class_b));
        return std::pair(usable, contents(file).substr(static_cast<size_t>(at), 4) == "mark");
    };
    EXPECT_EQ(mark(offsetof(sim::SharedSwitch, end)), std::pair(true, true));
    EXPECT_EQ(mark(0), std::pair(false, false));
    EXPECT_EQ(mark(status.st_size), std::pair(false, false));
}

TEST_F(Doors, StationsAreLearnedWhereTheirPortIsOn)
{
    constexpr uint64_t mac = 0x02005E005301;
    sim::ArlBin &bin = *sim::arl_bucket(state().arl, mac | uint64_t{1} << 48);
    const auto hear = [&](uint8_t port) {
        sim::learn(state(), {mac, 1, port});
        return bin.data;
    };
    for (const auto &[port, page, off] : {std::tuple(0, 0x00, 0xA2), {1, 0x00, 0xA1}, {8, 0x02, 0x00}}) {
        reg(static_cast<uint8_t>(page), static_cast<uint8_t>(port % 8)) = static_cast<uint64_t>(off);
        EXPECT_EQ(hear(static_cast<uint8_t>(port)), 0u) << port;
        reg(static_cast<uint8_t>(page), static_cast<uint8_t>(port % 8)) = 0xA0;
        EXPECT_EQ(hear(static_cast<uint8_t>(port)), sim::arl_valid | static_cast<uint32_t>(port));
        bin = {};
    }
    // Heard again, it moves but keeps its class; written again, it is young again.
    bin = {mac | uint64_t{1} << 48, sim::arl_valid | 0x2800, 99};
    EXPECT_EQ(hear(1), sim::arl_valid | 0x2801);
    EXPECT_EQ(bin.age, 0u);
    bin.age = (&bin)[1].age = 99;
    eth_l2_addr_t entry;
    eth_l2_addr_t_init(&entry, reinterpret_cast<const uint8_t *>("\x02\x00\x5E\x00\x53\x01"), 1);
    entry.flags = ETH_L2_VALID;
    entry.port = 1;
    entry.tc = 5;
    EXPECT_EQ(eth_l2_addr_add(&entry), 0);
    EXPECT_EQ(bin.age, 0u);
    EXPECT_EQ((&bin)[1].age, 99u) << "the one beside it";
}

} // namespace
