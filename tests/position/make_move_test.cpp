#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "support.h"

namespace {

Move Word(const char* squares, int piece, int captured = 0, int promotion = 0) {
    return BuildMove(SquareOf(squares), SquareOf(squares + 2), piece, captured, promotion);
}

/// A move word that MakeMove can be asked for, though no piece may walk that way: any own man to any square
/// that is empty or holds an enemy other than the king. 0 if this try has drawn nothing.
Move RandomWord(std::mt19937& random) {
    const Colour us = thread_board.SideToMove;
    const int from = static_cast<int>(random() % 64);
    const int to = static_cast<int>(random() % 64);
    if (!(thread_board.ColourPieces[us] & Bit(from)) || (thread_board.ColourPieces[us] & Bit(to))) {
        return 0;
    }
    const int piece = static_cast<int>(thread_board.Board[from]);
    const int captured = static_cast<int>(thread_board.Board[to]);
    int promotion = 0;
    if (captured == KING) {
        return 0;
    }
    if (piece == PAWN) {
        if (captured == 0 && ((from ^ to) & 1)) {
            return 0;  // would be en passant of a pawn that need not be there
        }
        if (Bit(to) & (RANK_1 | RANK_8)) {
            promotion = std::array{KNIGHT, ROOK, BISHOP, QUEEN}[random() % 4];
        }
    } else if (piece == KING && RankOf(from) == RankOf(to) && std::abs(from - to) == 2) {
        return 0;  // would be castling
    }
    return BuildMove(from, to, piece, captured, promotion);
}

}  // namespace

TEST(MakeMove, SpecialMovesGoThereAndBack) {
    const struct {
        const char* before;
        Move move;
        const char* after;
        int fifty;  // from a counter of 5
    } moves[] = {
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", WHITE_CASTLES_SHORT, "r3k2r/8/8/8/8/8/8/R4RK1 b kq - ", 6},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", BLACK_CASTLES_LONG, "2kr3r/8/8/8/8/8/8/R3K2R w KQ - ", 6},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", Word("e1e2", KING), "r3k2r/8/8/8/8/8/4K3/R6R b kq - ", 6},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", Word("h1h8", ROOK, ROOK), "r3k2R/8/8/8/8/8/8/R3K3 b Qq - ", 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", Word("a8a1", ROOK, ROOK), "4k2r/8/8/8/8/8/8/r3K2R w Kk - ", 0},
        {"r3k2r/6N1/8/8/8/8/8/R3K2R b KQkq -", Word("e8g8", KING), "r4rk1/6N1/8/8/8/8/8/R3K2R w KQ - ", 6},
        {"r3k2r/1P6/8/8/8/8/8/4K3 w kq -", Word("b7a8", PAWN, ROOK, QUEEN), "Q3k2r/8/8/8/8/8/8/4K3 b k - ", 0},
        {"4k3/8/8/8/8/8/1p6/R3K2R b KQ -", Word("b2a1", PAWN, ROOK, BISHOP), "4k3/8/8/8/8/8/8/b3K2R w K - ", 0},
        {"4k3/8/8/3Pp3/8/8/8/4K3 w - e6", Word("d5e6", PAWN), "4k3/8/4P3/8/8/8/8/4K3 b - - ", 0},
        {"4k3/8/8/8/Pp6/8/8/4K3 b - a3", Word("b4a3", PAWN), "4k3/8/8/8/8/p7/8/4K3 w - - ", 0},
        {"4k3/8/8/8/3p4/8/4P3/4K3 w - -", Word("e2e4", PAWN), "4k3/8/8/8/3pP3/8/8/4K3 b - e3 ", 0},
        {"4k3/8/8/8/7p/8/P7/4K3 w - -", Word("a2a4", PAWN), "4k3/8/8/8/P6p/8/8/4K3 b - - ", 0},
    };
    for (const auto& c : moves) {
        SCOPED_TRACE(std::string(c.before) + "  " + WriteFen(c.move));
        SetupFen(c.before);
        thread_board.FiftyCounter = 5;
        const std::int32_t ply = GamePly;
        const Snapshot start;

        // Twice: the second time without saving, as for a sibling.
        for (const int save : {1, 0}) {
            MakeMove(c.move, save);
            EXPECT_TRUE(PositionIsConsistent());
            EXPECT_EQ(FenOf(), c.after);
            EXPECT_EQ(thread_board.FiftyCounter, c.fifty);
            EXPECT_EQ(GameHistory[ply].move, c.move);
            UnmakeMove();
            EXPECT_EQ(GamePly, ply);
            ASSERT_TRUE(Snapshot() == start) << "save " << save;
        }
    }
}

