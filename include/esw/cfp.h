/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: the field processor (CFP), which matches frames against 64 rules and acts on them.
 * The numbered conventions are in esw.h. Lock: none, for every call here.
 *
 * A rule travels as one record, an image of the registers through which the switch takes and gives it. To
 * make one: eth_cfp_rule_t_init(), fill data and mask, apply action builders and policer setters, then hand
 * it to eth_cfp_rule_set(). Which words the switch exchanges, and how those of action and policer are laid
 * out, depends on the device class; builders and setters know it. */
#ifndef ESW_CFP_H
#define ESW_CFP_H

#include <esw/types.h>

ESW_BEGIN_DECLS

/* A rule: 124 bytes. Words that a class does not exchange are neither written nor changed by a get on it. */
typedef struct {
    uint32_t data[8];    /* A0:10 to A0:2C, the TCAM key. Bits 1..0 of data[0] both clear: the slot is free */
    uint32_t mask[8];    /* A0:30 to A0:4C, the TCAM mask */
    uint32_t action[3];  /* A0:50 to A0:58; class A exchanges the first two */
    uint32_t policer[7]; /* A0:60 to A0:78; class A exchanges the first two */
    uint32_t ext_a[2];   /* A0:70 and A0:74, class A only */
    uint32_t ext_b[3];   /* A0:80 to A0:88, class B only */
} eth_cfp_rule_t;

/* The selectors of the user-defined fields (UDFs): 93 bytes, each the contents of an 8-bit register of page
 * A1, in the switch's own encoding. The first index counts UDF groups. */
typedef struct {
    uint8_t udf_a[3][9]; /* A1:10, A1:20 and A1:30 on */
    uint8_t udf_b[3][9]; /* A1:40, A1:50 and A1:60 on */
    uint8_t udf_c[3][9]; /* A1:70, A1:80 and A1:90 on */
    uint8_t udf_d[12];   /* A1:A0 on */
} eth_cfp_udf_t;

/* ---- Rule table -----------------------------------------------------------------------------------------
 *
 * Each transfer of a slot takes one command (A0:00/32) for each of the slot's RAMs (selects 1, 2, 4, 8 and
 * 16, on class B 24 too): the slot in bits 31..16, the select in bits 14..10, and below them 0x3 to read or
 * 0x5 to write. The command 0x11 clears the table. After each command A0:00 is read until bit 0 is clear, at
 * most 101 times without a pause.
 *
 * On a device of neither class, eth_cfp_rule_get() and eth_cfp_rule_set() print
 * "%s: switch (0x%X) NOT supported!\n" with their name and the device ID on standard output.
 *
 * Searches for a free slot take turns through the table: /dev/shm/cfp_last_idx.cfg holds the slot that the
 * last one chose (4 bytes, a signed number in the host's byte order, mode 0600). Nothing is locked between a
 * search and the writing of its slot: processes and threads that search at the same time can choose the same
 * slot. */

/* Makes a record the rule of a free slot: all words 0; on class B the rate mode (bits 4..3 of policer[0])
 * is 3. No register access. */
void eth_cfp_rule_t_init(eth_cfp_rule_t *rule);

/* Reads a slot: the read commands, then the transfer registers, data and mask by turns (A0:10, A0:30, A0:14,
 * ...), then action, policer and ext_b or ext_a. 22 words on class A, 29 on class B; the others keep what
 * they have.
 *
 * index: slot, 0 to 63.
 * rule:  out. Untouched on failure.
 *
 * Returns 0; ETH_E_PARAM for another index, checked first; ETH_E_UNSUPPORTED on a device of neither class;
 * ETH_E_TIMEOUT as soon as one RAM's wait ends without success: no more commands are sent. */
int32_t eth_cfp_rule_get(uint32_t index, eth_cfp_rule_t *rule);

/* Writes a rule to a slot: the transfer registers in eth_cfp_rule_get()'s order, then the write commands. On
 * class B a rule whose rate mode is not 3 then sets bit 2 of A0:04/32, which no call clears.
 *
 * index: slot, 0 to 63, in use or not; below 0: the first free one that a search finds. The search reads
 *        slots from the one in /dev/shm/cfp_last_idx.cfg on (from 0 when the file is missing, which creates
 *        it, empty, unreadable, of another size or holds no slot), 0 following 63, and saves the one it finds
 *        before the rule is written.
 * rule:  by value.
 *
 * Returns the slot written, 0 to 63; ETH_E_PARAM for an index above 63, checked first; ETH_E_UNSUPPORTED on a
 * device of neither class; ETH_E_FULL when no slot is free: nothing is written; ETH_E_TIMEOUT as soon as a
 * wait ends without success, the search's included. RAMs already written keep the rule. The search prints
 * perror "open" or "fstat" for the file, "\nWARNING file size not equals to 4 or 0" (standard output) for
 * another size, and for a save that fails perror "open" or "write" or "Warning: write doesn't return expected
 * number of bytes" (standard output); none of these fails the call. */
