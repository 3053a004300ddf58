// SPDX-License-Identifier: GPL-2.0
/*
 * /sys/kernel/debug/esw/requests: a line for each request, in the format of "esw-sim --trace".
 * Writing to the file clears it. When it is full, the oldest requests go, and the first line tells
 * how many.
 */
#include <linux/debugfs.h>
#include <linux/fs.h>
#include <linux/module.h>
#include <linux/overflow.h>
#include <linux/seq_file.h>
#include <linux/vmalloc.h>

#include "esw.h"

#define LOG_SIZE	131072U /* requests */

static struct esw_log_entry *entry_at(struct esw_switch *sw, u64 number)
{
	return &sw->log[number % LOG_SIZE];
}

void esw_log_add(struct esw_switch *sw, const struct esw_log_entry *entry)
{
	lockdep_assert_held(&sw->lock);
	*entry_at(sw, sw->log_end++) = *entry;
	if (sw->log_end - sw->log_first > LOG_SIZE)
		sw->log_first++;
}

/* Position 0 is the line about lost requests, n + 1 is request n. */
static void *log_at(struct esw_switch *sw, loff_t *pos)
{
	if (!*pos && !sw->log_first)
		*pos = 1;
	if (!*pos)
		return SEQ_START_TOKEN;
	*pos = max_t(u64, *pos, sw->log_first + 1);
	return *pos <= sw->log_end ? entry_at(sw, *pos - 1) : NULL;
}

static void *log_start(struct seq_file *file, loff_t *pos)
{
	struct esw_switch *sw = file->private;

	mutex_lock(&sw->lock);
	return log_at(sw, pos);
}

static void *log_next(struct seq_file *file, void *shown, loff_t *pos)
{
	++*pos;
	return log_at(file->private, pos);
}

static void log_stop(struct seq_file *file, void *shown)
{
	struct esw_switch *sw = file->private;

	mutex_unlock(&sw->lock);
}

static void show_access(struct seq_file *file, const struct esw_log_entry *entry)
{
	const char *access = entry->write ? "write" : "read ";

	switch (entry->door) {
	case ESW_DOOR_MII:
		seq_printf(file, "interface mii %s phy %u reg %u", access, entry->where,
			   entry->detail);
		break;
	case ESW_DOOR_EEE:
		seq_printf(file, "interface eee %s enabled on ports 0x%x", access, entry->where);
		break;
	default:
		seq_printf(file, "%s %s %02x:%02x w%u",
			   entry->door == ESW_DOOR_DEVICE ? "device   " : "interface", access,
			   entry->where >> 8, entry->where & 0xff, entry->detail);
	}
}

/* A failed read has no value. */
static int log_show(struct seq_file *file, void *shown)
{
	const struct esw_log_entry *entry = shown;
	struct esw_switch *sw = file->private;

	if (shown == SEQ_START_TOKEN) {
		seq_printf(file, "%llu requests lost\n", sw->log_first);
		return 0;
	}
	show_access(file, entry);
	if (entry->write || !entry->failed)
		seq_printf(file, " %s 0x%llx", entry->write ? "<-" : "->", entry->value);
	seq_puts(file, entry->failed ? " failed\n" : "\n");
	return 0;
}

static const struct seq_operations log_seq = {
	.start = log_start,
	.next = log_next,
	.stop = log_stop,
	.show = log_show,
};

static int log_open(struct inode *inode, struct file *file)
{
	int result = seq_open(file, &log_seq);

	if (!result)
		((struct seq_file *)file->private_data)->private = inode->i_private;
	return result;
}

static ssize_t log_write(struct file *file, const char __user *text, size_t size, loff_t *pos)
{
	struct esw_switch *sw = ((struct seq_file *)file->private_data)->private;

	mutex_lock(&sw->lock);
	sw->log_first = 0;
	sw->log_end = 0;
	mutex_unlock(&sw->lock);
	return size;
}

static const struct file_operations log_fops = {
	.owner = THIS_MODULE,
	.open = log_open,
	.read = seq_read,
	.write = log_write,
	.llseek = seq_lseek,
	.release = seq_release,
};

/* debugfs is a help, not a need: nobody looks at its results. */
int esw_log_create(struct esw_switch *sw)
{
	sw->log = vzalloc(array_size(LOG_SIZE, sizeof(*sw->log)));
	if (!sw->log)
		return -ENOMEM;
	sw->debugfs = debugfs_create_dir("esw", NULL);
	debugfs_create_file("requests", 0600, sw->debugfs, sw, &log_fops);
	return 0;
}

void esw_log_destroy(struct esw_switch *sw)
{
	debugfs_remove(sw->debugfs);
	vfree(sw->log);
}
