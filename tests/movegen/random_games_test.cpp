// Random games from many kinds of positions: at every position each question that this room answers is answered
// anew by slow code, or by making the move and looking.
#include "movegen/exchange.h"
#include "movegen/generated.h"
#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "movegen/ordering.h"
#include "movegen/slow_exchange.h"
#include "position/fen.h"
#include "support/slow_chess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <span>

namespace {

constexpr const char* STARTS[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -",
    "4k3/PPP4P/8/8/8/8/p4ppp/4K3 w - -",
    "r1n1k1nr/1P4P1/8/8/8/8/1p4p1/R1N1K1NR b KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "8/1p1p1p2/8/2P1P1P1/2p1p1p1/8/1P1P1P2/K6k w - -",
    "rnb1kbnr/pp1ppppp/8/q1pP4/4P3/8/PPP2PPP/RNBQKBNR w KQkq c6",
    "3q1rk1/1b3ppp/p1n2n2/2b1p3/2B1P3/P1N2N2/1B3PPP/3Q1RK1 w - -",
    "1k2q3/2b1r3/8/4N3/8/8/4B3/K3R2Q w - -",
    "6k1/8/3N4/q6b/8/3Q4/8/R3K2R w KQ -",
    "r3k2r/8/3q4/8/3Q4/8/8/3RK3 b kq -",
    "QQQ5/6k1/8/3nnn2/3NNN2/8/8/2K2qqq w - -",
};

/// What games hardly ever reach: checks by castling, en passant and promotion, alone and through the squares that
/// empty, kings that castle through attacks or step back along a line, captures that would open one.
constexpr const char* RARE[] = {
    "5k2/8/8/8/8/8/8/4K2R w K -",      "5k2/8/5p2/8/8/8/8/4K2R w K -",    "8/8/8/8/8/8/8/k3K2R w K -",
    "8/8/8/8/8/8/8/k1N1K2R w K -",     "8/8/8/8/8/8/8/R3K2k w Q -",       "r3k3/8/8/8/8/8/8/3K4 b q -",
    "8/4P3/8/8/8/8/8/K3k3 w - -",      "8/2k1P3/8/8/8/8/8/K7 w - -",      "3r4/4P3/8/6k1/8/8/8/K7 w - -",
    "8/R3P2k/8/8/8/8/8/K7 w - -",      "8/8/8/kN1pP2R/8/8/8/4K3 w - d6",  "8/8/8/k2pP2R/8/8/8/4K3 w - d6",
    "4k3/8/8/8/4K3/8/4R3/8 w - -",     "4k3/8/8/8/4r3/8/8/4K2R w K -",    "4k3/8/8/8/5r2/8/8/4K2R w K -",
    "4k3/4r3/8/8/8/4K3/8/8 w - -",     "4k3/4r3/8/8/8/4N3/2n5/4K3 w - -", "8/8/8/K2pP2r/8/8/8/4k3 w - d6",
    "8/8/8/2PpP3/4K3/8/8/7k w - d6",   "7k/8/5b2/3Pp3/3K4/8/8/8 w - e6",  "r6K/2P5/8/8/8/8/8/k7 w - -",
    "4k3/8/8/8/1b6/3n4/2Q5/4K3 w - -", "R3k3/8/4K3/8/8/8/8/8 b - -",      "4k3/8/8/8/r5K1/8/2PPP3/8 w - -",
};

constexpr int GAMES_PER_START = 15;
constexpr int GAME_LENGTH = 50;

struct Snapshot {
    unsigned char board[sizeof(ThreadBoard)];
    std::int32_t ply;

