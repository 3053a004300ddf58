/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: VLANs: which exist, their ports, the ports' default tags, modes and egress translation.
 * The numbered conventions are in esw.h. */
#ifndef ESW_VLAN_H
#define ESW_VLAN_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- The membership file --------------------------------------------------------------------------------
 *
 * The switch's VLAN table knows the ports of each VID, not which VLANs exist. That is kept in the file
 * /dev/shm/vid_list.cfg, which all processes share: 4096 bytes, byte N '1' when VLAN N exists and '0' when it
 * does not. It lasts until a reboot, or until somebody removes it. Nothing is cached: each call opens and
 * closes the file.
 *
 * Threads and processes may use it at once, on the same VID or on different ones. Several may find it
 * missing: whoever comes first makes it, with a flock() on it, and nobody loses a VLAN. Only a file that does
 * not exist is created. A symbolic link is not followed, and what is no regular file fails.
 *
 * The calls below are what the VLAN calls are built on; an application rarely needs them. They touch no
 * register. A message with perror is followed by the system's error text. */

/* Creates the file, or makes an existing one anew, with no VLAN in it. Permissions: 0600, less the umask. The
 * file never has fewer than 4096 bytes meanwhile, and keeps what it has when the call fails.
 *
 * Returns 0; ETH_E_FAIL, also when another program keeps a flock() on the file for some seconds.
 * Prints perror "open" or "write", or "Warning: write doesn't return expected number of bytes" (standard
 * output, no line feed).
 * Lock: none. */
int32_t init_vid_list(void);

/* Tells whether a VLAN exists. A file that is missing is created.
 *
 * vid: 0 to 4095.
 *
 * Returns 1 when it exists, 0 when it does not; for a byte other than '0' and '1' that byte (0 to 255) minus
 * 48. ETH_E_FAIL for another VID, and for a file that can't be created, opened or read or does not have 4096
 * bytes.
 * Prints to standard output "\nError: vid>4095", "WARNING file size not equals to 4096" (nothing for an empty
 * file), or, when the file can't be opened, "No vlan file found, calling vlan init!\n"; perror "open" where
 * it exists all the same, "fstat" or "\nget_vid: mmap" where its byte can't be read; and what
 * init_vid_list() prints.
 * Lock: none. */
int32_t get_vid(uint16_t vid);

/* Notes that a VLAN exists, or that it does not, and flushes the change. A file that is missing is created.
 * A file of another size than 4096 bytes is written all the same; where the VID's byte lies behind its end,
 * the file becomes one of 4096 bytes without any VLAN first.
 *
 * vid:   0 to 4095.
 * value: non-zero when the VLAN exists.
 *
 * Returns 0; ETH_E_FAIL for another VID, and for a file that can't be created, opened, extended, written or
 * mapped.
 * Prints to standard output "\nError: vid>4095", "\nWARNING file size not equals to 4096", or, when the file
 * can't be opened, "No vlan file found, calling vlan init\n"; perror "open" where it exists all the same,
 * "fstat", "write" or, after a rest of one second, "\nset_vid: mmap"; and what init_vid_list() prints.
 * Flushes standard output before it writes to the file.
 * Lock: none. */
int32_t set_vid(uint16_t vid, int32_t value);

/* ---- VLANs and their ports ------------------------------------------------------------------------------
 *
 * The VLAN table has 4096 entries. One is reached by writing its VID to 05:81/16, starting a read (0x81) in
 * 05:80/8, changing 05:83/32 and starting a write (0x80). Bits 8..0 of an entry are the member ports, bits
 * 17..9 the ports on which frames leave untagged. After each start, bit 7 of 05:80/8 is read until it is
 * clear, at most 10001 times: then the call ends with ETH_E_TIMEOUT, and nothing is undone.
 *
 * All VIDs are checked in this order: above 4095 is ETH_E_PARAM; ports are looked at where the call has some;
 * a membership file that can't be read is ETH_E_FAIL; a VLAN that does not exist is ETH_E_NOT_FOUND. What
 * get_vid() and set_vid() print comes out here too. */

/* Creates a VLAN: notes in the membership file that it exists. The table is not touched: after
 * eth_vlan_destroy(), eth_vlan_destroy_all() or eth_vlan_init() its entry is empty.
 *
 * vid: 0 to 4095.
 *
 * Returns 0, also when the file could not be written; ETH_E_PARAM; ETH_E_FAIL; ETH_E_EXISTS.
 * Lock: held, while the file is written, but not for the checks. */
int32_t eth_vlan_create(uint16_t vid);

