/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: port and MAC enable, spanning-tree state, reset and frame size; PHY registers; link, speed, duplex
 * and pause; Energy Efficient Ethernet.
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
 *        writes; 0x7FFFFFE when the read failed. Untouched for a bad port.
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

/* ---- PHY registers --------------------------------------------------------------------------------------
 *
 * The PHYs of ports 0 and 1 are reached through the MII requests of a network interface (SIOCGMIIREG and
 * SIOCSMIIREG, issued on gSocket whichever route register requests take), one 16-bit register of IEEE 802.3
 * clause 22 at a time.
 *
 * Lock: none, for all five.
 *
 * ifname: NUL-terminated name of the interface whose driver answers; its first 16 bytes count. The name given
 *         to esw_init() does not matter here.
 * port:   stands for a PHY address: port + 3 when gESWID is 0xD310 to 0xD314, 0x2404, 0x2407 or 0x2409, else
 *         port; the low 16 bits of that. The four access calls take any number.
 * aux:    accepted and not used.
 * reg:    register number; its low 16 bits count. The driver decides which numbers exist. */

/* Reads a PHY register.
 *
 * value: out, 0 to 0xFFFF; untouched on failure.
 *
 * Returns 0; ETH_E_TIMEOUT when the request fails, whatever the reason.
 * Logs "ethHw_port_phy_get_ioctl: SIOCGMIIREG on IFNAME failed: REASON\n" (LOG_ERR) on failure. */
int32_t ethHw_port_phy_get_ioctl(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg,
                                 uint32_t *value);

/* Writes a PHY register.
 *
 * value: its low 16 bits are written.
 *
 * Returns 0; ETH_E_TIMEOUT when the request fails, whatever the reason.
 * Logs "ethHw_port_phy_set_ioctl:SIOCSMIIREG on IFNAME failed: REASON\n" (LOG_ERR) on failure. */
int32_t ethHw_port_phy_set_ioctl(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg,
                                 uint32_t value);

/* ethHw_port_phy_get_ioctl() with another result code.
 *
 * Returns 0; ETH_E_PHY when the request fails.
 * Logs, behind the line of the failed request, "eth_port_phy_get: read PHY register failed!\n" (LOG_ERR). */
int32_t eth_port_phy_get(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg, uint32_t *value);

/* ethHw_port_phy_set_ioctl() with another result code.
 *
 * Returns 0; ETH_E_PHY when the request fails.
 * Logs, behind the line of the failed request, "eth_port_phy_set: set PHY register failed!\n" (LOG_ERR). */
int32_t eth_port_phy_set(const char *ifname, uint32_t port, uint32_t aux, uint32_t reg, uint32_t value);

/* Powers a port's PHY up or down (class B only): reads PHY register 0 and, when its bit 11 (power-down) is
 * not as wanted, writes the register back with the bit changed. Nobody may write that register in between.
 *
 * port:   0 or 1.
 * enable: non-zero powers up, zero powers down.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PHY when a request fails.
 * Logs what eth_port_phy_get() and eth_port_phy_set() log. */
int32_t eth_port_phy_enable(const char *ifname, uint32_t port, uint32_t aux, int32_t enable);

/* ---- Link, speed, duplex and pause ----------------------------------------------------------------------
 *
 * The five status calls decode one of the switch's status registers. Once the port passes they return 0: a
 * failed read is decoded as all ones, that is link up, 1000 Mb/s, every bit 1. */

