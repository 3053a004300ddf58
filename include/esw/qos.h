/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: rate limiting, priority remapping, CoS queues and traffic classes.
 * The numbered conventions are in esw.h.
 *
 * Once the arguments pass, each of these calls returns 0, whatever becomes of its register requests. The
 * exceptions are eth_port_rate_ingress_control_get(), which may find a code that it does not know, and the
 * two pcp2tc calls, which always fail. */
#ifndef ESW_QOS_H
#define ESW_QOS_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Rate limiting --------------------------------------------------------------------------------------
 *
 * Rates are in kbit/s, bucket sizes (bursts) in kilobytes, the CPU port's limit in packets per second. None
 * of them is refused: they are rounded down to what the switch can hold, so a get returns what the switch
 * uses, not what was asked for.
 *
 * Two lists hold the values that the indexed limiters (class A egress, ingress of both classes) permit:
 *   rates:  0 to 1792 in steps of 64, 2048 to 102400 in steps of 1024, 106496 to 1024000 in steps of 8192
 *           (241 values, built by esw_init());
 *   bursts: 16, 20, 28, 40, 76, 140, 268, 500.
 * A value below the first entry takes the first, one above the last takes the last. Values of 2^31 and above
 * count as negative there, hence take the first. Where a register holds an index behind the end of its list,
 * which this library never writes, the gets report the list's last entry. */

/* Limits what a port sends. A rate of 0 turns the limiter off and changes nothing else.
 * Class A, register 41:(80 + 2 * PORT)/16: sets bit 11 (on), replaces bits 10..8 by the burst's index, then
 * bits 7..0 by the rate's index. Off clears bit 11.
 * Class B: writes 47:(4 * PORT)/32, the rate in units of 64 kbit/s, and 47:(30 + 4 * PORT)/32, the burst in
 * units of 1/16 kilobyte, each at most 0x3FFFF; clears bit 8 of 47:E8/16, which ends the packet limit of
 * eth_rate_set() whatever the port; sets bit PORT of 47:E6/16 (on). Off clears the latter bit. Behind a
 * packet limit bit 8 of 47:E6/16 stays set: port 8 is then limited by its own registers, 47:20/32 and
 * 47:50/32.
 *
 * port:  0, 1 or 8.
 * rate:  kbit/s. On class B at most 16777152 takes effect.
 * burst: kilobytes. On class B its low 22 bits count, and at most 16383 takes effect.
 *
 * Returns 0; ETH_E_PORT; ETH_E_UNSUPPORTED on a device of neither class, after the port check.
 * Lock: held, for the device check too. */
int32_t eth_port_rate_egress_set(uint32_t port, uint32_t rate, uint32_t burst);

/* Reads the limit of what a port sends, from the registers of eth_port_rate_egress_set(). On class B reads
 * 47:E6/16 first, and the rate register (all 32 bits, times 64, without the bits that overflow) and the
 * bucket register only when the limiter is on.
 *
 * port:  0, 1 or 8.
 * rate:  out, kbit/s. Preset: 0, kept when the limiter is off.
 * burst: out, kilobytes. Preset: 0xFFFFFFFF, kept when the limiter is off.
 *
 * Returns 0; ETH_E_PORT; ETH_E_UNSUPPORTED on a device of neither class, after the port check.
 * Lock: held, for the device check too. */
int32_t eth_port_rate_egress_get(uint32_t port, uint32_t *rate, uint32_t *burst);

/* Limits what a port receives, on any device. A rate of 0 turns the limiter off and changes nothing else.
 * Register 41:(10 + 4 * PORT)/32: sets bit 22 + PORT (on), replaces bits S+10..S+8 by the burst's index, then
 * bits S+7..S by the rate's index, where S is 11 * PORT. Off clears bit 22 + PORT.
 *
 * port:  0 or 1.
 * rate:  kbit/s.
 * burst: kilobytes.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_rate_ingress_set(uint32_t port, uint32_t rate, uint32_t burst);

/* Reads the limit of what a port receives, from the register of eth_port_rate_ingress_set().
 *
 * port:  0 or 1.
 * rate:  out, kbit/s. Preset: 0, kept when the limiter is off.
 * burst: out, kilobytes. Preset: 0xFFFFFFFF, kept when the limiter is off.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_rate_ingress_get(uint32_t port, uint32_t *rate, uint32_t *burst);

/* Limits the packet rate of port 8.
 * Class A: writes to 41:C0/8 the index of the largest of 64 fixed rates (384 to 1388889) that is not above
 * rate, 0 for a rate below them all. The limit can't be turned off.
 * Class B: writes 47:B0/32, the rate in units of 125, then sets bit 8 of 47:E8/16 and bit 8 of 47:E6/16. A
 * rate of 0, of 262144 and above, or below 0 turns the limit off: writes 0 and clears both bits, in the same
 * order. The latter bit is the one of port 8's egress limiter: eth_port_rate_egress_set() turns it on to
 * limit bits instead, or off.
 *
 * rate: packets per second.
 *
 * Returns 0; ETH_E_UNSUPPORTED on a device of neither class.
 * Lock: held, for the device check too. */
