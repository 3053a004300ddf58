// SPDX-License-Identifier: LGPL-2.1-or-later
// The chips that there are, and what each has. For simulator and tools; the library keeps its own constants.
#pragma once

#include <cstdint>

namespace chip {

enum class DeviceClass : uint8_t { unknown, a, b };

struct Device {
    uint32_t id;
    DeviceClass device_class = DeviceClass::b;
    uint8_t first_phy = 0;         // MII address of port 0's PHY; port 1's is the next
    uint8_t dscp_map = 0x30;       // offset of the DSCP map
    bool translates_egress = true; // has the table of egress VLAN translation
};

inline constexpr Device devices[] = {
    {.id = 0x11140, .device_class = DeviceClass::a},
    // The first of class B.
    {.id = 0x2360, .translates_egress = false},
    {.id = 0xD300, .translates_egress = false},
    {.id = 0x5075, .translates_egress = false},
    // The later ones.
    {.id = 0xD310, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0xD311, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0xD312, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0xD313, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0xD314, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0x2404, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0x2407, .first_phy = 3, .dscp_map = 0x34},
    {.id = 0x2409, .first_phy = 3, .dscp_map = 0x34},
};

// A chip that is not in the list is of neither class.
constexpr Device device(uint32_t id)
{
    for (const Device &known : devices) {
        if (known.id == id)
            return known;
    }
    return {.id = id, .device_class = DeviceClass::unknown};
}

} // namespace chip
