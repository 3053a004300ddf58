// SPDX-License-Identifier: GPL-2.0
/*
 * The interfaces. They carry no frames: what counts here are the requests on a socket that name
 * them. The core holds the RTNL meanwhile. It wants CAP_NET_ADMIN for PHY requests, but nothing for
 * private ones: that is left to the driver.
 */
#include <linux/capability.h>
#include <linux/etherdevice.h>
#include <linux/moduleparam.h>
#include <linux/netdevice.h>

#include "esw.h"

static bool private_needs_admin = true;
module_param(private_needs_admin, bool, 0644);
MODULE_PARM_DESC(private_needs_admin, "private requests of an interface need CAP_NET_ADMIN (default Y)");

struct esw_interface {
	struct esw_switch *sw;
};

static netdev_tx_t esw_xmit(struct sk_buff *skb, struct net_device *dev)
{
	dev->stats.tx_dropped++;
	dev_kfree_skb(skb);
	return NETDEV_TX_OK;
}

static int esw_siocdevprivate(struct net_device *dev, struct ifreq *ifr, void __user *data, int cmd)
{
	struct esw_switch *sw = ((struct esw_interface *)netdev_priv(dev))->sw;

	if (private_needs_admin && !capable(CAP_NET_ADMIN))
		return -EPERM;
	switch (cmd) {
	case ESW_READ:
	case ESW_WRITE:
		return esw_serve_user(sw, ESW_DOOR_INTERFACE, cmd == ESW_WRITE, data);
	case ESW_GET_EEE:
	case ESW_SET_EEE:
		return esw_serve_eee(sw, cmd == ESW_SET_EEE, data);
	default:
		return -EOPNOTSUPP;
	}
}

static int esw_eth_ioctl(struct net_device *dev, struct ifreq *ifr, int cmd)
{
	struct esw_switch *sw = ((struct esw_interface *)netdev_priv(dev))->sw;

	switch (cmd) {
	case SIOCGMIIREG:
	case SIOCSMIIREG:
		return esw_serve_mii(sw, cmd == SIOCSMIIREG, if_mii(ifr));
	default:
		return -EOPNOTSUPP;
	}
}

static const struct net_device_ops esw_netdev_ops = {
	.ndo_start_xmit = esw_xmit,
	.ndo_validate_addr = eth_validate_addr,
	.ndo_set_mac_address = eth_mac_addr,
	.ndo_siocdevprivate = esw_siocdevprivate,
	.ndo_eth_ioctl = esw_eth_ioctl,
};

static struct net_device *create(struct esw_switch *sw, const char *name)
{
	struct net_device *dev;
	int result;

	if (!dev_valid_name(name))
		return ERR_PTR(-EINVAL);
	dev = alloc_netdev(sizeof(struct esw_interface), name, NET_NAME_USER, ether_setup);
	if (!dev)
		return ERR_PTR(-ENOMEM);
	((struct esw_interface *)netdev_priv(dev))->sw = sw;
	dev->netdev_ops = &esw_netdev_ops;
	eth_hw_addr_random(dev);
	netif_carrier_off(dev);
	result = register_netdev(dev);
	if (result) {
		free_netdev(dev);
		return ERR_PTR(result);
	}
	return dev;
}

int esw_net_register(struct esw_switch *sw, char **names, unsigned int count)
{
	unsigned int i;

	for (i = 0; i < count; i++) {
		struct net_device *dev = create(sw, names[i]);

		if (IS_ERR(dev)) {
			esw_net_unregister(sw);
			return PTR_ERR(dev);
		}
		sw->interfaces[i] = dev;
	}
	return 0;
}

/* A request that is under way ends first; none comes behind it. */
void esw_net_unregister(struct esw_switch *sw)
{
	unsigned int i;

	for (i = 0; i < ARRAY_SIZE(sw->interfaces) && sw->interfaces[i]; i++) {
		unregister_netdev(sw->interfaces[i]);
		free_netdev(sw->interfaces[i]);
		sw->interfaces[i] = NULL;
	}
}
