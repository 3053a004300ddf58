/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: result codes and the declarations that every header of the library shares. */
#ifndef ESW_TYPES_H
#define ESW_TYPES_H

#include <stdint.h>

/* clang-format off */
#ifdef __cplusplus
#define ESW_BEGIN_DECLS _Pragma("GCC visibility push(default)") extern "C" {
#define ESW_END_DECLS } _Pragma("GCC visibility pop")
#else
#define ESW_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define ESW_END_DECLS _Pragma("GCC visibility pop")
#endif
/* clang-format on */

/* Result codes. Every call that has a result returns a signed 32-bit number: 0 when it is done, a negative
 * code when it failed. Each call's description names the codes that it can return. */
enum {
    ETH_E_NONE = 0,          /* success */
    ETH_E_FAIL = -1,         /* initialisation, transport or file failure */
    ETH_E_PARAM = -4,        /* an argument out of its range */
    ETH_E_FULL = -6,         /* no free slot (ARL bucket, L2 cache, CFP table) */
    ETH_E_NOT_FOUND = -7,    /* the VLAN does not exist */
    ETH_E_EXISTS = -8,       /* the VLAN exists already */
    ETH_E_TIMEOUT = -9,      /* a wait ran out of its budget; a failed MII request */
    ETH_E_PHY = -11,         /* a PHY register access failed */
    ETH_E_EMPTY = -12,       /* the addressed slot holds no valid entry */
    ETH_E_RESOURCE = -14,    /* no socket can be created */
    ETH_E_UNAVAIL = -16,     /* operation, mode, selector or code not available (on this device, or at all) */
    ETH_E_UNSUPPORTED = -17, /* the device is not of the class that the operation serves */
    ETH_E_PORT = -18         /* a port, or a bit of a port set, outside the ports accepted */
};

#endif