    Snapshot() : ply(GamePly) { std::memcpy(board, &thread_board, sizeof board); }
    bool StillHolds() const { return ply == GamePly && std::memcmp(board, &thread_board, sizeof board) == 0; }
};

/// A pseudo-legal move and what making it shows.
struct Tried {
    MoveEntry entry;
    bool legal;
    bool checks;           // a man other than the king attacks the enemy king afterwards
    bool checks_directly;  // the man that has moved does
};

std::vector<Move> WordsOf(const std::vector<MoveEntry>& entries) {
    std::vector<Move> words;
    for (const MoveEntry& entry : entries) {
        words.push_back(entry.Move);
    }
    return words;
}

template <typename T>
std::vector<T> Sorted(std::vector<T> values) {
    std::ranges::sort(values);
    return values;
}

bool SameEntries(const std::vector<MoveEntry>& a, const std::vector<MoveEntry>& b) {
    return std::ranges::equal(a, b, [](const MoveEntry& x, const MoveEntry& y) {
        return x.Move == y.Move && x.Score == y.Score && x.Safety == y.Safety;
    });
}

/// Only the moves whose MoveSafety is not LOSING.
std::vector<MoveEntry> WithoutLosing(std::vector<MoveEntry> entries) {
    std::erase_if(entries, [](const MoveEntry& entry) { return MoveSafety(entry.Move) == LOSING; });
    return entries;
}

class RandomGames : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        ClearMoveStats();
        std::mt19937 random(99);
        for (auto& history : std::span(&QuietHistory[0][0][0][0][0], sizeof QuietHistory / sizeof(std::int32_t))) {
            history = static_cast<std::int32_t>(random() % HISTORY_MAX);
        }
        Ply = 0;
        PlyState[0] = {};
    }

    void TearDown() override { ClearMoveStats(); }

    /// Everything about the position on the board. Answers its legal moves.
    std::vector<MoveEntry> CheckPosition();

    void CheckAttacks();
    void CheckPins();
    void CheckMake(const MoveEntry& entry);
    void CheckMoveTests(const Tried& tried);
    void CheckSafety();
    void CheckChecks();
    void CheckEvasions(const std::vector<MoveEntry>& legal);

    Colour us() const { return thread_board.SideToMove; }
    Colour them() const { return ChangeSide(thread_board.SideToMove); }

    bool in_check = false;
    std::vector<Tried> tried;  // captures, promotions and quiet moves, in generator order
};

void RandomGames::CheckAttacks() {
    const SlowBoard slow;
    for (const Colour colour : {WHITE, BLACK}) {
        for (int square = 0; square < 64; ++square) {
            Bitboard attackers = 0;
            for (const int from : slow.Attackers(colour, square)) {
                attackers |= Bit(from);
            }
            ASSERT_EQ(AttackersTo(colour, square), attackers) << square;
            ASSERT_EQ(SquareAttacked(colour, square), attackers != 0) << square;
        }
    }
}

void RandomGames::CheckPins() {
    const SlowBoard slow;
    const int king = thread_board.KingSquare[us()];
    for (int square = 0; square < 64; ++square) {
        if (slow.colour[square] == us() && square != king) {
            SlowBoard without = slow;
            without.Empty(square);
            const bool pinned = without.SlidingAttackers(them(), king) > slow.SlidingAttackers(them(), king);
            ASSERT_EQ(IsPinned(square), pinned) << square;
        }
    }
}

void RandomGames::CheckMake(const MoveEntry& entry) {
    const Colour mover = us();
    const Snapshot before;
    const bool answer = GivesCheck(entry.Move);
    ASSERT_TRUE(before.StillHolds()) << TextOf(entry.Move);
    MakeMove(entry.Move, 1);
    ASSERT_TRUE(PositionIsConsistent()) << TextOf(entry.Move);

    const SlowBoard slow;
    const int enemy_king = slow.KingOf(1 - mover);
    Tried result = {entry, !slow.Attacked(1 - mover, slow.KingOf(mover)), false, false};
    for (const int from : slow.Attackers(mover, enemy_king)) {
        result.checks |= slow.code[from] != KING;
        result.checks_directly |= from == MoveTo(entry.Move);
    }
    tried.push_back(result);
    UnmakeMove();
    ASSERT_TRUE(before.StillHolds()) << TextOf(entry.Move);
    ASSERT_TRUE(PositionIsConsistent()) << TextOf(entry.Move);
    if (result.legal) {
        ASSERT_EQ(answer, result.checks) << TextOf(entry.Move);
    }
}