/* Destroys a VLAN: clears its byte in the membership file, then its table entry. After a time-out the VLAN
 * does not exist, but its entry may remain.
 *
 * vid: 0 to 4095.
 *
 * Returns 0; ETH_E_PARAM; ETH_E_FAIL; ETH_E_NOT_FOUND; ETH_E_TIMEOUT.
 * Lock: held, also while the file is written, but not for the checks. */
int32_t eth_vlan_destroy(uint16_t vid);

/* Destroys all VLANs: clears every byte of the membership file with set_vid(), in ascending order, and then
 * the whole table (0x82 to 05:80/8).
 *
 * Returns 0, also when the file could not be written; ETH_E_TIMEOUT.
 * Lock: none: another thread's call on the VLAN table in between spoils both. */
int32_t eth_vlan_destroy_all(void);

/* Reads the ports of a VLAN.
 *
 * vid:      0 to 4095.
 * members:  out, port set. Preset: 0xFFFFFFFF.
 * untagged: out, port set: the ports that send the VLAN's frames without a tag. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_PARAM; ETH_E_FAIL; ETH_E_NOT_FOUND; ETH_E_TIMEOUT.
 * Lock: held, but not for the checks. */
int32_t eth_vlan_port_get(uint16_t vid, uint32_t *members, uint32_t *untagged);

/* Adds ports to a VLAN: sets bits of its entry. Ports that it has keep what they have: one that is untagged
 * stays so when it is added again without `untagged`.
 *
 * vid:      0 to 4095.
 * members:  port set.
 * untagged: port set, not checked; a port of it need not be a member. It is shifted up by 9 on 32 bits.
 *
 * Returns 0; ETH_E_PARAM; ETH_E_PORT for a bit of `members`; ETH_E_FAIL; ETH_E_NOT_FOUND; ETH_E_TIMEOUT,
 * after which the entry may be unchanged.
 * Lock: held, but not for the checks. */
int32_t eth_vlan_port_add(uint16_t vid, uint32_t members, uint32_t untagged);

/* Removes ports from a VLAN: clears their bits in both halves of its entry.
 *
 * vid:   0 to 4095.
 * ports: port set.
 *
 * Returns 0; ETH_E_PARAM; ETH_E_PORT; ETH_E_FAIL; ETH_E_NOT_FOUND; ETH_E_TIMEOUT, after which the entry may
 * be unchanged.
 * Lock: held, but not for the checks. */
int32_t eth_vlan_port_remove(uint16_t vid, uint32_t ports);

/* ---- Default tags ---------------------------------------------------------------------------------------
 *
 * The VID and the priority of frames that arrive on a port without a tag: bits 11..0 and 15..13 of
 * 34:10/16 (port 0), 34:12/16 (port 1) and 34:20/16 (port 8). */

/* Replaces the default VID of a port.
 *
 * port: 0, 1 or 8.
 * vid:  0 to 4095.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_port_untagged_vlan_set(uint32_t port, uint16_t vid);

/* Reads the default VID of a port.
 *
 * port: 0, 1 or 8.
 * vid:  out, 0 to 4095. Preset: 0xFFFF.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_untagged_vlan_get(uint32_t port, uint16_t *vid);

/* Replaces the default priority of a port.
 *
 * port: 0, 1 or 8.
 * prio: 0 to 7.
 *
 * Returns 0; ETH_E_PORT; ETH_E_PARAM.
 * Lock: held. */
int32_t eth_port_untagged_priority_set(uint32_t port, int32_t prio);

/* Reads the default priority of a port.
 *
 * port: 0, 1 or 8.
 * prio: out, 0 to 7; untouched for a bad port.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: held. */
int32_t eth_port_untagged_priority_get(uint32_t port, uint32_t *prio);

/* ---- Modes ----------------------------------------------------------------------------------------------
 *
 * Switch-wide, on every device class. What each mode's number stands for:
 *
 * 0: bit 7 of 34:00/8
 * 1: bit 3 of 34:00/8
 * 2: bit 5 of 34:05/8
 * 3: bit 4 of 34:05/8
 * 4: bits 3..2 of 34:05/8
 * 5: bit 2 of 34:06/8
 * 6: bit 6 of 34:06/8 */

/* Sets (on) or clears (off) the bit of a mode.
 * Mode 4 is probed first: 0x5500 is written to the command register of egress translation, 34:40/32, and when
 * that reads as 0, the mode is not available. Otherwise on replaces its bits by 10, off by 00.
 *
 * mode:   0 to 6.
 * enable: non-zero switches the mode on.
 *
 * Returns 0; ETH_E_UNAVAIL for another mode, and for mode 4 when the probe, which has been written then,
 * reads as 0.
 * Lock: none. */
