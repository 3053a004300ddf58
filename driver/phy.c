// SPDX-License-Identifier: GPL-2.0
/*
 * The PHYs of ports 0 and 1, clause 22, with a partner that offers every mode up to 1000 Mb/s. A
 * real driver has a struct mii_bus and phylib here.
 */
#include <linux/ethtool.h>
#include <linux/mii.h>
#include <linux/string.h>

#include "esw.h"

/* What the switch shows of its ports: a bit for each, but two for the speed */
#define PAGE_STATUS	0x01
#define LINK_STATUS	0x00
#define LINK_CHANGE	0x02
#define SPEED		0x04
#define DUPLEX		0x08
#define PAUSE		0x0a
#define SECOND_PAUSE	9 /* so far above the first */

enum { SPEED_IS_10, SPEED_IS_100, SPEED_IS_1000 };

#define PARTNER		(LPA_LPACK | LPA_NPAGE | LPA_PAUSE_CAP | ADVERTISE_ALL | ADVERTISE_CSMA)
#define PARTNER_1000	(LPA_1000LOCALRXOK | LPA_1000REMRXOK | LPA_1000FULL | LPA_1000HALF)
#define EEE_MODES	(ADVERTISED_100baseT_Full | ADVERTISED_1000baseT_Full)

static const u16 power_on_contents[ESW_NUM_PHY_REGS] = {
	[MII_BMCR] = BMCR_ANENABLE | BMCR_FULLDPLX | BMCR_SPEED1000,
	[MII_BMSR] = 0x7949, /* 10 and 100 Mb/s, negotiates, has extended registers */
	[MII_PHYSID1] = 0x0001,
	[MII_PHYSID2] = 0x7811,
	[MII_ADVERTISE] = ADVERTISE_ALL | ADVERTISE_CSMA,
	[MII_LPA] = PARTNER,
	[MII_CTRL1000] = ADVERTISE_1000FULL | ADVERTISE_1000HALF,
	[MII_STAT1000] = PARTNER_1000,
	[MII_ESTATUS] = ESTATUS_1000_TFULL | ESTATUS_1000_THALF,
};

static const struct esw_eee idle_eee = {
	.supported = EEE_MODES,
	.advertised = EEE_MODES,
	.lp_advertised = EEE_MODES,
	.enabled = 1,
	.tx_lpi_enabled = 1,
	.tx_lpi_timer = 30,
};

/* What both ends may agree on, the best first */
static const struct {
	u8 reg;
	u16 bit;
	u8 speed;
	bool full_duplex;
} abilities[] = {
	{ MII_CTRL1000, ADVERTISE_1000FULL, SPEED_IS_1000, true },
	{ MII_CTRL1000, ADVERTISE_1000HALF, SPEED_IS_1000, false },
	{ MII_ADVERTISE, ADVERTISE_100FULL, SPEED_IS_100, true },
	{ MII_ADVERTISE, ADVERTISE_100HALF, SPEED_IS_100, false },
	{ MII_ADVERTISE, ADVERTISE_10FULL, SPEED_IS_10, true },
	{ MII_ADVERTISE, ADVERTISE_10HALF, SPEED_IS_10, false },
};

static u64 *status(struct esw_switch *sw, u8 offset)
{
	return &sw->cells[PAGE_STATUS][offset];
}

static void put(struct esw_switch *sw, u8 offset, unsigned int bit, unsigned int bits, u64 value)
{
	u64 mask = GENMASK_ULL(bits - 1, 0) << bit;

	*status(sw, offset) = (*status(sw, offset) & ~mask) | value << bit;
}

static bool is_up(struct esw_switch *sw, unsigned int port)
{
	return *status(sw, LINK_STATUS) & BIT(port);
}

static bool negotiates(const struct esw_phy *phy)
{
	return phy->regs[MII_BMCR] & BMCR_ANENABLE;
}

static void show_link(struct esw_switch *sw, unsigned int port, bool up)
{
	struct esw_phy *phy = &sw->phys[port];

	if (up == is_up(sw, port))
		return;
	put(sw, LINK_CHANGE, port, 1, 1);
	put(sw, LINK_STATUS, port, 1, up);
	if (!up)
		phy->link_was_lost = true;
}

/* Without a link, speed, duplex and pause stay as they were. */
static void show_mode(struct esw_switch *sw, unsigned int port, u8 speed, bool full_duplex)
{
	struct esw_phy *phy = &sw->phys[port];
	bool pauses = negotiates(phy) && phy->regs[MII_ADVERTISE] & ADVERTISE_PAUSE_CAP;

	show_link(sw, port, true);
	put(sw, SPEED, 2 * port, 2, speed);
	put(sw, DUPLEX, port, 1, full_duplex);
	put(sw, PAUSE, port, 1, pauses);
	put(sw, PAUSE, port + SECOND_PAUSE, 1, pauses);
}

static void settle(struct esw_switch *sw, unsigned int port)
{
	struct esw_phy *phy = &sw->phys[port];
	u16 control = phy->regs[MII_BMCR];
	unsigned int i;

	phy->negotiating = false;
	if (!negotiates(phy)) {
		show_mode(sw, port,
			  control & BMCR_SPEED1000 ? SPEED_IS_1000 :
			  control & BMCR_SPEED100  ? SPEED_IS_100 : SPEED_IS_10,
			  control & BMCR_FULLDPLX);
		return;
	}
	phy->regs[MII_LPA] = PARTNER;
	phy->regs[MII_STAT1000] = PARTNER_1000;
	for (i = 0; i < ARRAY_SIZE(abilities); i++) {
		if (phy->regs[abilities[i].reg] & abilities[i].bit) {
			show_mode(sw, port, abilities[i].speed, abilities[i].full_duplex);
			return;
		}
	}
}

