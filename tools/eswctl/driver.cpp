// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/driver.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <esw.h>
#include <fmt/format.h>

#include "chip/registers.h"
#include "eswctl/command.h"
#include "eswctl/terminal.h"

namespace eswctl {
namespace {

constexpr unsigned long read_register = SIOCDEVPRIVATE + 1;
constexpr unsigned long write_register = SIOCDEVPRIVATE + 2;
constexpr unsigned long read_eee = SIOCDEVPRIVATE + 5;
constexpr unsigned long write_eee = SIOCDEVPRIVATE + 6;

struct RegisterRequest {
    uint64_t value;
    uint8_t width, page, offset, padding[5];
};

using Address = std::pair<uint8_t, uint8_t>; // page, offset

// A request as the kernel got it, whatever its route.
struct Request {
    int descriptor;
    unsigned long number;
    void *argument;

    [[nodiscard]] bool is_register() const { return number == read_register || number == write_register; }
    [[nodiscard]] bool is_mii() const { return number == SIOCGMIIREG || number == SIOCSMIIREG; }
    [[nodiscard]] bool is_eee() const { return number == read_eee || number == write_eee; }
    [[nodiscard]] RegisterRequest &registers() const
    {
        const bool device = descriptor == gFd && gFd > 0;
        return *static_cast<RegisterRequest *>(device ? argument : static_cast<ifreq *>(argument)->ifr_data);
    }
    [[nodiscard]] mii_ioctl_data &mii() const
    {
        return *reinterpret_cast<mii_ioctl_data *>(&static_cast<ifreq *>(argument)->ifr_ifru);
    }
    [[nodiscard]] ethtool_eee &eee() const
    {
        return *reinterpret_cast<ethtool_eee *>(static_cast<ifreq *>(argument)->ifr_data);
    }
    int pass() const
    {
        static const auto next =
            reinterpret_cast<int (*)(int, unsigned long, ...)>(dlsym(RTLD_NEXT, "ioctl"));
        return next(descriptor, number, argument);
    }
};

// A table behind index, data and command registers. Reading an entry changes nothing, but needs its index and
// its command to reach the switch.
struct Table {
    Address command;
    uint8_t start;                 // bits that start an operation, and read as set until it is done
    uint8_t operations, reading;   // bits that tell the operation, and their value for reading an entry
    uint8_t clearing;              // and for clearing the whole table; 0: none does
    uint32_t index;                // bits that tell the entry, where no register does
    uint8_t first_data, last_data; // offsets on the command's page
};
constexpr Table tables[] = {
    {{0x05, 0x00}, 0x80, 0x01, 0x01, 0, 0, 0x10, 0x48},             // ARL
    {{0x05, 0x50}, 0x80, 0x80, 0x80, 0, 0, 0x60, 0x78},             // ARL search
    {{0x05, 0x80}, 0x80, 0x03, 0x01, 0x02, 0, 0x83, 0x83},          // VLAN table
    {{0x34, 0x40}, 0x05, 0x07, 0x01, 0x04, 0xFFF0, 0x44, 0x44},     // egress VLAN translation
    {{0xA0, 0x00}, 0x01, 0x1F, 0x03, 0x11, 0xFFFFFFE0, 0x10, 0x88}, // CFP rules
    {{0x00, 0x88}, 0x80, 0x00, 0x01, 0, 0, 0xFF, 0x00},             // fast-age flush: nothing to read
};

constexpr bool is_withheld(const chip::Register &row)
{
    return row.starts == 0 || std::ranges::any_of(tables, [&](const Table &table) {
               return table.command == Address(row.page, row.offset) && table.start == row.starts;
           });
}
static_assert(std::ranges::all_of(chip::registers, is_withheld), "a dry run would start an operation");

struct Index {
    Address address;
    Address command; // of its table
};
constexpr Index index_registers[] = {
    {{0x05, 0x02}, {0x05, 0x00}}, {{0x05, 0x08}, {0x05, 0x00}}, {{0x05, 0x81}, {0x05, 0x80}}};

const Table *table_commanded_by(Address address)
{
    for (const Table &table : tables) {
        if (table.command == address)
            return &table;
    }
    return nullptr;
}

const Table *table_holding(Address data)
{
    for (const Table &table : tables) {
        if (data.first == table.command.first && data.second >= table.first_data &&
            data.second <= table.last_data)
            return &table;
    }
    return nullptr;
}

std::string register_name(Address address)
{
    const auto [row, index] = chip::locate(address.first, address.second);
    if (!row)
        return "unnamed";
    return row->count == 1 ? row->name : fmt::format("{}-{}", row->name, index);
}

unsigned register_width(Address address)
{
    const chip::Register *row = chip::locate(address.first, address.second).row;
    return row ? row->width : 64;
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

struct Withheld {
    Values registers;
    std::map<Address, size_t> rows; // of registers among the changes: a second write to one continues its row
    std::map<Key, Values> entries;  // data registers of the entries of tables
    std::set<const Table *> cleared;
    const Table *blank = nullptr; // the entry that was read last is of a cleared table
    std::map<std::pair<uint16_t, uint16_t>, uint16_t> phy_registers;
    std::vector<Change> changes;
    WithheldFile files[3] = {
        {"/dev/shm/vid_list.cfg"}, {"/dev/shm/cfp_last_idx.cfg"}, {"/dev/shm/cfp_rule.cfg"}};
};

struct Failure {
    std::string request;
    int error;
};
std::optional<Failure> failure;

bool tracing = false;
std::optional<Withheld> withheld;

uint64_t present_value(const Request &request, Address address)
{
    if (const auto found = withheld->registers.find(address); found != withheld->registers.end())
        return found->second;
    RegisterRequest &wire = request.registers();
    const RegisterRequest kept = wire;
    wire.page = address.first;
    wire.offset = address.second;
    const Request reading{request.descriptor, read_register, request.argument};
    const uint64_t value = reading.pass() == 0 ? wire.value : ~uint64_t{0};
    wire = kept;
    return value;
}

// Writes to one register make one row, unless the last one takes the first one back: such a pulse starts
// something.
void note_register(Address address, uint64_t from, uint64_t to)
{
    const unsigned width = register_width(address);
    const auto row = withheld->rows.find(address);
    if (row != withheld->rows.end() && withheld->changes[row->second].from != hex(to, width)) {
        withheld->changes[row->second].to = hex(to, width);
        return;
    }
    withheld->rows[address] = withheld->changes.size();
    withheld->changes.push_back({register_name(address),
                                 fmt::format("{:02x}:{:02x}", address.first, address.second),
                                 hex(from, width), hex(to, width)});
}

void withhold(const Request &request, Address address, uint64_t value)
{
    note_register(address, present_value(request, address), value);
    withheld->registers[address] = value;
}

bool belongs(Address address, const Table &table)
{
    const auto *index = std::ranges::find(index_registers, address, &Index::address);
    return address == table.command || table_holding(address) == &table ||
           (index != std::end(index_registers) && index->command == table.command);
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
        if (index.command == table.command)
            key.push_back(present_value(request, index.address));
    }
    return key;
}

// The entry comes from the switch, with what was withheld of it.
int read_entry(const Request &request, const Table &table)
{
    const RegisterRequest command = request.registers();
    const Key key = key_of(request, table, command.value);
    for (const Index &index : index_registers) {
        const auto found = withheld->registers.find(index.address);
        if (index.command != table.command || found == withheld->registers.end())
            continue;
        RegisterRequest &wire = request.registers();
        wire.page = index.address.first;
        wire.offset = index.address.second;
        wire.value = found->second;
        if (const int result = request.pass(); result != 0)
            return result;
        if (const auto row = withheld->rows.find(index.address); row != withheld->rows.end())
            withheld->changes[row->second].to = withheld->changes[row->second].from; // only to read
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
    if (table.clearing != 0 && (command & table.operations) == table.clearing) {
        std::erase_if(withheld->entries,
                      [&](const auto &entry) { return entry.first.front() == key.front(); });
        withheld->cleared.insert(&table);
    } else {
        if (key.size() > 2) // the last index register tells the VID
            withheld->changes[withheld->rows.at(table.command)].where += fmt::format(" VID {}", key.back());
        Values &entry = withheld->entries[key];
        for (const auto &[address, value] : withheld->registers) {
            if (table_holding(address) == &table)
                entry[address] = value;
        }
    }
    forget(withheld->rows, table);
    withheld->registers[table.command] = command & ~uint64_t{table.start};
}

int withhold_register(const Request &request)
{
    const RegisterRequest &wire = request.registers();
    const Address address{wire.page, wire.offset};
    const unsigned width = register_width(address);
    const uint64_t value = width == 64 ? wire.value : wire.value & ((uint64_t{1} << width) - 1);
    const Table *table = table_commanded_by(address);
    if (!table || (value & table->start) == 0)
        withhold(request, address, value);
    else if ((value & table->operations) == table->reading)
        return read_entry(request, *table);
    else
        withhold_operation(request, *table, value);
    return 0;
}

int serve_register(const Request &request)
{
    if (request.number == write_register)
        return withhold_register(request);
    RegisterRequest &wire = request.registers();
    const Address address{wire.page, wire.offset};
    const auto found = withheld->registers.find(address);
    const bool blank = withheld->blank && table_holding(address) == withheld->blank;
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
    if (request.number == SIOCGMIIREG) {
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
        const Request reading{request.descriptor, SIOCGMIIREG, request.argument};
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
    if (request.number == read_eee)
        return request.pass();
    const ethtool_eee &eee = request.eee();
    withheld->changes.push_back({"eee-enabled", fmt::format("port map {:#x}", eee.reserved[0]), "",
                                 fmt::format("{}", eee.eee_enabled)});
    return 0;
}

int serve(const Request &request)
{
    if (!withheld)
        return request.pass();
    if (request.is_register())
        return serve_register(request);
    return request.is_mii() ? serve_mii(request) : serve_eee(request);
}

std::string name_of(const Request &request)
{
    if (request.is_mii())
        return fmt::format("request for PHY {} register {}", request.mii().phy_id, request.mii().reg_num);
    if (request.is_eee())
        return fmt::format("request for EEE of port map {:#x}", request.eee().reserved[0]);
    const RegisterRequest &wire = request.registers();
    return fmt::format("{} {:02x}:{:02x} ({})", request.number == write_register ? "write to" : "read of",
                       wire.page, wire.offset, register_name({wire.page, wire.offset}));
}

std::string account_of(const Request &request)
{
    if (request.is_register()) {
        const RegisterRequest &wire = request.registers();
        const bool write = request.number == write_register;
        return fmt::format("{} {:02x}:{:02x} w{} {} {:#x}  {}", write ? "write" : "read ", wire.page,
                           wire.offset, wire.width, write ? "<-" : "->", wire.value,
                           register_name({wire.page, wire.offset}));
    }
    if (request.is_mii()) {
        const mii_ioctl_data &mii = request.mii();
        const bool write = request.number == SIOCSMIIREG;
        return fmt::format("{} phy {} reg {} {} {:#x}", write ? "write" : "read ", mii.phy_id, mii.reg_num,
                           write ? "<-" : "->", write ? mii.val_in : mii.val_out);
    }
    const ethtool_eee &eee = request.eee();
    const bool write = request.number == write_eee;
    return fmt::format("{} eee port map {:#x} {} enabled {}", write ? "write" : "read ", eee.reserved[0],
                       write ? "<-" : "->", eee.eee_enabled);
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

// The library's file, or its copy once something was going to change it.
std::string place_of(const char *path, int flags)
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

std::string why_requests_failed()
{
    if (!failure)
        return "";
    switch (failure->error) {
    case EPERM:
    case EACCES:
        return "no permission; run eswctl as root, or with CAP_NET_ADMIN";
    case ENODEV:
        return fmt::format("there is no interface {}; name the switch's with -i", interface_name());
    case EOPNOTSUPP:
        return fmt::format("interface {} has no switch behind it; name the switch's with -i",
                           interface_name());
    default:
        return strerror(failure->error);
    }
}

void forget_failures() { failure.reset(); }

void check_requests()
{
    if (!failure)
        return;
    const std::string message =
        fmt::format("the driver refused a {}: {}", failure->request, why_requests_failed());
    forget_failures();
    throw Refused{message};
}

void trace_requests() { tracing = true; }

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

} // namespace eswctl

extern "C" {

int ioctl(int descriptor, unsigned long number, ...)
{
    using namespace eswctl;
    va_list rest;
    va_start(rest, number);
    const Request request{descriptor, number, va_arg(rest, void *)};
    va_end(rest);
    if (!request.is_register() && !request.is_mii() && !request.is_eee())
        return request.pass();
    const int result = serve(request);
    const int kept = errno;
    if (result != 0)
        failure = {name_of(request), kept};
    if (tracing)
        tell(fmt::format("{}{}\n", account_of(request), result == 0 ? "" : " failed"));
    errno = kept;
    return result;
}

// The library tells of each request that fails. One such message is enough: the command fails, too.
void perror(const char *text)
{
    static std::set<std::string> told;
    const std::string message = fmt::format("{}: {}\n", text, strerror(errno));
    if (told.insert(message).second)
        eswctl::tell(message);
}

int open(const char *path, int flags, ...)
{
    using namespace eswctl;
    static const auto next = reinterpret_cast<int (*)(const char *, int, ...)>(dlsym(RTLD_NEXT, "open"));
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return next(withheld ? place_of(path, flags).c_str() : path, flags, mode);
}

} // extern "C"
