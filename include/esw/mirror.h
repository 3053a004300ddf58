/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: port mirroring.
 * The numbered conventions are in esw.h. */
#ifndef ESW_MIRROR_H
#define ESW_MIRROR_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Mirroring ------------------------------------------------------------------------------------------
 *
 * The switch copies frames that mirrored ports receive (ingress) or send (egress) to one capture port. Enable
 * and capture port serve both directions; ports, filter, divider and MAC are set for each.
 *
 *                         ingress    egress
 *   mirror control        02:10/16   (the same)   bit 15 enable, bits 3..0 capture port
 *   direction control     02:12/16   02:1C/16     bits 8..0 mirrored ports, 13 divider on, 15..14 filter
 *   divider               02:14/16   02:1E/16
 *   filter MAC            02:16/64   02:20/64
 *
 * What the switch compares in filter modes 1 and 2 with the filter MAC, and how it applies the divider, is
 * the switch's own: the library stores them.
 *
 * A call that takes a port checks it before it takes the lock. The others take the lock first and check
 * inside it. */

/* A `dir` argument. */
enum { ETH_MIRROR_INGRESS = 0, ETH_MIRROR_EGRESS = 1 };

/* Switches mirroring on or off: sets or clears bit 15 of 02:10/16.
 *
 * enable: 0 or 1.
 *
 * Returns 0; ETH_E_PARAM for another value.
 * Lock: held. */
int32_t eth_mirror_mode_set(int32_t enable);

/* Tells whether mirroring is on: bit 15 of 02:10/16.
 *
 * enable: out, 0 or 1.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_mirror_mode_get(uint32_t *enable);

/* Sets the capture port: replaces bits 3..0 of 02:10/16.
 *
 * port: 0, 1 or 8.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_mirror_to_set(uint32_t port);

/* Reads the capture port: bits 3..0 of 02:10/16.
 *
 * port: out, 0 to 15.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_mirror_to_get(uint32_t *port);

/* Mirrors what a port receives, or no longer: sets or clears bit PORT of 02:12/16.
 *
 * port:   0, 1 or 8.
 * enable: non-zero mirrors.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_mirror_ingress_set(uint32_t port, int32_t enable);

/* Tells whether what a port receives is mirrored: bit PORT of 02:12/16.
 *
 * port:   0, 1 or 8.
 * enable: out, 0 or 1. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_mirror_ingress_get(uint32_t port, uint32_t *enable);

/* Mirrors what a port sends, or no longer: sets or clears bit PORT of 02:1C/16.
 *
 * port:   0, 1 or 8.
 * enable: non-zero mirrors.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_mirror_egress_set(uint32_t port, int32_t enable);

/* Tells whether what a port sends is mirrored: bit PORT of 02:1C/16.
 *
 * port:   0, 1 or 8.
 * enable: out, 0 or 1. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_mirror_egress_get(uint32_t port, uint32_t *enable);

/* Sets a direction's filter: replaces bits 15..14 of 02:12/16 or 02:1C/16 by mode.
 *
 * dir:  ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * mode: 0 mirrors every frame, 1 and 2 those that pass the switch's filter of that number.
 *
 * Returns 0; ETH_E_PARAM for another direction or mode.
 * Lock: held. */
int32_t eth_mirror_filter_set(uint32_t dir, uint32_t mode);

/* Reads a direction's filter.
 *
 * dir:  ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * mode: out, 1 when bit 14 of 02:12/16 or 02:1C/16 is set, else 2 when bit 15 is, else 0.
 *       Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_mirror_filter_get(int32_t dir, uint32_t *mode);

/* Sets a direction's divider. On: sets bit 13 of 02:12/16 or 02:1C/16, then writes div to 02:14/16 or
 * 02:1E/16. Off: clears the bit and leaves the divider register alone.
 *
 * dir:    ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * enable: non-zero for on.
 * div:    written sign-extended to 64 bits; the register keeps 16.
 *
 * Returns 0; ETH_E_PARAM for another direction.
 * Lock: held. */
int32_t eth_mirror_div_set(int32_t dir, int32_t enable, int32_t div);

/* Reads a direction's divider.
 *
 * dir:    ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * enable: out, 1 when bit 13 of 02:12/16 or 02:1C/16 is set, else 0. Preset: 0xFFFFFFFF.
 * div:    out, the divider register as read; not read, and left at its preset, when the divider is off.
 *         Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_mirror_div_get(int32_t dir, uint32_t *enable, uint32_t *div);

/* Sets a direction's filter MAC: writes 02:16/64 or 02:20/64.
 *
 * dir: ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * mac: 6 bytes.
 *
 * Returns 0; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_mirror_mac_set(int32_t dir, const uint8_t mac[6]);

/* Reads a direction's filter MAC from 02:16/64 or 02:20/64.
 *
 * dir: ETH_MIRROR_INGRESS or ETH_MIRROR_EGRESS.
 * mac: out, 6 bytes; untouched for another direction.
 *
 * Returns 0; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_mirror_mac_get(int32_t dir, uint8_t mac[6]);

ESW_END_DECLS

#endif
