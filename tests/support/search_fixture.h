// A position that stands one ply below a root, as the recursive routines find it.
#pragma once

#include "eval/evaluation.h"
#include "frontend/game.h"
#include "movegen/search_records.h"
#include "search/search.h"
#include "support/engine_fixture.h"

#include <cstring>

/// Everything that a search must leave as it found it. The evaluation's working fields are not among it.
struct SearchState {
    ThreadBoard board = thread_board;
    std::int32_t gamePly = GamePly;
    std::int32_t moveCount = MoveCount;
    std::int32_t ply = Ply;
    std::int32_t singularActive = SingularActive;

    bool operator==(const SearchState& other) const {
        return gamePly == other.gamePly && moveCount == other.moveCount && ply == other.ply &&
               singularActive == other.singularActive && board.SideToMove == other.board.SideToMove &&
               board.PositionKey == other.board.PositionKey && board.PawnKey == other.board.PawnKey &&
               board.CastlingFlags == other.board.CastlingFlags && board.FiftyCounter == other.board.FiftyCounter &&
               board.MaterialIndex == other.board.MaterialIndex && board.PieceSquareSum == other.board.PieceSquareSum &&
               board.AllPieces == other.board.AllPieces &&
               std::memcmp(board.Board, other.board.Board, sizeof board.Board) == 0 && PositionIsConsistent();
    }
};

class SearchTest : public EngineTest {
  protected:
    static constexpr std::int32_t INFINITE_SCORE = MATE_SCORE;

    void TearDown() override {
        Ply = MoveCount = Iteration = 0;
        NodeLimit = 0;
        thread_board.SearchAborted = 0;
        EngineTest::TearDown();
    }

    /// Cold tables, the position at ply 1 of a search of this iteration. No evaluation is lazy. The move that led
    /// here counts as a null move: nothing follows from it.
    static void Stand(const std::string& fen, int iteration = 9) {
        CleanTables();
        Setup(fen.c_str());
        std::memset(static_cast<void*>(PlyState), 0, sizeof PlyState);
        if (GamePly == 0) {
            GameHistory[GamePly++] = {thread_board.PositionKey, 0, 0, 0, 0, 0};
        }
        EnterAt(1, iteration);
    }

    /// The position on the board as a node at `ply`.
    static void EnterAt(int ply, int iteration = 9) {
        EngineSide = thread_board.SideToMove;
        LazyLow = -4 * MATE_SCORE;
        LazyHigh = 4 * MATE_SCORE;
        Ply = ply;
        MoveCount = 0;
        Iteration = iteration;
        IterationLimit = NO_DEPTH_LIMIT;
        SelDepth = 0;
        Nodes = 0;
        PollCountdown = PollInterval;
        NoTablebaseProbe = 1;
        PlyState[Ply].InCheck = InCheckNow();
    }
};
