#include "frontend/startup.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "book/book.h"
#include "book/learning.h"
#include "eval/evaluation.h"
#include "eval/init.h"
#include "frontend/configuration.h"
#include "movegen/ordering.h"
#include "movegen/score_history.h"
#include "platform/process.h"
#include "position/attacks.h"
#include "position/board.h"
#include "position/repetition.h"
#include "position/settings.h"
#include "position/zobrist.h"
#include "search/front_end.h"
#include "search/transposition.h"
#include "tablebase/tablebase.h"

namespace {

constexpr std::int64_t DEFAULT_TRANSPOSITION_SIZE = 0x80000;
constexpr std::int64_t DEFAULT_PAWN_HASH_SIZE = 0x40000;
constexpr std::int64_t DEFAULT_EVAL_HASH_SIZE = 0x80000;

const char* OnOff(std::int32_t setting) {
    return setting != 0 ? "on" : "off";
}

[[noreturn]] void FailAllocation() {
    std::puts("An error occured while memory allocation!");
    ExitEngine(1);
}

void PrintBanner() {
    std::puts("Quorvanth v1.97 [r2492/22.12.2016]");
    std::fflush(stdout);
}

// The order is that of need: keys and masks before attack sets, those before the evaluation's tables, and last the
// step that reads "values.txt" over the built-in numbers.
void BuildStaticTables() {
    InitKingZoneValue();
    InitZobristKeys();
    InitializeBitMasks();
    InitializeBitBoards();
    InitMagics();
    BuildPieceSquareTable();
    InitScoreHistory();
    InitKnightDistance();
    InitKnightIntercept();
    InitPawnEndgameTables();
    InitKrkpDraw();
    InitOppositeBishops();
    InitEvaluation();
    ClearMoveStats();
}

void AssignSizesAndStyle() {
    EvalHashSize = DEFAULT_EVAL_HASH_SIZE;
    TranspositionSize = DEFAULT_TRANSPOSITION_SIZE;
    PawnHashSize = DEFAULT_PAWN_HASH_SIZE;
    AssignStyleDefaults();
}

void AllocateHashTables() {
    if (!AllocateTransposition() || !AllocatePawnHash() || !AllocateEvalHash() || !AllocateReversibleMoveHash()) {
        FailAllocation();
    }
}

void PrintSettings() {
    const auto bytes = [](std::int64_t entries, std::size_t size) {
        return static_cast<long long>(entries) * static_cast<long long>(size);
    };
    std::printf("Transposition size is %d entries (%lld bytes)\n", static_cast<int>(TranspositionSize),
                bytes(TranspositionSize, sizeof(TTEntry)));
    std::printf("Pawn hash size is %d entries (%lld bytes)\n", static_cast<int>(PawnHashSize),
                bytes(PawnHashSize, sizeof(PawnHashEntry)));
    std::printf("Aggressivity = %d (%d)%%\nCowardice = %d (%d)%%\n", Aggressivity, AggressivityRate, Cowardice,
                CowardiceRate);
    std::printf("ResignValue = %d\nResignTimes = %d\n", ResignValue, ResignTimes);
    std::printf("UseEGTB = %s\n", OnOff(UseEGTB));
    std::printf("EGTB path = \"%s\"\n", EGTBPath.c_str());
    std::printf("UseBookWeights = %s\n", OnOff(UseBookWeights));
    std::printf("UseBookLearning = %s\n", OnOff(UseBookLearning));
    std::printf("BookLearningMode = %s\n", BookLearningMode == 1 ? "DISCOVER" : "KILL");
    std::printf("VarietyOfPlay = %d\nBookLearningBound = %d\n", VarietyOfPlay, BookLearningBound);
    std::printf("UseLearning = %s\n", OnOff(UseLearning));
    std::printf("UseLearningData = %s\n", OnOff(UseLearningData));
    std::printf("LogLearningIntoFile = %s\n", OnOff(LogLearningIntoFile));
    std::printf("Pondering = %s\n\n", OnOff(Pondering));
    std::fflush(stdout);
}

void FreeEngine() {
    FreeTransposition();
    FreeEvalHash();
    FreeReversibleMoveHash();
    FreePawnHash();
    CloseBook();
    CloseLearningFile();
    FreeTablebases();
}

// A book that the configuration has opened wins over the default one.
void OpenDefaultBook() {
    SeedBookChoice(static_cast<std::uint32_t>(std::time(nullptr)));
    if (!BookLoaded) {
        OpenBook("Book.qvn");
    }
    // A line of the configuration behind the book's may have switched on again what such a book does not have.
    if (BookVersion0) {
        UseBookLearning = 0;
        UseBookWeights = 0;
    }
}

}  // namespace

void StartEngine() {
    EndWhenOutputCloses();
    SetExitStep(FreeEngine);
    AssignDefaults();
    PrintBanner();
    BuildStaticTables();
    AssignSizesAndStyle();
    ReadConfiguration();
    AllocateHashTables();
    BuildReversibleMoveHash();
    OpenDefaultBook();
    PrintSettings();
    if (UseLearning != 0 || UseLearningData != 0) {
        OpenLearningFile("Learn.qv1");
    }
    PostThinking = 1;
    TimeLeft = NO_CLOCK;
    TablebasePieces = 0;
    if (UseEGTB != 0) {
        ListTablebases();
    }
    SetupStartPosition();
}

void ListTablebases() {
    init_tablebases(EGTBPath);
    TablebasePieces = LargestTable;
}

void ResizeTransposition(std::int32_t megabytes) {
    FreeTransposition();
    TranspositionSize =
        (std::int64_t{std::clamp(megabytes, 0, MAX_HASH_MEGABYTES)} << 20) / static_cast<std::int64_t>(sizeof(TTEntry));
    if (!AllocateTransposition()) {
        FailAllocation();
    }
}

void ResizePawnHash(std::int32_t megabytes) {
    FreePawnHash();
    PawnHashSize = (std::int64_t{std::clamp(megabytes, 0, MAX_HASH_MEGABYTES)} << 20) /
                   static_cast<std::int64_t>(sizeof(PawnHashEntry));
    if (!AllocatePawnHash()) {
        FailAllocation();
    }
}
