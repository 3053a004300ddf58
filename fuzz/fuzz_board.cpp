// SPDX-License-Identifier: LGPL-2.1-or-later
// The simulator's options as text, and a board whose file somebody changed: no request may break its process.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "sim/board/board.h"
#include "sim/model/driver.h"

namespace {

const std::string &directory()
{
    static const std::string path = [] {
        char pattern[] = "/dev/shm/esw-fuzz-XXXXXX";
        return std::string(mkdtemp(pattern));
    }();
    return path;
}

void check_options(const std::string &input)
{
    const std::string text = input.c_str(); // up to a zero, as the environment has it

    sim::Options options;
    uint64_t number = 0;
    sim::parse_faults(text.c_str(), options);
    sim::parse_route(text.c_str(), options);
    if (sim::parse_number(text.c_str(), number) && text.front() != '0' && std::to_string(number) != text)
        abort();
}

// Eight bytes of input change one place of the file: four say where, four are written there.
void check_board(const uint8_t *data, size_t size)
{
    if (!sim::create_board(directory().c_str(), 0x2404))
        abort();
    const std::string file = directory() + "/switch";
    const int descriptor = open(file.c_str(), O_RDWR);
    for (; size >= 8; data += 8, size -= 8) {
        uint32_t at = 0;
        memcpy(&at, data, sizeof at);
        // The mutex is between the processes themselves.
        constexpr uint32_t begin = offsetof(sim::SharedSwitch, state);
        at = begin + at % static_cast<uint32_t>(sizeof(sim::State) - 4);
        if (pwrite(descriptor, data + 4, 4, at) != 4)
            abort();
    }
    close(descriptor);
    sim::SharedSwitch *board = sim::attach_board(directory().c_str());
    if (!board)
        return;
    const sim::Options options;
    sim::Driver driver(board->state, options);
    for (unsigned access = 0; access < 0x10000; access += 3) {
        esw::RegisterRequest request{.value = 0x81,
                                     .width = 64,
                                     .page = static_cast<uint8_t>(access >> 8),
                                     .offset = static_cast<uint8_t>(access)};
        if (access % 2 != 0 && driver.serve(sim::Route::device, true, request) != 0)
            abort();
        if (driver.serve(sim::Route::device, false, request) != 0)
            abort();
    }
    munmap(board, sizeof *board);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool cleans_up =
        !directory().empty() && atexit([] { std::filesystem::remove_all(directory()); }) == 0;
    if (!cleans_up || size == 0)
        return 0;
    if (data[0] % 2 == 0)
        check_options({reinterpret_cast<const char *>(data) + 1, size - 1});
    else
        check_board(data + 1, size - 1);
    return 0;
}
