// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/doors/session.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "core/wire.h"
#include "sim/doors/user_memory.h"

namespace sim {
namespace {

constexpr const char *simulated_interfaces[] = {"lan", "eth0"};

struct BoardFile {
    const char *directory;
    const char *name;
    const char *stand_in;
};
constexpr BoardFile files[] = {
    {"/dev/", "esw-ctl", control_file},
    {"/run/lock/", "esw.lock", "lock"}, // those who work on this switch wait for each other only
    {"/run/lock/", "esw.pending", "shm/esw.pending"},
    {"/run/lock/", "esw.pending.new", "shm/esw.pending.new"},
    {"/run/lock/", "esw.settled", "shm/esw.settled"},
    {"/dev/shm/", "vid_list.cfg", "shm/vid_list.cfg"},
    {"/dev/shm/", "cfp_last_idx.cfg", "shm/cfp_last_idx.cfg"},
    {"/dev/shm/", "cfp_rule.cfg", "shm/cfp_rule.cfg"},
};
constexpr char no_such_file[] = "no-such-device"; // never created

bool is_control(const BoardFile &file) { return file.stand_in == control_file; }

// The kernel looks at 15 characters of a name.
bool is_name(const char *interface, const char *asked_for)
{
    return strncmp(interface, asked_for, esw::interface_name_size - 1) == 0;
}

bool is_same_directory(int from, const char *one, const char *other)
{
    struct stat a = {};
    struct stat b = {};
    return syscall(SYS_newfstatat, from, one, &a, 0) == 0 &&
           syscall(SYS_newfstatat, AT_FDCWD, other, &b, 0) == 0 && a.st_ino == b.st_ino &&
           a.st_dev == b.st_dev;
}

// However the path is spelled: by what its directory is.
bool leads_to(const BoardFile &file, int directory, const char *path, const char *name)
{
    char parent[path_size] = ".";
    const auto length = static_cast<size_t>(name - path);
    if (strcmp(name, file.name) != 0 || length >= sizeof parent)
        return false;
    if (length == strlen(file.directory) && strncmp(path, file.directory, length) == 0)
        return true; // also where the system has no such directory
    if (length != 0) {
        memcpy(parent, path, length);
        parent[length] = '\0';
    }
    return is_same_directory(directory, parent, file.directory);
}

bool may_administer_network()
{
    constexpr unsigned net_admin = 12;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    return syscall(SYS_capget, &header, sets) == 0 && (sets[0].effective >> net_admin & 1) != 0;
}

bool is_register_request(unsigned long number)
{
    return number == esw::request_read || number == esw::request_write;
}

bool is_mii_request(unsigned long number)
{
    return number == esw::request_mii_read || number == esw::request_mii_write;
}

bool is_driver_request(unsigned long number)
{
    return is_register_request(number) || is_mii_request(number) || number == esw::request_eee_read ||
           number == esw::request_eee_write;
}

} // namespace

Session::Session(SharedSwitch &shared, const Options &options, const char *directory)
    : shared_(shared), options_(options), directory_(directory), driver_(shared.state, options)
{}

bool Session::is_simulated(const char *interface) const
{
    for (const char *simulated : simulated_interfaces) {
        if (is_name(interface, simulated))
            return true;
    }
    for (unsigned i = 0; i < options_.interface_count; ++i) {
        if (is_name(interface, options_.interfaces[i]))
            return true;
    }
    return false;
}

// Touching what is gone would end the program.
bool Session::is_cut_short() const { return !is_readable(&shared_.end); }

int Session::serve_register(Route route, bool write, void *argument)
{
    esw::RegisterRequest request;
    if (!fetch(&request, argument, sizeof request))
        return EFAULT;
    if (is_cut_short())
        return EIO;
    if (driver_.is_traced()) {
        const BoardLock lock(shared_);
        if (const int error = lock.error() ? lock.error() : driver_.serve(route, write, request))
            return error;
    } else if (driver_.fails_now()) {
        return EIO;
    } else if (!serve_alone(shared_, driver_.simulated(), write, request)) {
        const BoardLock lock(shared_);
        if (lock.error() != 0)
            return lock.error();
        driver_.access(write, request);
    }
    auto *value = &static_cast<esw::RegisterRequest *>(argument)->value;
    return write || store(value, &request.value, sizeof request.value) ? 0 : EFAULT;
}

int Session::serve_mii(bool write, esw::MiiRequest &request, void *argument)
{
    if (!options_.unprivileged && !may_administer_network())
        return EPERM;
    if (is_cut_short())
        return EIO;
    {
        const BoardLock lock(shared_);
        if (const int error = lock.error() ? lock.error() : driver_.serve_mii(write, request))
            return error;
    }
    return write || store(argument, &request, sizeof request) ? 0 : EFAULT;
}

int Session::serve_eee(bool write, void *argument)
{
    ethtool_eee record;
    if (!fetch(&record, argument, sizeof record))
        return EFAULT;
    if (is_cut_short())
        return EIO;
    {
        const BoardLock lock(shared_);
        if (const int error = lock.error() ? lock.error() : driver_.serve_eee(write, record))
            return error;
    }
    return write || store(argument, &record, sizeof record) ? 0 : EFAULT;
}

bool Session::serve_interface(unsigned long number, void *argument, int &error)
{
    union {
        esw::RequestBlock block;
        esw::MiiRequest mii;
    } request;
    if (!fetch(&request, argument, sizeof request) || !is_simulated(request.block.name))
        return false; // the kernel's own answer is the right one
    switch (number) {
    case esw::request_mii_read:
    case esw::request_mii_write:
        error = serve_mii(number == esw::request_mii_write, request.mii, argument);
        break;
    case esw::request_eee_read:
    case esw::request_eee_write:
        error = serve_eee(number == esw::request_eee_write, request.block.data);
        break;
    default:
        error = serve_register(Route::interface, number == esw::request_write, request.block.data);
    }
    return true;
}

bool Session::serve(int descriptor, unsigned long number, void *argument, int &result)
{
    number = static_cast<uint32_t>(number); // all that the kernel looks at
    if (!is_driver_request(number))
        return false;
    const int kept = errno;
    const Kind kind = kind_of(descriptor);
    int error = 0;
    bool served = true;
    if (kind == Kind::control)
        error = is_register_request(number)
                    ? serve_register(Route::device, number == esw::request_write, argument)
                    : ENOTTY;
    else
        served = kind == Kind::socket && serve_interface(number, argument, error);
    errno = error ? error : kept;
    if (!served)
        return false;
    result = error ? -1 : 0;
    return true;
}

bool Session::is_stand_in(dev_t device, ino_t inode) const
{
    for (const BoardFile &file : files) {
        char path[path_size];
        struct stat status = {};
        if (!is_control(file) && join_path(path, directory_, file.stand_in) &&
            syscall(SYS_newfstatat, AT_FDCWD, path, &status, 0) == 0 && status.st_ino == inode &&
            status.st_dev == device)
            return true;
    }
    return false;
}

const char *Session::redirect(int directory, const char *path, char (&to)[path_size]) const
{
    if (!is_readable(path))
        return nullptr; // the system's own answer
    const int kept = errno;
    const char *slash = strrchr(path, '/');
    const char *name = slash ? slash + 1 : path;
    const char *found = nullptr;
    for (const BoardFile &file : files) {
        if (leads_to(file, directory, path, name))
            found = is_control(file) && !options_.device_route ? no_such_file : file.stand_in;
    }
    errno = kept;
    return found && join_path(to, directory_, found) ? to : nullptr;
}

bool Session::is_control_stand_in(const char *path) const
{
    char control[path_size];
    const char *name = options_.device_route ? control_file : no_such_file;
    return join_path(control, directory_, name) && strcmp(path, control) == 0;
}

} // namespace sim
