// Files of a test's own, and what a routine prints.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

/// The bytes of a file, none where there is no such file.
inline std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A directory that is gone with the object, and all that is in it.
class TestFolder {
  public:
    TestFolder() : path_((std::filesystem::temp_directory_path() / "quorvanth-XXXXXX").string()) {
        std::filesystem::permissions(mkdtemp(path_.data()), std::filesystem::perms::all);
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string Path(const std::string& name = "") const { return name.empty() ? path_ : path_ + "/" + name; }
    std::string Read(const std::string& name) const { return ReadAll(Path(name)); }
    void Write(const std::string& name, std::string_view bytes) const {
        std::filesystem::remove(Path(name));  // to truncate a file makes some systems wait for the disk
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }

  private:
    std::string path_;
};

/// The folder to work in as long as the object lives, because some names are fixed.
class WorkingFolder : public TestFolder {
  public:
    WorkingFolder() { std::filesystem::current_path(Path()); }
    ~WorkingFolder() { std::filesystem::current_path(home_); }

  private:
    std::filesystem::path home_ = std::filesystem::current_path();
};

template <typename Action>
std::string OutputOf(Action&& action) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}
