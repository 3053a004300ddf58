// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qos/tables.h"

#include <algorithm>

namespace esw {

const std::array<int32_t, 8> burst_sizes = {16, 20, 28, 40, 76, 140, 268, 500};

const std::array<int32_t, 64> cpu_port_rates = {
    384,    512,     639,     768,     1024,    1280,    1536,    1791,    //
    2048,   2303,    2559,    2815,    3328,    3840,    4352,    4863,    //
    5376,   5887,    6400,    6911,    7936,    8960,    9984,    11008,   //
    12030,  13054,   14076,   15105,   17146,   19201,   21240,   23299,   //
    25354,  27382,   29446,   31486,   35561,   39682,   42589,   56818,   //
    71023,  85324,   99602,   113636,  127551,  142045,  213675,  284091,  //
    357143, 423729,  500000,  568182,  641026,  714286,  781250,  862069,  //
    925926, 1000000, 1086957, 1136364, 1190476, 1250000, 1315789, 1388889, //
};

const std::array<uint8_t, 10> ingress_control_codes = {
    0x00, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0x21, 0x12, 0x3F,
};

int32_t entry(std::span<const int32_t> table, uint32_t index)
{
    return table[std::min<size_t>(index, table.size() - 1)];
}

} // namespace esw
