// SPDX-License-Identifier: LGPL-2.1-or-later
// A change that waits for its confirmation: what was there before is in a file, with a deadline. Whoever comes
// upon an overdue one goes back: the command that made the change, a process that watches it, or the next
// command on the switch.
#pragma once

#include "eswctl/report.h"

namespace eswctl {

class Pending {
public:
    // Before the first change. From now on, nothing that ends this program leaves the switch without its way
    // back.
    Pending(const Json &before, uint64_t seconds, const std::string &change);

    // Until somebody confirms. Throws Refused when nobody did, once everything is back.
    void await();

    // There is nothing to go back from, or it is done.
    void settle(const std::string &outcome) const;

private:
    Json record_;
};

void refuse_while_pending(); // throws Refused, which says who waits

void go_back_when_overdue();

} // namespace eswctl
