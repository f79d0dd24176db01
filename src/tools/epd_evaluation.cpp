#include "tools/epd_evaluation.h"

#include "eval/evaluation.h"
#include "position/fen.h"

#include <cstdio>
#include <memory>

namespace {

constexpr const char* OUTPUT_NAME = "out.epd";
constexpr int LINE_ROOM = 256;  // 255 characters and the terminator

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// The file, or none after a line of complaint.
File OpenFile(const char* path, const char* mode) {
    File file(std::fopen(path, mode));
    if (file == nullptr) {
        std::printf("Error opening file %s...\n", path);
        std::fflush(stdout);
    }
    return file;
}

}  // namespace

// A line of more than 255 characters is read in pieces, each taken for a position of its own. The output keeps
// the line's end, so that the score stands on a line that begins with the semicolon.
void EpdEval(const char* path) {
    const File input = OpenFile(path, "r");
    if (input == nullptr) {
        return;
    }
    const File output = OpenFile(OUTPUT_NAME, "w");
    if (output == nullptr) {
        return;
    }
    char line[LINE_ROOM];
    while (std::fgets(line, LINE_ROOM, input.get()) != nullptr) {
        SetupFen(line);
        PrevRootScore = 0;  // of a position that is gone
        PrevRootSide = WHITE;
        EngineSide = thread_board.SideToMove;
        std::int32_t score = NO_EVALUATION;
        EvaluateFull(score);
        std::fprintf(output.get(), "%s;%d\n", line, score);
    }
}
