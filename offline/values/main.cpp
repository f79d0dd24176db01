// quorvanth-values: turns the named parameter file that people change into the plain one that the engine reads, and
// back.

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "values/named_values.h"

namespace {

constexpr char USAGE[] =
    "usage: quorvanth-values pack NAMED PLAIN     makes values.txt of a named file\n"
    "       quorvanth-values unpack PLAIN NAMED   makes a named file of values.txt\n";

/// False for what cannot be opened or read, a directory among it.
bool ReadFile(const char* path, std::string& text) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) {
        return false;
    }
    char buffer[1 << 16];
    std::size_t count = 0;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) != 0) {
        text.append(buffer, count);
    }
    const bool complete = std::ferror(file) == 0;
    std::fclose(file);
    return complete;
}

bool WriteFile(const char* path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    return file.good();
}

int Convert(bool pack, const char* from, const char* to) {
    std::string text;
    if (!ReadFile(from, text)) {
        std::fprintf(stderr, "%s: cannot be read\n", from);
        return 1;
    }
    FileValues values;
    const std::string problem = pack ? ReadNamedValues(text, values) : ReadPlainValues(text, values);
    if (!problem.empty()) {
        std::fprintf(stderr, "%s: %s\n", from, problem.c_str());
        return 1;
    }
    if (!WriteFile(to, pack ? PlainText(values) : NamedText(values))) {
        std::fprintf(stderr, "%s: cannot be written\n", to);
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view command = argc == 4 ? argv[1] : "";
    if (command != "pack" && command != "unpack") {
        std::fputs(USAGE, stderr);
        return 2;
    }
    return Convert(command == "pack", argv[2], argv[3]);
}
