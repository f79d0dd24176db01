// The records that generators, picker, search and drivers all write and read: the move stack, the per-ply
// records and the global search state. Plain global data without operations of their own.
//
// Owner: movegen/search_records.cpp. Who writes a field is said beside it; where nothing is said it is the
// search.
//
// Scores are centipawns. Mate at ply p is 32700 - p for the side that mates; any |score| above 31000 counts
// as mate; a tablebase win is 31700 - ply; a draw is 0. Depth is counted in quarter plies: 4 is one ply.
#pragma once

#include "position/types.h"

inline constexpr std::int32_t MATE_SCORE = 32700;
inline constexpr std::int32_t MATE_BOUND = 31000;  // scores beyond it are mates
inline constexpr std::int32_t TABLEBASE_WIN = 31700;

/// Exchange verdicts of MoveEntry::Safety. Tests ask for 0 or not 0.
enum MoveSafetyVerdict : std::int32_t {
    LOSING = 0,                  // loses material by exchange
    SAFE = 1,                    // does not
    LOSING_BUT_GOOD_RECORD = 2,  // a losing capture with a positive ordering score
    SAFETY_UNKNOWN = 32700       // not looked at yet; counts as not 0
};

struct MoveEntry {
    ::Move Move;
    std::int32_t Score;   // ordering score; negative in the capture stage marks a bad capture
    std::int32_t Safety;  // MoveSafetyVerdict
};
static_assert(sizeof(MoveEntry) == 12);

/// One stack for all moves. Root moves stand at the bottom; every search call appends above MoveCount and puts
/// MoveCount back before it returns.
inline constexpr int MOVE_LIST_SIZE = 16384;

/// Scratch windows high in the same array: for IsLegalMove and HasLegalMove outside the search, and for the legal
/// moves that HandleInput checks an incoming move against while the search runs.
inline constexpr int LEGALITY_WINDOW = 5000;
inline constexpr int INPUT_WINDOW = 14384;

/// No position on 64 squares has more pseudo-legal moves than this: eight lines and eight knight squares lead
/// to a square, a capturing promotion counts four times.
inline constexpr int MAX_MOVES = 1536;

/// A search node that finds MoveCount above this returns its static value, so that the nodes' own moves never
/// reach the input window.
inline constexpr int MOVE_LIST_SEARCH_END = INPUT_WINDOW - MAX_MOVES;

extern MoveEntry MoveList[MOVE_LIST_SIZE];
extern std::int32_t MoveCount;  // one past the last used entry

/// Bits of PlyRecord::MoveFlags.
enum MoveFlag : std::uint32_t {
    FLAG_CHECK = 1,
    FLAG_MATE_THREAT = 2,  // a mate threat exists at this node (hash move only)
    FLAG_RECAPTURE = 4,    // a recapture extension was given
    FLAG_PASSED_PUSH = 8,  // a passed pawn goes to its fourth rank or beyond
    FLAG_CREATES_THREAT = 32,
    FLAG_REDUCED = 64,       // the move is being searched at reduced depth
    FLAG_PAWN_ENDING = 128,  // the capture leaves a pure pawn ending
    FLAG_BALANCE = 256       // the single legal evasion, or a capture that restores the balance
};

struct PlyRecord {
    std::uint32_t MoveFlags;  // of the move being tried at this ply
    Move CreatedThreat;       // what the piece just moved threatens to play next, 0 if nothing
    std::int32_t InCheck;     // written by the parent before the child is called
    std::int32_t StaticEval;  // side to move's view; Quiescence does not write it
    std::int32_t UnsafeMove;  // 1 while the move being tried here has Safety 0
    Move Killer1[2];          // by the colour that moves
    Move Killer2[2];
    Move BestMove;          // of the last completed search of this node, 0 if it failed low
    Move ThreatMove;        // what the opponent threatens at this node
    Bitboard AttackMap[2];  // the evaluation's attack maps; 0 means unknown, never empty
    Move TriedMoves[9];     // already offered by the picker's table stages
    std::int32_t TriedCount;
};

inline constexpr int PLY_RECORDS = 196;

