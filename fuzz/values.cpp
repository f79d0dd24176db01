// The parameter file. An input is a list of places in the file and texts that stand there; around them the file is the
// one that the engine ships with, so that every parameter can be reached. A place is a line's number in three bytes,
// its text goes to the next byte of 0. There may be many, because building the tables anew takes most of the time.

#include "engine.h"
#include "eval/evaluation.h"
#include "eval/init.h"
#include "position/fen.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// The shipped file, and where each of its lines begins.
struct Shipped {
    std::string text;
    std::vector<std::size_t> lines;

    Shipped() {
        std::ostringstream all;
        all << std::ifstream(QUORVANTH_VALUES).rdbuf();
        text = all.str();
        Require(!text.empty());
        lines.push_back(0);
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\n') {
                lines.push_back(i + 1);
            }
        }
    }
};

constexpr std::size_t PLACE_BYTES = 3;

/// What stands where, by the offset in the file.
std::multimap<std::size_t, std::string_view> Insertions(std::string_view input, const std::vector<std::size_t>& lines) {
    std::multimap<std::size_t, std::string_view> insertions;
    while (input.size() >= PLACE_BYTES) {
        const auto byte = [input](std::size_t i) { return std::size_t{static_cast<unsigned char>(input[i])}; };
        const std::size_t number = byte(0) | byte(1) << 8 | byte(2) << 16;
        input.remove_prefix(PLACE_BYTES);
        const std::string_view text = input.substr(0, input.find('\0'));
        insertions.emplace(lines[number % lines.size()], text);
        input.remove_prefix(std::min(text.size() + 1, input.size()));
    }
    return insertions;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Shipped shipped;
    ResetEngine();
    std::string file;
    std::size_t end = 0;
    for (const auto& [place, text] : Insertions(AsText(data, size), shipped.lines)) {
        file.append(shipped.text, end, place - end).append(text);
        end = place;
    }
    WriteInput("values.txt", {file.append(shipped.text, end)});
    InitEvaluation();
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        std::int32_t score = 0;
        EvaluateFull(score);
    }
    return 0;
}
