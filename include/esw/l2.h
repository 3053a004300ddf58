/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: the address table (ARL), what steers it, and the L2 cache.
 * The numbered conventions are in esw.h. */
#ifndef ESW_L2_H
#define ESW_L2_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* ---- Entries of the address table -----------------------------------------------------------------------
 *
 * The switch forwards a frame by its destination MAC address and its VLAN. Both together select one of the
 * table's buckets, which holds four entries in bins 0 to 3. An entry is learned by the switch (dynamic) or
 * written by the application; a static one is never replaced to make room. */

enum {
    ETH_L2_STATIC = 0x20, /* the entry is static */
    ETH_L2_VALID = 0x40   /* the entry is valid */
};

/* One entry. 52 bytes. */
typedef struct eth_l2_addr_t {
    uint32_t flags;        /* ETH_L2_*; the other bits are the caller's */
    uint8_t mac[6];        /* mac[0] is the first byte on the wire; its bit 0 marks a multicast address */
    uint16_t vid;          /* VLAN ID */
    uint32_t port;         /* unicast: the port, 0, 1 or 8. Multicast: a port set */
    uint32_t reserved[3];  /* neither read nor written but by eth_l2_addr_t_init() and cleared results */
    uint32_t tc;           /* class, 0 to 7 */
    uint32_t reserved2[5]; /* like reserved */
} eth_l2_addr_t;

/* Makes a record of a MAC address and a VID; every other field becomes 0. Touches no register.
 *
 * mac may point into *addr.
 *
 * Lock: none. */
void eth_l2_addr_t_init(eth_l2_addr_t *addr, const uint8_t mac[6], uint16_t vid);

/* Writes an entry into its bucket. Selects the bucket (MAC address to 05:02/64, then VID to 05:08/16), reads
 * it with command 0x81 to 05:00/8, takes a bin, writes its data word, 05:(18 + 10 * BIN)/32, and then its key
 * word, 05:(10 + 10 * BIN)/64, selects the bucket again and stores it with command 0x80.
 * Takes the first bin that is free or that holds the same MAC address and VID: an entry behind a free bin is
 * not found, but stays, and is in the bucket twice then, with result 0. When there is no such bin, takes the
 * highest-numbered dynamic one, whose entry is lost. A record without ETH_L2_VALID removes the entry; one
 * without ETH_L2_STATIC is dynamic.
 *
 * addr: the entry, only read. vid and tc are neither checked nor masked: bits 4 and 5 of tc fall on the
 *       switch's bits for static and valid.
 *
 * Returns 0; ETH_E_PORT; ETH_E_FULL when four static entries with other keys fill the bucket, which stays as
 * it is; ETH_E_TIMEOUT when the table's busy bit, bit 7 of 05:00/8, is set in 101 reads. After the first
 * command nothing has been written then; after the second the entry may have been.
 * Lock: held. */
int32_t eth_l2_addr_add(eth_l2_addr_t *addr);

/* Removes an entry: eth_l2_addr_add() of a record made by eth_l2_addr_t_init(), whose results it returns. It
 * takes a bin as that call does: an entry behind a free bin stays, with result 0; and when no bin holds the
 * entry, in a full bucket the highest-numbered dynamic entry is removed in its place.
 * eth_arl_entry_bin_check() tells beforehand and afterwards.
 * Lock: held. */
int32_t eth_l2_addr_delete(const uint8_t mac[6], uint16_t vid);

/* Reads the bucket of an entry and tells in which bin the entry is, and whether another is in the bucket too.
 * Selects and reads the bucket as eth_l2_addr_add() does, with writes to 05:02/64, 05:08/16 and 05:00/8; then
 * reads the data words, and the key words of valid bins.
 *
 * probe: the other entry; its MAC address and VID count as zero without ETH_L2_VALID. May be entry itself.
 * entry: without ETH_L2_VALID nothing is read, and 0 is returned.
 * found: out, 1 when a valid bin of the bucket holds the probe's MAC address and VID. Preset: 0.
 * bin:   out, 0 to 3: the highest-numbered valid bin that holds the entry's MAC address and VID. Preset: -1.
 *
 * Returns 0, whether something was found or not; ETH_E_TIMEOUT.
 * Lock: none. */
int32_t eth_arl_entry_bin_check(const eth_l2_addr_t *probe, const eth_l2_addr_t *entry, uint32_t *found,
                                int32_t *bin);

