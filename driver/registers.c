// SPDX-License-Identifier: GPL-2.0
/* The register array: which registers there are, how wide they are, and what starts an engine. */
#include <linux/bits.h>
#include <linux/build_bug.h>
#include <linux/string.h>

#include "esw.h"

#define REG(_page, _offset, _width, ...) \
	{ .page = (_page), .offset = (_offset), .width = (_width), ##__VA_ARGS__ }
#define BANK(_page, _offset, _width, _count, _stride, ...) \
	REG(_page, _offset, _width, .count = (_count), .stride = (_stride), ##__VA_ARGS__)
#define OF_EACH_PORT(_page, _offset, _width, _stride, ...) \
	BANK(_page, _offset, _width, 9, _stride, ##__VA_ARGS__)

/* Pages of MIB counters, which are alike: ports 0, 1 and 8, and the snapshot */
static const u8 mib_pages[] = { 0x20, 0x21, 0x28, 0x71 };

/* An idle switch: ports 0 and 1 linked at 1000 Mb/s, VLANs off, all ports in VLAN 1. */
static const struct esw_register registers[] = {
	/* Ports: control, frame size, status */
	BANK(0x00, 0x00, 8, 2, 1, .power_on = 0xa0),
	REG(0x00, 0x08, 8),
	REG(0x00, 0x0b, 8),
	REG(0x00, 0x24, 16),
	REG(0x00, 0x2f, 8),
	REG(0x00, 0x79, 8, .written = esw_reset_written),
	REG(0x00, 0x88, 8, .power_on = 0x02, .busy = 0x80, .written = esw_fast_age_written),
	REG(0x00, 0x89, 8),
	REG(0x00, 0x8a, 16),
	REG(0x01, 0x00, 16, .power_on = 0x103, .reading = esw_status_reading),
	REG(0x01, 0x02, 16, .reading = esw_link_change_reading),
	REG(0x01, 0x04, 32, .power_on = 0x2000a, .reading = esw_speed_reading),
	REG(0x01, 0x08, 16, .power_on = 0x103, .reading = esw_duplex_reading),
	REG(0x01, 0x0a, 32, .reading = esw_pause_reading),
	REG(0x40, 0x01, 32),
	REG(0x40, 0x05, 16, .power_on = 1518),

	/* The switch as a whole: counter reset, ageing, mirroring, device ID */
	REG(0x02, 0x00, 8, .power_on = 0x80, .written = esw_cpu_port_written),
	REG(0x02, 0x06, 32, .power_on = 0x10012c),
	REG(0x02, 0x10, 16, .power_on = 8),
	REG(0x02, 0x12, 16),
	REG(0x02, 0x14, 16),
	REG(0x02, 0x16, 48),
	REG(0x02, 0x1c, 16),
	REG(0x02, 0x1e, 16),
	REG(0x02, 0x20, 48),
	REG(0x02, 0x30, 32),
	REG(0x02, 0x50, 32),
	REG(0x36, 0x00, 32),
	REG(0x36, 0x04, 8),
	REG(0x36, 0x08, 32),
	REG(0x36, 0x0c, 32),

	/* L2 cache, ARL and its search, VLAN table */
	REG(0x04, 0x04, 48, .power_on = 0x0180c2000000),
	REG(0x04, 0x0e, 16),
	BANK(0x04, 0x10, 48, 6, 0x10),
	BANK(0x04, 0x18, 32, 6, 0x10),
	REG(0x04, 0x70, 32),
	REG(0x04, 0x74, 16, .power_on = 1),
	REG(0x05, 0x00, 8, .busy = 0x80, .written = esw_arl_access_written),
	REG(0x05, 0x02, 48),
	REG(0x05, 0x08, 16),
	BANK(0x05, 0x10, 64, ESW_ARL_BINS, 0x10),
	BANK(0x05, 0x18, 32, ESW_ARL_BINS, 0x10),
	REG(0x05, 0x50, 8, .busy = 0x80, .written = esw_arl_search_written,
	    .reading = esw_arl_search_reading),
	BANK(0x05, 0x60, 64, 2, 0x10),
	BANK(0x05, 0x68, 32, 2, 0x10, .reading = esw_arl_result_reading),
	REG(0x05, 0x80, 8, .busy = 0x80, .written = esw_vlan_table_written),
	REG(0x05, 0x81, 16),
	REG(0x05, 0x83, 32),

	/* VLAN control, default tags, egress translation */
	REG(0x34, 0x00, 8, .power_on = 0x60),
	REG(0x34, 0x01, 8, .power_on = 0x0c),
	REG(0x34, 0x02, 8),
	REG(0x34, 0x03, 16),
	REG(0x34, 0x05, 8, .power_on = 0x40),
	REG(0x34, 0x06, 8, .power_on = 0x08),
	REG(0x34, 0x0a, 16),
	OF_EACH_PORT(0x34, 0x10, 16, 2, .power_on = 1),
	REG(0x34, 0x40, 32, .busy = 0x05, .written = esw_evt_written, .reading = esw_evt_reading),
	REG(0x34, 0x44, 32, .reading = esw_evt_reading),

	/* Traffic classes (of DSCPs, three bits each: DSCP / 8), queues, remapping */
	REG(0x30, 0x00, 8),
	REG(0x30, 0x04, 16),
	REG(0x30, 0x06, 16),
	REG(0x30, 0x30, 48, .power_on = 01111111100000000),
	REG(0x30, 0x36, 48, .power_on = 03333333322222222),
	REG(0x30, 0x3c, 48, .power_on = 05555555544444444),
	REG(0x30, 0x42, 48, .power_on = 07777777766666666),
	REG(0x30, 0x34, 48, .power_on = 01111111100000000),
	REG(0x30, 0x3a, 48, .power_on = 03333333322222222),
	REG(0x30, 0x40, 48, .power_on = 05555555544444444),
	REG(0x30, 0x46, 48, .power_on = 07777777766666666),
	REG(0x30, 0x48, 32),
	OF_EACH_PORT(0x30, 0x50, 16, 2),
	REG(0x30, 0x62, 16, .power_on = 0xfa50),
	BANK(0x30, 0x70, 32, 2, 4, .power_on = 076543210),
	REG(0x30, 0x80, 8),
	BANK(0x30, 0x81, 8, 4, 1, .power_on = 1),
	REG(0x30, 0x90, 32, .power_on = 076543210),
	OF_EACH_PORT(0x46, 0x00, 8, 1),
	OF_EACH_PORT(0x46, 0x10, 64, 8, .power_on = 0x0101010101010101),
	REG(0x91, 0x00, 32),
	OF_EACH_PORT(0x91, 0x10, 64, 8, .power_on = 0x76543210),

	/* Rate limiters */
	REG(0x41, 0x00, 32),
	BANK(0x41, 0x10, 32, 2, 4),
	BANK(0x41, 0x34, 16, 2, 2),
	OF_EACH_PORT(0x41, 0x80, 16, 2),
	REG(0x41, 0xc0, 8, .power_on = 63),
	OF_EACH_PORT(0x47, 0x00, 32, 4),
	OF_EACH_PORT(0x47, 0x30, 32, 4),
	REG(0x47, 0xb0, 32),
	REG(0x47, 0xe6, 16),
	REG(0x47, 0xe8, 16),

	/* MIB counters; the snapshot latch */
	REG(0x20, 0x00, 64),
	BANK(0x20, 0x08, 32, 18, 4),
	REG(0x20, 0x50, 64),
	BANK(0x20, 0x58, 32, 12, 4),
	REG(0x20, 0x88, 64),
	BANK(0x20, 0x90, 32, 10, 4),
	BANK(0x20, 0xc0, 32, 6, 4),
	REG(0x70, 0x00, 8, .written = esw_snapshot_written),

	/* Field processor: rule RAMs, enabled ports, UDFs */
	REG(0xa0, 0x00, 32, .busy = 0x01, .written = esw_cfp_written),
	REG(0xa0, 0x04, 32),
	BANK(0xa0, 0x10, 32, ESW_CFP_WORDS, 4),
	REG(0xa1, 0x00, 16),
	BANK(0xa1, 0x10, 8, 9, 1),
	BANK(0xa1, 0x20, 8, 9, 1),
	BANK(0xa1, 0x30, 8, 9, 1),
	BANK(0xa1, 0x40, 8, 9, 1),
	BANK(0xa1, 0x50, 8, 9, 1),
	BANK(0xa1, 0x60, 8, 9, 1),
	BANK(0xa1, 0x70, 8, 9, 1),
	BANK(0xa1, 0x80, 8, 9, 1),
	BANK(0xa1, 0x90, 8, 9, 1),
	BANK(0xa1, 0xa0, 8, 12, 1),
};

static_assert(ARRAY_SIZE(registers) <= ESW_MAX_ROWS);

void esw_index_registers(struct esw_switch *sw)
{
	unsigned int row, i;

	for (row = 0; row < ARRAY_SIZE(registers); row++) {
		const struct esw_register *reg = &registers[row];

		for (i = 0; i < max_t(u8, reg->count, 1); i++)
			sw->rows[reg->page][reg->offset + i * reg->stride] = row + 1;
	}
	for (i = 1; i < ARRAY_SIZE(mib_pages); i++)
		memcpy(sw->rows[mib_pages[i]], sw->rows[mib_pages[0]], sizeof(sw->rows[0]));
}

void esw_power_on(struct esw_switch *sw)
{
	unsigned int page, offset;

	for (page = 0; page < ARRAY_SIZE(sw->cells); page++) {
		for (offset = 0; offset < ARRAY_SIZE(sw->cells[0]); offset++) {
			u8 row = sw->rows[page][offset];

			sw->cells[page][offset] = row ? registers[row - 1].power_on : 0;
		}
	}
	sw->cells[0x02][0x30] = esw_device_id;

	memset(sw->busy_reads, 0, sizeof(sw->busy_reads));
	memset(sw->arl, 0, sizeof(sw->arl));
	sw->arl_next = 0;
	sw->arl_searching = false;
	memset(sw->vlan_table, 0, sizeof(sw->vlan_table));
	memset(sw->evt, 0, sizeof(sw->evt));
	memset(sw->cfp, 0, sizeof(sw->cfp));
	esw_phy_power_on(sw);
}

u32 *esw_busy_of(struct esw_switch *sw, u8 page, u8 offset)
{
	return &sw->busy_reads[sw->rows[page][offset] - 1];
}

u64 esw_read(struct esw_switch *sw, u8 page, u8 offset)
{
	u64 value = sw->cells[page][offset];
	unsigned int row = sw->rows[page][offset];
	const struct esw_register *reg;
	unsigned int index = 0;

	if (!row--)
		return value;
	reg = &registers[row];
	if (reg->stride)
		index = (offset - reg->offset) / reg->stride;
	if (reg->reading)
		value = reg->reading(sw, index, value);
	if (sw->busy_reads[row]) {
		sw->busy_reads[row]--;
		value |= sw->busy_bits[row];
	}
	return value & GENMASK_ULL(reg->width - 1, 0);
}

void esw_write(struct esw_switch *sw, u8 page, u8 offset, u64 value)
{
	unsigned int row = sw->rows[page][offset];
	const struct esw_register *reg;

	if (!row--) {
		sw->cells[page][offset] = value;
		return;
	}
	reg = &registers[row];
	value &= GENMASK_ULL(reg->width - 1, 0);
	sw->cells[page][offset] = value & ~reg->busy;
	if (value & reg->busy) {
		sw->busy_reads[row] = esw_busy_reads;
		sw->busy_bits[row] = value & reg->busy;
	}
	if (reg->written)
		reg->written(sw, value);
}
