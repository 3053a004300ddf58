// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include "cfp/shared.h"

int32_t eth_cfp_init(void)
{
    eth_cfp_rule_clear();
    eth_cfp_udf_init();
    esw::ethHw_cfp_last_idx_save(0);
    return ETH_E_NONE;
}