int32_t eth_vlan_mode_set(uint32_t mode, int32_t enable);

/* Tells whether a mode is on; for mode 4, whether either of its bits is set. Nothing is probed.
 *
 * mode:  0 to 6.
 * value: out, 1 or 0. Preset: 0xFFFFFFFF.
 *
 * Returns 0; ETH_E_UNAVAIL for another mode.
 * Lock: none. */
int32_t eth_vlan_mode_get(uint32_t mode, uint32_t *value);

/* Replaces the learning mode, bits 6..5 of 34:00/8, by 3 (on) or 0 (off).
 *
 * enable: non-zero is on.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_learning_mode_set(int32_t enable);

/* Reads the learning mode.
 *
 * value: out, 0 to 3.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_learning_mode_get(uint32_t *value);

/* Chooses whether frames are dropped whose VID the VLAN table does not know: bit 3 of 34:06/8.
 *
 * enable: non-zero drops them.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_drop_vtbl_miss_set(int32_t enable);

/* Tells whether frames are dropped whose VID the VLAN table does not know.
 *
 * value: out, 1 or 0.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_drop_vtbl_miss_get(uint32_t *value);

/* Switches the CRC bypass on or off: bit 0 of 34:06/8.
 *
 * enable: non-zero is on.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_bypass_CRC_set(int32_t enable);

/* Tells whether the CRC bypass is on.
 *
 * value: out, 1 or 0.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_vlan_bypass_CRC_get(uint32_t *value);

/* Puts what this header describes into its initial state, but for the CRC bypass, which stays: all modes off,
 * learning mode 3, drop on table miss on; default VID 1 and priority 0 on every port; init_vid_list(),
 * eth_vlan_destroy_all() and eth_vlan_evt_clear(). esw_init() does not call it. It makes the 4096 flushes of
 * the file that eth_vlan_destroy_all() makes.
 *
 * In this order: modes 0, 1 and 4 off, as eth_vlan_mode_set() does it, the probe of mode 4 included; sets
 * bits 6..5 of 34:00/8; replaces the bits of 0x6C of 34:01/8 by 0x0C, and those of 0x64 of 34:02/8 by 0x60;
 * writes 0 to 34:03/16; modes 2 and 3 off; replaces the bits of 0xC0 of 34:05/8 by 0x40, and those of 0x4C of
 * 34:06/8 by 0x08; writes 0 to 34:0A/16; writes 1 to 34:10/16, 34:12/16 and 34:20/16; then the three calls.
 *
 * Returns 0, whatever becomes of the steps.
 * Lock: held, throughout. */
int32_t eth_vlan_init(void);

/* ---- Egress translation ---------------------------------------------------------------------------------
 *
 * For each egress port and index the switch holds a VID and a 2-bit code, which this library passes on as
 * they are.
 * The data register 34:44/32 holds the VID in bits 11..0, the code in bits 13..12, and bit 29 is set with
 * each entry added. The command register 34:40/32 holds the index in bits 15..8, the port in bits 7..4, and
 * starts an entry's write with 0x3, its read with 0x1 and the clearing of the table with 0x4. After each
 * start, bit 0 (bit 2 for the clearing) is read until it is clear, at most 10002 times: that is
 * ETH_E_TIMEOUT. */

/* Writes an entry.
 *
 * port:  0, 1 or 8.
 * index: 0 to 255.
 * op:    code; only its low 2 bits count.
 * vid:   only its low 12 bits count: 4096 is stored as 0.
 *
 * Returns 0; ETH_E_PORT; ETH_E_TIMEOUT.
 * Lock: held. */
int32_t eth_vlan_evt_add(uint32_t port, uint8_t index, uint8_t op, uint16_t vid);

/* Reads an entry.
 *
 * port:  0, 1 or 8.
 * index: 0 to 255.
 * op:    out, code, 0 to 3.
 * vid:   out, 0 to 4095.
 *
 * Returns 0; ETH_E_PORT; ETH_E_TIMEOUT.
 * Lock: held. */
int32_t eth_vlan_evt_get(uint32_t port, uint8_t index, uint32_t *op, uint16_t *vid);

/* Clears the table: writes 0 to the entries of index 0x80 to 0xFF, for ports 0, 1 and 8 each, and then has
 * the switch clear the whole table. An entry that times out does not end the call.
 *
 * Returns 0; ETH_E_TIMEOUT when any wait timed out.
 * Lock: none: another thread's call on this table in between spoils both. */
int32_t eth_vlan_evt_clear(void);

ESW_END_DECLS

#endif
