// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include <fcntl.h>

#include "cfp/shared.h"
#include "core/shm_file.h"

namespace esw {
namespace {

constexpr ShmFile rule_file = {
    .path = "/dev/shm/cfp_rule.cfg",
    .size = sizeof(eth_cfp_rule_t),
    .least_written = 0,
    .sync = O_SYNC,
    .mode = owner_only,
    .other_sizes = "",
};
static_assert(rule_file.size <= largest_record);

constexpr ShmFile last_index_file = {
    .path = "/dev/shm/cfp_last_idx.cfg",
    .size = sizeof(int32_t),
    .least_written = 0,
    .sync = O_SYNC,
    .mode = owner_only,
    .other_sizes = " or 0",
};

} // namespace

int32_t last_chosen_slot()
{
    int32_t index = 0;
    load(last_index_file, &index);
    return index >= 0 && index <= last_cfp_slot ? index : 0;
}

int32_t ethHw_cfp_last_idx_save(int32_t index) { return store(last_index_file, &index); }

} // namespace esw

int32_t eth_cfp_rule_store(const eth_cfp_rule_t *rule) { return esw::store(esw::rule_file, rule); }
int32_t eth_cfp_rule_load(eth_cfp_rule_t *rule) { return esw::load(esw::rule_file, rule); }