TEST(MakeMove, CapturedKingComesBack) {
    SetupFen("4k3/4R3/8/8/8/8/8/4K3 w - -");
    const Snapshot start;
    MakeMove(Word("e7e8", ROOK, KING), 1);
    EXPECT_EQ(thread_board.KingSquare[BLACK], E8);
    EXPECT_EQ(thread_board.Pieces[KING][BLACK], Bit(E8));
    UnmakeMove();
    EXPECT_TRUE(Snapshot() == start);
}

TEST(MakeMove, RandomWordsKeepEveryFieldInStep) {
    std::mt19937 random(3);
    for (int game = 0; game < 300; ++game) {
        SetupFen(game % 2 ? "r3k2r/pppq1ppp/2npbn2/2b1p3/2B1P3/2NPBN2/PPPQ1PPP/R3K2R w KQkq -"
                          : "4k3/PPPPPPPP/8/8/8/8/pppppppp/4K3 w - -");
        std::vector<Snapshot> path;
        while (path.size() < 40) {
            const Move move = RandomWord(random);
            if (move == 0) {
                continue;
            }
            path.emplace_back();
            MakeMove(move, 1);
            ASSERT_TRUE(PositionIsConsistent()) << "game " << game << " ply " << path.size();
        }
        for (; !path.empty(); path.pop_back()) {
            UnmakeMove();
            ASSERT_TRUE(Snapshot() == path.back()) << "game " << game << " ply " << path.size();
        }
        ASSERT_EQ(GamePly, 0);
    }
}

TEST(Consistency, SeesEachFieldGoWrong) {
    const std::vector<void (*)()> faults = {
        [] { thread_board.TotalPieces += 1; },
        [] { thread_board.CastlingFlags = 16; },
        [] { thread_board.CastlingFlags |= WHITE_SHORT; },
        [] { thread_board.PieceSquareSum += 1; },
        [] { thread_board.MaterialIndex += 1; },
        [] { thread_board.ColourPieces[BLACK] ^= 1; },
        [] { thread_board.Pieces[4][WHITE] ^= Bit(A8); },
        [] { thread_board.Pieces[KNIGHT][WHITE] ^= Bit(A8); },
        [] { thread_board.AllPieces ^= Bit(D2); },
        [] { thread_board.KingSquare[WHITE] = E2; },
        [] { thread_board.RooksQueens ^= Bit(C2); },
        [] { thread_board.BishopsQueens ^= Bit(A1); },
        [] { thread_board.PieceCount[PAWN][BLACK] += 1; },
        [] { thread_board.Board[A1] = BISHOP; },
        [] { thread_board.Board[D2] = 9; },
        [] { thread_board.PositionKey ^= 1; },
        [] { thread_board.PawnKey ^= 1; },
        [] { thread_board.Material[WHITE] += 1; },
        [] { thread_board.PieceWeight[BLACK] += 1; },
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        SetupFen("4k2r/p6p/8/3q4/8/5n2/P1B4P/R3K3 b Qk -");
        ASSERT_TRUE(PositionIsConsistent());
        faults[i]();
        EXPECT_FALSE(PositionIsConsistent()) << "fault " << i;
    }
}