/* Reads the switch's count of full buckets met, 04:70/32.
 *
 * count: out; all ones when the read failed.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_arl_bin_full_counter_get(uint32_t *count);

/* Reads the bin-full forward register, 04:74/16.
 *
 * value: out, as read: 1 forwarding on, 0 off; all ones when the read failed.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_arl_bin_full_fwd_get(uint32_t *value);

/* Switches bin-full forwarding: writes 1 or 0 to 04:74/16.
 *
 * enable: non-zero switches it on.
 *
 * Returns 0; ETH_E_FAIL when the request failed.
 * Lock: none. */
int32_t eth_arl_bin_full_fwd_set(int32_t enable);

/* ---- Search ---------------------------------------------------------------------------------------------
 *
 * A walk over all valid entries: eth_l2_search_start(), then eth_l2_search_next() again and again. The walk
 * is over when a record comes back cleared (without ETH_L2_VALID) or when eth_l2_search_next() returns
 * ETH_E_TIMEOUT. The switch has one search engine: two walks at a time disturb each other. */

/* Starts a walk: sets bit 7 of 05:50/8. Waits for nothing.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_l2_search_start(void);

/* Waits until bit 0 of 05:50/8 is set, and decodes the next two results: key and data words 05:60/64,
 * 05:68/32 and 05:70/64, 05:78/32.
 *
 * first, second: out. A valid result sets mac, vid, port (9 bits), tc and the ETH_L2_* bits of flags, and
 *                leaves everything else as it was; any other result clears the whole record.
 *
 * Returns 0; ETH_E_TIMEOUT, with both records untouched, when no result is ready in 101 reads.
 * Lock: held. */
int32_t eth_l2_search_next(eth_l2_addr_t *first, eth_l2_addr_t *second);

/* ---- Flush ----------------------------------------------------------------------------------------------
 *
 * These calls have the switch's fast-age engine remove entries. Each keeps the contents of the fast-age
 * control register, 00:88/8; writes the port and then the VID to match, where it has them; writes the
 * selection to 00:88/8; sets its bit 0 for static entries, and bit 7, which starts the engine; waits until
 * bit 7 is clear; and writes the kept contents back, whatever the wait said. When bit 7 was set in them
 * (another flush was running, or the read failed), that starts another flush.
 *
 * The selection has bit 3 to match the VID, bit 2 to match the port, bit 1 for dynamic and bit 0 for static
 * entries.
 *
 * include_static: exactly 1 removes static entries too; any other value removes dynamic entries only.
 *
 * Each returns 0; ETH_E_TIMEOUT when bit 7 is set in 10001 reads; and what is named there.
 * Lock: held, but not for the checks. */

/* Removes every entry, static and dynamic: writes 0x83, with the start in it. */
int32_t eth_l2_clear(void);

/* Removes the entries of a port, written to 00:89/8. The selection is 0x06.
 *
 * ignored: not used.
 * port:    0, 1 or 8.
 *
 * Also returns ETH_E_PORT. */
int32_t eth_l2_addr_delete_by_port(int32_t ignored, uint32_t port, uint32_t include_static);

/* Removes the entries of a VLAN, written to 00:8A/16. The selection is 0x0A.
 *
 * vid: 0 to 4095.
 *
 * Also returns ETH_E_PARAM. */
int32_t eth_l2_addr_delete_by_vlan(uint16_t vid, int32_t include_static);

/* Removes the entries of a port in a VLAN, written to 00:89/8 and then 00:8A/16. The selection is 0x0E.
 *
 * vid:     0 to 4095.
 * ignored: not used.
 * port:    0, 1 or 8; checked before vid.
 *
 * Also returns ETH_E_PORT and ETH_E_PARAM. */
int32_t eth_l2_addr_delete_by_vlan_port(uint16_t vid, int32_t ignored, uint32_t port,
                                        uint32_t include_static);

/* ---- Controls -------------------------------------------------------------------------------------------
 *
 * Once the arguments pass, each of these calls returns 0, whatever becomes of its register requests. */

/* Sets the age time of dynamic entries in 02:06/32. 0 clears bits 20..0: no aging. Another value replaces
 * those bits by itself and bit 20, which switches aging on.
 *
 * age: 0 to 0xFFFFF, in the switch's own unit, which this library does not know.
 *
 * Returns 0; ETH_E_PARAM.
 * Lock: none. */
int32_t eth_l2_age_timer_set(uint32_t age);

/* Reads 02:06/32.
 *
 * age: out, the register without bit 20, in the unit of eth_l2_age_timer_set(). 0: no aging, or a time of 0.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_l2_age_timer_get(uint32_t *age);

/* Sets the multicast address whose frames the switch treats as BPDUs: writes 04:04/64.
 *
 * index: 0.
 *
 * Returns 0; ETH_E_PARAM for another index.
 * Lock: none. */