void RandomGames::CheckMoveTests(const Tried& move) {
    const Move word = move.entry.Move;
    if (!in_check && !IsEnPassant(word)) {
        ASSERT_EQ(IsMoveIllegal(word), !move.legal) << TextOf(word);
    }
    if (MovePiece(word) != KING && !IsEnPassant(word) && MovePromotion(word) == NO_PIECE) {
        ASSERT_EQ(DiscoversCheck(word), DiscoversAttackOn(word, thread_board.KingSquare[them()])) << TextOf(word);
        if (!move.checks_directly) {
            ASSERT_EQ(DiscoversCheck(word), move.checks) << TextOf(word);
        }
    }
}

/// The verdict without a map, with the enemy's true attack map (the shortcut must change nothing then), and with
/// a map that lacks squares (the shortcut believes it).
void RandomGames::CheckSafety() {
    const SlowBoard slow;
    const Bitboard attacked = slow.AttackMap(them());
    const Bitboard half = attacked & 0x5555aaaa3333ccccULL;
    SlowExchange exchange(slow);
    for (const Tried& move : tried) {
        const Move word = move.entry.Move;
        const int from = MoveFrom(word), to = MoveTo(word), piece = MovePiece(word);
        const int captured = MoveCaptured(word), promotion = MovePromotion(word);
        const bool never_tested = piece == KING || IsEnPassant(word);
        const bool safe = exchange.IsSafe(to, from, piece, captured, promotion);
        ASSERT_EQ(IsExchangeSafe(to, from, piece, captured, promotion), safe) << TextOf(word);
        if (promotion == NO_PIECE) {
            ASSERT_EQ(ThreatHolds(to, from, piece, captured), exchange.IsSafe(to, from, piece, captured, 0, false))
                << TextOf(word);
        }
        const std::int32_t verdict = never_tested || safe ? SAFE : LOSING;
        ASSERT_EQ(move.entry.Safety, verdict) << TextOf(word);

        PlyState[0].AttackMap[them()] = attacked;
        ASSERT_EQ(MoveSafety(word), verdict) << TextOf(word);

        PlyState[0].AttackMap[them()] = half;
        const bool shortcut = half != 0 && (half & Bit(to)) == 0 && (piece == KNIGHT || (half & Bit(from)) == 0);
        const bool believed = never_tested || (shortcut ? promotion == NO_PIECE || promotion == QUEEN : safe);
        ASSERT_EQ(MoveSafety(word), believed ? SAFE : LOSING) << TextOf(word);
        PlyState[0].AttackMap[them()] = 0;
    }
}

/// GenerateChecks against the quiet moves that give check. It leaves out what a queen discovers, and lets the king
/// discover a check from an attacked square (such a move is in `tried` as well, it is only not legal).
void RandomGames::CheckChecks() {
    std::vector<Move> expected;
    for (const Tried& move : tried) {
        const Move word = move.entry.Move;
        const bool looked_for = MovePiece(word) == QUEEN ? move.checks_directly : move.checks;
        if (IsQuiet(word) && looked_for && MoveSafety(word) != LOSING) {
            expected.push_back(word);
        }
    }
    const std::vector<MoveEntry> checks = Generated([] { GenerateChecks(0); });
    ASSERT_EQ(Sorted(WordsOf(checks)), Sorted(expected)) << TextsOf(checks);
    for (const MoveEntry& entry : checks) {
        const auto quiet = std::ranges::find_if(tried, [&](const Tried& t) { return t.entry.Move == entry.Move; });
        ASSERT_EQ(entry.Safety, quiet->entry.Safety);
        ASSERT_EQ(entry.Score, quiet->entry.Score);
    }
}

