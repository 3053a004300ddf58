// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/pending.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <fmt/format.h>

#include "eswctl/config.h"
#include "eswctl/dry_run.h"
#include "eswctl/families.h"
#include "eswctl/json_file.h"
#include "eswctl/output.h"
#include "eswctl/terminal.h"
#include "eswctl/turn.h"

namespace eswctl {
namespace {

constexpr char pending_file[] = "esw.pending";
constexpr char settled_file[] = "esw.settled"; // what became of the last one
constexpr char draft_file[] = "esw.pending.new";
constexpr off_t largest = 16 << 20; // bytes of a file
constexpr uint64_t longest_wait = 86400;

// In milliseconds, while the system sleeps, too; whatever becomes of its date.
uint64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1000 + static_cast<uint64_t>(time.tv_nsec) / 1'000'000;
}

struct Record {
    std::string id;
    std::string words; // whose change it is, or what became of it
    uint64_t seconds;  // to wait
    uint64_t time;     // the deadline, or when it was settled
    bool kept = false;
    Json before = nullptr; // the configuration, or the record of what was settled before

    // A deadline further away than it can be is from before the system's start.
    [[nodiscard]] uint64_t left() const
    {
        const uint64_t present = now();
        return time <= present || time - present > seconds * 1000 ? 0 : time - present;
    }
    [[nodiscard]] std::string ago() const
    {
        return fmt::format("{} s ago", (now() - std::min(time, now())) / 1000);
    }
};

bool went_back = false; // this command found an overdue change

// ---- Records on disk

Json as_document(const Record &record)
{
    return {{"id", record.id},     {"words", record.words}, {"seconds", record.seconds},
            {"time", record.time}, {"kept", record.kept},   {"before", record.before}};
}

Record as_record(const Json &document)
{
    const auto number = [&](const char *name) { return document.at(name).get_ref<const uint64_t &>(); };
    return {document.at("id").get<std::string>(),      document.at("words").get<std::string>(),
            std::min(number("seconds"), longest_wait), number("time"),
            document.at("kept").get<bool>(),           document.at("before")};
}

// The directory is everybody's: a file there counts when it is one's own or the superuser's.
Refused not_trusted(const std::string &path, const std::string &reason)
{
    return {
        fmt::format("a change may be waiting for its confirmation, but {} is not to be trusted: {}; whoever "
                    "put it there can confirm or end it, and root can remove it",
                    path, reason)};
}

std::optional<std::string> text_of(const std::string &path)
{
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0 && errno == ENOENT)
        return std::nullopt;
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0)
        throw not_trusted(path, strerror(errno));
    const bool foreign = status.st_uid != geteuid() && status.st_uid != 0;
    const bool trusted = S_ISREG(status.st_mode) && !foreign;
    std::string text(static_cast<size_t>(trusted ? std::min(status.st_size, largest) : 0), '\0');
    const ssize_t size = read(file, text.data(), text.size());
    text.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)));
    close(file);
    if (!trusted)
        throw not_trusted(path,
                          foreign ? fmt::format("it belongs to user {}", status.st_uid) : "it is no file");
    return text;
}

bool discard(const std::string &path) { return withholds_file(path, 0) || unlink(path.c_str()) == 0; }

std::optional<Record> load(const char *name)
{
    const std::string path = beside_lock(name);
    const auto text = text_of(path);
    try {
        return text ? std::optional(as_record(parse_json(*text))) : std::nullopt;
    } catch (const Refused &refused) {
        tell(fmt::format("eswctl: {} is damaged, and goes: {}\n", path, refused.message));
    } catch (const std::exception &) {
        tell(fmt::format("eswctl: {} is damaged, and goes: no record of a change\n", path));
    }
    discard(path);
    return std::nullopt;
}

