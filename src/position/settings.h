// Process-wide settings and the limits of the search, plain integers that every room may read.
//
// Owner: position/settings.cpp. Written by the front end: the defaults at start-up, the configuration file, options
// and commands. Besides, Think puts TimeLeft and TimeLeftAfterInfinite back after a search and switches PostThinking
// off while it looks for a hint; BookLearn sets BookLearnDone; OpenBook switches UseBookLearning and UseBookWeights
// off for a book of version 0. Times are in centiseconds.
#pragma once

#include <cstdint>
#include <string>

extern std::int32_t OwnBook;  // play from the book
extern std::int32_t MultiPV;  // lines searched at the root, 1 or less for the ordinary search
extern std::int32_t UseLearning;
extern std::int32_t UseLearningData;
extern std::int32_t LogLearningIntoFile;
extern std::int32_t BookLearnDone;  // book learning is finished for this game
extern std::int32_t Pondering;      // pondering is permitted at all
extern std::int32_t PonderOn;       // pondering is switched on now
extern std::int32_t UseEGTB;
extern std::int32_t UciMode;
extern std::int32_t FritzMode;
extern std::int32_t Aggressivity;      // percent, as shown
extern std::int32_t Cowardice;         // percent, as shown
extern std::int32_t AggressivityRate;  // half of it, as the evaluation reads it
extern std::int32_t CowardiceRate;
extern std::int32_t ResignValue;  // centipawns
extern std::int32_t ResignTimes;
extern std::int32_t BookLearningMode;  // 0 KILL, 1 DISCOVER
extern std::int32_t UseBookLearning;
extern std::int32_t UseBookWeights;
extern std::int32_t BookLearningBound;  // centipawns
extern std::int32_t VarietyOfPlay;      // percent
extern std::int32_t TablebasePieces;    // most men of a table found, 0 without tables
extern std::string EGTBPath;            // directories, separated by semicolons

/// A `go` with arguments stands alone: each of its limits is obeyed whatever the others are, none of an earlier one
/// lives on in it, and an infinite one leaves the clock as it was. Off by default: limits then depend on the clock,
/// as told beside them.
extern std::int32_t ObeyEachGo;

extern std::int32_t ForceMode;     // a move typed in is made but not answered
extern std::int32_t PostThinking;  // print thinking lines

/// Limits of the next search.
inline constexpr std::int32_t NO_CLOCK = -1;
inline constexpr std::int32_t INFINITE_TIME = 999999999;
inline constexpr std::int32_t NO_DEPTH_LIMIT = 998;

extern std::int32_t TimeLeft;        // the engine's clock; NO_CLOCK, or INFINITE_TIME for go infinite
extern std::int32_t TimeIncrement;   // per move
extern std::int32_t MovesPerPeriod;  // 0 for the whole game
extern std::int32_t MoveTime;        // fixed time per move, 0 for none; read only while TimeLeft is not NO_CLOCK
extern std::int32_t MaxDepth;        // plies; read only while TimeLeft is NO_CLOCK
extern std::int32_t MateDepth;       // moves, 0 for none
extern std::int64_t NodeLimit;       // 0 for none

/// Plies of a search by the clock: NO_DEPTH_LIMIT but for a `go` that stands alone.
extern std::int32_t ClockedDepth;

/// What TimeLeft goes back to after an infinite search that stands alone; INFINITE_TIME keeps it.
extern std::int32_t TimeLeftAfterInfinite;

/// The two steps of the start-up order. The first assigns the defaults of the settings above from OwnBook to FritzMode,
/// TimeIncrement, MovesPerPeriod, NodeLimit, EGTBPath and ObeyEachGo; the second, after the tables stand, those from
/// Aggressivity to VarietyOfPlay. The others get their first values where they are defined, or from StartEngine
/// and SetupStartPosition.
void AssignDefaults();
void AssignStyleDefaults();
