// The line interpreter, at the prompt, during a search and in `edit`: an input is what stands on standard input.
//
// The input functions of the platform are replaced by those below: a line is always waiting, and behind the input's
// last one stands `quit`. The search polls for input every few nodes, because the linker puts the routines below around
// those that set the interval, and each poll takes a line: so every search ends soon, whatever its limits.

#include "frontend/interpreter.h"
#include "engine.h"
#include "frontend/tokens.h"
#include "platform/input.h"
#include "position/board.h"
#include "search/clock.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::int32_t NODES_PER_POLL = 50;

std::string_view waiting;  // not read yet

/// Commands whose work an input could make endless are cut down to something short.
std::string Tamed(std::string_view line) {
    std::string text(line);
    std::ranges::replace(text, '\0', ' ');
    if (CommandIs("perft", text)) {
        return "perft 1\n";
    }
    if (CommandIs("reload", text)) {
        return "\n";
    }
    // Table sizes: one digit.
    std::string_view rest = text;
    TakeToken(rest, " ");
    TakeToken(rest, " ");
    const std::string_view option = TakeToken(rest, " ");
    if (CommandIs("setoption", text) && (CommandIs("Hash", option) || CommandIs("PawnHash", option))) {
        return std::string("setoption name ").append(option).append(" value 1\n");
    }
    return text;
}

/// The next line with its end. Behind the input, in turn, what ends `edit` and what ends everything.
std::string NextLine() {
    static bool dot = false;
    if (waiting.empty()) {
        dot = !dot;
        return dot ? "\n.\n" : "\nquit\n";
    }
    const std::string_view line = waiting.substr(0, waiting.find('\n') + 1);
    const std::string_view taken = line.empty() ? waiting : line;
    waiting.remove_prefix(taken.size());
    return Tamed(taken);
}

}  // namespace

extern "C" {

void __real__Z13ComputeBudgetv();
void __real__Z18SetUnlimitedBudgetv();

void __wrap__Z13ComputeBudgetv() {
    __real__Z13ComputeBudgetv();
    PollInterval = NODES_PER_POLL;
}

void __wrap__Z18SetUnlimitedBudgetv() {
    __real__Z18SetUnlimitedBudgetv();
    PollInterval = NODES_PER_POLL;
}
}

bool StandardInputReady() {
    return true;
}

bool WaitForStandardInput(int) {
    return true;
}

std::size_t ReadStandardInput(std::span<char> buffer) {
    const std::string line = NextLine();
    const std::size_t count = std::min(line.size(), buffer.size());
    std::copy_n(line.data(), count, buffer.data());
    return count;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ResetEngine();
    WriteInput("openings.epd", {positions[1], "\n", positions[5], "\n"});
    waiting = AsText(data, size);
    RunToItsEnd(RunCommandLoop);
    return 0;
}
