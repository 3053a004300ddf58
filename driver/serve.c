// SPDX-License-Identifier: GPL-2.0
/* What becomes of a request: a fault that was asked for, the access itself, a log entry. */
#include <linux/errno.h>
#include <linux/ethtool.h>
#include <linux/lockdep.h>
#include <linux/moduleparam.h>
#include <linux/uaccess.h>

#include "esw.h"

static uint fail_nth;
module_param(fail_nth, uint, 0644);
MODULE_PARM_DESC(fail_nth, "the nth request from now fails (0: none)");

static int fail_with = -EIO;
module_param(fail_with, int, 0644);
MODULE_PARM_DESC(fail_with, "result of that request (default -5)");

static int fault(struct esw_switch *sw)
{
	lockdep_assert_held(&sw->lock);
	if (!fail_nth || --fail_nth)
		return 0;
	return fail_with;
}

static int serve_register(struct esw_switch *sw, enum esw_door door, bool write,
			  struct esw_request *request)
{
	struct esw_log_entry entry = {
		.door = door,
		.write = write,
		.where = request->page << 8 | request->offset,
		.detail = request->width,
	};
	int result;

	mutex_lock(&sw->lock);
	result = fault(sw);
	if (!result && write)
		esw_write(sw, request->page, request->offset, request->value);
	else if (!result)
		request->value = esw_read(sw, request->page, request->offset);
	entry.value = request->value;
	entry.failed = result;
	esw_log_add(sw, &entry);
	mutex_unlock(&sw->lock);
	return result;
}

/*
 * A register request. The value goes back zero-extended, whatever width the request names. A write
 * leaves the caller's memory alone: it may be read-only.
 */
int esw_serve_user(struct esw_switch *sw, enum esw_door door, bool write, void __user *data)
{
	struct esw_request __user *user = data;
	struct esw_request request;
	int result;

	if (copy_from_user(&request, user, sizeof(request)))
		return -EFAULT;
	result = serve_register(sw, door, write, &request);
	if (result || write)
		return result;
	return put_user(request.value, &user->value);
}

static int access_phy(struct esw_switch *sw, bool write, struct mii_ioctl_data *mii)
{
	unsigned int port = esw_phy_port(mii->phy_id);

	if (port >= ESW_NUM_PHYS)
		return -ENODEV;
	if (mii->reg_num >= ESW_NUM_PHY_REGS)
		return -EINVAL;
	if (write)
		esw_phy_write(sw, port, mii->reg_num, mii->val_in);
	else
		mii->val_out = esw_phy_read(sw, port, mii->reg_num);
	return 0;
}

int esw_serve_mii(struct esw_switch *sw, bool write, struct mii_ioctl_data *mii)
{
	struct esw_log_entry entry = {
		.door = ESW_DOOR_MII,
		.write = write,
		.where = mii->phy_id,
		.detail = mii->reg_num,
	};
	int result;

	mutex_lock(&sw->lock);
	result = fault(sw);
	if (!result)
		result = access_phy(sw, write, mii);
	entry.value = write ? mii->val_in : mii->val_out;
	entry.failed = result;
	esw_log_add(sw, &entry);
	mutex_unlock(&sw->lock);
	return result;
}

static int access_eee(struct esw_switch *sw, bool write, struct ethtool_eee *record)
{
	unsigned int port = record->reserved[0] - 1; /* of the bits 1 and 2 */
	struct esw_eee *eee;

	if (record->cmd != (write ? ETHTOOL_SEEE : ETHTOOL_GEEE))
		return -EOPNOTSUPP;
	if (port >= ESW_NUM_PHYS)
		return -EINVAL;
	eee = &sw->eee[port];
	if (write) {
		eee->advertised = record->advertised & eee->supported;
		eee->enabled = record->eee_enabled;
		eee->tx_lpi_enabled = record->tx_lpi_enabled;
		eee->tx_lpi_timer = record->tx_lpi_timer;
		return 0;
	}
	record->supported = eee->supported;
	record->advertised = eee->advertised;
	record->lp_advertised = eee->lp_advertised;
	record->eee_active = esw_eee_is_active(sw, port);
	record->eee_enabled = eee->enabled;
	record->tx_lpi_enabled = eee->tx_lpi_enabled;
	record->tx_lpi_timer = eee->tx_lpi_timer;
	return 0;
}

int esw_serve_eee(struct esw_switch *sw, bool write, void __user *data)
{
	struct esw_log_entry entry = { .door = ESW_DOOR_EEE, .write = write };
	struct ethtool_eee record;
	int result;

	if (copy_from_user(&record, data, sizeof(record)))
		return -EFAULT;
	mutex_lock(&sw->lock);
	result = fault(sw);
	if (!result)
		result = access_eee(sw, write, &record);
	entry.where = record.reserved[0];
	entry.value = record.eee_enabled;
	entry.failed = result;
	esw_log_add(sw, &entry);
	mutex_unlock(&sw->lock);
	if (result || write)
		return result;
	return copy_to_user(data, &record, sizeof(record)) ? -EFAULT : 0;
}