int32_t eth_rate_set(int32_t rate);

/* Reads the packet rate of port 8 from 41:C0/8 (class A) or bits 17..0 of 47:B0/32 (class B), on class B
 * without regard to whether the limit is on.
 *
 * rate: out, packets per second. An index of 64 and above (class A) reads as the last rate, 1388889.
 *
 * Returns 0; ETH_E_UNSUPPORTED on a device of neither class.
 * Lock: held, for the device check too. */
int32_t eth_rate_get(int32_t *rate);

/* Sets a port's 6-bit ingress rate control: replaces bits 9*PORT+5..9*PORT of 41:00/32 (class A), or bits
 * 8*PORT+5..8*PORT of 41:(34 + 2 * PORT)/16 (class B), by the code of mode:
 *   mode 0     1     2     3     4     5     6     7     8     9
 *   code 0x00  0x20  0x10  0x08  0x04  0x02  0x01  0x21  0x12  0x3F
 *
 * port: 0 or 1.
 * mode: 0 to 9.
 *
 * Returns 0; ETH_E_PORT; ETH_E_UNAVAIL for another mode; ETH_E_UNSUPPORTED on a device of neither class. The
 * checks are made in this order.
 * Lock: none. */
int32_t eth_port_rate_ingress_control_set(uint32_t port, uint32_t mode);

/* Reads a port's ingress rate control, from the field of eth_port_rate_ingress_control_set().
 *
 * port: 0 or 1.
 * mode: out, 0 to 9. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT; ETH_E_UNSUPPORTED on a device of neither class, after the port check; ETH_E_UNAVAIL
 * when the field holds none of the ten codes.
 * Lock: none. */
int32_t eth_port_rate_ingress_control_get(uint32_t port, uint32_t *mode);

/* ---- Priority remapping ---------------------------------------------------------------------------------
 *
 * Each port has a table that gives, for each incoming priority, the one to use instead. On any device. */

/* Puts classification into its initial state: writes 0x0103 to 30:04/16 (CoS on, ports 0, 1 and 8) and 0 to
 * 30:06/16 (classification by DSCP off, all ports). esw_init() does not call it.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_prio_init(void);

/* Switches a port's remapping on or off: sets or clears bit 16 + PORT of 91:00/32.
 *
 * port:   0, 1 or 8.
 * enable: non-zero switches it on.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_prio_remap_enable_set(uint32_t port, int32_t enable);

/* Tells whether a port's remapping is on: bit 16 + PORT of 91:00/32.
 *
 * port:  0, 1 or 8.
 * value: out, 1 or 0. Untouched for a bad port.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_prio_remap_enable_get(uint32_t port, uint32_t *value);

/* Sets what becomes of a priority: replaces bits 4*PRIO+3..4*PRIO of 91:(10 + 8 * PORT)/64.
 *
 * port:     0, 1 or 8.
 * prio:     incoming priority, 0 to 7.
 * new_prio: priority to use instead, 0 to 7.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM for another priority.
 * Lock: held, but not for the checks. */
int32_t eth_prio_remap_set(uint32_t port, uint8_t prio, uint8_t new_prio);

/* Reads what becomes of a priority: bits 4*PRIO+3..4*PRIO of 91:(10 + 8 * PORT)/64.
 *
 * port:     0, 1 or 8.
 * prio:     incoming priority, 0 to 7.
 * new_prio: out, 0 to 7; up to 15 where others wrote the register. Preset: 0xFF.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM for another priority.
 * Lock: held, but not for the checks. */
int32_t eth_prio_remap_get(uint32_t port, uint8_t prio, uint8_t *new_prio);

/* ---- CoS queues of the whole switch ---------------------------------------------------------------------
 *
 * All but the enable calls are for class A. The layer selector, eth_cosq_ip_mac_layer_set(), is in
 * esw/core.h. */