int32_t eth_cfp_rule_set(int32_t index, eth_cfp_rule_t rule);

/* Clears the table: writes a free slot's rule, with 0x80000000 in policer[1], to slots 0 to 63 as
 * eth_cfp_rule_set() does, whatever becomes of each; then sends the clear command and waits for it.
 *
 * Returns 0; ETH_E_TIMEOUT when the last wait does not succeed. Prints what the 64 sets print. */
int32_t eth_cfp_rule_clear(void);

/* Switches the CFP on or off for a port: sets or clears bit PORT of A1:00/16.
 *
 * port:   0, 1 or 8.
 * enable: non-zero switches on.
 *
 * Returns 0; ETH_E_PORT. */
int32_t eth_cfp_enable_set(uint32_t port, int32_t enable);

/* Tells whether the CFP is on for a port: bit PORT of A1:00/16.
 *
 * port:    0, 1 or 8.
 * enabled: out, 1 or 0.
 *
 * Returns 0; ETH_E_PORT. */
int32_t eth_cfp_enable_get(uint32_t port, uint32_t *enabled);

/* ---- Rule file ------------------------------------------------------------------------------------------
 *
 * /dev/shm/cfp_rule.cfg parks one rule: the record's 124 bytes in the host's byte order, mode 0600. No
 * register access; neither call needs esw_init(). The two keep each other out with a flock() on the file, in
 * threads and processes: a load gives a whole rule as one store parked it. When another program keeps such a
 * lock for some seconds, they fail. A symbolic link is not followed, and what is no regular file fails. */

/* Parks a rule in place of the one parked before.
 *
 * Returns 0; ETH_E_FAIL when the file can't be opened (perror "open") or locked and written (perror "write",
 * and the rule parked before stays; or on standard output "Warning: write doesn't return expected number of
 * bytes", and no rule is parked then). */
int32_t eth_cfp_rule_store(const eth_cfp_rule_t *rule);

/* Fetches the parked rule. A missing file is created empty; an empty file yields 31 words of 0.
 *
 * rule: out. Untouched on failure.
 *
 * Returns 0; ETH_E_FAIL when the file can't be opened (perror "open") or locked and examined (perror
 * "fstat"), can't be read whole (silently), or has another size ("\nWARNING file size not equals to 124" on
 * standard output). */
int32_t eth_cfp_rule_load(eth_cfp_rule_t *rule);

/* ---- User-defined fields and initialisation -------------------------------------------------------------
 *
 * Each of these calls returns 0, whatever becomes of its register requests. */

/* Sets all selectors of a record to 0. No register access. */
int32_t eth_cfp_udf_t_init(eth_cfp_udf_t *udf);

/* Writes the 93 selectors: for each group, for each position, the ones of udf_a, udf_b and udf_c; then udf_d.
 *
 * udf: by value. */
int32_t eth_cfp_udf_set(eth_cfp_udf_t udf);

/* Reads the 93 selectors, in eth_cfp_udf_set()'s order.
 *
 * udf: out. */
int32_t eth_cfp_udf_get(eth_cfp_udf_t *udf);

/* Writes the default selectors (hexadecimal; 00 elsewhere):
 *   udf_a[0], udf_b[1] and udf_c[0]: 00 01 02 03 04 05 06;  udf_a[1]: 46 47 48 49 60 61;
 *   udf_b[0]: 44 45 46 47 48 49 4A 4B 60;  udf_b[2] and udf_d: 4C 4D 4E 4F 50 51 52 53 61. */
int32_t eth_cfp_udf_init(void);

/* Writes 0 to all selectors. */
int32_t eth_cfp_udf_clear(void);

/* Brings the CFP to a known state: eth_cfp_rule_clear(), eth_cfp_udf_init(), and the next search for a free
 * slot begins at 0. Their failures are not reported, their messages are printed. The ports' enable bits stay.
 */
