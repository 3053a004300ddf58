#include "sim/model/driver.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace sim {

bool Driver::fails_now()
{
    ++requests_;
    return requests_ == options_.failing_request || options_.all_requests_fail ||
           (options_.failing_from != 0 && requests_ >= options_.failing_from);
}

int Driver::serve(Route route, bool write, esw::RegisterRequest &request)
{
    const int error = fails_now() ? EIO : 0;
    const uint64_t sent = request.value;
    if (error == 0) {
        if (write)
            switch_.write(request.page, request.offset, request.value);
        else
            request.value = switch_.read(request.page, request.offset);
    }
    if (trace_) {
        char line[128];
        const char *name = route == Route::device ? "device   " : "interface";
        const int length = snprintf(line, sizeof line, "%s %s %02x:%02x w%u", name, write ? "write" : "read ",
                                    request.page, request.offset, request.width);
        if (write || error == 0)
            snprintf(line + length, sizeof line - static_cast<size_t>(length), " %s 0x%" PRIx64 "%s",
                     write ? "<-" : "->", write ? sent : request.value, error ? " failed" : "");
        else
            snprintf(line + length, sizeof line - static_cast<size_t>(length), " failed");
        trace_(context_, line);
    }
    return error;
}

} // namespace sim
