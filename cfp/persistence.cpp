// SPDX-License-Identifier: LGPL-2.1-or-later
#include <esw/cfp.h>

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>

#include "cfp/shared.h"
#include "core/file.h"

namespace esw {
namespace {

constexpr char rule_file[] = "/dev/shm/cfp_rule.cfg";
constexpr char last_index_file[] = "/dev/shm/cfp_last_idx.cfg";
constexpr mode_t owner_only = 0600;

// A file of one record replaces it whole.
int32_t store(const char *path, const void *record, size_t size)
{
    File file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_SYNC, owner_only));
    if (!file) {
        perror("open");
        return ETH_E_FAIL;
    }
    const ssize_t written = write(file.descriptor(), record, size);
    file.close();
    if (written == static_cast<ssize_t>(size))
        return ETH_E_NONE;
    if (written == -1)
        perror("write");
    else
        printf("Warning: write doesn't return expected number of bytes");
    return ETH_E_FAIL;
}

// A missing file is created, and an empty one holds zeros. A failure leaves the record alone.
// `alternative` ends the warning about another size.
int32_t load(const char *path, const char *alternative, void *record, size_t size)
{
    const File file(open(path, O_RDONLY | O_CREAT, owner_only));
    if (!file) {
        perror("open");
        return ETH_E_FAIL;
    }
    struct stat status;
    if (fstat(file.descriptor(), &status) != 0) {
        perror("fstat");
        return ETH_E_FAIL;
    }
    char contents[sizeof(eth_cfp_rule_t)] = {};
    if (status.st_size == static_cast<off_t>(size)) {
        if (read(file.descriptor(), contents, size) != static_cast<ssize_t>(size))
            return ETH_E_FAIL;
    } else if (status.st_size != 0) {
        printf("\nWARNING file size not equals to %d%s", static_cast<int>(size), alternative);
        fflush(stdout);
        return ETH_E_FAIL;
    }
    memcpy(record, contents, size);
    return ETH_E_NONE;
}

} // namespace

int32_t last_chosen_slot()
{
    int32_t index = 0;
    load(last_index_file, " or 0", &index, sizeof index);
    return index >= 0 && index <= last_cfp_slot ? index : 0;
}

int32_t ethHw_cfp_last_idx_save(int32_t index) { return store(last_index_file, &index, sizeof index); }

} // namespace esw

int32_t eth_cfp_rule_store(const eth_cfp_rule_t *rule)
{
    return esw::store(esw::rule_file, rule, sizeof *rule);
}

int32_t eth_cfp_rule_load(eth_cfp_rule_t *rule) { return esw::load(esw::rule_file, "", rule, sizeof *rule); }
