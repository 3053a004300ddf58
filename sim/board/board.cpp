// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/board/board.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace sim {
namespace {

// Told by the build from the sources that decide how a board looks: another one starts anew.
constexpr uint64_t layout = SIM_LAYOUT;

constexpr char switch_file[] = "switch";

struct Descriptor {
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor()
    {
        if (number >= 0)
            close(number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    explicit operator bool() const { return number >= 0; }

    const int number;
};

SharedSwitch *map_switch(int descriptor)
{
    void *at = mmap(nullptr, sizeof(SharedSwitch), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return at == MAP_FAILED ? nullptr : static_cast<SharedSwitch *>(at);
}

bool is_current(int descriptor)
{
    uint64_t found = 0;
    struct stat status = {};
    return pread(descriptor, &found, sizeof found, 0) == sizeof found && found == layout &&
           syscall(SYS_fstat, descriptor, &status) == 0 && status.st_size == sizeof(SharedSwitch);
}

bool make_directory(const char *path) { return mkdir(path, 0700) == 0 || errno == EEXIST; }

bool touch(const char *path) { return bool(Descriptor(raw_open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600))); }

// Called with the directory locked. An outdated switch is replaced, never truncated: programs may have it
// mapped.
bool provide_switch(const char *path, const char *scratch, uint32_t device_id)
{
    const Descriptor present(raw_open(path, O_RDWR | O_CLOEXEC));
    if (present && is_current(present.number))
        return true;
    const Descriptor fresh(raw_open(scratch, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!fresh)
        return false;
    // With room for all of it: a full disk would end whoever touches a missing page.
    errno = posix_fallocate(fresh.number, 0, sizeof(SharedSwitch));
    if (errno != 0) {
        const int kept = errno;
        unlink(scratch);
        errno = kept;
        return false;
    }
    SharedSwitch *shared = map_switch(fresh.number);
    if (!shared)
        return false;
    initialise(*shared, device_id);
    return munmap(shared, sizeof *shared) == 0 && rename(scratch, path) == 0;
}

int lock(pthread_mutex_t &mutex)
{
    int error = pthread_mutex_trylock(&mutex);
    if (error == EBUSY) {
        timespec end{};
        clock_gettime(CLOCK_MONOTONIC, &end);
        const int64_t nanoseconds = end.tv_nsec + lock_patience % 1000 * 1'000'000;
        end.tv_sec += lock_patience / 1000 + nanoseconds / 1'000'000'000;
        end.tv_nsec = nanoseconds % 1'000'000'000;
        error = pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &end);
    }
    return error == EOWNERDEAD ? pthread_mutex_consistent(&mutex) : error;
}

} // namespace

int raw_open(const char *path, int flags, mode_t mode)
{
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

bool join_path(char (&to)[path_size], const char *directory, const char *name)
{
    const int length = snprintf(to, sizeof to, "%s/%s", directory, name);
    if (length >= 0 && static_cast<size_t>(length) < sizeof to)
        return true;
    errno = ENAMETOOLONG;
    return false;
}

void initialise(SharedSwitch &shared, uint32_t device_id)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&shared.mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    const Behaviour plain;
    Switch(shared.state, plain).power_on(device_id);
    shared.layout = layout;
}

bool create_board(const char *directory, uint32_t device_id)
{
    char shm[path_size];
    char control[path_size];
    char path[path_size];
    char scratch[path_size];
    if (!join_path(shm, directory, shm_directory) || !join_path(control, directory, control_file) ||
        !join_path(path, directory, switch_file) || !join_path(scratch, directory, "switch.new"))
        return false;
    if (!make_directory(directory) || !make_directory(shm) || !touch(control))
        return false;
    const Descriptor lock(raw_open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return lock && flock(lock.number, LOCK_EX) == 0 && provide_switch(path, scratch, device_id);
}

SharedSwitch *attach_board(const char *directory)
{
    char path[path_size];
    if (!join_path(path, directory, switch_file))
        return nullptr;
    const Descriptor descriptor(raw_open(path, O_RDWR | O_CLOEXEC));
    return descriptor && is_current(descriptor.number) ? map_switch(descriptor.number) : nullptr;
}

BoardLock::BoardLock(SharedSwitch &shared) : shared_(shared)
{
    constexpr uint64_t all = ~uint64_t{0};
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &all, &signals_, sizeof all); // the C library's own ones, too
    error_ = lock(shared.mutex);
    if (error_ != 0)
        return;
    __atomic_store_n(&shared.turn, shared.turn | 1, __ATOMIC_SEQ_CST);
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
    const Behaviour plain;
    Switch(shared.state, plain).finish_reset();
}

BoardLock::~BoardLock()
{
    if (error_ == 0) {
        __atomic_store_n(&shared_.turn, shared_.turn + 1, __ATOMIC_RELEASE);
        pthread_mutex_unlock(&shared_.mutex);
    }
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &signals_, nullptr, sizeof signals_);
}

// A store that comes while an engine has just begun counts as one behind it; the same program's next request
// sees the odd turn and waits.
bool serve_alone(SharedSwitch &shared, const Switch &simulated, bool write, esw::RegisterRequest &request)
{
    const Located at = locate(request.page, request.offset);
    const uint32_t turn = __atomic_load_n(&shared.turn, __ATOMIC_ACQUIRE);
    if ((turn & 1) != 0 || !simulated.is_passive(at, write))
        return false;
    const uint64_t mask = at.bank ? at.bank->mask() : ~uint64_t{0};
    uint64_t &cell = shared.state.cells[request.page][request.offset];
    if (write) {
        if (!at.bank || !at.bank->read_only)
            __atomic_store_n(&cell, request.value & mask, __ATOMIC_SEQ_CST);
        return true;
    }
    const uint64_t value = __atomic_load_n(&cell, __ATOMIC_ACQUIRE);
    if (__atomic_load_n(&shared.turn, __ATOMIC_RELAXED) != turn)
        return false;
    request.value = value & mask;
    return true;
}

} // namespace sim