// Nobody reads half of it.
void store(const char *name, const Record &record)
{
    const std::string path = beside_lock(name);
    const std::string draft = beside_lock(draft_file);
    const std::string text = as_document(record).dump(-1, ' ', false, Json::error_handler_t::replace);
    if (withholds_file(path, text.size()))
        return;
    unlink(draft.c_str());
    const int file = open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    errno = file < 0 ? errno : ENOSPC; // a short write leaves it as it is
    const bool written = file >= 0 && write(file, text.data(), text.size()) == std::ssize(text) &&
                         fsync(file) == 0 && rename(draft.c_str(), path.c_str()) == 0;
    const int reason = errno;
    if (file >= 0)
        close(file);
    if (!written)
        throw Refused{fmt::format("cannot write {}: {}", path, strerror(reason))};
}

// What became of a change that waits no more; of the last one without a name.
std::optional<Record> outcome_of(const std::string &id = "")
{
    try {
        auto record = load(settled_file);
        while (record && !id.empty() && record->id != id)
            record = record->before.is_null() ? std::nullopt : std::optional(as_record(record->before));
        return record;
    } catch (...) { // another user's, or damaged
        return std::nullopt;
    }
}

// Behind some earlier ones: whoever made the change may look for it later than the next one comes.
void settle_record(const Record &record, bool kept, const std::string &outcome)
{
    constexpr int earlier = 8;
    const auto last = outcome_of();
    Json before = last ? as_document(*last) : nullptr;
    Json *at = &before;
    for (int depth = 0; depth < earlier && !at->is_null(); ++depth)
        at = &(*at)["before"];
    *at = nullptr;
    try {
        store(settled_file, {record.id, outcome, record.seconds, now(), kept, before});
    } catch (const Refused &) { // others learn less then
    }
    const std::string path = beside_lock(pending_file);
    if (!discard(path) && errno != ENOENT)
        throw Refused{fmt::format("cannot remove {}: {}", path, strerror(errno))};
}

// ---- The way back

// Says in words what came of it; throws Refused when not everything is back.
std::string take_back(const Record &record, const std::string &why)
{
    std::string left;
    std::string outcome = why + "; ";
    try {
        left = go_back_to(understand(record.before.dump(), "what was there before", false));
        outcome += way_back_in_words(left);
    } catch (const Refused &refused) {
        left = refused.message;
        outcome += "cannot go back: " + left;
    }
    settle_record(record, false, outcome);
    if (!left.empty())
        throw Refused{outcome};
    return outcome;
}

std::string overdue(const Record &record)
{
    return fmt::format("nobody confirmed the change within {} s", record.seconds);
}

// ---- Waiting

enum class Event : uint8_t { confirmed, given_up, overdue, settled };

// Enter counts while the terminal is ours: reading from the background would stop the program.
bool pressed_enter(int milliseconds)
{
    const bool listens = isatty(STDIN_FILENO) && tcgetpgrp(STDIN_FILENO) == getpgrp();
    pollfd terminal{STDIN_FILENO, POLLIN, 0};
    if (poll(&terminal, listens ? 1 : 0, milliseconds) <= 0 || (terminal.revents & POLLIN) == 0)
        return false;
    char line[64];
    return read(STDIN_FILENO, line, sizeof line) > 0;
}

// Until something happens to the change, its deadline at last. Others have the switch meanwhile.
Event next_event(Record &record, bool attended)
{
    constexpr int look_again = 250; // milliseconds
    const UnlockedWhile waits;
    struct stat seen = {};
    const std::string path = beside_lock(pending_file);
    for (;;) {
        struct stat status = {};
        if (stat(path.c_str(), &status) != 0 || status.st_ino != seen.st_ino ||
            memcmp(&status.st_mtim, &seen.st_mtim, sizeof seen.st_mtim) != 0) {
            const auto present = load(pending_file);
            if (!present || present->id != record.id)
                return Event::settled;
            record = *present;
            seen = status;
        }
        const uint64_t left = record.left();
        if (left == 0)
            return Event::overdue;
        if (attended && take_interrupt())
            return Event::given_up;
        if (pressed_enter(static_cast<int>(std::min<uint64_t>(left, look_again))) && attended)
            return Event::confirmed;
    }
}

std::string author(const std::string &change)
{
    const passwd *user = getpwuid(geteuid());
    return fmt::format("{} by {}, process {}", excerpt(change),
                       user ? user->pw_name : std::to_string(geteuid()), getpid());
}

