// SPDX-License-Identifier: LGPL-2.1-or-later
// The file that says which VLANs exist.
#include "tests/support/board.h"
#include "tests/support/file_calls.h"

#include <filesystem>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <esw.h>

namespace {

using namespace test;
namespace fs = std::filesystem;

const std::string none(4096, '0');
const std::string missing = "No vlan file found, calling vlan init";
const std::string warning = "WARNING file size not equals to 4096";

int32_t read_10() { return get_vid(10); }
int32_t write_10() { return set_vid(10, -7); }
std::string with_10(std::string bytes) { return bytes.replace(10, 1, "1"); }

class Membership : public Board {
protected:
    void put(const std::string &bytes) const
    {
        std::ofstream(file) << (bytes[0] ? bytes : "");
        fs::resize_file(file, bytes.size());
    }

    // "result: standard output, standard error"
    std::string outcome(const std::function<int32_t()> &call)
    {
        int32_t result = 0;
        calls.log.clear();
        const Texts texts = printed([&] {
            watched = &calls;
            result = call();
            watched = nullptr;
        });
        return fmt::format("{}: {}{}", result, texts.out, texts.error);
    }
    const std::string file = shm("vid_list.cfg");
    FileCalls calls;
};

TEST_F(Membership, ReaderAndWriterOnEveryStateOfTheFile)
{
    const std::string sized = "-1: " + warning;
    const std::string stored = "0: \n" + warning;
    const std::string other(4096, '\xFF');
    struct {
        std::optional<std::string> before;
        std::string read, written, after;
    } const states[] = {
        {{}, "0: " + missing + "!\n", "0: " + missing + '\n', with_10(none)},
        {"", "-1: ", stored, with_10(none)},
        {"1111111111", sized, stored, with_10(none)},  // the byte lies behind the end
        {"11111111110", sized, stored, "11111111111"}, // and inside
        {with_10(none), "1: ", "0: ", with_10(none)},
        {other, "207: ", "0: ", with_10(other)},
        {none + '0', sized, stored, with_10(none + '0')},
        {std::string(4096, '\0'), "-48: ", "0: ", with_10(std::string(4096, '\0'))}, // a hole
    };
    for (const auto &state : states) {
        const auto prepare = [&] { state.before ? put(*state.before) : void(fs::remove(file)); };
        prepare();
        EXPECT_EQ(outcome(read_10), state.read);
        EXPECT_EQ(contents(file), state.before.value_or(none));
        prepare();
        EXPECT_EQ(outcome(write_10), state.written);
        EXPECT_EQ(contents(file), state.after);
    }
}

// Anyone may plant something, and a program may have run out of descriptors: nothing is touched then.
TEST_F(Membership, OnlyAMissingFileIsCreated)
{
    const std::string victim = file + ".victim";
    const std::string lost = missing + "!\n";
    const std::string linked = "open: Too many levels of symbolic links\n";
    const std::string odd = "No such device or address\n";
    const struct {
        std::function<void()> plant;
        std::string read, written, made;
    } plants[] = {
        {[&] { fs::create_symlink(victim, file); }, lost + linked, missing + '\n' + linked, linked},
        {[&] { fs::create_symlink("nowhere", file); }, lost + linked, missing + '\n' + linked, linked},
        {[&] { mkfifo(file.c_str(), 0600); }, "fstat: " + odd, "fstat: " + odd, "open: " + odd},
        {[&] { fs::create_directory(file); }, "fstat: " + odd, missing + "\nopen: Is a directory\n",
         "open: Is a directory\n"},
    };
    std::ofstream(victim) << "precious";
    for (const auto &[plant, read, written, made] : plants) {
        plant();
        EXPECT_EQ(outcome(read_10), "-1: " + read);
        EXPECT_EQ(outcome(write_10), "-1: " + written);
        EXPECT_EQ(outcome(init_vid_list), "-1: " + made);
        fs::remove(file);
    }
    EXPECT_EQ(fs::file_size(victim), 8);

    mkfifo(file.c_str(), 0600);
    const int reader = open(file.c_str(), O_RDONLY | O_NONBLOCK);
    char byte;
    EXPECT_EQ(outcome(init_vid_list), "-1: write: " + odd) << "a FIFO that somebody reads";
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
    fs::remove(file);

    put(with_10(none));
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none_left{static_cast<rlim_t>(open("/", O_PATH)), limit.rlim_max};
    close(static_cast<int>(none_left.rlim_cur));
    const auto starved = [&] {
        setrlimit(RLIMIT_NOFILE, &none_left);
        const int32_t result = read_10() * 10 + write_10();
        setrlimit(RLIMIT_NOFILE, &limit);
        return result;
    };
    const std::string full = "open: Too many open files\n";
    EXPECT_EQ(outcome(starved), "-11: " + lost + missing + '\n' + full + full);
    EXPECT_EQ(contents(file), with_10(none));
}

TEST_F(Membership, CallsOfTheCLibrary)
{
    const mode_t before = umask(0);
    EXPECT_EQ(outcome(init_vid_list), "0: ");
    umask(before);
    const auto opened = [](int flags) { return fmt::format("open {:#o}", flags); };
    EXPECT_THAT(calls.log, ElementsAre(opened(O_WRONLY | O_CREAT), "flock 6", "fstat", "write", "ftruncate",
                                       "fchmod", "flock 8"));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    outcome(write_10);
    EXPECT_THAT(calls.log, ElementsAre(opened(O_RDWR | O_SYNC), "fstat", "fflush", "mmap 4096 prot 3 flags 1",
                                       "msync 4096 flags 4", "munmap 4096"));
    outcome(read_10);
    EXPECT_THAT(calls.log, ElementsAre(opened(O_RDONLY), "fstat", "pread"));
    put(none + "junk");
    EXPECT_EQ(outcome(init_vid_list), "0: ");
    EXPECT_EQ(contents(file), none);
}

TEST_F(Membership, FailuresAreTold)
{
    EXPECT_EQ(outcome([] { return get_vid(4096); }), "-1: \nError: vid>4095");
    EXPECT_EQ(outcome([] { return set_vid(0xFFFF, 1); }), "-1: \nError: vid>4095");
    EXPECT_FALSE(fs::exists(file));
    const std::string full = "write: No space left on device\n";
    const struct {
        int32_t (*call)();
        std::string before;
        const char *failing; // the call, behind a blank one that is short
        std::string outcome;
    } failures[] = {
        {write_10, "", "write", "-1: \n" + warning + full},
        {init_vid_list, "", "write", "-1: " + full},
        {init_vid_list, "", " write", "-1: Warning: write doesn't return expected number of bytes"},
        {init_vid_list, none + '0', "ftruncate", "-1: " + full},
        {read_10, none, "pread", "-1: \nget_vid: mmap: No space left on device\n"},
        {write_10, std::string(4096, '\0'), "pwrite", "-1: " + full}, // a page that the file lacks
        {write_10, none, "mmap", "-1: \nset_vid: mmap: No space left on device\n"},
        {read_10, none, "fstat", "-1: fstat: No space left on device\n"},
        {write_10, none, "fstat", "-1: fstat: No space left on device\n"},
    };
    calls.error = ENOSPC;
    for (const auto &c : failures) {
        put(c.before);
        calls.is_short = c.failing[0] == ' ';
        calls.fails = [&](const std::string &line, unsigned) {
            return line.starts_with(c.failing + calls.is_short);
        };
        EXPECT_EQ(outcome(c.call), c.outcome);
        EXPECT_EQ(calls.log.back() == "usleep 1000000", c.failing == std::string("mmap"));
    }
    calls.fails = nullptr;
    put(none);
    const int other = open(file.c_str(), O_RDONLY);
    flock(other, LOCK_SH);
    EXPECT_EQ(outcome(init_vid_list), "-1: write: Resource temporarily unavailable\n") << "locked for ever";
    EXPECT_THAT(calls.log, testing::Contains("usleep 100").Times(19999));
    close(other);
}

// Two find the file missing; while one has made it but not filled it, the other one creates its VLAN.
TEST_F(Membership, WhoeverFindsTheFileMissingLosesNothing)
{
    start();
    const auto both = [&] {
        int32_t inner = -1;
        calls.before_lock = [&] { inner = eth_vlan_create(20); };
        return eth_vlan_create(10) * 10 + inner;
    };
    EXPECT_EQ(outcome(both), "0: " + missing + "!\n");
    EXPECT_EQ(contents(file), with_10(none).replace(20, 1, "1"));

    const auto killed = [&] { close(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 01600)); };
    for (const auto &call : {read_10, write_10}) {
        fs::remove(file);
        killed(); // before it filled the file
        EXPECT_EQ(outcome(call), "0: ");
        EXPECT_EQ(contents(file), call == read_10 ? none : with_10(none));
        EXPECT_EQ(fs::status(file).permissions(), fs::perms{0600});
    }
}

TEST_F(Membership, MakingTheListAnewHurtsNobody)
{
    put(none);
    const pid_t other = fork();
    for (int round = 0; other == 0 && round < 3000; ++round) {
        if (init_vid_list() != 0)
            _exit(1);
    }
    if (other == 0)
        _exit(0);
    int status = 0;
    while (waitpid(other, &status, WNOHANG) == 0)
        EXPECT_EQ(get_vid(4095) * 10 + set_vid(4095, 0), 0);
    EXPECT_EQ(status, 0);
}

} // namespace