/* Tells whether a port's link is up: bit PORT of 01:00/16.
 *
 * port: 0, 1 or 8.
 * link: out, 1 up, 0 down. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_link_status_get(uint32_t port, int32_t *link);

/* Tells whether a port's link changed since the last call for that port: bit PORT of 01:02/16. The switch
 * forgets every port's change when that register is read; the library keeps those of the other ports in a
 * latch, one for the process and empty at load, until they are asked for. A failed read counts as a change of
 * every port, which the latch then holds for all others.
 *
 * port:    0, 1 or 8.
 * changed: out, 1 or 0. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_link_status_change_get(uint32_t port, int32_t *changed);

/* Reads a port's speed from bits 2*PORT+1..2*PORT of 01:04/32: 0 is 10, 1 is 100, 2 and 3 are 1000.
 *
 * port:  0, 1 or 8.
 * speed: out, 10, 100 or 1000 Mb/s. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_speed_get(uint32_t port, int32_t *speed);

/* Reads a port's duplex bit: bit PORT of 01:08/16.
 *
 * port:   0, 1 or 8.
 * duplex: out, the bit, 1 or 0. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_duplex_get(uint32_t port, int32_t *duplex);

/* Reads a port's two pause bits, each with a read of 01:0A/32 of its own, bit PORT first.
 *
 * port:       0, 1 or 8.
 * pause_low:  out, bit PORT: 1 or 0. Preset: -1.
 * pause_high: out, bit PORT + 9: 1 or 0. Preset: -1.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_pause_get(uint32_t port, int32_t *pause_low, int32_t *pause_high);

/* Forces a port's speed (class B only) by what its PHY advertises. Does nothing when eth_port_speed_get()
 * already tells that speed. Otherwise, with eth_port_phy_get() and eth_port_phy_set():
 * 1. reads PHY register 0;
 * 2. for 1000 sets bits 8..7 of register 4, then bits 9..8 of register 9; for 100 and 10 clears bits 9..8 of
 *    register 9, then sets bits 8..7 (100) or clears bits 9..7 (10) of register 4;
 * 3. writes register 0 with the speed selection (bit 6 is 1000, bit 13 is 100, neither is 10);
 * 4. writes it once more with bit 9, which restarts auto-negotiation.
 * The first request that fails ends the call: what was written before stays. The new speed shows when the
 * negotiation is over.
 *
 * ifname, aux: as for the PHY registers.
 * port:        0 or 1.
 * speed:       10, 100 or 1000 Mb/s.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another speed; ETH_E_PHY when a
 * request fails.
 * Logs what eth_port_phy_get() and eth_port_phy_set() log.
 * Lock: held, to read the current speed, but not during the PHY accesses. */
int32_t eth_port_speed_set(const char *ifname, uint32_t port, uint32_t aux, uint32_t speed);

/* ---- Energy Efficient Ethernet --------------------------------------------------------------------------
 *
 * Both calls hand the record that Linux uses for EEE to the driver of the interface "eth0", whichever
 * interface esw_init() was given, on a socket that they open and close. They need no esw_init() and may run
 * in any thread at any time. Callers include <linux/ethtool.h> for the record.
 *
 * Lock: none, for both. */

struct ethtool_eee;

/* Reads a port's EEE settings: private request 0x89F5.
 *
 * port: 0 or 1.
 * eee:  in and out. cmd becomes 0x44 (ETHTOOL_GEEE), supported 0 and reserved[0] 1 << PORT; then the driver
 *       fills the record in. Untouched for a bad port and when no socket can be created.
 *
 * Returns the request's result, 0 when done and -1 with errno set on failure; ETH_E_PORT; ETH_E_RESOURCE when
 * no socket can be created. */
int32_t eth_eee_get(uint32_t port, struct ethtool_eee *eee);

/* Switches a port's EEE on or off: reads the settings as eth_eee_get() does and, when eee_enabled is not as
 * wanted, sends them back changed, with cmd 0x45 (ETHTOOL_SEEE): private request 0x89F6.
 *
 * port:   0 or 1.
 * enable: goes into eee_enabled as it is: 1 on, 0 off.
 *
 * Returns the result of the last request made, 0 when done and -1 with errno set on failure; ETH_E_PORT;
 * ETH_E_RESOURCE when no socket can be created. */
int32_t eth_eee_set(uint32_t port, uint32_t enable);

ESW_END_DECLS

#endif
