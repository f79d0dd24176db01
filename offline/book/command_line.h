// What the command line asks the book maker for.
#pragma once

#include "book/make.h"

#include <span>
#include <string>
#include <string_view>

extern const std::string_view USAGE;

enum class BookCommand { HELP, MAKE, DUMP };

struct CommandLine {
    BookCommand command = BookCommand::HELP;
    BookOrder make;
    std::string dump_from;
    std::string dump_to;  // empty for standard output
};

/// False on a command line that makes no sense; `error` then says what is wrong with it.
bool ReadCommandLine(std::span<const std::string_view> arguments, CommandLine& line, std::string& error);
