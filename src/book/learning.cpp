// Which positions are learnt: candidates, their fate, the log.
#include "book/learning.h"

#include "book/learning_file.h"
#include "movegen/score_history.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/settings.h"

#include <algorithm>
#include <cstdio>

LearnCandidate LearnCandidates[LEARN_CANDIDATES];
std::int32_t LearnCandidateCount;

namespace {

constexpr int NEWEST = PLAYED_MOVES - 1;
constexpr const char* LOG_FILE = "learn.log";

// Scores are centipawns, the engine's view.
constexpr std::int32_t LOST_SCORE = -400;       // below: the game has turned bad
constexpr std::int32_t RECOVERED_SCORE = -10;   // three own scores above: it is fine after all
constexpr std::int32_t OLD_SCORE_BOUND = -180;  // it must not have been bad before the fall
constexpr std::int32_t NEW_SCORE_BOUND = 520;   // nor be won after it
constexpr std::int32_t FALL = -40;              // the score's change in one own move
constexpr std::int32_t ITERATION_BOUND = 6;
constexpr std::int32_t PIECE_WEIGHT_BOUND = 13;
constexpr std::int32_t FIFTY_BOUND = 70;
constexpr std::int32_t GAME_LENGTH_BOUND = 100;  // half-moves
constexpr int TAKEN_BACK = 3;                    // to before the engine's move before the last

std::int32_t log_number;

/// Drops the candidates or writes them, where the game has shown what they are worth.
void DecideOnCandidates() {
    const bool recovered = std::ranges::all_of(PlayedScores + NEWEST - 2, PlayedScores + PLAYED_MOVES,
                                               [](std::int32_t score) { return score > RECOVERED_SCORE; });
    if (LearnCandidateCount > 0 && RootScores[0] < LOST_SCORE) {
        CommitLearning();
    } else if (recovered || PlayedFromBook[NEWEST] != 0) {
        LearnCandidateCount = 0;
    }
}

/// The last two own moves belong to the game on the board. The newest one's position is the board itself: GameHistory
/// at GamePly is what the last search has left there.
bool OwnMovesAreOfThisGame() {
    return PlayedKeys[NEWEST] == thread_board.PositionKey && PlayedKeys[NEWEST - 1] == GameHistory[GamePly - 2].key;
}

bool ScoreHasFallen() {
    const std::int64_t now = PlayedScores[NEWEST];
    const std::int64_t before = PlayedScores[NEWEST - 1];
    return GamePly > 2 && PlayedFromBook[NEWEST] == 0 && PlayedFromBook[NEWEST - 1] == 0 && before > OLD_SCORE_BOUND &&
           now < NEW_SCORE_BOUND && now - before < FALL && Iteration > ITERATION_BOUND && OwnMovesAreOfThisGame();
}

/// The position on the board is the one before `move`.
void AddCandidate(Move move) {
    if (thread_board.PieceWeight[WHITE] <= PIECE_WEIGHT_BOUND ||
        thread_board.PieceWeight[BLACK] <= PIECE_WEIGHT_BOUND || thread_board.FiftyCounter >= FIFTY_BOUND ||
        GamePly + DroppedPlies >= GAME_LENGTH_BOUND || LearnCandidateCount >= LEARN_CANDIDATES) {
        return;
    }
    const std::int32_t depth = Iteration * 4 + 2;
    const LearntPosition learnt = LearnLookup(thread_board.PositionKey);
    if (learnt.found && learnt.depth >= depth) {
        return;
    }
    LearnCandidate& candidate = LearnCandidates[LearnCandidateCount++];
    candidate.key1 = static_cast<std::uint32_t>(thread_board.PositionKey);
    candidate.key2 = static_cast<std::uint32_t>(thread_board.PositionKey >> 16);
    candidate.depth = depth;
    candidate.old_score = PlayedScores[NEWEST - 1];
    candidate.new_score = PlayedScores[NEWEST];
    candidate.move = move;
    std::snprintf(candidate.text, sizeof candidate.text, "%s", WriteFen(move));
}

/// The position before the engine's move before the last becomes a candidate, where the history reaches back to it.
void LearnPreviousMove() {
    Move taken[TAKEN_BACK];
    int count = 0;
    while (count < TAKEN_BACK && CanTakeBack()) {
        taken[count++] = GameHistory[GamePly - 1].move;
        UnmakeMove();
    }
    if (count == TAKEN_BACK) {
        AddCandidate(taken[TAKEN_BACK - 1]);
    }
    while (count > 0) {
        MakeMove(taken[--count], 1);
    }
}

void Log(const char* word, const LearnCandidate& candidate) {
    if (LogLearningIntoFile == 0) {
        return;
    }
    std::FILE* const file = std::fopen(LOG_FILE, "a");
    if (file == nullptr) {
        return;
    }
    std::fprintf(file, "%d%c%s Depth = %d%cOldEvaluation = %d%cEvaluaton = %d%cFEN = %s\n", log_number++, '\t', word,
                 candidate.depth, '\t', candidate.old_score, '\t', candidate.new_score, '\t', candidate.text);
    std::fclose(file);
}

}  // namespace

void LearnAfterMove() {
    DecideOnCandidates();
    if (ScoreHasFallen()) {
        LearnPreviousMove();
    }
}

void CommitLearning() {
    for (int i = 0; i < LearnCandidateCount; ++i) {
        const LearnCandidate& candidate = LearnCandidates[i];
        const LearningRecord record = {candidate.depth, candidate.new_score, candidate.move, candidate.key1,
                                       candidate.key2};
        const LearningPlace place = FindLearningRecord(candidate.key1, candidate.key2);
        if (place.state == LEARNING_ABSENT) {
            Log("Add:", candidate);
            AddLearningRecord(place, record);
        } else if (place.state == LEARNING_FOUND) {
            Log("Refresh:", candidate);
            RefreshLearningRecord(place, record);
        }
    }
    LearnCandidateCount = 0;
}
