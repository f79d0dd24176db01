// quorvanth-values: turns the named parameter file that people change into the plain one that the engine reads, and
// back, and takes the numbers of a plain file over into a named one.

#include <cstdio>
#include <string>
#include <string_view>

#include "values/named_values.h"
#include "whole_file.h"

namespace {

constexpr char USAGE[] =
    "usage: quorvanth-values pack NAMED PLAIN         makes values.txt of a named file\n"
    "       quorvanth-values unpack PLAIN NAMED       makes a named file of values.txt\n"
    "       quorvanth-values update NAMED PLAIN OUT   makes the named file OUT: NAMED with the numbers of PLAIN\n";

int Complain(const char* path, const std::string& problem) {
    std::fprintf(stderr, "%s: %s\n", path, problem.c_str());
    return 1;
}

int Convert(bool pack, const char* from, const char* to) {
    std::string text;
    if (!ReadWholeFile(from, text)) {
        return Complain(from, "cannot be read");
    }
    FileValues values;
    const std::string problem = pack ? ReadNamedValues(text, values) : ReadPlainValues(text, values);
    if (!problem.empty()) {
        return Complain(from, problem);
    }
    return WriteWholeFile(to, pack ? PlainText(values) : NamedText(values)) ? 0 : Complain(to, "cannot be written");
}

int Update(const char* named, const char* plain, const char* to) {
    std::string named_text;
    std::string plain_text;
    if (!ReadWholeFile(named, named_text)) {
        return Complain(named, "cannot be read");
    }
    if (!ReadWholeFile(plain, plain_text)) {
        return Complain(plain, "cannot be read");
    }
    FileValues values;
    if (const std::string problem = ReadPlainValues(plain_text, values); !problem.empty()) {
        return Complain(plain, problem);
    }
    std::string updated;
    if (const std::string problem = UpdateNamedText(named_text, values, updated); !problem.empty()) {
        return Complain(named, problem);
    }
    return WriteWholeFile(to, updated) ? 0 : Complain(to, "cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (argc == 4 && (command == "pack" || command == "unpack")) {
        return Convert(command == "pack", argv[2], argv[3]);
    }
    if (argc == 5 && command == "update") {
        return Update(argv[2], argv[3], argv[4]);
    }
    std::fputs(USAGE, stderr);
    return 2;
}
