// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sim/doors/session.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/wire.h"
#include "sim/doors/user_memory.h"

namespace sim {
namespace {

constexpr const char *simulated_interfaces[] = {"lan", "eth0"};

struct BoardFile {
    const char *path;
    const char *stand_in;
};
constexpr BoardFile stand_ins[] = {
    {"/run/lock/esw.lock", "lock"}, // those who work on this switch wait for each other only
    {"/dev/shm/vid_list.cfg", "shm/vid_list.cfg"},
    {"/dev/shm/cfp_last_idx.cfg", "shm/cfp_last_idx.cfg"},
    {"/dev/shm/cfp_rule.cfg", "shm/cfp_rule.cfg"},
};
constexpr char no_such_file[] = "no-such-device"; // never created

bool is_simulated(const char *name)
{
    for (const char *interface : simulated_interfaces) {
        if (strncmp(name, interface, esw::interface_name_size) == 0)
            return true;
    }
    return false;
}

bool is_register_request(unsigned long number)
{
    return number == esw::request_read || number == esw::request_write;
}

bool is_driver_request(unsigned long number)
{
    return is_register_request(number) || number == esw::request_mii_read ||
           number == esw::request_mii_write || number == esw::request_eee_read ||
           number == esw::request_eee_write;
}

// The kernel takes device requests on any socket.
bool is_socket(int descriptor)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

} // namespace

Session::Session(SharedSwitch &shared, const Options &options, const char *directory)
    : shared_(shared), options_(options), directory_(directory), driver_(shared.state, options)
{
    char path[path_size];
    struct stat status = {};
    const int control = join_path(path, directory, control_file) ? raw_open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (control < 0)
        return;
    fstat(control, &status);
    close(control);
    control_device_id_ = status.st_dev;
    control_inode_ = status.st_ino;
}

// By identity, not by number: descriptors may be duplicated, inherited and closed without our knowledge.
bool Session::is_control_device(int descriptor) const
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && status.st_ino == control_inode_ &&
           status.st_dev == control_device_id_;
}

int Session::serve_register(Route route, bool write, void *argument)
{
    esw::RegisterRequest request;
    if (!fetch(&request, argument, sizeof request))
        return EFAULT;
    {
        const BoardLock lock(shared_);
        if (const int error = driver_.serve(route, write, request))
            return error;
    }
    auto *value = &static_cast<esw::RegisterRequest *>(argument)->value;
    return write || store(value, &request.value, sizeof request.value) ? 0 : EFAULT;
}

int Session::serve_mii(bool write, esw::MiiRequest &request, void *argument)
{
    {
        const BoardLock lock(shared_);
        if (const int error = driver_.serve_mii(write, request))
            return error;
    }
    return write || store(argument, &request, sizeof request) ? 0 : EFAULT;
}

int Session::serve_eee(bool write, void *argument)
{
    ethtool_eee record;
    if (!fetch(&record, argument, sizeof record))
        return EFAULT;
    {
        const BoardLock lock(shared_);
        if (const int error = driver_.serve_eee(write, record))
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
    if (!is_driver_request(number))
        return false;
    const int kept = errno;
    int error = 0;
    if (is_register_request(number) && is_control_device(descriptor))
        error = serve_register(Route::device, number == esw::request_write, argument);
    else if (!is_socket(descriptor) || !serve_interface(number, argument, error))
        return false;
    errno = error ? error : kept;
    result = error ? -1 : 0;
    return true;
}

bool Session::is_stand_in(dev_t device, ino_t inode) const
{
    for (const BoardFile &file : stand_ins) {
        char path[path_size];
        struct stat status = {};
        if (join_path(path, directory_, file.stand_in) && stat(path, &status) == 0 &&
            status.st_ino == inode && status.st_dev == device)
            return true;
    }
    return false;
}

const char *Session::redirect(const char *path, char (&to)[path_size]) const
{
    if (!path || strncmp(path, "/dev/", 5) != 0)
        return nullptr;
    const char *stand_in = nullptr;
    if (strcmp(path, esw::control_device) == 0)
        stand_in = options_.device_route ? control_file : no_such_file;
    for (const BoardFile &file : stand_ins) {
        if (strcmp(path, file.path) == 0)
            stand_in = file.stand_in;
    }
    return stand_in && join_path(to, directory_, stand_in) ? to : nullptr;
}

} // namespace sim
