// SPDX-License-Identifier: LGPL-2.1-or-later
// The families' roles, each beside the engine that plays it. Power-on contents are those of an
// idle switch with ports 0 and 1 linked at 1000 Mb/s full duplex.
#pragma once

#include "sim/model/cfp.h"
#include "sim/model/core.h"
#include "sim/model/l2.h"
#include "sim/model/mirror.h"
#include "sim/model/port.h"
#include "sim/model/qos.h"
#include "sim/model/stat.h"
#include "sim/model/vlan.h"
