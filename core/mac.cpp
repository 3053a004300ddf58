// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/mac.h"

uint64_t esw::pack_mac(const uint8_t mac[6])
{
    uint64_t number = 0;
    for (int i = 0; i < 6; ++i)
        number = number << 8 | mac[i];
    return number;
}

void esw::unpack_mac(uint64_t number, uint8_t mac[6])
{
    for (int i = 5; i >= 0; --i, number >>= 8)
        mac[i] = static_cast<uint8_t>(number);
}
