// The position learning file: positions from which a game went wrong, each with the score that became known later.
//
// "Learn.qv1" holds a header, 65,536 bucket heads and chained records of 24 bytes; book/learning_file.h has the layout.
// New positions wait as candidates until the game has turned bad. Owner of the file: book/learning_file.cpp; of the
// candidates: book/learning.cpp.
#pragma once

#include "position/fen.h"
#include "position/types.h"

#include <cstdint>
#include <string>

/// Opens the file for reading and writing, and creates it with empty buckets when it is missing or its making has been
/// broken off. A file that cannot be opened, or is of another kind, is left as it is, and one line on standard output
/// says so: lookups then find nothing and nothing is written.
void OpenLearningFile(const std::string& name);

/// Nothing happens when no file is open.
void CloseLearningFile();

struct LearntPosition {
    bool found;
    std::int32_t depth;    // quarter plies
    std::int32_t score;    // the engine's view, centipawns; never beyond a mate's
    std::uint32_t offset;  // of the record in the file
};

/// The record of the position with `key`, a PositionKey. Reads the file, so the search asks at high nodes only. A
/// damaged chain, or a file that cannot be read, ends the lookup without a find.
LearntPosition LearnLookup(Key key);

/// A position that the file may learn of. A new game leaves the candidates where they are.
struct LearnCandidate {
    std::uint32_t key1;  // low 32 bits of the PositionKey
    std::uint32_t key2;  // PositionKey >> 16, low 32 bits
    std::int32_t depth;  // quarter plies
    std::int32_t old_score;
    std::int32_t new_score;
    Move move;              // what the engine played
    char text[FEN_BUFFER];  // WriteFen(move)
};

inline constexpr int LEARN_CANDIDATES = 3;
extern LearnCandidate LearnCandidates[LEARN_CANDIDATES];
extern std::int32_t LearnCandidateCount;

/// After a move of the engine has been made and recorded in the score history: decides on the candidates and perhaps
/// makes a new one. Board and records are as before afterwards.
void LearnAfterMove();

/// Writes every candidate to the file, and with LogLearningIntoFile to "learn.log", and forgets them.
void CommitLearning();
