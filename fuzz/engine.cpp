#include "engine.h"

#include "book/book.h"
#include "book/learning.h"
#include "eval/evaluation.h"
#include "frontend/game.h"
#include "frontend/startup.h"
#include "movegen/score_history.h"
#include "movegen/search_records.h"
#include "platform/process.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/transposition.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

constexpr std::int64_t TABLE_ENTRIES = 1 << 10;  // small, because every input empties them

void EnterNewDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "quorvanth_fuzz_XXXXXX";
    Require(mkdtemp(name.data()) != nullptr);
    std::filesystem::current_path(name);
}

void ResizeTables() {
    if (TranspositionSize != TABLE_ENTRIES) {
        FreeTransposition();
        TranspositionSize = TABLE_ENTRIES;
        Require(AllocateTransposition());
    }
    if (PawnHashSize != TABLE_ENTRIES) {
        FreePawnHash();
        PawnHashSize = TABLE_ENTRIES;
        Require(AllocatePawnHash());
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    EnterNewDirectory();
    Require(std::freopen("/dev/null", "w", stdout) != nullptr);
    StartEngine();
    FreePawnHash();
    FreeEvalHash();
    PawnHashSize = EvalHashSize = TABLE_ENTRIES;
    Require(AllocatePawnHash() && AllocateEvalHash());
    return 0;
}

void ResetEngine() {
    CloseBook();
    CloseLearningFile();
    ResizeTables();
    AssignDefaults();
    AssignStyleDefaults();
    PostThinking = 1;
    TimeLeft = NO_CLOCK;
    UciPonder = PonderSearch = HintSearch = 0;
    SearchMoveCount = 0;
    PendingBestMove = 0;
    LearnCandidateCount = 0;
    InitScoreHistory();
    // An input may have ended in the middle of a search.
    Ply = 0;
    MoveCount = 0;
    thread_board.SearchAborted = 0;
    TTGeneration = 0;
    CleanTables();
    SetupStartPosition();
}

void WriteInput(const char* name, std::initializer_list<std::string_view> parts) {
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    for (const std::string_view part : parts) {
        file.write(part.data(), static_cast<std::streamsize>(part.size()));
    }
}

void CatchExit() {
    SetExitStep([] { throw EngineEnded{}; });
}

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