int32_t eth_l2_bpdu_set(int32_t index, const uint8_t mac[6]);

/* Reads the BPDU address from 04:04/64.
 *
 * index: 0.
 * mac:   out; untouched for another index.
 *
 * Returns 0; ETH_E_PARAM for another index.
 * Lock: none. */
int32_t eth_l2_bpdu_get(int32_t index, uint8_t mac[6]);

/* Switches the learning of multicast addresses: sets or clears bit 7 of 00:2F/8.
 *
 * enable: non-zero switches it on.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_learn_mcast_set(int32_t enable);

/* Tells whether multicast addresses are learned.
 *
 * enable: out, bit 7 of 00:2F/8.
 *
 * Returns 0.
 * Lock: none. */
int32_t eth_learn_mcast_get(uint32_t *enable);

/* Writes the whole multicast control register, 00:2F/8.
 *
 * value: bit 7 is the learning of multicast addresses; what the other bits mean is the switch's own. Sent
 *        whole; the register keeps 8 bits.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_mcast_ctrl_set(uint32_t value);

/* Reads the whole multicast control register, 00:2F/8.
 *
 * value: out, as read.
 *
 * Returns 0.
 * Lock: held. */
int32_t eth_mcast_ctrl_get(uint32_t *value);

/* Protects a port or ends its protection: sets or clears bit PORT of 00:24/16.
 *
 * port:   0, 1 or 8.
 * enable: non-zero protects it.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_protect_set(uint32_t port, int32_t enable);

/* Tells whether a port is protected.
 *
 * port:   0, 1 or 8.
 * enable: out, bit PORT of 00:24/16.
 *
 * Returns 0; ETH_E_PORT.
 * Lock: none. */
int32_t eth_protect_get(uint32_t port, uint32_t *enable);

/* ---- L2 cache -------------------------------------------------------------------------------------------
 *
 * Six slots, 0 to 5, of a MAC address and a data word each. A slot has two valid bits in 04:0E/16, bits
 * 2 * SLOT and 2 * SLOT + 1; it is in use when either is set. Its key register is 04:(10 + 10 * SLOT)/64, its
 * data register 04:(18 + 10 * SLOT)/32. A failed read of 04:0E makes every slot look in use.
 *
 * Lock: none, for all of these calls. */

/* One entry of the cache. 52 bytes. */
typedef struct eth_l2_cache_addr_t {
    uint32_t flags;       /* not used */
    uint8_t mac[6];       /* mac[0] is the first byte on the wire */
    uint8_t mac2[6];      /* not used */
    uint32_t reserved[8]; /* not used */
    uint32_t data;        /* the slot's data word, unchanged between record and switch */
} eth_l2_cache_addr_t;

/* Clears the whole record. Touches no register. */
void eth_l2_cache_addr_t_init(eth_l2_cache_addr_t *entry);

/* Counts the slots in use.
 *
 * count: out, 0 to 6.
 *
 * Returns 0. */
int32_t eth_l2_cache_size_get(uint32_t *count);

/* Writes an entry: sets the slot's upper valid bit, then writes its key and its data.
 *
 * slot:     0 to 5, in use or not; below 0 chooses the lowest slot that is not in use.
 * slot_out: out, the slot written; -1 when none is free; untouched for a slot above 5.
 *
 * Returns 0; ETH_E_PARAM for a slot above 5; ETH_E_FULL when none is free. */
int32_t eth_l2_cache_set(int32_t slot, const eth_l2_cache_addr_t *entry, int32_t *slot_out);

/* Reads an entry.
 *
 * slot:  0 to 5.
 * entry: out, mac and data; the other fields stay as they were.
 *
 * Returns 0; ETH_E_PARAM for another slot; ETH_E_EMPTY when the slot is not in use. */
int32_t eth_l2_cache_get(uint32_t slot, eth_l2_cache_addr_t *entry);

/* Frees a slot, in use or not: clears both valid bits, then writes 0 to its key and its data.
 *
 * slot: 0 to 5.
 *
 * Returns 0; ETH_E_PARAM for another slot. */
int32_t eth_l2_cache_delete(uint32_t slot);

/* Frees the slots 0 to 5, in this order. Returns 0. */
int32_t eth_l2_cache_delete_all(void);

/* The same as eth_l2_cache_delete_all(). The library never calls it on its own. */
int32_t eth_l2_cache_init(void);

ESW_END_DECLS

#endif
