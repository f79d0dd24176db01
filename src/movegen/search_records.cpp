#include "movegen/search_records.h"

MoveEntry MoveList[MOVE_LIST_SIZE];
std::int32_t MoveCount;

PlyRecord PlyState[PLY_RECORDS];
std::int32_t Ply;

std::uint64_t Nodes;
std::int32_t Iteration;
std::int32_t SelDepth;
std::int32_t RootMoveIndex;
std::int32_t RootMoveCount;
std::int32_t RootScores[MAX_MOVES];
std::int32_t RootGivesCheck[MAX_MOVES];
std::int32_t FirstMoveDone;
Colour EngineSide;
std::int32_t RootGamePly;
std::int32_t IterationLimit;
std::int32_t PrevRootScore;
std::int32_t PrevRootSide;
std::int32_t SearchesDone;
std::int32_t BookMovePlayed;
std::int32_t RootInTablebase;
std::int32_t NoTablebaseProbe;
std::uint16_t TTGeneration;
std::int64_t HashFullCount;
std::uint64_t TbHits;

std::int32_t PonderSearch;
std::int32_t UciPonder;
std::int32_t PonderEnded;
Move ReceivedMove;
Move HintMove;
Move PonderMove;
std::int32_t HintSearch;

std::int32_t NewRequested;
std::int32_t ExitRequested;
std::int32_t UndoRequested;
Move PendingBestMove;

std::int32_t InputWindowEnd;

Move SearchMoves[MAX_SEARCH_MOVES];
std::int32_t SearchMoveCount;
