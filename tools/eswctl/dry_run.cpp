// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/dry_run.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fmt/format.h>

#include "chip/registers.h"
#include "eswctl/kinds.h"

namespace eswctl {
namespace {

// A table behind index, data and command registers. Reading an entry changes nothing, but needs its index and
// its command to reach the switch.
struct Table {
    Address command;
    uint8_t start;                       // bits that start an operation, and read as set until it is done
    uint8_t operations = 0;              // bits that tell the operation
    std::optional<uint8_t> reading = {}; // their value for reading an entry, where there is something to read
    std::optional<uint8_t> clearing = {};                 // and for clearing the whole table
    uint32_t index = 0;                                   // bits that tell the entry, where no register does
    std::optional<std::pair<uint8_t, uint8_t>> data = {}; // first and last offset on the command's page

    [[nodiscard]] bool holds(Address address) const
    {
        return data && address.first == command.first && address.second >= data->first &&
               address.second <= data->second;
    }
};
using Span = std::pair<uint8_t, uint8_t>;
constexpr Table arl{
    .command = {0x05, 0x00}, .start = 0x80, .operations = 0x01, .reading = 0x01, .data = Span{0x10, 0x48}};
constexpr Table arl_search{
    .command = {0x05, 0x50}, .start = 0x80, .operations = 0x80, .reading = 0x80, .data = Span{0x60, 0x78}};
constexpr Table vlan_table{.command = {0x05, 0x80},
                           .start = 0x80,
                           .operations = 0x03,
                           .reading = 0x01,
                           .clearing = 0x02,
                           .data = Span{0x83, 0x83}};
constexpr Table egress_translation{.command = {0x34, 0x40},
                                   .start = 0x05,
                                   .operations = 0x07,
                                   .reading = 0x01,
                                   .clearing = 0x04,
                                   .index = 0xFFF0,
                                   .data = Span{0x44, 0x44}};
constexpr Table cfp_rules{.command = {0xA0, 0x00},
                          .start = 0x01,
                          .operations = 0x1F,
                          .reading = 0x03,
                          .clearing = 0x11,
                          .index = 0xFFFFFFE0,
                          .data = Span{0x10, 0x88}};
constexpr Table fast_age_flush{.command = {0x00, 0x88}, .start = 0x80};
constexpr const Table *tables[] = {&arl,       &arl_search,    &vlan_table, &egress_translation,
                                   &cfp_rules, &fast_age_flush};

constexpr bool is_withheld(const chip::Register &row)
{
    return row.starts == 0 || std::ranges::any_of(tables, [&](const Table *table) {
               return table->command == Address(row.page, row.offset) && table->start == row.starts;
           });
}
static_assert(std::ranges::all_of(chip::registers, is_withheld), "a dry run would start an operation");

struct Index {
    Address address;
    const Table *table;
};
constexpr Index index_registers[] = {{{0x05, 0x02}, &arl}, {{0x05, 0x08}, &arl}, {{0x05, 0x81}, &vlan_table}};

const Table *table_commanded_by(Address address)
{
    const auto *found = std::ranges::find(tables, address, &Table::command);
    return found == std::end(tables) ? nullptr : *found;
}

struct Change {
    std::string what, where, from, to;
};

using Values = std::map<Address, uint64_t>;
using Key = std::vector<uint64_t>; // of an entry: its table's command register, then what the index says

struct WithheldFile {
    const char *path;
    int copy = -1; // holds the file's contents from its first change on
};

// Of a register among the changes: a second write to it continues its row.
struct OpenRow {
    size_t change;
    uint64_t before; // its last write
};

struct Withheld {
    Values registers;
    std::map<Address, OpenRow> rows;
    std::map<Key, Values> entries; // data registers of the entries of tables
    std::set<const Table *> cleared;
    const Table *blank = nullptr; // the entry that was read last is of a cleared table
    std::map<std::pair<uint16_t, uint16_t>, uint16_t> phy_registers;
    std::vector<Change> changes;
    WithheldFile files[3] = {
        {"/dev/shm/vid_list.cfg"}, {"/dev/shm/cfp_last_idx.cfg"}, {"/dev/shm/cfp_rule.cfg"}};
};

std::optional<Withheld> withheld;

uint64_t present_value(const Request &request, Address address)
{
    if (const auto found = withheld->registers.find(address); found != withheld->registers.end())
        return found->second;
    esw::RegisterRequest &wire = request.registers();
    const esw::RegisterRequest kept = wire;
    wire.page = address.first;
    wire.offset = address.second;
    const Request reading{request.descriptor, esw::request_read, request.argument};
    const uint64_t value = reading.pass() == 0 ? wire.value : ~uint64_t{0};
    wire = kept;
    return value;
}

void add_row(Address address, uint64_t from, uint64_t to)
{
    const unsigned width = register_width(address);
    withheld->rows[address] = {withheld->changes.size(), from};
    withheld->changes.push_back({register_name(address),
                                 fmt::format("{:02x}:{:02x}", address.first, address.second),
                                 hex(from, width), hex(to, width)});
}

// Writes to one register make one row, unless the last one takes an earlier one back: such a pulse starts
// something.
void note_register(Address address, uint64_t from, uint64_t to)
{
    const auto found = withheld->rows.find(address);
    if (found == withheld->rows.end()) {
        add_row(address, from, to);
        return;
    }
    const unsigned width = register_width(address);
    auto &[row, before] = found->second;
    Change &change = withheld->changes[row];
    if (from == to || (to != before && change.from != hex(to, width))) {
        change.to = hex(to, width);
        before = from == to ? before : from;
        return;
    }
    if (to == before && change.from != hex(before, width)) {
        change.to = hex(before, width);
        add_row(address, before, from);
    }
    add_row(address, from, to);
}

void withhold(const Request &request, Address address, uint64_t value)
{
    note_register(address, present_value(request, address), value);
    withheld->registers[address] = value;
}

bool belongs(Address address, const Table &table)
{
    const auto *index = std::ranges::find(index_registers, address, &Index::address);
    return address == table.command || table.holds(address) ||
           (index != std::end(index_registers) && index->table == &table);
}

// Their rows stay, and later writes begin new ones.
template <typename Map>
void forget(Map &map, const Table &table)
{
    std::erase_if(map, [&](const auto &entry) { return belongs(entry.first, table); });
}

Key key_of(const Request &request, const Table &table, uint64_t command)
{
    Key key = {uint64_t{table.command.first} << 8 | table.command.second, command & table.index};
    for (const Index &index : index_registers) {
        if (index.table == &table)
            key.push_back(present_value(request, index.address));
    }
    return key;
}

// The entry comes from the switch, with what was withheld of it.
int read_entry(const Request &request, const Table &table)
{
    const esw::RegisterRequest command = request.registers();
    const Key key = key_of(request, table, command.value);
    for (const Index &index : index_registers) {
        const auto found = withheld->registers.find(index.address);
        if (index.table != &table || found == withheld->registers.end())
            continue;
        esw::RegisterRequest &wire = request.registers();
        wire.page = index.address.first;
        wire.offset = index.address.second;
        wire.value = found->second;
        if (const int result = request.pass(); result != 0)
            return result;
        if (const auto row = withheld->rows.find(index.address); row != withheld->rows.end())
            withheld->changes[row->second.change].to =
                withheld->changes[row->second.change].from; // only to read
    }
    request.registers() = command;
    forget(withheld->registers, table);
    forget(withheld->rows, table);
    const int result = request.pass();
    const auto entry = withheld->entries.find(key);
    withheld->blank =
        entry == withheld->entries.end() && withheld->cleared.contains(&table) ? &table : nullptr;
    if (entry != withheld->entries.end())
        withheld->registers.insert(entry->second.begin(), entry->second.end());
    return result;
}

void withhold_operation(const Request &request, const Table &table, uint64_t command)
{
    const Key key = key_of(request, table, command);
    note_register(table.command, present_value(request, table.command), command);
    if (table.clearing == (command & table.operations)) {
        std::erase_if(withheld->entries,
                      [&](const auto &entry) { return entry.first.front() == key.front(); });
        withheld->cleared.insert(&table);
    } else {
        if (key.size() > 2) // the last index register tells the VID
            withheld->changes[withheld->rows.at(table.command).change].where +=
                fmt::format(" VID {}", key.back());
        Values &entry = withheld->entries[key];
        for (const auto &[address, value] : withheld->registers) {
            if (table.holds(address))
                entry[address] = value;
        }
    }
    forget(withheld->rows, table);
    withheld->registers[table.command] = command & ~uint64_t{table.start};
}

int withhold_register(const Request &request)
{
    const esw::RegisterRequest &wire = request.registers();
    const Address address{wire.page, wire.offset};
    const unsigned width = register_width(address);
    const uint64_t value = width == 64 ? wire.value : wire.value & ((uint64_t{1} << width) - 1);
    const Table *table = table_commanded_by(address);
    if (!table || (value & table->start) == 0)
        withhold(request, address, value);
    else if (table->reading == (value & table->operations))
        return read_entry(request, *table);
    else
        withhold_operation(request, *table, value);
    return 0;
}

int serve_register(const Request &request)
{
    if (request.writes())
        return withhold_register(request);
    esw::RegisterRequest &wire = request.registers();
    const Address address{wire.page, wire.offset};
    const auto found = withheld->registers.find(address);
    const bool blank = withheld->blank && withheld->blank->holds(address);
    if (found == withheld->registers.end() && !blank)
        return request.pass();
    wire.value = found == withheld->registers.end() ? 0 : found->second;
    return 0;
}

int serve_mii(const Request &request)
{
    mii_ioctl_data &mii = request.mii();
    const std::pair key(mii.phy_id, mii.reg_num);
    const auto found = withheld->phy_registers.find(key);
    if (!request.writes()) {
        if (found == withheld->phy_registers.end())
            return request.pass();
        mii.val_out = found->second;
        return 0;
    }
    const uint16_t value = mii.val_in;
    uint16_t old = 0;
    if (found != withheld->phy_registers.end()) {
        old = found->second;
    } else {
        const Request reading{request.descriptor, esw::request_mii_read, request.argument};
        if (const int result = reading.pass(); result != 0)
            return result;
        old = mii.val_out;
    }
    if (old != value)
        withheld->changes.push_back({"phy-register", fmt::format("phy {} reg {}", key.first, key.second),
                                     hex(old, 16), hex(value, 16)});
    withheld->phy_registers[key] = value;
    return 0;
}

int serve_eee(const Request &request)
{
    if (!request.writes())
        return request.pass();
    const ethtool_eee &eee = request.eee();
    withheld->changes.push_back({"eee-enabled", fmt::format("port map {:#x}", eee.reserved[0]), "",
                                 fmt::format("{}", eee.eee_enabled)});
    return 0;
}

// Through the C library's streams, which this file's open() does not see.
std::string contents_of(const char *path)
{
    std::string text;
    if (FILE *stream = fopen(path, "r")) {
        char block[4096];
        while (const size_t size = fread(block, 1, sizeof block, stream))
            text.append(block, size);
        fclose(stream);
    }
    return text;
}

std::string whole(int descriptor)
{
    std::string text(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    const ssize_t size = pread(descriptor, text.data(), text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<size_t>(size));
    return text;
}

// The membership file has a byte for each VID; of the others it is enough to know that they change.
void note_file(std::vector<Change> &changes, const std::string &path, const std::string &from,
               const std::string &to)
{
    if (path.find("vid_list") == std::string::npos) {
        if (from != to)
            changes.push_back(
                {"file", path, fmt::format("{} bytes", from.size()), fmt::format("{} bytes", to.size())});
        return;
    }
    for (size_t vid = 0; vid < to.size(); ++vid) {
        const char old = vid < from.size() ? from[vid] : '0';
        if (old != to[vid])
            changes.push_back({"vlan", fmt::format("VID {}", vid), old == '0' ? "absent" : "exists",
                               to[vid] == '0' ? "absent" : "exists"});
    }
}

} // namespace

void withhold_writes() { withheld.emplace(); }

bool withholds_writes() { return withheld.has_value(); }

bool withholds_file(const std::string &path, size_t size)
{
    if (!withheld)
        return false;
    withheld->changes.push_back({"file", path, "", fmt::format("{} bytes", size)});
    return true;
}

Report withheld_changes()
{
    std::vector<Change> changes = withheld->changes;
    for (WithheldFile &file : withheld->files) {
        if (file.copy >= 0)
            note_file(changes, file.path, contents_of(file.path), whole(file.copy));
    }
    Json rows = Json::array();
    for (const Change &change : changes) {
        if (change.from == change.to)
            continue;
        rows.push_back({{"register", change.what},
                        {"address", change.where},
                        {"from", change.from.empty() ? Json() : Json(change.from)},
                        {"to", change.to}});
    }
    return table("changes",
                 {{"register", "register"}, {"address", "address"}, {"from", "from"}, {"to", "to"}},
                 std::move(rows), "nothing would change");
}

int serve_withheld(const Request &request)
{
    if (request.is_register())
        return serve_register(request);
    return request.is_mii() ? serve_mii(request) : serve_eee(request);
}

// The library's file, or its copy once something was going to change it.
std::string withheld_place(const char *path, int flags)
{
    const bool changes = (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
    for (WithheldFile &file : withheld->files) {
        if (strcmp(file.path, path) != 0)
            continue;
        if (file.copy < 0 && (!changes || (access(path, F_OK) != 0 && !(flags & O_CREAT))))
            return path;
        if (file.copy < 0) {
            file.copy = memfd_create("eswctl-dry-run", MFD_CLOEXEC);
            const std::string original = contents_of(path);
            if (write(file.copy, original.data(), original.size()) < 0)
                return path;
        }
        return fmt::format("/proc/self/fd/{}", file.copy);
    }
    return path;
}

} // namespace eswctl
