/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: start and end, the exported globals, the transport and the register access primitives.
 * The numbered conventions are in esw.h. */
#ifndef ESW_CORE_H
#define ESW_CORE_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- State ----------------------------------------------------------------------------------------------
 *
 * Written by esw_init() and esw_exit() only; every other call reads them at each use, so an application that
 * sets one of them steers the calls that follow. A descriptor counts as open only when it is above 0. */

/* Device ID that esw_init() read, a rejected one too. 0xFFFFFFFF at load; esw_exit() leaves it. */
extern uint32_t gESWID;

/* Descriptor of /dev/esw-ctl. -1 at load, after esw_exit() and after a rejected device; 0 when the device did
 * not open. Above 0, register requests take the device route; otherwise the interface route. */
extern int32_t gFd;

/* AF_INET datagram socket of the interface route and of the PHY requests. -1 at load, after esw_exit() and
 * after a rejected device; 0 when no socket could be created. */
extern int32_t gSocket;

/* ---- Start and end ------------------------------------------------------------------------------------- */

/* Connects the library to the switch: opens /dev/esw-ctl (when that fails, the interface route is used),
 * opens a socket, reads the device ID (02:30/32) into gESWID, and for an accepted device returns
 * ethHw_init().
 *
 * ifname: NUL-terminated name of the switch's network interface, used by the interface route only; its first
 *         16 bytes count. An interface of the system that is named exactly "lan" is used in its place.
 *
 * Returns 0 when done, or when the library was already initialised; ETH_E_FAIL when no socket can be created,
 * the device ID is not accepted or the switch lock cannot be created. After a failure call esw_exit() before
 * the next esw_init(): without a socket or a lock, gSocket or gFd stays behind, for which the next one would
 * take the library to be initialised and do nothing.
 * Prints "ESW: Already initialized!" (standard output) when there is nothing to do, perror
 * "ESW: open socket error!\n" without a socket, "Switch(0x%x) NOT supported!\n" (standard output) for a
 * rejected device; then both descriptors are closed.
 * Lock: none. */
int32_t esw_init(const char *ifname);

/* Destroys the switch lock and closes both descriptors; gSocket and gFd become -1. Register requests fail
 * from then on. Returns -1 always, for binary compatibility: callers use no result.
 * Lock: none. */
int32_t esw_exit(void);

/* Second half of esw_init(), for a known device: creates the switch lock, builds the three start-up lists
 * and, on a class A device, calls eth_cosq_ip_mac_layer_set(0). Returns 0, or ETH_E_FAIL when the lock cannot
 * be created.
 * Logs "\nPID %d ThreadID %d pthread_mutex_init()\n" (LOG_INFO) or "\n mutex init failed\n" (LOG_ERR).
 * Lock: none. */
int32_t ethHw_init(void);

/* First half of esw_exit(): destroys the switch lock. Returns 0.
 * Logs "\nPID %d ThreadID %d pthread_mutex_destroy()\n" (LOG_INFO).
 * Lock: none. */
int32_t ethHw_exit(void);

/* ---- Transport ----------------------------------------------------------------------------------------- */

/* Issues one driver request.
 *
 * block:      a 40-byte block laid out as the struct ifreq of a 64-bit system: interface name in bytes 0 to
 *             15, address of the register request in bytes 16 to 23.
 * request:    0x89F1 reads a register, 0x89F2 writes one.
 * use_socket: non-zero issues ioctl(gSocket, request, block); zero issues ioctl(gFd, request, p) with p the
 *             address in bytes 16 to 23 of the block.
 *
 * The register request is a 16-byte record: the 64-bit value in bytes 0 to 7, the request's width in bits in
 * byte 8, page in byte 9, offset in byte 10, padding behind.
 *
 * Returns the ioctl's result: 0 when done, -1 with errno set on failure; any non-zero result is a failure.
 * Lock: none. */
int32_t esw_send_ioctl(void *block, unsigned long request, uint8_t use_socket);

