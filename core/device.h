// SPDX-License-Identifier: LGPL-2.1-or-later
// Which chip is on the other side, told from gESWID at each call.
#pragma once

#include <cstdint>

namespace esw {

enum class DeviceClass : uint8_t { unknown, a, b };

DeviceClass device_class();

inline bool is_class_a() { return device_class() == DeviceClass::a; }
inline bool is_class_b() { return device_class() == DeviceClass::b; }

// The class B chips whose PHY addresses and DSCP map sit elsewhere.
bool is_late_class_b();

} // namespace esw
