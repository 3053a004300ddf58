/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: MIB counters and snapshots.
 * The numbered conventions are in esw.h. */
#ifndef ESW_STAT_H
#define ESW_STAT_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Counters -------------------------------------------------------------------------------------------
 *
 * Each port counts into a register page of its own: 20 for port 0, 21 for port 1, 28 for port 8. Pseudo-port
 * ETH_STAT_SNAPSHOT is page 71, which holds what eth_stat_snapshot_start() latched last.
 *
 * A counter is chosen by its number. Below, (64) marks a 64-bit register; all others have 32 bits. A plus
 * sign is a sum of 32-bit registers, read in this order and added modulo 2^32.
 *
 * Counters 0 to 104 are composite. Those that are sums:
 *
 *       2  98 + 9C
 *       4  80 + 84 + A4 + 78 + 7C
 *       8  14 + 10
 *      10  30 + 2C
 *      18  94 + 98 + 9C
 *      19  18 + 14 + 10
 *      35  94 + 98 + 9C
 *      37  84 + 80
 *      50  78 + 7C
 *
 * Those that are single registers; 103 and 104 on class B only:
 *
 *       0  50 (64)    23  9C         32  78         46  2C         84  B4         96  14
 *       1  94         24  58         33  7C         47  30         85  C0         97  34
 *       3  90         25  A4         34  50 (64)    52  AC         89  0C         98  C4
 *       6  00 (64)    26  60         36  1C         54  5C         90  3C         99  C8
 *       7  18         27  64         40  80         55  38         91  40        100  CC
 *       9  08         28  68         41  84         80  88 (64)    92  44        101  D0
 *      20  90         29  6C         42  20         81  A0         93  48        102  D4
 *      21  90         30  70         43  24         82  A8         94  4C        103  C8
 *      22  98         31  74         45  28         83  B0         95  10        104  CC
 *
 * 44, 48, 49, 51 and 53 are always 0. 5, 11 to 17, 38, 39, 56 to 79 and 86 to 88 are not available.
 *
 * Counters 105 to 153 are raw: every register of the page, in the order of the offsets:
 *
 *     105         00 (64)
 *     106 to 123  08, 0C, ... 4C
 *     124         50 (64)
 *     125 to 136  58, 5C, ... 84
 *     137         88 (64)
 *     138 to 147  90, 94, ... B4
 *     148 to 153  C0, C4, ... D4 */

/* Numbers for the arguments of the calls below. */
enum {
    ETH_STAT_RAW_FIRST = 105, /* the first raw counter */
    ETH_STAT_LAST = 153,      /* the last counter */
    ETH_STAT_SNAPSHOT = 0x51  /* in place of a port: the latched counters */
};

/* Reads a counter. A failed register request counts as all ones of the register that it read.
 *
 * port:    0, 1, 8 or ETH_STAT_SNAPSHOT.
 * counter: 0 to 153, as listed above.
 * value:   out. Preset: all ones. 0 for a counter above 153.
 *
 * Returns 0; ETH_E_PORT; ETH_E_UNAVAIL for a counter that is not available, and for 103 and 104 on a device
 * that is not class B.
 * Lock: none. */
int32_t ethHw_stat_get(uint32_t port, uint32_t counter, uint64_t *value);

/* ethHw_stat_get() for the low 32 bits.
 *
 * value: out, on failure too: 0xFFFFFFFF, or 0 for a counter above 153.
 *
 * Returns what ethHw_stat_get() returns.
 * Lock: none. */
int32_t eth_stat_get32(uint32_t port, uint32_t counter, uint32_t *value);

/* Clears the counters of all ports: sets, then clears bit 0 of 02:00/8.
 *
 * port: 0, 1 or 8; checked, otherwise not used.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_stat_clear(uint32_t port);

/* ---- Snapshots ------------------------------------------------------------------------------------------
 */

/* Latches a port's counters into the snapshot page, with four changes of 70:00/8: clears bits 3..0, sets the
 * bits of the port's number, sets bit 7 (start), clears bit 7.
 *
 * port: 0, 1 or 8.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_stat_snapshot_start(uint32_t port);

/* Sets or clears the snapshot mode bit, bit 6 of 70:00/8.
 *
 * mode: 0 or 1.
 *
 * Returns 0; ETH_E_UNAVAIL for another mode.
 * Lock: none. */
int32_t eth_stat_snapshot_mode_set(int32_t mode);

/* Reads the snapshot mode bit, bit 6 of 70:00/8.
 *
 * mode: out, 0 or 1.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_stat_snapshot_mode_get(uint32_t *mode);

ESW_END_DECLS

#endif
