// Files that are read and written whole.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>

/// False for what cannot be opened or read, a directory among it.
inline bool ReadWholeFile(const std::string& path, std::string& text) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return false;
    }
    text.clear();
    char buffer[1 << 16];
    std::size_t count = 0;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) != 0) {
        text.append(buffer, count);
    }
    const bool complete = std::ferror(file) == 0;
    std::fclose(file);
    return complete;
}

inline bool WriteWholeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    return file.good();
}
