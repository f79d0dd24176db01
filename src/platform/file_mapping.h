// A whole file in memory, for reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// A regular file open for reading, others allowed to read it too. Closed when it goes out of scope.
class OpenedFile {
  public:
    OpenedFile() = default;
    explicit OpenedFile(const std::string& path);
    ~OpenedFile();
    OpenedFile(OpenedFile&& other) noexcept;
    OpenedFile& operator=(OpenedFile&& other) noexcept;

    /// False where there is no such file, it is no regular file, or it may not be read.
    bool IsOpen() const { return handle_ != INVALID; }
    /// What the system knows the open file by; it stays this object's. -1 if not open.
    std::intptr_t Handle() const { return handle_; }

  private:
    static constexpr std::intptr_t INVALID = -1;
    std::intptr_t handle_ = INVALID;
};

/// What UnmapFile needs to give a view back. `bytes` is empty where nothing is mapped.
struct FileMapping {
    std::span<const std::uint8_t> bytes;
};

enum MapResult { MAP_DONE, MAP_FAILED_CREATE, MAP_FAILED_VIEW };

/// Maps the whole of `file`, which must be open, into `mapping`; the mapping outlives the open file. An empty file
/// gives MAP_DONE and no bytes. On MAP_FAILED_VIEW `error` takes the system's error number.
MapResult MapFile(const OpenedFile& file, FileMapping& mapping, unsigned long& error);

/// Gives the view back; nothing happens for one that is empty.
void UnmapFile(FileMapping& mapping);
