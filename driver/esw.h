/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reference driver for the switch that libesw controls. Its hardware is an array of registers with
 * simple engines behind them (registers.c, engines.c, phy.c). What stands above that, a driver for
 * the real switch needs, too.
 */
#ifndef ESW_H
#define ESW_H

#include <linux/ethtool.h>
#include <linux/mii.h>
#include <linux/miscdevice.h>
#include <linux/mutex.h>
#include <linux/sockios.h>
#include <linux/types.h>

/* The requests: the same numbers on the character device and on a socket. */
#define ESW_READ	(SIOCDEVPRIVATE + 1)
#define ESW_WRITE	(SIOCDEVPRIVATE + 2)
/* On a socket only: a struct ethtool_eee, with the port's bit in its first reserved word. */
#define ESW_GET_EEE	(SIOCDEVPRIVATE + 5)
#define ESW_SET_EEE	(SIOCDEVPRIVATE + 6)

/* A register request, in host byte order; of one layout for 32-bit and 64-bit programs. */
struct esw_request {
	__u64 value;
	__u8 width; /* what the caller believes, in bits: of no consequence */
	__u8 page;
	__u8 offset;
	__u8 reserved[5];
};

#define ESW_NUM_PHYS		2
#define ESW_NUM_PHY_REGS	32

#define ESW_ARL_BUCKETS		1024
#define ESW_ARL_BINS		4
#define ESW_ARL_ENTRIES		(ESW_ARL_BUCKETS * ESW_ARL_BINS)

#define ESW_CFP_SLOTS		64
#define ESW_CFP_WORDS		31

#define ESW_MAX_ROWS		128
#define ESW_MAX_INTERFACES	4

struct esw_arl_bin {
	u64 key; /* MAC address in bits 0 to 47, VID above */
	u32 data;
};

struct esw_phy {
	u16 regs[ESW_NUM_PHY_REGS];
	bool negotiating;
	bool link_was_lost; /* since the status register was read last */
	u32 reads_to_settle;
};

struct esw_eee {
	u32 supported;
	u32 advertised;
	u32 lp_advertised;
	u32 enabled;
	u32 tx_lpi_enabled;
	u32 tx_lpi_timer;
};

enum esw_door { ESW_DOOR_DEVICE, ESW_DOOR_INTERFACE, ESW_DOOR_MII, ESW_DOOR_EEE };

/* A request in the log. What where and detail hold depends on the door. */
struct esw_log_entry {
	u64 value;
	u32 where;
	u16 detail;
	u8 door;
	bool write;
	bool failed;
};

struct esw_switch {
	struct miscdevice misc;
	struct net_device *interfaces[ESW_MAX_INTERFACES];
	struct dentry *debugfs;

	struct mutex lock; /* one request at a time: all that follows */

	struct esw_log_entry *log;
	u64 log_first; /* number of the oldest entry kept, since the log was cleared */
	u64 log_end;

	/* Addresses that no known register occupies keep the 64 bits written there last. */
	u64 cells[256][256];
	u8 rows[256][256]; /* of the register table, plus 1; 0: no known register */
	u32 busy_reads[ESW_MAX_ROWS]; /* that still show the busy bits */
	u64 busy_bits[ESW_MAX_ROWS];

	struct esw_arl_bin arl[ESW_ARL_ENTRIES];
	u32 arl_next; /* to be looked at by the search */
	bool arl_searching;
	u32 vlan_table[4096];
	u32 evt[16][256];
	u32 cfp[ESW_CFP_SLOTS][ESW_CFP_WORDS];
	struct esw_phy phys[ESW_NUM_PHYS];
	struct esw_eee eee[ESW_NUM_PHYS];
};

extern unsigned int esw_device_id;
extern unsigned int esw_busy_reads;

/* net.c: the interfaces */
int esw_net_register(struct esw_switch *sw, char **names, unsigned int count);
void esw_net_unregister(struct esw_switch *sw);

/* serve.c: each request, whichever way it came. 0, or what the caller gets. */
int esw_serve_user(struct esw_switch *sw, enum esw_door door, bool write, void __user *data);
int esw_serve_mii(struct esw_switch *sw, bool write, struct mii_ioctl_data *mii);
int esw_serve_eee(struct esw_switch *sw, bool write, void __user *data);

/* log.c */
int esw_log_create(struct esw_switch *sw);
void esw_log_destroy(struct esw_switch *sw);
void esw_log_add(struct esw_switch *sw, const struct esw_log_entry *entry);

/* registers.c */
struct esw_register {
	u8 page;
	u8 offset;
	u8 width; /* bits that the register really has */
	u8 count; /* of a bank of registers, stride offsets apart; 0 is 1 */
	u8 stride;
	u64 power_on;
	u64 busy; /* bits that start an engine, and read as set until it is done */
	void (*written)(struct esw_switch *sw, u64 value);
	u64 (*reading)(struct esw_switch *sw, unsigned int index, u64 stored);
};

void esw_index_registers(struct esw_switch *sw);
void esw_power_on(struct esw_switch *sw);
u64 esw_read(struct esw_switch *sw, u8 page, u8 offset);
void esw_write(struct esw_switch *sw, u8 page, u8 offset, u64 value);
u32 *esw_busy_of(struct esw_switch *sw, u8 page, u8 offset);

/* engines.c */
void esw_arl_access_written(struct esw_switch *sw, u64 value);
void esw_arl_search_written(struct esw_switch *sw, u64 value);
u64 esw_arl_search_reading(struct esw_switch *sw, unsigned int index, u64 stored);
u64 esw_arl_result_reading(struct esw_switch *sw, unsigned int index, u64 stored);
void esw_fast_age_written(struct esw_switch *sw, u64 value);
void esw_vlan_table_written(struct esw_switch *sw, u64 value);
void esw_evt_written(struct esw_switch *sw, u64 value);
u64 esw_evt_reading(struct esw_switch *sw, unsigned int index, u64 stored);
void esw_cfp_written(struct esw_switch *sw, u64 value);
void esw_cpu_port_written(struct esw_switch *sw, u64 value);
void esw_snapshot_written(struct esw_switch *sw, u64 value);
void esw_reset_written(struct esw_switch *sw, u64 value);

/* phy.c */
void esw_phy_power_on(struct esw_switch *sw);
unsigned int esw_phy_port(u16 address);
u16 esw_phy_read(struct esw_switch *sw, unsigned int port, unsigned int reg);
void esw_phy_write(struct esw_switch *sw, unsigned int port, unsigned int reg, u16 value);
bool esw_eee_is_active(struct esw_switch *sw, unsigned int port);
u64 esw_status_reading(struct esw_switch *sw, unsigned int index, u64 stored);
u64 esw_speed_reading(struct esw_switch *sw, unsigned int index, u64 stored);
u64 esw_duplex_reading(struct esw_switch *sw, unsigned int index, u64 stored);
u64 esw_pause_reading(struct esw_switch *sw, unsigned int index, u64 stored);
u64 esw_link_change_reading(struct esw_switch *sw, unsigned int index, u64 stored);

#endif
