#include "platform/file_mapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#endif

namespace {

int Descriptor(std::intptr_t handle) {
    return static_cast<int>(handle);
}

bool IsRegular(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Behind a file's end its last page holds zeros that anyone may read. The address sanitizer is told of them, so that
/// a step beyond the end shows.
void MarkPageEnd(const std::uint8_t* view, std::size_t size, bool forbidden) {
#ifdef __SANITIZE_ADDRESS__
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t rest = (page - size % page) % page;
    if (forbidden) {
        ASAN_POISON_MEMORY_REGION(view + size, rest);
    } else {
        ASAN_UNPOISON_MEMORY_REGION(view + size, rest);
    }
#else
    static_cast<void>(view);
    static_cast<void>(size);
    static_cast<void>(forbidden);
#endif
}

}  // namespace

// Not blocking: the name may be that of a pipe, whose opening would wait for a writer.
OpenedFile::OpenedFile(const std::string& path) : handle_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    if (IsOpen() && !IsRegular(Descriptor(handle_))) {
        close(Descriptor(std::exchange(handle_, INVALID)));
    }
}

OpenedFile::~OpenedFile() {
    if (IsOpen()) {
        close(Descriptor(handle_));
    }
}

OpenedFile::OpenedFile(OpenedFile&& other) noexcept : handle_(std::exchange(other.handle_, INVALID)) {}

OpenedFile& OpenedFile::operator=(OpenedFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
}

// One call both creates the mapping and maps the view here; a size that cannot be had counts as a failed creation.
MapResult MapFile(const OpenedFile& file, FileMapping& mapping, unsigned long& error) {
    struct stat status {};
    if (fstat(Descriptor(file.Handle()), &status) != 0 || status.st_size < 0) {
        return MAP_FAILED_CREATE;
    }
    mapping.bytes = {};
    if (status.st_size == 0) {
        return MAP_DONE;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const view = mmap(nullptr, size, PROT_READ, MAP_SHARED, Descriptor(file.Handle()), 0);
    if (view == MAP_FAILED) {
        error = static_cast<unsigned long>(errno);
        return MAP_FAILED_VIEW;
    }
    mapping.bytes = {static_cast<const std::uint8_t*>(view), size};
    MarkPageEnd(mapping.bytes.data(), size, true);
    return MAP_DONE;
}

void UnmapFile(FileMapping& mapping) {
    if (!mapping.bytes.empty()) {
        MarkPageEnd(mapping.bytes.data(), mapping.bytes.size(), false);
        // The system's interface takes the address as it gave it out, not const.
        munmap(const_cast<std::uint8_t*>(mapping.bytes.data()), mapping.bytes.size());
        mapping.bytes = {};
    }
}
