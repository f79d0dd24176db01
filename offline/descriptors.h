// File descriptors of pipes between processes.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>

/// Closes what is open and marks it as closed with -1.
inline void CloseOnce(int& descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

/// Writes everything, over interruptions by signals; false when the other end is gone.
inline bool WriteAll(int descriptor, const void* bytes, std::size_t size) {
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(descriptor, at, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        at += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}
