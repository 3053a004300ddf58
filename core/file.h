// SPDX-License-Identifier: LGPL-2.1-or-later
// A descriptor that closes itself.
#pragma once

#include <unistd.h>

namespace esw {

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() { close(); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    explicit operator bool() const { return descriptor_ >= 0; }
    [[nodiscard]] int descriptor() const { return descriptor_; }

    // For those who have something to do after the close; otherwise the destructor closes.
    void close()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = -1;
    }

private:
    int descriptor_;
};

} // namespace esw
