// SPDX-License-Identifier: LGPL-2.1-or-later
// MAC addresses as the registers hold them: one 48-bit number with mac[0] on top.
#pragma once

#include <cstdint>

namespace esw {

uint64_t pack_mac(const uint8_t mac[6]);
void unpack_mac(uint64_t number, uint8_t mac[6]); // ignores bits 48 and up

} // namespace esw
