/* libesw: port and MAC enable, spanning-tree state, reset and frame size.
 * The numbered conventions are in esw.h. */
#ifndef ESW_PORT_H
#define ESW_PORT_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Port state -----------------------------------------------------------------------------------------
 *
 * Once the arguments pass, each of these calls returns 0, whatever becomes of its register requests. */

/* Switches a port on or off.
 * Ports 0 and 1: clears (on) or sets (off) both disable bits, 1..0 of 00:PORT/8. Port 8: on replaces
 * bits 7..6 of 02:00/8 by 01, off clears bit 6 and keeps bit 7.
 *
 * port:   0, 1 or 8.
 * enable: non-zero switches the port on.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t ethHw_port_enable_set(uint32_t port, int32_t enable);

/* Tells whether a port is on.
 * Ports 0 and 1: both disable bits, 1..0 of 00:PORT/8, are clear. Port 8: bit 7 of 02:00/8. That bit is not
 * the one that ethHw_port_enable_set() sets, so port 8 reads as off after it was switched on.
 *
 * port:    0, 1 or 8.
 * enabled: out, 1 or 0. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t ethHw_port_enable_get(uint32_t port, int32_t *enabled);

/* Switches the two halves of a port's MAC on or off: bit 1, then bit 0 of 00:PORT/8; a set bit disables.
 *
 * port:                     0 or 1.
 * bit1_enable, bit0_enable: non-zero clears the bit, zero sets it.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t ethHw_mac_enable_set(uint32_t port, int32_t bit1_enable, int32_t bit0_enable);

/* Reads the two halves of a port's MAC, each with a read of 00:PORT/8 of its own, bit 1 first.
 *
 * port:                       0 or 1.
 * bit1_enabled, bit0_enabled: out, 1 when the bit is clear, 0 when it is set. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t ethHw_mac_enable_get(uint32_t port, int32_t *bit1_enabled, int32_t *bit0_enabled);

/* Sets a port's spanning-tree state: replaces bits 7..5 of 00:PORT/8 by state + 1.
 *
 * stg:   accepted and not used.
 * port:  0 or 1.
 * state: 0 to 4.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM for another state.
 * Lock: held, but not for the checks. */
int32_t eth_stg_stp_set(uint32_t stg, uint32_t port, uint32_t state);

/* Reads a port's spanning-tree state from bits 7..5 of 00:PORT/8.
 *
 * stg:   accepted and not used.
 * port:  0 or 1.
 * state: out, the bits minus 1: 0 to 4, -1 for a field of 0, 5 and 6 for values that this library never
 *        writes. Untouched for a bad port.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_stg_stp_get(uint32_t stg, uint32_t port, int32_t *state);

/* Resets the switch: writes 0x90 to 00:79/8 and waits for nothing.
 *
 * Returns 0.
 * Lock: none. */
int32_t ethHw_switch_reset(void);

/* Sets the largest frame that a port accepts. 9720 sets bit PORT of 40:01/32. 1518 and 2000 clear that bit
 * and then write 40:05/16, which holds one size for every port whose bit is clear.
 *
 * port: 0, 1 or 8.
 * size: 1518, 2000 or 9720 bytes.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM for another size.
 * Lock: none. */
int32_t eth_port_frame_max_set(uint32_t port, uint32_t size);

/* Reads the largest frame that a port accepts: 9720 when bit PORT of 40:01/32 is set, else 40:05/16 as read.
 *
 * port: 0, 1 or 8.
 * size: out, bytes. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_port_frame_max_get(uint32_t port, int32_t *size);

ESW_END_DECLS

#endif
