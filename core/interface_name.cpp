// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/interface_name.h"

#include <cstring>

void esw::copy_interface_name(char (&to)[interface_name_size], const char *name)
{
    const size_t length = strnlen(name, sizeof to);
    memset(to, 0, sizeof to);
    memcpy(to, name, length);
}
