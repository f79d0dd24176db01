#include "position/repetition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

#include "position/attacks.h"
#include "position/zobrist.h"
#include "support.h"

namespace {

void PlayAll(std::initializer_list<const char*> moves) {
    for (const char* move : moves) {
        if (std::string_view(move) == "null") {
            thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
            GameHistory[GamePly++].move = 0;
        } else {
            Play(move);
        }
    }
}

/// Counts earlier occurrences over the stretch of reversible moves with unchanged rights.
bool CountedRepetition() {
    int earlier = 0;
    for (int i = GamePly - 1; i >= 0; --i) {
        const HistoryRecord& record = GameHistory[i];
        if (!IsReversible(record.move) || record.castling != thread_board.CastlingFlags) {
            break;
        }
        earlier += (GamePly - i) % 2 == 0 && record.key == thread_board.PositionKey;
    }
    return earlier >= 2;
}

}  // namespace

TEST(Repetition, IsBrokenByWhatCannotBeUndone) {
    const std::initializer_list<const char*> shuffle = {"g1f3", "g8f6", "f3g1", "f6g8"};
    using Breach = std::initializer_list<const char*>;
    for (const Breach& breach : {Breach{"null", "null"}, {"g1f3", "null", "f3g1", "null"}, {"a1a7", "a8a7"}}) {
        PlaceStartPosition();
        PlayAll(shuffle);
        PlayAll(breach);
        PlayAll(shuffle);
        EXPECT_FALSE(IsRepetition()) << *breach.begin();
    }
    // The rook that has moved and come back has cost a right.
    SetupFen("r3k3/8/8/8/8/8/8/4K2R w K -");
    PlayAll({"h1g1", "a8b8", "g1h1", "b8a8", "h1g1", "a8b8", "g1h1", "b8a8"});
    EXPECT_FALSE(IsRepetition());
    PlayAll({"h1g1", "a8b8", "g1h1", "b8a8"});
    EXPECT_TRUE(IsRepetition());
}

TEST(Repetition, AgreesWithCountingOverRandomWalks) {
    std::mt19937 random(13);
    int repetitions = 0;
    for (int game = 0; game < 300; ++game) {
        SetupFen("r3k3/p7/8/8/8/8/P7/4K2R w Kq -");
        while (GamePly < 60) {
            const Colour us = thread_board.SideToMove;
            const int flip = us == WHITE ? 0 : 56;
            // Kings and rooks step to and fro; now and then the pawn goes on.
            int from = thread_board.KingSquare[us];
            int to = from == (E1 ^ flip) ? D1 ^ flip : E1 ^ flip;
            if (const auto draw = random() % 40; draw == 0 && thread_board.Pieces[PAWN][us] & ~(RANK_1 << 32)) {
                from = LowestSetBit(thread_board.Pieces[PAWN][us]);
                to = from + (us == WHITE ? 8 : -8);
            } else if (draw < 10) {
                from = LowestSetBit(thread_board.Pieces[ROOK][us]);
                to = us == WHITE ? from ^ (G1 ^ H1) : from ^ (A8 ^ B8);
            }
            if (thread_board.Board[to] != NO_PIECE) {
                continue;
            }
            MakeMove(BuildMove(from, to, static_cast<int>(thread_board.Board[from])), 1);
            ASSERT_EQ(IsRepetition(), CountedRepetition()) << "game " << game << " ply " << GamePly;
            repetitions += IsRepetition();
        }
    }
    EXPECT_GT(repetitions, 300);
}

TEST(ReversibleMoveHash, ExplainsEveryMoveAndNothingElse) {
    for (int from = 0; from < 64; ++from) {
        const Bitboard targets[8] = {0, KingAttacks[from],      KnightAttacks[from],      0,
                                     0, RookEmptyAttacks[from], BishopEmptyAttacks[from], QueenEmptyAttacks[from]};
        for (const int code : {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN}) {
            for (const Colour colour : {WHITE, BLACK}) {
                for (int to = 0; to < 64; ++to) {
                    const Key difference = PieceKeys[colour][code][from] ^ PieceKeys[colour][code][to];
                    const Move found = ReversibleMoveOf(difference);
                    if (targets[code] & Bit(to)) {
                        // The later entry of the pair stays: the one from the higher square.
                        ASSERT_EQ(found, BuildMove(std::max(from, to), std::min(from, to), code));
                    } else {
                        ASSERT_EQ(found, 0u) << from << ' ' << to << ' ' << code;
                    }
                }
            }
        }
    }
    std::mt19937_64 random(17);
    for (int trial = 0; trial < 100000; ++trial) {
        ASSERT_EQ(ReversibleMoveOf(random()), 0u);
    }
    SetupFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq -");
    const Key before = thread_board.PositionKey;
    MakeMove(WHITE_CASTLES_SHORT, 1);
    EXPECT_EQ(ReversibleMoveOf(before ^ thread_board.PositionKey), 0u) << "castling moves two men";
}
