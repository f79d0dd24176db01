#include "tools/foreign_path.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

bool FileExists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

std::string TranslateForeignPath(std::string_view name) {
    if (name.size() >= 2 && name[1] == ':' && IsLetter(name[0])) {
        name.remove_prefix(2);
    }
    name.remove_prefix(std::min(name.find_first_not_of("\\/"), name.size()));
    std::string path(name);
    std::ranges::replace(path, '\\', '/');
    return path;
}

PathForm FindForeignFile(std::string_view name) {
    const bool only_translated = !FileExists(std::string(name)) && FileExists(TranslateForeignPath(name));
    return only_translated ? PathForm::Translated : PathForm::AsWritten;
}

std::string PathInForm(std::string_view name, PathForm form) {
    return form == PathForm::Translated ? TranslateForeignPath(name) : std::string(name);
}
