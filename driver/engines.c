// SPDX-License-Identifier: GPL-2.0
/* The engines that registers start. They are done at once; registers.c shows them busy. */
#include <linux/bits.h>
#include <linux/string.h>

#include "esw.h"

#define START			0x80 /* of most engines */

/* Registers that the engines take their operands from, or leave their results in, by page */
#define PAGE_CONTROL		0x00
#define FAST_AGE_PORT		0x89
#define FAST_AGE_VID		0x8a

#define PAGE_TABLES		0x05
#define ARL_MAC_INDEX		0x02
#define ARL_VID_INDEX		0x08
#define ARL_BIN			0x10
#define ARL_SEARCH		0x50
#define ARL_RESULT		0x60
#define ARL_NEXT		0x10 /* from one bin or result to the next */
#define ARL_DATA		0x08 /* from the key to the data word */
#define VLAN_TABLE_INDEX	0x81
#define VLAN_TABLE_ENTRY	0x83

#define PAGE_EVT		0x34
#define EVT_DATA		0x44

#define PAGE_MIB		0x20 /* plus the port */
#define PAGE_SNAPSHOT		0x71

#define PAGE_CFP		0xa0
#define CFP_TRANSFER		0x10

/* ARL */
#define ARL_VALID		BIT(16)
#define ARL_STATIC		BIT(15)
#define ARL_PORTS		GENMASK(8, 0)
#define ARL_VID_SHIFT		48
#define ARL_GROUP		BIT_ULL(40)
#define ARL_BUCKET_BITS		10
#define ARL_ACCESS_READS	0x01
#define ARL_SEARCH_READY	0x01

#define FAST_AGE_BY_VID		0x08
#define FAST_AGE_BY_PORT	0x04
#define FAST_AGE_DYNAMIC	0x02
#define FAST_AGE_STATIC		0x01

/* VLAN table and egress translation */
#define VLAN_TABLE_OPERATION	0x03
#define VLAN_TABLE_WRITE	0
#define VLAN_TABLE_READ		1
#define VLAN_TABLE_CLEAR	2
#define EVT_START		0x1
#define EVT_WRITE		0x2
#define EVT_CLEAR		0x4

/* Field processor */
#define CFP_START		0x01
#define CFP_READ		0x02
#define CFP_WRITE		0x04
#define CFP_CLEAR		0x10
#define CFP_SELECT(value)	(((value) >> 10) & 0x1f)
#define CFP_SLOT(value)		(((value) >> 16) & 0xffff)

#define COUNTER_RESET		0x01
#define SNAPSHOT_PORT		0x0f
#define SWITCH_RESET		0x90

#define CLASS_A			0x11140

/* A key in its bucket: the MAC address and VID, folded. */
static struct esw_arl_bin *arl_bucket(struct esw_switch *sw, u64 key)
{
	u64 bucket = 0;

	for (; key; key >>= ARL_BUCKET_BITS)
		bucket ^= key % ESW_ARL_BUCKETS;
	return &sw->arl[bucket * ESW_ARL_BINS];
}

static void arl_show(struct esw_switch *sw, u8 offset, const struct esw_arl_bin *bin)
{
	sw->cells[PAGE_TABLES][offset] = bin->key;
	sw->cells[PAGE_TABLES][offset + ARL_DATA] = bin->data;
}

void esw_arl_access_written(struct esw_switch *sw, u64 value)
{
	const u64 *cells = sw->cells[PAGE_TABLES];
	struct esw_arl_bin *bin;
	u8 offset = ARL_BIN;
	unsigned int i;

	if (!(value & START))
		return;
	bin = arl_bucket(sw, cells[ARL_MAC_INDEX] | cells[ARL_VID_INDEX] << ARL_VID_SHIFT);
	for (i = 0; i < ESW_ARL_BINS; i++, bin++, offset += ARL_NEXT) {
		if (value & ARL_ACCESS_READS) {
			arl_show(sw, offset, bin);
		} else {
			bin->key = cells[offset];
			bin->data = cells[offset + ARL_DATA];
		}
	}
}

/* Two results at a time. What is missing at the end is cleared. */
static void arl_show_next(struct esw_switch *sw)
{
	static const struct esw_arl_bin none;
	unsigned int i;

	for (i = 0; i < 2; i++) {
		while (sw->arl_next < ESW_ARL_ENTRIES && !(sw->arl[sw->arl_next].data & ARL_VALID))
			sw->arl_next++;
		arl_show(sw, ARL_RESULT + i * ARL_NEXT,
			 sw->arl_next < ESW_ARL_ENTRIES ? &sw->arl[sw->arl_next++] : &none);
	}
	*esw_busy_of(sw, PAGE_TABLES, ARL_SEARCH) = esw_busy_reads;
}

void esw_arl_search_written(struct esw_switch *sw, u64 value)
{
	if (!(value & START))
		return;
	sw->arl_next = 0;
	sw->arl_searching = true;
	arl_show_next(sw);
}

u64 esw_arl_search_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	if (!sw->arl_searching)
		return 0;
	return START | (*esw_busy_of(sw, PAGE_TABLES, ARL_SEARCH) ? 0 : ARL_SEARCH_READY);
}

/* The read of a pair's last word asks for the next pair; a pair that is not full is the last. */
u64 esw_arl_result_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	if (!index || !sw->arl_searching)
		return stored;
	if (sw->cells[PAGE_TABLES][ARL_RESULT + ARL_DATA] & ARL_VALID)
		arl_show_next(sw);
	else
		sw->arl_searching = false;
	return stored;
}