/// A search node at this ply returns its static value; the records above it serve its children's fields.
inline constexpr int PLY_BOUND = 190;

/// Spare frame of GenerateLegalMoves.
inline constexpr int LEGALITY_PLY = 160;

extern PlyRecord PlyState[PLY_RECORDS];
extern std::int32_t Ply;  // the root is ply 0

// Progress of the search.
extern std::uint64_t Nodes;     // of this search
extern std::int32_t Iteration;  // 0-based; the reported depth is one more
extern std::int32_t SelDepth;   // highest ply of this iteration, at least the reported depth; 0 in the first report

// The root. Scores and check marks stand beside the moves of MoveList, from 0 up.
extern std::int32_t RootMoveIndex;              // root moves of this pass that are done: the place of the one in work
extern std::int32_t RootMoveCount;              // once the tablebases have chosen
extern std::int32_t RootScores[MAX_MOVES];      // EngineSide's view; RootProbeDtz and RootProbeWdl leave theirs
extern std::int32_t RootGivesCheck[MAX_MOVES];  // 1 if the move gives check
extern std::int32_t FirstMoveDone;              // 1 once a pass has left its first move; 0 throughout with MultiPV
extern Colour EngineSide;                       // the side to move at the root
extern std::int32_t RootGamePly;                // GamePly there; the `moves` command sets it too
extern std::int32_t IterationLimit;             // the driver's depth argument; TIMED_SEARCH means by the clock
inline constexpr std::int32_t TIMED_SEARCH = 999;

// From one search to the next. The first two are cleared by SetupPosition, ForgetGame, CleanTables and the tools that
// set up positions, the third by ForgetGame.
extern std::int32_t PrevRootScore;  // of the last move decided on, PrevRootSide's view
extern std::int32_t PrevRootSide;   // a Colour; 0 when cleared
extern std::int32_t SearchesDone;   // single-PV searches since a new game or the last book move

// The book, the tablebases and the transposition table in this search.
extern std::int32_t BookMovePlayed;    // 1: the book has given the last search its move
extern std::int32_t RootInTablebase;   // 1: the tablebases have settled the root's result
extern std::int32_t NoTablebaseProbe;  // 1: nodes ask no tablebase: the root is settled, or there is none
extern std::uint16_t TTGeneration;     // one up with each search; `edit`, making and clearing the table write it too
extern std::int64_t HashFullCount;     // slots that this search has filled, free ones or of an older generation
extern std::uint64_t TbHits;           // probes that answered in this search; root moves left by the filter count too

// Pondering. Written by Think, the drivers, the poll and HandleInput, where no others are named.
extern std::int32_t PonderSearch;  // 1 while thinking on an assumed move of the opponent, or in search of one
extern std::int32_t UciPonder;     // 1 after `go ponder` until ponderhit or stop; new commands and refusals clear it
extern std::int32_t PonderEnded;   // 1: ReceivedMove, if there is one, takes the place of the assumed move
extern Move ReceivedMove;          // came in during a search, 0 for none; Analyze clears it and PonderEnded
extern Move HintMove;              // the opponent's move that is assumed; Think alone writes it
extern Move PonderMove;            // the reply to expect, 0 for none; cleared by Think, written by PrintPv
extern std::int32_t HintSearch;    // 1 while a move to assume is searched for; 0 when the poll finds its time over

// Requests that a command leaves behind during a search. Written by HandleInput; cleared by Think and Analyze, and
// NewRequested by DeliverMove when it has served it.
extern std::int32_t NewRequested;
extern std::int32_t ExitRequested;
extern std::int32_t UndoRequested;

/// Best move of the last UCI search, for stop at the prompt; 0 for none. Set by DeliverMove and ponderhit; cleared by
/// the next search, a refusal, `position` and `ucinewgame`.
extern Move PendingBestMove;

/// End of the legal moves that stand in MoveList from INPUT_WINDOW up while a search runs.
extern std::int32_t InputWindowEnd;

inline constexpr int MAX_SEARCH_MOVES = 512;
extern Move SearchMoves[MAX_SEARCH_MOVES];
extern std::int32_t SearchMoveCount;  // 0 means all moves
