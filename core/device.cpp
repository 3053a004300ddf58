// SPDX-License-Identifier: LGPL-2.1-or-later
#include "core/device.h"

#include <algorithm>
#include <array>
#include <span>

#include <esw/core.h>

namespace esw {
namespace {

constexpr uint32_t class_a_id = 0x11140;

constexpr std::array<uint16_t, 11> class_b_ids = {
    0xD310, 0xD311, 0xD312, 0xD313, 0xD314, 0x2404, 0x2407, 0x2409, 0x2360, 0xD300, 0x5075,
};
constexpr size_t late_class_b_ids = 8;

bool is_one_of(std::span<const uint16_t> ids) { return std::ranges::find(ids, gESWID) != ids.end(); }

} // namespace

DeviceClass device_class()
{
    if (gESWID == class_a_id)
        return DeviceClass::a;
    return is_one_of(class_b_ids) ? DeviceClass::b : DeviceClass::unknown;
}

bool is_late_class_b() { return is_one_of(std::span(class_b_ids).first<late_class_b_ids>()); }

} // namespace esw
