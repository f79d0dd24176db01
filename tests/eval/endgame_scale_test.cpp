#include "eval/endgame_scale.h"

#include "eval/pawn_structure.h"
#include "support/evaluation_fixture.h"

namespace {

constexpr std::int32_t VALUE = 4096;

/// Sets up the position and the part of the record that the scales read.
void Prepare(const std::string& fen) {
    SetupFen(fen);
    thread_eval_info = {};
    EvaluatePawnStructure();
    thread_eval_info.packed = 0;
    thread_eval_info.both_sides_valid = 1;
}

template <typename Visit>
void ForEachScale(const Visit& visit) {
    for (const Parameter& parameter : Parameters()) {
        if (parameter.name.starts_with("Scale") && parameter.block == 4) {
            visit(parameter);
        }
    }
}

void SetAllScales(std::int32_t factor) {
    ForEachScale([&](const Parameter& parameter) { *parameter.values = factor; });
}

/// ScaleEndgame with `other` for the value that the position has with the other side to move.
std::int32_t ScaledOf(const std::string& fen, std::int32_t value, std::int32_t other) {
    Prepare(fen);
    thread_eval_info.side_delta = value - other;
    return ScaleEndgame(value);
}

/// The names, without "Scale", of the factors that the value meets, in the order of the file: "+" behind one that
/// side_delta meets too, "/" before them when both_sides_valid has been cleared.
std::string FactorsMet(const std::string& fen, std::int32_t value) {
    std::string met;
    bool valid = true;
    ForEachScale([&](const Parameter& parameter) {
        SetAllScales(256);
        *parameter.values = 128;
        const std::int32_t scaled = ScaledOf(fen, value, 3 * value);
        if (scaled != value) {
            EXPECT_EQ(scaled, value / 2) << parameter.name << " more than once";
            met.append(met.empty() ? "" : " ").append(parameter.name.substr(5));
            met.append(thread_eval_info.side_delta == -value ? "+" : "");
        }
        valid = thread_eval_info.both_sides_valid != 0;
    });
    return valid ? met : std::string("/").append(met);
}

class EndgameScale : public EvaluationTest {};

/// Positions, and after each the factors that a lead of White meets.
void ExpectFactors(const std::string& text) {
    for (const TextCase& c : TextCases(text)) {
        std::string factors;
        for (const std::string& word : c.words) {
            factors += (factors.empty() ? "" : " ") + word;
        }
        FromBothSides(c.fen,
                      [&](const Seen& seen) { EXPECT_EQ(FactorsMet(seen.fen, seen.For(VALUE)), factors) << seen.fen; });
    }
}

TEST_F(EndgameScale, MeetsTheRightFactors) {
    // Too many pieces on both sides.
    ExpectFactors("rrbnk3/8/8/8/8/8/8/RRBNK3");
    // One pawn with level pieces: heavy pieces and minors, the king before the pawn or not.
    ExpectFactors(
        "1k2rb2/8/8/8/6P1/8/8/1K2RB2 /OnePawnBishop; "
        "4rbk1/8/8/8/6P1/8/8/1K2RB2 /OnePawnBishopBlocked PawnsBeforeKing+; "
        "4rnk1/8/8/8/6P1/8/8/1K2RB2 /OnePawnBlocked PawnsBeforeKing+; 1k2rn2/8/8/8/6P1/8/8/1K2RN2 /OnePawn; "
        "4r1k1/8/8/8/6P1/8/8/1K2R3 /OnePawnPiecesBlocked PawnsBeforeKing+ RookKnightFile+");
    // Minors alone: two and more of them ask whether the pawn would run without them.
    ExpectFactors(
        "k3bb2/8/8/8/6P1/8/8/1K2BN2 /OnePawnBishop; k3bb2/8/8/2P5/8/8/8/1K2BN2 b /OnePawnBishopBlocked; "
        "4b1k1/8/8/8/6P1/8/8/1K2N3 /OnePawnPiecesBlocked PawnsBeforeKing+; 1k2b3/8/8/8/6P1/8/8/1K2N3 /OnePawnPieces; "
        "1k2q3/8/8/8/6P1/8/8/1K2Q3 /OnePawnPieces; 1k1rr3/8/8/8/6P1/8/8/1K1RR3 /; 1k2q3/8/8/8/6P1/8/8/1K1BBB2");
    // The favoured side's pawns before the enemy king; pawns behind it count as outside.
    ExpectFactors(
        "4b1k1/p7/8/5PP1/8/8/8/1K2N3 /PawnsBeforeKing+; 4b1k1/p7/8/5PP1/4P3/8/8/1K2N3; "
        "4b1k1/p7/8/5PP1/5P2/8/8/1K2N3 PawnsBeforeKing+; 4b1k1/p7/8/5PP1/5P2/8/8/1K2R3; "
        "4kn2/8/8/5p2/5pp1/8/P7/4B1K1 b; 4b3/p4P2/6k1/6P1/5P2/8/8/1K2N3");
    // Rook and pawn against rook.
    ExpectFactors(
        "k7/8/8/P7/8/8/r7/2R3K1 /OnePawnPiecesBlocked PawnsBeforeKing+ RookEdge+; "
        "3k4/8/8/4P3/8/8/r7/2R3K1 /OnePawnPiecesBlocked PawnsBeforeKing+ RookCentre+; "
        "8/8/8/3kP3/8/8/r7/2R3K1 /OnePawnPieces; 8/8/8/4P3/3k4/8/r7/2R3K1 /OnePawnPieces RookKingFar+; "
        "8/8/2k5/4P3/4K3/8/r7/3R4 /OnePawnPieces RookCutOff+; 8/8/2k5/4P3/4K3/8/r7/2R5 /OnePawnPieces RookNoCut+; "
        "8/8/2k5/8/8/4K3/r3P3/3R4 /OnePawnPieces RookFar+; "
        "3r4/R3p3/4k3/8/8/K7/8/8 b /OnePawnPieces PawnsBeforeKing+ RookCutOff+ RookRook+");
    // Three pawns, none passed: bishops or others, the king near or far from its pawn or out of the way.
    ExpectFactors(
        "1k2rb2/5p2/8/8/5PP1/8/8/1K2RB2 /ThreeBishopClear; 1k2rn2/5p2/8/8/5PP1/8/8/1K2RB2 /ThreeClear; "
        "4rbk1/5p2/8/8/5PP1/8/8/1K2RB2 /PawnsBeforeKing+ ThreeBishopNear; "
        "4rnk1/5p2/8/8/5PP1/8/8/1K2RB2 /PawnsBeforeKing+ ThreeNear; "
        "4rbk1/8/5p2/8/5PP1/8/8/1K2RB2 /PawnsBeforeKing+ ThreeBishopFar; "
        "4rnk1/8/5p2/8/5PP1/8/8/1K2RB2 /PawnsBeforeKing+ ThreeFar; "
        "4r1k1/5p2/8/8/5PP1/8/8/1K2R3 /PawnsBeforeKing+ RookPawnsClosed+ ThreeFortress; "
        "1k2rb2/8/5p2/8/5P2/6P1/8/1K2RN2 /ThreeBishopClear; 1k2rb2/8/5p2/P7/5P2/8/8/1K2RN2 /; "
        "1k2rb2/8/5p2/8/5P2/6P1/8/1K2R3 /");
    // A rook each, or none: the defender before every pawn.
    ExpectFactors(
        "4r1k1/5p2/8/8/5P1P/8/8/1K2R3 /PawnsBeforeKing+ RookPawnsPassed+; 4r2k/5p2/8/8/5PP1/8/8/1K2R3 /; "
        "4b1k1/5p2/8/8/5PP1/8/8/1K2B3 /PawnsBeforeKing+ ThreeFortress; "
        "k7/p7/8/8/8/8/PP6/1K6 /PawnsBeforeKing+ TwoPawnsFortress+; 6k1/6p1/8/8/8/8/6PP/6K1 /PawnsBeforeKing+");
    // No pawns for the favoured side.
    ExpectFactors(
        "3qk3/8/8/8/8/8/8/3QK3 PawnsBeforeKing+ NoPawnsEqual+; 3qk3/8/8/8/8/8/8/Q3KB2 TwelveNine+; "
        "q3kb2/8/8/8/8/8/8/3QK3 b PawnsBeforeKing+; 4kr2/8/8/8/8/8/8/R3KB2 RookBishop+; "
        "k7/8/8/1r6/8/8/8/R3KB2 RookBishopCorner+; 7R/8/8/8/8/8/5r2/3Nk1K1 RookKnightCorner+; "
        "8/8/6k1/7r/8/8/8/R3KN2 RookKnight+; 4kb2/8/8/8/8/8/8/R3K3 RookBishopWeak+; "
        "4kn2/p7/8/8/8/8/8/R3K3 RookKnightWeak+; 4kr2/8/8/8/8/8/8/R3K3 PawnsBeforeKing+ NoPawnsEqual+ RookRook+; "
        "4kb2/8/8/8/8/8/8/3BKN2 SixBishop+; 4kn2/8/8/8/8/8/8/3BKN2 SixKnight+; 4kn2/8/8/8/8/8/8/3BKB2 TwoBishops+; "
        "4kn2/pp6/8/8/8/8/8/3BK3 PawnsBeforeKing+ MinorMinor+; 3bk3/8/8/8/8/8/PP6/4KN2 b");
}

TEST_F(EndgameScale, NothingIsLeftForWhoCannotWin) {
    SetAllScales(256);
    for (const char* fen : {"4kr2/pp6/8/8/8/8/PP6/R3K3", "rrbnk3/8/8/8/8/8/8/RRBNK3"}) {
        for (const Colour colour : {WHITE, BLACK}) {
            for (const std::int32_t value : {-VALUE, VALUE}) {
                for (const std::int32_t no_queen : {14, 31}) {
                    EndingWeightNoQueen = no_queen;
                    Prepare(fen);
                    thread_eval_info.cannot_win[colour] = 1;
                    thread_eval_info.side_delta = -value;
                    // Only where scales are read at all.
                    const bool cut = (value < 0) == (colour == WHITE) && (fen[0] == '4' || no_queen == 31);
                    EXPECT_EQ(ScaleEndgame(value), cut ? 0 : value) << fen;
                    EXPECT_EQ(thread_eval_info.side_delta, cut ? 0 : -value) << fen;
                }
            }
        }
    }
}

// Two queens that check well can give either side the lead when it is to move. A lead of 1 is gone after one factor.
TEST_F(EndgameScale, AnotherLeaderWithTheOtherSideToMoveIsNotDerived) {
    SetAllScales(128);
    const char* const fen = "3qk3/8/8/8/8/8/8/3QK3";
    for (const std::int32_t value : {-VALUE, -1, 1, VALUE}) {
        ScaledOf(fen, value, 2 * value);
        EXPECT_EQ(thread_eval_info.both_sides_valid, value != 1) << value;
        for (const std::int32_t other : {0, -value}) {
            ScaledOf(fen, value, other);
            EXPECT_EQ(thread_eval_info.both_sides_valid, 0) << value << ' ' << other;
        }
    }
}

TEST_F(EndgameScale, OppositeBishopsScaleMaterialAndRest) {
    // The entry that each meets, -1 for none: those with too many men, bishops of one colour, a man more, two bishops.
    const std::string text =
        "4kb2/ppp5/8/8/8/8/PPP5/4KB2 0; 4kb2/ppp5/8/8/8/8/PP6/4KB2 9; 4kb2/p7/8/8/8/8/PPPPP3/4KB2 27; "
        "4kbn1/ppp5/8/8/8/8/PP6/4KBN1 10; r3kb2/ppp5/8/8/8/8/PP6/R3KB2 12; q3kb2/ppp5/8/8/8/8/PP6/Q3KB2 15; "
        "q3kb1n/ppp5/8/8/8/8/PP6/Q3KB1N 16; nn2kb1n/ppp5/8/8/8/8/PP6/NN2KB1N 11; "
        "q3kb1n/ppp5/8/8/8/8/PP6/RR2KB1N 16; qr2kb2/ppp5/8/8/8/8/PP6/QR2KB2 -1; 4k1b1/ppp5/8/8/8/8/PP6/4KB2 -1; "
        "4kb2/ppp5/8/8/8/8/PP6/4KBN1 -1; r3kb2/ppp5/8/8/8/8/PP6/4KB2 -1; 2b1kb2/ppp5/8/8/8/8/PP6/2B1KB2 -1";
    for (const TextCase& c : TextCases(text)) {
        for (int entry = 0; entry < 36; ++entry) {
            InitOppositeBishops();
            OppositeBishopsMaterial[entry] = 64;
            OppositeBishopsPosition[entry] = 128;
            Prepare(c.fen);
            thread_eval_info.material_score = 400;
            thread_eval_info.side_delta = VALUE;
            const bool meets = entry == c.Number(0);
            EXPECT_EQ(ScaleOppositeBishops(1000), meets ? 100 + 300 : 1000) << c.fen << entry;
            EXPECT_EQ(thread_eval_info.side_delta, meets ? VALUE / 2 : VALUE) << c.fen << entry;
        }
    }
}

TEST_F(EndgameScale, FewPieceTerms) {
    for (int passed = 0; passed < 9; ++passed) {
        PassedVsMinors[passed] = 100 * passed + 7;
    }
    PawnOutflank = 5000;
    // Passed pawns with a rook against a knight and another minor.
    const std::string passed =
        "r3k3/p4p2/8/8/8/8/8/4KBN1 207; r3k3/p4p2/8/8/8/8/5P2/4KBN1 107; 4kbn1/8/8/8/8/8/P1P2P2/R3K3 b -307; "
        "r3k3/p4p2/8/8/8/8/8/2B1KB2 0; r3kn2/p4p2/8/8/8/8/8/4KBN1 0";
    // Without pieces: a king past the enemy's pawns, to the right or to the left, with a pawn of his own on the way.
    // With the enemy to move a file more is wanted.
    const std::string outflanked =
        "8/8/7k/p7/P1K5/8/8/8 -5000; 8/8/7k/p7/P1K5/8/8/8 b -5000; 8/8/3k4/p7/P1K5/8/8/8 -5000; "
        "8/8/3k4/p7/P1K5/8/8/8 b 0; 8/8/7k/8/P1K5/8/8/8 0; 8/8/2k5/7p/2K4P/8/8/8 0; 8/8/7k/p7/P1K4P/8/8/8 -5000; "
        "8/8/7k/4p3/P1K5/8/8/8 0; 8/8/7k/p7/3KP3/8/8/8 0; 8/8/k7/7p/5K1P/8/8/8 -5000; 8/8/K7/8/5k1p/7P/8/8 b 5000; "
        "8/8/7K/8/2k4p/p6P/P7/8 0; 8/8/7K/8/p1k5/P7/8/8 5000";
    for (const bool pieces : {true, false}) {
        for (const TextCase& c : TextCases(pieces ? passed : outflanked)) {
            FromBothSides(c.fen, [&](const Seen& seen) {
                Prepare(seen.fen);
                AddFewPieceTerms();
                EXPECT_EQ(thread_eval_info.packed, seen.For(-c.Number(0))) << seen.fen;
                EXPECT_EQ(thread_eval_info.both_sides_valid != 0, pieces) << seen.fen;
            });
        }
    }
}

}  // namespace
