/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* libesw: user-space control of a managed 3-port Ethernet switch. Includes the whole public interface.
 *
 * Conventions, stated once and valid for every header under esw/:
 *
 * 1. Start and end. esw_init() comes before, and esw_exit() after, every other call, and neither may run
 *    beside any other call. Exceptions are named where they are documented.
 *
 * 2. Results. A call that has a result returns ETH_E_NONE (0) or a negative ETH_E_* code (esw/types.h);
 *    exceptions are named where they are documented. Most calls do not look at the result of single register
 *    requests: a failed request shows as the message that its primitive prints (esw/core.h), as an all-ones
 *    reading, or as a wait that times out. A change of some bits whose read failed sets all the others.
 *
 * 3. Checks. Arguments are checked before any register access, in the order device class (where the call
 *    has one), port, other arguments. When a check fails, nothing is written to the switch. Exceptions are
 *    named where they are documented.
 *
 * 4. Ownership. The caller owns every record, array and out-parameter; the library keeps no pointer to any
 *    of them after a call returns and allocates nothing. Pointers must not be null.
 *
 * 5. Presets. "Preset: X" means that an out-parameter is set to X before any check and keeps X when the call
 *    fails. An out-parameter without a preset is untouched when the call fails.
 *
 * 6. Ports are 0 and 1 (with PHYs) and 8 (facing the processor). A port set is a 32-bit map with bit n for
 *    port n; its valid bits are 0x103. VIDs are 0 to 4095, priorities and traffic classes 0 to 7. A MAC
 *    address is 6 bytes in transmission order.
 *
 * 7. Threads. "Lock: held" means that the call holds the library's one switch lock (one mutex a process)
 *    during all its register accesses; such calls may run concurrently with each other. "Lock: none" means
 *    that the call takes no lock: the application must not run it at the same time as another call that
 *    touches the same registers. Requests to PHYs are no register accesses. The lock does not reach other
 *    processes.
 *
 * 8. Device classes. Class A is the device ID 0x11140; class B are 0x2360, 0xD300, 0xD310 to 0xD314, 0x2404,
 *    0x2407, 0x2409 and 0x5075. The class is derived from gESWID (esw/core.h) at each call.
 *
 * 9. Messages. Diagnostics go to standard output (printf, puts), to standard error (perror) or to syslog,
 *    without openlog; each call names what it prints.
 *
 * 10. Registers are written PAGE:OFFSET/WIDTH, as in 02:30/32. Page and offset are hexadecimal, in formulas
 *    such as 05:(10 + 10 * BIN) too. The width is the number of bits, decimal, with which the library
 *    addresses the register: a MAC address is the low 48 bits of 64. Bits are numbered from 0. "Sets",
 *    "clears" and "replaces" bits means two requests, a read and then a write.
 */
#ifndef ESW_H
#define ESW_H

#include <esw/cfp.h>
#include <esw/control.h>
#include <esw/core.h>
#include <esw/l2.h>
#include <esw/mirror.h>
#include <esw/port.h>
#include <esw/qos.h>
#include <esw/stat.h>
#include <esw/types.h>
#include <esw/vlan.h>

#endif
