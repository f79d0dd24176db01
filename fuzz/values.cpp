// The parameter file. An input is a place in the file and a text that stands there; before and behind it the file is
// the one that the engine ships with, so that every parameter can be reached.

#include "engine.h"
#include "eval/evaluation.h"
#include "eval/init.h"
#include "position/fen.h"

#include <fstream>
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Shipped shipped;
    if (size < PLACE_BYTES) {
        return 0;
    }
    ResetEngine();
    const std::size_t number = data[0] | std::size_t{data[1]} << 8 | std::size_t{data[2]} << 16;
    const std::size_t place = shipped.lines[number % shipped.lines.size()];
    const std::string_view text(shipped.text);
    WriteInput("values.txt",
               {text.substr(0, place), AsText(data + PLACE_BYTES, size - PLACE_BYTES), text.substr(place)});
    InitEvaluation();
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        std::int32_t score = 0;
        EvaluateFull(score);
    }
    return 0;
}