/* A read while a negotiation is under way */
static void observe(struct esw_switch *sw, unsigned int port)
{
	struct esw_phy *phy = &sw->phys[port];

	if (phy->negotiating && !phy->reads_to_settle)
		settle(sw, port);
	else if (phy->negotiating)
		phy->reads_to_settle--;
}

static void renegotiate(struct esw_switch *sw, unsigned int port)
{
	struct esw_phy *phy = &sw->phys[port];

	show_link(sw, port, false);
	phy->regs[MII_LPA] = 0;
	phy->regs[MII_STAT1000] = 0;
	phy->negotiating = !(phy->regs[MII_BMCR] & BMCR_PDOWN);
	phy->reads_to_settle = negotiates(phy) ? esw_busy_reads : 0;
	if (!phy->reads_to_settle)
		observe(sw, port);
}

static void power_on(struct esw_switch *sw, unsigned int port)
{
	struct esw_phy *phy = &sw->phys[port];

	memset(phy, 0, sizeof(*phy));
	memcpy(phy->regs, power_on_contents, sizeof(phy->regs));
}

static void write_control(struct esw_switch *sw, unsigned int port, u16 value)
{
	struct esw_phy *phy = &sw->phys[port];
	u16 before = phy->regs[MII_BMCR];
	u16 matters = BMCR_PDOWN | BMCR_ANENABLE;

	if (value & BMCR_RESET) {
		power_on(sw, port);
		renegotiate(sw, port);
		return;
	}
	phy->regs[MII_BMCR] = value & ~BMCR_ANRESTART;
	if (!negotiates(phy))
		matters |= BMCR_SPEED100 | BMCR_SPEED1000 | BMCR_FULLDPLX;
	if ((before ^ value) & matters || (negotiates(phy) && value & BMCR_ANRESTART))
		renegotiate(sw, port);
}

/* The link bit tells of a link lost in the meantime once, even when it is up again. */
static u16 read_status(struct esw_switch *sw, unsigned int port)
{
	struct esw_phy *phy = &sw->phys[port];
	u16 value = phy->regs[MII_BMSR];

	if (phy->regs[MII_LPA])
		value |= BMSR_ANEGCOMPLETE;
	if (is_up(sw, port) && !phy->link_was_lost)
		value |= BMSR_LSTATUS;
	phy->link_was_lost = false;
	return value;
}

void esw_phy_power_on(struct esw_switch *sw)
{
	unsigned int port;

	for (port = 0; port < ESW_NUM_PHYS; port++) {
		power_on(sw, port);
		sw->eee[port] = idle_eee;
	}
}

/* The port whose PHY answers at an address; ESW_NUM_PHYS or more when there is none. */
unsigned int esw_phy_port(u16 address)
{
	switch (esw_device_id) {
	case 0xd310 ... 0xd314:
	case 0x2404:
	case 0x2407:
	case 0x2409:
		return address - 3U;
	default:
		return address;
	}
}

u16 esw_phy_read(struct esw_switch *sw, unsigned int port, unsigned int reg)
{
	observe(sw, port);
	return reg == MII_BMSR ? read_status(sw, port) : sw->phys[port].regs[reg];
}

void esw_phy_write(struct esw_switch *sw, unsigned int port, unsigned int reg, u16 value)
{
	switch (reg) {
	case MII_BMCR:
		write_control(sw, port, value);
		break;
	case MII_BMSR:
	case MII_PHYSID1:
	case MII_PHYSID2:
	case MII_LPA:
	case MII_EXPANSION:
	case MII_STAT1000:
	case MII_ESTATUS:
		break; /* read-only */
	default:
		sw->phys[port].regs[reg] = value;
	}
}

bool esw_eee_is_active(struct esw_switch *sw, unsigned int port)
{
	const struct esw_eee *eee = &sw->eee[port];
	u32 modes = eee->enabled ? eee->advertised & eee->lp_advertised : 0;

	switch (*status(sw, SPEED) >> 2 * port & 3) {
	case SPEED_IS_10:
		return false;
	case SPEED_IS_100:
		return is_up(sw, port) && modes & ADVERTISED_100baseT_Full;
	default:
		return is_up(sw, port) && modes & ADVERTISED_1000baseT_Full;
	}
}

static u64 observed(struct esw_switch *sw, u8 offset)
{
	unsigned int port;

	for (port = 0; port < ESW_NUM_PHYS; port++)
		observe(sw, port);
	return *status(sw, offset);
}

u64 esw_status_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	return observed(sw, LINK_STATUS);
}

u64 esw_speed_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	return observed(sw, SPEED);
}

u64 esw_duplex_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	return observed(sw, DUPLEX);
}

u64 esw_pause_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	return observed(sw, PAUSE);
}

/* Reading the changes clears them. */
u64 esw_link_change_reading(struct esw_switch *sw, unsigned int index, u64 stored)
{
	u64 changes = observed(sw, LINK_CHANGE);

	*status(sw, LINK_CHANGE) = 0;
	return changes;
}