// ---- Commands

Record pending_now()
{
    if (auto record = load(pending_file))
        return *record;
    const auto last = outcome_of();
    throw Refused{!last ? "no change waits for its confirmation"
                  : last->kept
                      ? "no change waits for its confirmation; the last one was confirmed " + last->ago()
                      : fmt::format("the change is gone: {}, {}", last->words, last->ago())};
}

Report keep_change(const Arguments &)
{
    const Record record = pending_now();
    settle_record(record, true, "confirmed");
    return done(fmt::format("confirmed: {}", record.words), {{"confirmed", true}});
}

Report roll_back(const Arguments &arguments)
{
    const bool when_due = arguments["--when-due"].get<bool>();
    if (went_back)
        return done("went back already", {{"rolled_back", true}});
    Record record = pending_now();
    for (;;) {
        const Event event = when_due ? next_event(record, false) : Event::given_up;
        const auto present = load(pending_file);
        if (event == Event::settled || !present || present->id != record.id)
            return done("settled already", {{"rolled_back", false}});
        if (event == Event::overdue && present->left() != 0)
            continue; // the change has just been made: its time begins now
        const std::string why = event == Event::overdue ? overdue(record) : "taken back on request";
        return done(take_back(*present, why), {{"rolled_back", true}});
    }
}

} // namespace

Pending::Pending(const Json &before, uint64_t seconds, const std::string &change)
    : record_(as_document({fmt::format("{}-{}", getpid(), now()), author(change), seconds,
                           now() + seconds * 1000, false, before}))
{
    refuse_while_pending();
    store(pending_file, as_record(record_));
    try {
        start("/proc/self/exe", {"eswctl", "-i", interface_name(), "rollback", "--when-due"}, true);
    } catch (const Refused &) {
        settle("nothing was changed");
        throw;
    }
}

void Pending::await()
{
    Record record = as_record(record_);
    record.time = now() + record.seconds * 1000;
    store(pending_file, record);
    const bool attended = isatty(STDIN_FILENO);
    tell(fmt::format("eswctl: changed for {} s, unless {}eswctl confirm makes it last; eswctl rollback{} "
                     "goes back at once\n",
                     record.seconds, attended ? "Enter or " : "", attended ? " or Ctrl-C" : ""));
    if (attended)
        tcflush(STDIN_FILENO, TCIFLUSH); // what was typed before is no answer
    const Event event = next_event(record, true);
    if (const auto present = load(pending_file); !present || present->id != record.id) {
        const auto outcome = outcome_of(record.id);
        if (!outcome || !outcome->kept)
            throw Refused{outcome ? outcome->words : "the change was settled by another program"};
    } else if (event == Event::confirmed) {
        settle_record(record, true, "confirmed");
    } else {
        throw Refused{take_back(record, event == Event::overdue ? overdue(record) : "interrupted")};
    }
}

void Pending::settle(const std::string &outcome) const { settle_record(as_record(record_), false, outcome); }

void refuse_while_pending()
{
    if (const auto record = load(pending_file))
        throw Refused{
            fmt::format("another change waits for its confirmation, {} s at most: {}; eswctl confirm "
                        "makes it last, eswctl rollback goes back",
                        record->left() / 1000 + 1, record->words)};
}

void go_back_when_overdue()
{
    bool found = false;
    try {
        const auto record = load(pending_file);
        found = record && record->left() == 0;
        if (found)
            tell(fmt::format("eswctl: {}\n", take_back(*record, overdue(*record))));
        went_back = found;
    } catch (const Refused &refused) {
        if (found) // and a file that is not trusted is for those who change something to tell
            tell(fmt::format("eswctl: {}\n", refused.message));
    }
}

void add_pending_commands(Family &family)
{
    family.add("confirm", "Make a change last that waits for its confirmation", keep_change);
    family.add("rollback", "Go back from a change that waits for its confirmation", roll_back,
               flag("--when-due", "wait until then; restore --confirm starts this beside itself"));
}

} // namespace eswctl