/* Chooses the queue of a priority (class A only): replaces bits 2*PRIO+1..2*PRIO of 30:62/16.
 *
 * prio:  0 to 7.
 * queue: 0 to 3.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PARAM for another priority or queue.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_mapping_set(int32_t prio, uint32_t queue);

/* Reads the queue of a priority (class A only): bits 2*PRIO+1..2*PRIO of 30:62/16.
 *
 * prio:  0 to 7.
 * queue: out, 0 to 3.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PARAM for another priority.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_mapping_get(int32_t prio, uint32_t *queue);

/* Chooses how the four queues are served (class A only). Mode 1 writes 3 to 30:80/8. Mode 2 writes 0 there
 * and then 1 to each of 30:81/8 to 30:84/8, the weights of queues 0 to 3. Mode 3 writes 0 and then the given
 * weights, in the same order.
 *
 * mode:    1, 2 or 3.
 * weights: 4 values, element i for queue i, written as they are; read in mode 3 only, may be null in others.
 *
 * Returns 0; ETH_E_UNAVAIL on another device or for another mode.
 * Lock: held, but not for the device check. */
int32_t eth_cosq_sched_set(uint32_t mode, const int32_t weights[4]);

/* Reads how the four queues are served (class A only): the weights from 30:81/8 to 30:84/8, then 30:80/8.
 *
 * mode:    out, 1 when 30:80/8 holds 3; otherwise 2 when every weight is 1, else 3.
 * weights: out, 4 values, filled in every mode.
 *
 * Returns 0; ETH_E_UNAVAIL on another device.
 * Lock: none. */
int32_t eth_cosq_sched_get(uint32_t *mode, uint32_t weights[4]);

/* Switches CoS on or off for a port, on any device: sets or clears bit PORT of 30:04/16.
 *
 * port:   0, 1 or 8.
 * enable: non-zero switches it on.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_cosq_enable_set(uint32_t port, int32_t enable);

/* Tells whether CoS is on for a port, on any device: bit PORT of 30:04/16.
 *
 * port:  0, 1 or 8.
 * value: out, 1 or 0. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_cosq_enable_get(uint32_t port, uint32_t *value);

/* ---- Traffic classes and queues of each port ------------------------------------------------------------
 *
 * A frame gets a traffic class from 0 to 7, and the class a queue. The PCP and DSCP calls are for any device,
 * all others for class B. */

/* Not available: fails for every port and touches nothing.
 *
 * port: 0, 1 or 8. The other arguments are not used.
 *
 * Returns ETH_E_PARAM; ETH_E_PORT for another port.
 * Lock: none. */
int32_t eth_cosq_port_pcp2tc_set(uint32_t port, uint32_t pcp, uint32_t dei, uint32_t tc);

/* Not available: fails for every port and touches nothing.
 *
 * port: 0, 1 or 8. The second and third argument are not used.
 * tc:   out. Preset: 0xFFFFFFFF.
 *
 * Returns ETH_E_PARAM; ETH_E_PORT for another port.
 * Lock: none. */
int32_t eth_cosq_port_pcp2tc_get(uint32_t port, uint32_t pcp, uint32_t dei, uint32_t *tc);

/* Sets the class of a DSCP, for all ports: replaces bits 3*J+2..3*J of 30:(BASE + 6 * K)/64, where K is DSCP
 * / 16, J is DSCP % 16 and BASE is 34 on devices 0xD310 to 0xD314, 0x2404, 0x2407 and 0x2409, else 30. Of
 * each register 48 bits are used.
 *
 * port:   0xFFFFFFFF, for all ports.
 * dscp:   0 to 63.
 * unused: accepted and not used.
 * tc:     0 to 7.
 *
 * Returns 0; ETH_E_PORT for another port, ETH_E_PARAM for another DSCP or class.
 * Lock: none. */
int32_t eth_cosq_port_dscp2tc_set(uint32_t port, int32_t dscp, uint32_t unused, uint32_t tc);

/* Reads the class of a DSCP, from the field of eth_cosq_port_dscp2tc_set().
 *
 * port:   0xFFFFFFFF, for all ports.
 * dscp:   0 to 63.
 * unused: accepted and not used.
 * tc:     out, 0 to 7. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT for another port, ETH_E_PARAM for another DSCP.
 * Lock: none. */
int32_t eth_cosq_port_dscp2tc_get(uint32_t port, int32_t dscp, uint32_t unused, uint32_t *tc);

/* Lets a port classify by DSCP or not: sets or clears bit PORT of 30:06/16.
 *
 * port: 0, 1 or 8.
 * mode: 2 for by DSCP, 0 for not.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM for another mode.
 * Lock: none. */
int32_t eth_cosq_port_dscp2tc_mode_set(uint32_t port, uint32_t mode);

