/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: numbered switch controls.
 * The numbered conventions are in esw.h. */
#ifndef ESW_CONTROL_H
#define ESW_CONTROL_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Switch controls ------------------------------------------------------------------------------------
 *
 * A control is a switch-wide setting, chosen by its type number:
 *
 *   type       register  bits      kind
 *   0 to 2     00:08/8   2 to 4    bit: 0 or 1
 *   3          02:00/8   1         bit
 *   4 to 16    36:00/32  13 to 1   bit: type t is bit 17 - t
 *   17                             not available
 *   18         36:04/8   all       value: the whole register
 *   19         36:08/32  all       value
 *   20         36:0C/32  all       value
 *   21 to 25   02:50/32  10..9, 12..11, 14..13, 16..15, 18..17
 *                                  code: 4 for the bits 00, 2 for 01, 8 for 11; 10 reads as 4
 *   26                             not available
 *   27, 28     00:0B/8   1, 0      bit
 *   29         02:50/32  8         bit
 *
 * Bit 0 of 02:00 clears the counters (eth_stat_clear()), and its bits 7..6 enable port 8
 * (ethHw_port_enable_set()): keep those calls and control 3 apart. */

/* Reads a control, with one register read.
 *
 * type:  0 to 29.
 * value: out. Bit: 0 or 1. Value: the register as read, unmasked. Code: 4, 2 or 8. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_UNAVAIL for types 17, 26 and from 30 on.
 * Lock: none. */
int32_t eth_switch_control_get(uint32_t type, uint32_t *value);

/* Writes a control.
 *
 * type:  0 to 29.
 * value: Bit: 0 clears it, anything else sets it. Value: written whole, sign-extended to 64 bits. Code: 4
 *        clears both bits; 8 sets both; 2 clears the upper bit, then sets the lower one.
 *
 * Returns 0; ETH_E_UNAVAIL for types 17, 26 and from 30 on, and for another code.
 * Lock: none. */
int32_t eth_switch_control_set(uint32_t type, int32_t value);

ESW_END_DECLS

#endif
