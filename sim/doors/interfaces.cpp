// SPDX-License-Identifier: LGPL-2.1-or-later
// A door for the list of interfaces: the launcher's own stand behind the system's.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <net/if.h>

#include "sim/doors/next.h"
#include "sim/doors/session.h"

namespace {

constinit sim::Next next_if_nameindex{&if_nameindex, "if_nameindex"};

constexpr unsigned first_index = 1000; // above the system's

} // namespace

// What the C library's own if_freenameindex() frees: a block with the entries, and one for each name.
struct if_nameindex *if_nameindex() noexcept
{
    const sim::Session *session = sim::session();
    struct if_nameindex *system = next_if_nameindex();
    const unsigned added = session ? session->options().interface_count : 0;
    if (added == 0 || !system)
        return system;
    size_t count = 0;
    while (system[count].if_index != 0 || system[count].if_name)
        ++count;
    auto *list = static_cast<struct if_nameindex *>(realloc(system, (count + added + 1) * sizeof *system));
    if (!list) {
        if_freenameindex(system);
        errno = ENOBUFS;
        return nullptr;
    }
    memset(list + count, 0, (added + 1) * sizeof *list);
    for (unsigned i = 0; i < added; ++i) {
        if (char *name = strdup(session->options().interfaces[i]))
            list[count++] = {first_index + i, name};
    }
    return list;
}