static bool arl_is_at_port(const struct esw_arl_bin *bin, u64 port)
{
	u32 ports = bin->data & ARL_PORTS;

	return bin->key & ARL_GROUP ? port < 32 && ports & BIT(port) : ports == port;
}

void esw_fast_age_written(struct esw_switch *sw, u64 value)
{
	u64 port = sw->cells[PAGE_CONTROL][FAST_AGE_PORT];
	u64 vid = sw->cells[PAGE_CONTROL][FAST_AGE_VID];
	struct esw_arl_bin *bin;

	if (!(value & START))
		return;
	for (bin = sw->arl; bin < sw->arl + ESW_ARL_ENTRIES; bin++) {
		u64 kind = bin->data & ARL_STATIC ? FAST_AGE_STATIC : FAST_AGE_DYNAMIC;

		if (!(bin->data & ARL_VALID) || !(value & kind))
			continue;
		if (value & FAST_AGE_BY_PORT && !arl_is_at_port(bin, port))
			continue;
		if (value & FAST_AGE_BY_VID && bin->key >> ARL_VID_SHIFT != vid)
			continue;
		memset(bin, 0, sizeof(*bin));
	}
}

static void exchange(u64 *reg, u32 *entry, bool write)
{
	if (write)
		*entry = *reg;
	else
		*reg = *entry;
}

void esw_vlan_table_written(struct esw_switch *sw, u64 value)
{
	u64 *cells = sw->cells[PAGE_TABLES];
	u32 operation = value & VLAN_TABLE_OPERATION;

	if (!(value & START))
		return;
	if (operation == VLAN_TABLE_CLEAR)
		memset(sw->vlan_table, 0, sizeof(sw->vlan_table));
	else if (operation == VLAN_TABLE_READ || operation == VLAN_TABLE_WRITE)
		exchange(&cells[VLAN_TABLE_ENTRY], &sw->vlan_table[cells[VLAN_TABLE_INDEX] & 0xfff],
			 operation == VLAN_TABLE_WRITE);
}

void esw_evt_written(struct esw_switch *sw, u64 value)
{
	if (value & EVT_START)
		exchange(&sw->cells[PAGE_EVT][EVT_DATA],
			 &sw->evt[(value >> 4) & 0xf][(value >> 8) & 0xff], value & EVT_WRITE);
	if (value & EVT_CLEAR)
		memset(sw->evt, 0, sizeof(sw->evt));
}

/* The first class B chips have no egress translation: its registers read as zero. */
u64 esw_evt_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	switch (esw_device_id) {
	case 0x2360:
	case 0xd300:
	case 0x5075:
		return 0;
	default:
		return stored;
	}
}

/* What one RAM select moves: the transfer registers from first to last. */
struct cfp_ram {
	u8 select;
	u8 first;
	u8 last;
};

static const struct cfp_ram class_a_rams[] = {
	{ 1, 0x10, 0x4c }, { 2, 0x50, 0x54 }, { 4, 0x60, 0x64 },
	{ 8, 0x70, 0x70 }, { 16, 0x74, 0x74 },
	{}
};

static const struct cfp_ram class_b_rams[] = {
	{ 1, 0x10, 0x4c }, { 2, 0x50, 0x58 },  { 4, 0x60, 0x78 },
	{ 8, 0x80, 0x80 }, { 16, 0x84, 0x84 }, { 24, 0x88, 0x88 },
	{}
};

void esw_cfp_written(struct esw_switch *sw, u64 value)
{
	const struct cfp_ram *ram = esw_device_id == CLASS_A ? class_a_rams : class_b_rams;
	unsigned int slot = CFP_SLOT(value);
	unsigned int offset;

	if (!(value & CFP_START))
		return;
	if (value & CFP_CLEAR)
		memset(sw->cfp, 0, sizeof(sw->cfp));
	while (ram->select && ram->select != CFP_SELECT(value))
		ram++;
	if (!ram->select || slot >= ESW_CFP_SLOTS || !(value & (CFP_READ | CFP_WRITE)))
		return;
	for (offset = ram->first; offset <= ram->last; offset += 4)
		exchange(&sw->cells[PAGE_CFP][offset], &sw->cfp[slot][(offset - CFP_TRANSFER) / 4],
			 !(value & CFP_READ));
}

static bool has_counters(unsigned int port)
{
	return port <= 1 || port == 8;
}

void esw_cpu_port_written(struct esw_switch *sw, u64 value)
{
	unsigned int port;

	if (!(value & COUNTER_RESET))
		return;
	for (port = 0; port <= 8; port++) {
		if (has_counters(port))
			memset(sw->cells[PAGE_MIB + port], 0, sizeof(sw->cells[0]));
	}
}

void esw_snapshot_written(struct esw_switch *sw, u64 value)
{
	unsigned int port = value & SNAPSHOT_PORT;

	if (value & START && has_counters(port))
		memcpy(sw->cells[PAGE_SNAPSHOT], sw->cells[PAGE_MIB + port], sizeof(sw->cells[0]));
}

void esw_reset_written(struct esw_switch *sw, u64 value)
{
	if ((value & SWITCH_RESET) == SWITCH_RESET)
		esw_power_on(sw);
}
