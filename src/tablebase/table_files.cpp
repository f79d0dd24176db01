#include <cstdio>
#include <string>
#include <vector>

#include "platform/process.h"
#include "tablebase/tables.h"

namespace {

/// The path as it was given, with zeros in place of the semicolons: one directory name behind another. The names are
/// used as they stand, whatever the system's own form is.
std::string TablePathText;
std::vector<const char*> TablePaths;

}  // namespace

void SetTablePaths(const std::string& path) {
    ClearTablePaths();
    TablePathText = path;
    bool inside = false;
    for (char& character : TablePathText) {
        if (character == ';') {
            character = '\0';
        } else if (!inside) {
            TablePaths.push_back(&character);
        }
        inside = character != '\0';
    }
}

void ClearTablePaths() {
    TablePaths.clear();
    TablePathText.clear();
}

OpenedFile OpenTableFile(const char* name, const char* suffix) {
    std::string path;
    for (const char* directory : TablePaths) {
        path.assign(directory).append("/").append(name).append(suffix);
        if (OpenedFile file(path); file.IsOpen()) {
            return file;
        }
    }
    return {};
}

bool MapTableFile(const char* name, const char* suffix, FileMapping& mapping) {
    const OpenedFile file = OpenTableFile(name, suffix);
    if (!file.IsOpen()) {
        return false;
    }
    unsigned long error = 0;
    switch (MapFile(file, mapping, error)) {
        case MAP_DONE:
            return true;
        case MAP_FAILED_CREATE:
            std::puts("CreateFileMapping() failed.");
            ExitEngine(1);
        case MAP_FAILED_VIEW:
            std::printf("MapViewOfFile() failed, name = %s%s, error = %lu.\n", name, suffix, error);
            ExitEngine(1);
    }
    return false;
}

void UnmapTableFile(FileMapping& mapping) {
    UnmapFile(mapping);
}