int32_t eth_cfp_init(void);

/* ---- Policers -------------------------------------------------------------------------------------------
 *
 * These calls change the policer words of a record and nothing else; no register access. Rates and bursts are
 * in the units of the switch's meters. On another class than the one named they return ETH_E_UNSUPPORTED and
 * leave the record alone; otherwise 0. */

/* Class A: the rate and the bucket, in policer[0] and policer[1]. Uses lists that esw_init() builds.
 *
 * rate:  rounded down to a permitted refresh count, 0 to 1024000 (steps of 64, 1024 and 8192), whose index
 *        becomes bits 7..0 of policer[1].
 * burst: rounded down to 16 << (10 - S) for a shift S of 0 to 10, 16 to 16384; policer[0] becomes
 *        0xFFFFFF >> S, bits 11..8 of policer[1] S, its bit 31 is set and all its other bits are 0. */
int32_t eth_cfp_util_rule_t_rate_set(eth_cfp_rule_t *rule, int32_t rate, int32_t burst);

/* Class B: bits 4..3 of policer[0], the rate mode. eth_cfp_rule_set() sets a bit for a rule whose mode is not
 * 3. Only the low two bits of mode count. */
int32_t eth_cfp_util_rule_t_rate_mode_set(eth_cfp_rule_t *rule, uint8_t mode);

/* Class B: bit 1 of policer[0]. Only the low bit of action counts. */
int32_t eth_cfp_util_rule_t_rate_policer_action_set(eth_cfp_rule_t *rule, uint8_t action);

/* Class B: bit 0 of policer[0]. Only the low bit of mode counts. */
int32_t eth_cfp_util_rule_t_rate_color_mode_set(eth_cfp_rule_t *rule, uint32_t mode);

/* Class B: the excess rate (EIR), in policer[1] to policer[3]: burst << 13, burst << 10, rate / 4.
 *
 * rate:  values above 2000000 count as 2000000.
 * burst: values above 1023 count as 1023. */
int32_t eth_cfp_util_rule_t_eir_set(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst);

/* Class B: the committed rate (CIR), in policer[4] to policer[6], in eth_cfp_util_rule_t_eir_set()'s form. */
int32_t eth_cfp_util_rule_t_cir_set(eth_cfp_rule_t *rule, uint32_t rate, uint32_t burst);

/* ---- Actions --------------------------------------------------------------------------------------------
 *
 * These calls change their own bits of action[0] and action[1] of a record and nothing else; no register
 * access. On a device of neither class they print "%s: switch (0x%X) NOT supported!\n" with their name and
 * the device ID on standard output and leave the record alone. */

/* Sets both forwarding actions. Class A: bits 8..7 and 24..23 of action[0]. Class B: bits 25..24 of action[0]
 * and 12..11 of action[1].
 *
 * action1, action2: 0 to 3. Larger values change other fields. */
void ethCfpRuleAction(eth_cfp_rule_t *rule, uint32_t action1, uint32_t action2);

/* Sets both destination masks. Class A: bits 6..0 and 22..16 of action[0]. Class B: bits 23..14 of action[0]
 * and 10..1 of action[1]; bit 6 of an argument is moved to bit 7.
 *
 * dst1, dst2: 7 bits on class A, 10 bits on class B. Larger values change other fields. */
void ethCfpRuleActionDst(eth_cfp_rule_t *rule, uint32_t dst1, uint32_t dst2);

/* Changes the traffic class of matching frames: bits 12..10 become the class and bit 13 is set, in action[1]
 * on class A, in action[0] on class B.
 *
 * tc: only the low three bits count. */
void ethCfpRuleActionChangeTc(eth_cfp_rule_t *rule, uint8_t tc);

/* Sets the chain ID: action[1], bits 21..14 on class A, 27..20 on class B. */
void ethCfpRuleActionChainId(eth_cfp_rule_t *rule, uint8_t id);

/* Lets matching frames bypass the VLAN: sets bit 0 of action[1] on class A, of action[0] on class B. */
void ethCfpRuleActionVlanBypass(eth_cfp_rule_t *rule);

/* Drops matching frames: ethCfpRuleAction(rule, 2, 2), then ethCfpRuleActionDst(rule, 0, 0). On a device of
 * neither class those two print their messages. */
void ethCfpRuleActionDropAll(eth_cfp_rule_t *rule);

ESW_END_DECLS

#endif