void RandomGames::CheckEvasions(const std::vector<MoveEntry>& legal) {
    int stage = -1;
    PlyState[Ply].TriedCount = 5;
    const std::vector<MoveEntry> evasions = Generated([&] { stage = GenerateEvasionsNow(); });
    ASSERT_EQ(Sorted(WordsOf(evasions)), Sorted(WordsOf(legal))) << TextsOf(evasions);
    ASSERT_EQ(stage, evasions.empty() ? 0 : STAGE_EVASIONS);
    ASSERT_EQ(PlyState[Ply].TriedCount, 0);
    ASSERT_EQ(IsCheckmated(), legal.empty());
    for (const MoveEntry& entry : evasions) {
        ASSERT_EQ(entry.Safety, MoveSafety(entry.Move)) << TextOf(entry.Move);
    }
}

std::vector<MoveEntry> RandomGames::CheckPosition() {
    std::vector<MoveEntry> legal;
    const auto run = [&] {
        in_check = SlowBoard().Attacked(them(), thread_board.KingSquare[us()]);
        ASSERT_TRUE(PositionIsPlayable());
        ASSERT_NO_FATAL_FAILURE(CheckAttacks());
        ASSERT_NO_FATAL_FAILURE(CheckPins());

        const Bitboard targets = thread_board.ColourPieces[them()];
        const std::vector<MoveEntry> captures = Generated([&] { GenerateCaptures(targets); });
        std::vector<MoveEntry> quiets = Generated([] { GenerateQuiets(0); });
        ASSERT_TRUE(SameEntries(Generated([&] { GenerateSafeCaptures(targets); }), WithoutLosing(captures)));
        ASSERT_TRUE(SameEntries(Generated([] { GenerateSafeQuiets(0); }), WithoutLosing(quiets)));
        if (in_check) {
            std::erase_if(quiets, [](const MoveEntry& entry) { return IsCastling(entry.Move); });
        }
        const std::vector<MoveEntry> promotions = Generated(GeneratePromotions);
        std::vector<MoveEntry> all = captures;
        all.insert(all.end(), promotions.begin(), promotions.end());
        all.insert(all.end(), quiets.begin(), quiets.end());
        std::vector<Move> words = Sorted(WordsOf(all));
        ASSERT_EQ(std::ranges::adjacent_find(words), words.end()) << "a move twice";

        tried.clear();
        for (const MoveEntry& entry : all) {
            ASSERT_NO_FATAL_FAILURE(CheckMake(entry));
            ASSERT_NO_FATAL_FAILURE(CheckMoveTests(tried.back()));
            if (tried.back().legal) {
                legal.push_back(entry);
            }
        }
        ASSERT_NO_FATAL_FAILURE(CheckSafety());
        if (in_check) {
            ASSERT_NO_FATAL_FAILURE(CheckEvasions(legal));
        } else {
            ASSERT_NO_FATAL_FAILURE(CheckChecks());
        }
        ASSERT_EQ(WordsOf(Generated([] { GenerateLegalMoves(0); })), WordsOf(legal));
    };
    run();
    return legal;
}

TEST_P(RandomGames, EveryAnswerHolds) {
    std::mt19937 random(7);
    for (int game = 0; game < GAMES_PER_START; ++game) {
        SetupFen(GetParam());
        for (int move = 0; move < GAME_LENGTH; ++move) {
            const std::vector<MoveEntry> legal = CheckPosition();
            if (HasFatalFailure()) {
                FAIL() << WriteFen(0) << "game " << game << " move " << move;
            }
            if (legal.empty()) {
                break;
            }
            MakeMove(legal[random() % legal.size()].Move, 1);
        }
    }
}

using RarePositions = RandomGames;

TEST_P(RarePositions, EveryAnswerHolds) {
    SCOPED_TRACE(GetParam());
    SetupFen(GetParam());
    CheckPosition();
}

INSTANTIATE_TEST_SUITE_P(Rare, RarePositions, testing::ValuesIn(RARE));
INSTANTIATE_TEST_SUITE_P(Starts, RandomGames, testing::ValuesIn(STARTS),
                         [](const auto& start) { return std::to_string(start.index); });

}  // namespace