/* ---- Register access -----------------------------------------------------------------------------------
 *
 * page and offset address a register, width is its width in bits (8, 16, 32 or 64). The width is not sent to
 * the driver, which serves each register at its own width; it matters to esw_reg_write_masked() only. Every
 * request carries a width byte of 64, but those of esw_reg_read32() and of the read in
 * esw_reg_write32_masked(), which carry 32.
 *
 * A failed request prints, with perror, "ESW: read32 error !\n", "ESW: read error !\n" or
 * "ESW: write error !\n". The read-modify-write calls send a read and then a write; they do not test the
 * read, and their result is the write's: when only the read failed, they set all bits outside the mask that
 * they write, and return 0. A read-modify-write is atomic only against those who hold the same lock.
 *
 * Lock: none, for all eight. */

/* Returns the register's low 32 bits; 0xFFFFFFFF when the request fails. */
uint32_t esw_reg_read32(uint8_t page, uint8_t offset, uint8_t width);

/* Returns the register's 64 bits; all ones when the request fails. */
uint64_t esw_reg_read(uint8_t page, uint8_t offset, uint8_t width);

/* Sends all 64 bits of value. Returns 0, or -1 when the request fails. */
int32_t esw_reg_write(uint8_t page, uint8_t offset, uint8_t width, uint64_t value);

/* Sets the bits of mask. Returns 0, or -1 when the write fails. */
int32_t esw_reg_mask_set(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask);

/* Clears the bits of mask. Returns 0, or -1 when the write fails. */
int32_t esw_reg_mask_clear(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask);

/* Replaces the bits of mask by those of value, on 32 bits: the upper 32 bits are written as zero.
 * Returns 0, or -1 when the write fails. */
int32_t esw_reg_write32_masked(uint8_t page, uint8_t offset, uint8_t width, uint32_t mask, uint32_t value);

/* Replaces the bits of mask by those of value, on 64 bits. Returns 0, or -1 when the write fails. */
int32_t esw_reg_write64_masked(uint8_t page, uint8_t offset, uint8_t width, uint64_t mask, uint64_t value);

/* Replaces the bits of *mask by those of *value. Both point to operands of 1, 2 or 4 bytes, in native order,
 * for a width of 8, 16 or 32, and then the bits above the width are written as zero; for any other width to
 * operands of 8 bytes. Returns 0, or -1 when the write fails. */
int32_t esw_reg_write_masked(uint8_t page, uint8_t offset, uint8_t width, const void *mask,
                             const void *value);

/* ---- Start-up lists and defaults ------------------------------------------------------------------------
 *
 * ethHw_init() calls the three builders; an application needs none of them. They fill process-wide lists that
 * hold zeros before, and cannot fail.
 *
 * Lock: none, for the three. */

/* Fills the port-rate refresh-count list: 241 ascending rates in kbit/s, 0 to 1024000, that the port rate
 * limiters round to. */
void ethHw_generate_refresh_count_list(void);

/* Fills the CFP refresh-count list, 241 values built by the same rule. */
void ethHw_cfp_util_generate_refresh_count_list(void);

/* Fills the CFP rate ref-cap list: 16, 32, 64, ... 16384. */
void ethHw_cfp_util_generate_cfp_rate_ref_cap_list(void);

/* Selects which layer the switch classifies by (class A only): sets bit 7 of 30:00/8, then replaces bits 3..2
 * by mode.
 *
 * mode: 0 to 3.
 *
 * Returns 0; ETH_E_UNAVAIL on another device, or for another mode. In the latter case bit 7 has been set all
 * the same: it is set before the mode is looked at.
 * Lock: none. */
int32_t eth_cosq_ip_mac_layer_set(int32_t mode);

/* Reads bits 3..2 of 30:00/8 (class A only).
 *
 * mode: out, 0 to 3; untouched on another device.
 *
 * Returns 0; ETH_E_UNAVAIL on another device.
 * Lock: none. */
int32_t eth_cosq_ip_mac_layer_get(uint32_t *mode);

ESW_END_DECLS

#endif
