// SPDX-License-Identifier: GPL-2.0
/* The module, and the character device. */
#include <linux/fs.h>
#include <linux/module.h>
#include <linux/vmalloc.h>

#include "esw.h"

uint esw_device_id = 0x2404;
module_param_named(device_id, esw_device_id, uint, 0444);
MODULE_PARM_DESC(device_id, "device ID of the switch (default 0x2404)");

uint esw_busy_reads;
module_param_named(busy_reads, esw_busy_reads, uint, 0644);
MODULE_PARM_DESC(busy_reads, "reads of a register that show its engine busy (default 0)");

static bool chardev = true;
module_param(chardev, bool, 0444);
MODULE_PARM_DESC(chardev, "offer /dev/esw-ctl (default Y)");

static char *interfaces[ESW_MAX_INTERFACES] = { "eth0" };
static unsigned int num_interfaces = 1;
module_param_array(interfaces, charp, &num_interfaces, 0444);
MODULE_PARM_DESC(interfaces, "names of the interfaces, up to four (default eth0)");

static struct esw_switch *the_switch;

static long esw_ioctl(struct file *file, unsigned int cmd, unsigned long argument)
{
	struct esw_switch *sw = container_of(file->private_data, struct esw_switch, misc);

	switch (cmd) {
	case ESW_READ:
	case ESW_WRITE:
		return esw_serve_user(sw, ESW_DOOR_DEVICE, cmd == ESW_WRITE,
				      (void __user *)argument);
	default:
		return -ENOTTY;
	}
}

static const struct file_operations esw_fops = {
	.owner = THIS_MODULE, /* stays loaded as long as the device is open */
	.unlocked_ioctl = esw_ioctl,
	.compat_ioctl = compat_ptr_ioctl,
	.llseek = noop_llseek,
};

static int __init esw_init(void)
{
	struct esw_switch *sw;
	int result;

	sw = vzalloc(sizeof(*sw));
	if (!sw)
		return -ENOMEM;
	mutex_init(&sw->lock);
	esw_index_registers(sw);
	esw_power_on(sw);

	result = esw_log_create(sw);
	if (result)
		goto free_switch;
	result = esw_net_register(sw, interfaces, num_interfaces);
	if (result)
		goto destroy_log;
	if (chardev) {
		sw->misc.minor = MISC_DYNAMIC_MINOR;
		sw->misc.name = "esw-ctl";
		sw->misc.fops = &esw_fops;
		result = misc_register(&sw->misc);
		if (result)
			goto unregister_net;
	}
	the_switch = sw;
	return 0;

unregister_net:
	esw_net_unregister(sw);
destroy_log:
	esw_log_destroy(sw);
free_switch:
	vfree(sw);
	return result;
}
module_init(esw_init);

static void __exit esw_exit(void)
{
	if (chardev)
		misc_deregister(&the_switch->misc);
	esw_net_unregister(the_switch);
	esw_log_destroy(the_switch);
	vfree(the_switch);
}
module_exit(esw_exit);

MODULE_DESCRIPTION("Reference driver for the switch that libesw controls");
MODULE_LICENSE("GPL");