/* Tells whether a port classifies by DSCP: bit PORT of 30:06/16.
 *
 * port: 0, 1 or 8.
 * mode: out, 2 or 0. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_cosq_port_dscp2tc_mode_get(uint32_t port, uint32_t *mode);

/* Sets one of a port's class source selectors (class B only): replaces bits 2*INDEX+1..2*INDEX of
 * 30:(50 + 2 * PORT)/16. The library does not interpret them.
 *
 * port:  0, 1 or 8.
 * index: 0 to 7.
 * value: 0 to 3; higher bits are ignored.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another index.
 * Lock: none. */
int32_t eth_cosq_port_tc_src_set(uint32_t port, uint32_t index, uint32_t value);

/* Reads one of a port's class source selectors (class B only), from the field of eth_cosq_port_tc_src_set().
 *
 * port:  0, 1 or 8.
 * index: 0 to 7.
 * value: out, 0 to 3.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another index.
 * Lock: none. */
int32_t eth_cosq_port_tc_src_get(uint32_t port, uint32_t index, uint32_t *value);

/* Chooses the queue of a class at a port (class B only): replaces bits 3*TC+2..3*TC of 30:(70 + 4 * PORT)/32.
 *
 * port:  0, 1 or 8.
 * tc:    0 to 7.
 * queue: 0 to 7.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another class or queue.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_port_mapping_set(uint32_t port, uint32_t tc, uint32_t queue);

/* Reads the queue of a class at a port (class B only): bits 3*TC+2..3*TC of 30:(70 + 4 * PORT)/32.
 *
 * port:  0, 1 or 8.
 * tc:    0 to 7.
 * queue: out, 0 to 7.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another class.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_port_mapping_get(uint32_t port, uint32_t tc, uint32_t *queue);

/* Sets or clears the drop flag of a class at a port (class B only): bit 24 + TC of 30:(70 + 4 * PORT)/32.
 *
 * port:   0, 1 or 8.
 * tc:     0 to 7.
 * enable: non-zero sets the flag.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another class.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_port_mapping_tc_drop_set(uint32_t port, uint32_t tc, int32_t enable);

/* Reads the drop flag of a class at a port (class B only): bit 24 + TC of 30:(70 + 4 * PORT)/32.
 *
 * port:  0, 1 or 8.
 * tc:    0 to 7.
 * value: out, 1 or 0.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another class.
 * Lock: held, but not for the checks. */
int32_t eth_cosq_port_mapping_tc_drop_get(uint32_t port, uint32_t tc, uint32_t *value);

/* Chooses how a port's eight queues are served (class B only). Replaces bits 3..0 of 46:PORT/8 by 0xD (mode
 * 3) or 5 (mode 7), or bits 2..0 by 0 (mode 1); then writes the weights to 46:(10 + 8 * PORT)/64 in every
 * mode, byte i for queue i.
 *
 * port:    0, 1 or 8.
 * mode:    1, 3 or 7.
 * weights: 8 values of 1 to 256, element i for queue i. The switch holds 256 as 0.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another weight; ETH_E_UNAVAIL for
 * another mode. The checks are made in this order.
 * Lock: held, for the check of the mode too, but not for the other checks. */
int32_t eth_cosq_port_sched_set(uint32_t port, uint32_t mode, const int32_t weights[8]);

/* Reads how a port's eight queues are served (class B only): 46:PORT/8, then 46:(10 + 8 * PORT)/64.
 *
 * port:    0, 1 or 8.
 * mode:    out, by bits 2..0 of 46:PORT/8: 1 for 0; 8 for 1 to 4; for 5, 3 when bit 3 is set, else 7; 0xFF
 *          for 6 and 7, in which case the weights are not read.
 * weights: out, 8 values of 0 to 255, 0 for a weight of 256. Untouched for mode 0xFF.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT.
 * Lock: none. */
int32_t eth_cosq_port_sched_get(uint32_t port, uint32_t *mode, int32_t weights[8]);

/* Sets the class of a port's frames that get none otherwise (class B only): replaces bits 3*PORT+2..3*PORT of
 * 30:48/32.
 *
 * port: 0, 1 or 8.
 * tc:   0 to 7.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT; ETH_E_PARAM for another class.
 * Lock: none. */
int32_t eth_cosq_port2tc_set(uint32_t port, uint32_t tc);

/* Reads a port's default class (class B only): bits 3*PORT+2..3*PORT of 30:48/32.
 *
 * port: 0, 1 or 8.
 * tc:   out, 0 to 7.
 *
 * Returns 0; ETH_E_UNAVAIL on another device; ETH_E_PORT.
 * Lock: none. */
int32_t eth_cosq_port2tc_get(uint32_t port, uint32_t *tc);

ESW_END_DECLS

#endif
