#include "eval/endgame_scale.h"

#include "eval/low_material_fixture.h"

namespace {

/// What the pawn hash would say, counted by squares.
void FillPawnEntry() {
    PawnHashEntry& entry = thread_board.PawnEntry;
    entry = {};
    for (const Colour colour : {WHITE, BLACK}) {
        for (int square = 0; square < 64; ++square) {
            if ((thread_board.Pieces[PAWN][colour] & Bit(square)) == 0) {
                continue;
            }
            const auto file = static_cast<std::uint8_t>(1U << FileOf(square));
            entry.PawnFiles[colour] |= file;
            const Bitboard mask = colour == WHITE ? PassedMaskWhite[square] : PassedMaskBlack[square];
            const Bitboard own = mask & (FILE_A << FileOf(square)) & thread_board.Pieces[PAWN][colour];
            if ((mask & thread_board.Pieces[PAWN][ChangeSide(colour)]) == 0 && own == 0) {
                entry.PassedFiles(colour) |= file;
            }
        }
    }
}

/// Sets up the position and the part of the record that the scales read.
void Prepare(const std::string& fen) {
    SetupFen(fen);
    FillPawnEntry();
    thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
    thread_eval_info = {};
    thread_eval_info.both_sides_valid = 1;
    thread_eval_info.side_delta = 1 << 20;
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

/// The names, without "Scale", of the factors that the value meets, in the order of the file: "+" behind one that
/// side_delta meets too, "/" before them when both_sides_valid has been cleared.
std::string FactorsMet(const std::string& fen, std::int32_t value) {
    std::string met;
    bool valid = true;
    ForEachScale([&](const Parameter& parameter) {
        SetAllScales(256);
        *parameter.values = 128;
        Prepare(fen);
        const std::int32_t scaled = ScaleEndgame(value);
        if (scaled != value) {
            EXPECT_EQ(scaled, value / 2) << parameter.name << " more than once";
            met.append(met.empty() ? "" : " ").append(parameter.name.substr(5));
            met.append(thread_eval_info.side_delta == 1 << 19 ? "+" : "");
        }
        valid = thread_eval_info.both_sides_valid != 0;
    });
    return valid ? met : std::string("/").append(met);
}

class EndgameScale : public testing::Test {
  protected:
    void SetUp() override { ResetEvaluation(); }
    static void TearDownTestSuite() { ResetEvaluation(); }
};

TEST_F(EndgameScale, ColourMirrorIsScaledAlike) {
    std::mt19937 random(77);
    int scaled = 0;
    for (int i = 0; i < 40000; ++i) {
        if (i % 250 == 0) {
            ShuffleParameters(random, {"Scale", "OppositeBishops"}, 32);
        }
        const std::string fen = RandomFewMen(random, 1 + i % 5);
        // Factors are multiples of 1/8 and at most seven meet: no shift rounds.
        const auto value = static_cast<std::int32_t>(random() % 33 - 16) << 21;
        Prepare(fen);
        thread_eval_info.cannot_win[WHITE] = i % 7 == 0;
        const std::int32_t here = ScaleEndgame(ScaleOppositeBishops(value));
        const ThreadEvalInfo info = thread_eval_info;
        Prepare(ColourMirror(fen));
        thread_eval_info.cannot_win[BLACK] = i % 7 == 0;
        ASSERT_EQ(ScaleEndgame(ScaleOppositeBishops(-value)), -here) << fen;
        ASSERT_EQ(thread_eval_info.side_delta, info.side_delta) << fen;
        ASSERT_EQ(thread_eval_info.both_sides_valid, info.both_sides_valid) << fen;
        scaled += here != value;
    }
    EXPECT_GT(scaled, 10000);
}

TEST_F(EndgameScale, MeetsTheRightFactors) {
    constexpr int FOR_WHITE = -4096;
    constexpr int FOR_BLACK = 4096;
    struct Case {
        const char* fen;
        int value;
        const char* factors;
    };
    const Case cases[] = {
        // Too many pieces on both sides.
        {"rrbnk3/8/8/8/8/8/8/RRBNK3 w - - ", FOR_WHITE, ""},
        // One pawn with level pieces: heavy pieces and minors, the king before the pawn or not.
        {"1k2rb2/8/8/8/6P1/8/8/1K2RB2 w - - ", FOR_WHITE, "/OnePawnBishop"},
        {"4rbk1/8/8/8/6P1/8/8/1K2RB2 w - - ", FOR_WHITE, "/OnePawnBishopBlocked PawnsBeforeKing+"},
        {"4rnk1/8/8/8/6P1/8/8/1K2RB2 w - - ", FOR_WHITE, "/OnePawnBlocked PawnsBeforeKing+"},
        {"1k2rn2/8/8/8/6P1/8/8/1K2RN2 w - - ", FOR_WHITE, "/OnePawn"},
        {"4r1k1/8/8/8/6P1/8/8/1K2R3 w - - ", FOR_WHITE, "/OnePawnPiecesBlocked PawnsBeforeKing+ RookKnightFile+"},
        // Minors alone: two and more of them ask whether the pawn would run without them.
        {"k3bb2/8/8/8/6P1/8/8/1K2BN2 w - - ", FOR_WHITE, "/OnePawnBishop"},
        {"k3bb2/8/8/2P5/8/8/8/1K2BN2 b - - ", FOR_WHITE, "/OnePawnBishopBlocked"},
        {"k3nn2/8/8/8/6P1/8/8/1K2BN2 w - - ", FOR_WHITE, "/OnePawn"},
        {"4b1k1/8/8/8/6P1/8/8/1K2N3 w - - ", FOR_WHITE, "/OnePawnPiecesBlocked PawnsBeforeKing+"},
        {"1k2b3/8/8/8/6P1/8/8/1K2N3 w - - ", FOR_WHITE, "/OnePawnPieces"},
        {"1k2q3/8/8/8/6P1/8/8/1K2Q3 w - - ", FOR_WHITE, "/OnePawnPieces"},
        {"1k1rr3/8/8/8/6P1/8/8/1K1RR3 w - - ", FOR_WHITE, "/"},
        {"1k2q3/8/8/8/6P1/8/8/1K1BBB2 w - - ", FOR_WHITE, ""},  // heavy units differ
        // The favoured side's pawns before the enemy king; pawns behind it count as outside.
        {"4b1k1/p7/8/5PP1/8/8/8/1K2N3 w - - ", FOR_WHITE, "/PawnsBeforeKing+"},
        {"4b1k1/p7/8/5PP1/4P3/8/8/1K2N3 w - - ", FOR_WHITE, ""},
        {"4b1k1/p7/8/5PP1/5P2/8/8/1K2N3 w - - ", FOR_WHITE, "PawnsBeforeKing+"},
        {"4b1k1/p7/8/5PP1/5P2/8/8/1K2R3 w - - ", FOR_WHITE, ""},
        {"4b1k1/p7/8/5PP1/5P2/8/8/1K2N3 w - - ", FOR_BLACK, "PawnsBeforeKing+"},
        {"4b1k1/p7/8/5PP1/5P2/8/8/4KN2 w - - ", FOR_BLACK, ""},
        {"4b3/p4P2/6k1/6P1/5P2/8/8/1K2N3 w - - ", FOR_WHITE, ""},
        // Rook and pawn against rook.
        {"k7/8/8/P7/8/8/r7/2R3K1 w - - ", FOR_WHITE, "/OnePawnPiecesBlocked PawnsBeforeKing+ RookEdge+"},
        {"3k4/8/8/4P3/8/8/r7/2R3K1 w - - ", FOR_WHITE, "/OnePawnPiecesBlocked PawnsBeforeKing+ RookCentre+"},
        {"8/8/8/3kP3/8/8/r7/2R3K1 w - - ", FOR_WHITE, "/OnePawnPieces"},
        {"8/8/8/4P3/3k4/8/r7/2R3K1 w - - ", FOR_WHITE, "/OnePawnPieces RookKingFar+"},
        {"8/2k5/8/5P2/8/8/r7/2R3K1 w - - ", FOR_WHITE, "/OnePawnPieces RookKingFar+"},
        {"8/8/2k5/4P3/4K3/8/r7/3R4 w - - ", FOR_WHITE, "/OnePawnPieces RookCutOff+"},
        {"8/8/2k5/4P3/4K3/8/r7/2R5 w - - ", FOR_WHITE, "/OnePawnPieces RookNoCut+"},
        {"8/8/2k5/8/8/4K3/r3P3/3R4 w - - ", FOR_WHITE, "/OnePawnPieces RookFar+"},
        {"8/8/k7/8/8/4K3/r3P3/3R4 w - - ", FOR_BLACK, "/OnePawnPieces PawnsBeforeKing+ RookCutOff+ RookRook+"},
        // Three pawns, none passed: bishops or others, the king near or far from its pawn or out of the way.
        {"1k2rb2/5p2/8/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/ThreeBishopClear"},
        {"1k2rn2/5p2/8/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/ThreeClear"},
        {"4rbk1/5p2/8/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/PawnsBeforeKing+ ThreeBishopNear"},
        {"4rnk1/5p2/8/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/PawnsBeforeKing+ ThreeNear"},
        {"4rbk1/8/5p2/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/PawnsBeforeKing+ ThreeBishopFar"},
        {"4rnk1/8/5p2/8/5PP1/8/8/1K2RB2 w - - ", FOR_WHITE, "/PawnsBeforeKing+ ThreeFar"},
        {"4r1k1/5p2/8/8/5PP1/8/8/1K2R3 w - - ", FOR_WHITE, "/PawnsBeforeKing+ RookPawnsClosed+ ThreeFortress"},
        {"k3nb2/5p2/8/8/5PP1/8/8/1K2BB2 w - - ", FOR_WHITE, "/ThreeBishopClear"},
        {"1k2rb2/8/5p2/8/5P2/6P1/8/1K2RN2 w - - ", FOR_WHITE, "/ThreeBishopClear"},
        {"1k2rb2/8/5p2/P7/5P2/8/8/1K2RN2 w - - ", FOR_WHITE, "/"},  // one is passed
        {"1k2rb2/8/5p2/8/5P2/6P1/8/1K2R3 w - - ", FOR_WHITE, "/"},  // pieces differ
        // A rook each, or none: the defender before every pawn.
        {"4r1k1/5p2/8/8/5P1P/8/8/1K2R3 w - - ", FOR_WHITE, "/PawnsBeforeKing+ RookPawnsPassed+"},
        {"4r2k/5p2/8/8/5PP1/8/8/1K2R3 w - - ", FOR_WHITE, "/"},
        {"4b1k1/5p2/8/8/5PP1/8/8/1K2B3 w - - ", FOR_WHITE, "/PawnsBeforeKing+ ThreeFortress"},
        {"k7/p7/8/8/8/8/PP6/1K6 w - - ", FOR_WHITE, "/PawnsBeforeKing+ TwoPawnsFortress+"},
        {"6k1/6p1/8/8/8/8/6PP/6K1 w - - ", FOR_WHITE, "/PawnsBeforeKing+"},
        // No pawns for the favoured side.
        {"3qk3/8/8/8/8/8/8/3QK3 w - - ", FOR_WHITE, "PawnsBeforeKing+ NoPawnsEqual+"},
        {"3qk3/8/8/8/8/8/8/R1BBK3 w - - ", FOR_WHITE, ""},
        {"3qk3/8/8/8/8/8/8/Q3KB2 w - - ", FOR_WHITE, "TwelveNine+"},
        {"3qk3/8/8/8/8/8/8/Q3KB2 w - - ", FOR_BLACK, "PawnsBeforeKing+"},
        {"4kr2/8/8/8/8/8/8/R3KB2 w - - ", FOR_WHITE, "RookBishop+"},
        {"k7/8/8/1r6/8/8/8/R3KB2 w - - ", FOR_WHITE, "RookBishopCorner+"},
        {"4k3/2r5/8/8/8/8/8/R3KB2 w - - ", FOR_WHITE, "RookBishopCorner+"},
        {"8/8/7k/6r1/8/8/8/R3KN2 w - - ", FOR_WHITE, "RookKnightCorner+"},
        {"7R/8/8/8/8/8/5r2/3Nk1K1 w - - ", FOR_WHITE, "RookKnightCorner+"},
        {"8/8/6k1/7r/8/8/8/R3KN2 w - - ", FOR_WHITE, "RookKnight+"},
        {"4kbn1/8/8/8/8/8/8/R3KN2 w - - ", FOR_WHITE, "EightSix+"},
        {"4kb2/8/8/8/8/8/8/R3K3 w - - ", FOR_WHITE, "RookBishopWeak+"},
        {"4kn2/p7/8/8/8/8/8/R3K3 w - - ", FOR_WHITE, "RookKnightWeak+"},
        {"4kn2/p7/8/8/8/8/P7/R3K3 w - - ", FOR_WHITE, ""},
        {"4kr2/pp6/8/8/8/8/8/R3K3 w - - ", FOR_WHITE, "PawnsBeforeKing+ RookRook+"},
        {"4kr2/8/8/8/8/8/8/R3K3 w - - ", FOR_WHITE, "PawnsBeforeKing+ NoPawnsEqual+ RookRook+"},
        {"4kr2/8/8/8/8/8/8/3BKN2 w - - ", FOR_WHITE, "TwoMinorsRook+"},
        {"4knn1/p7/p7/8/8/8/8/3BKN2 w - - ", FOR_WHITE, "PawnsBeforeKing+ SixSix+"},
        {"4kb2/8/8/8/8/8/8/3BKN2 w - - ", FOR_WHITE, "SixBishop+"},
        {"4kn2/8/8/8/8/8/8/3BKN2 w - - ", FOR_WHITE, "SixKnight+"},
        {"4kn2/8/8/8/8/8/8/3BKB2 w - - ", FOR_WHITE, "TwoBishops+"},
        {"4kn2/pp6/8/8/8/8/8/3BK3 w - - ", FOR_WHITE, "PawnsBeforeKing+ MinorMinor+"},
        {"4kn2/pp6/8/8/8/8/8/3BK3 w - - ", FOR_BLACK, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FactorsMet(c.fen, c.value), c.factors) << c.fen << c.value;
        // The other colour's factors are the same.
        EXPECT_EQ(FactorsMet(ColourMirror(c.fen), -c.value), c.factors) << "mirror of " << c.fen << c.value;
    }
}

TEST_F(EndgameScale, NothingIsLeftForWhoCannotWin) {
    SetAllScales(256);
    for (const int value : {-500, 500}) {
        for (const Colour colour : {WHITE, BLACK}) {
            Prepare("4kr2/pp6/8/8/8/8/PP6/R3K3 w - - ");
            thread_eval_info.cannot_win[colour] = 1;
            const bool favoured = (value < 0) == (colour == WHITE);
            EXPECT_EQ(ScaleEndgame(value), favoured ? 0 : value);
            EXPECT_EQ(thread_eval_info.side_delta, favoured ? 0 : 1 << 20);
        }
    }
    // Only where scales are read at all.
    Prepare("rrbnk3/8/8/8/8/8/8/RRBNK3 w - - ");
    thread_eval_info.cannot_win[WHITE] = 1;
    EXPECT_EQ(ScaleEndgame(-500), -500);
    EndingWeightNoQueen = 31;
    EXPECT_EQ(ScaleEndgame(-500), 0);
}

TEST_F(EndgameScale, OppositeBishopsScaleMaterialAndRest) {
    struct Case {
        const char* fen;
        int entry;  // -1: none
    };
    const Case cases[] = {
        {"4kb2/ppp5/8/8/8/8/PPP5/4KB2 w - - ", 0},      {"4kb2/ppp5/8/8/8/8/PP6/4KB2 w - - ", 9},
        {"4kb2/p7/8/8/8/8/PPPPP3/4KB2 w - - ", 27},     {"4kbn1/ppp5/8/8/8/8/PP6/4KBN1 w - - ", 10},
        {"r3kb2/ppp5/8/8/8/8/PP6/R3KB2 w - - ", 12},    {"q3kb2/ppp5/8/8/8/8/PP6/Q3KB2 w - - ", 15},
        {"q3kb1n/ppp5/8/8/8/8/PP6/Q3KB1N w - - ", 16},  {"nn2kb1n/ppp5/8/8/8/8/PP6/NN2KB1N w - - ", 11},
        {"q3kb1n/ppp5/8/8/8/8/PP6/RR2KB1N w - - ", 16}, {"qr2kb2/ppp5/8/8/8/8/PP6/QR2KB2 w - - ", -1},  // 17 points
        {"4k1b1/ppp5/8/8/8/8/PP6/4KB2 w - - ", -1},                                                     // of one colour
        {"4kb2/ppp5/8/8/8/8/PP6/4KBN1 w - - ", -1},                                                     // a knight more
        {"r3kb2/ppp5/8/8/8/8/PP6/4KB2 w - - ", -1},                                                     // a rook more
        {"2b1kb2/ppp5/8/8/8/8/PP6/2B1KB2 w - - ", -1},                                                  // two bishops
    };
    for (const Case& c : cases) {
        for (int entry = 0; entry < 36; ++entry) {
            InitOppositeBishops();
            OppositeBishopsMaterial[entry] = 64;
            OppositeBishopsPosition[entry] = 128;
            Prepare(c.fen);
            thread_eval_info.material_score = 400;
            const bool meets = entry == c.entry;
            EXPECT_EQ(ScaleOppositeBishops(1000), meets ? 100 + 300 : 1000) << c.fen << entry;
            EXPECT_EQ(thread_eval_info.side_delta, meets ? 1 << 19 : 1 << 20) << c.fen << entry;
        }
    }
}

TEST_F(EndgameScale, FewPieceTerms) {
    for (int passed = 0; passed < 9; ++passed) {
        PassedVsMinors[passed] = 100 * passed + 7;
    }
    PawnOutflank = 5000;
    struct Case {
        const char* fen;
        int packed;
        bool both_sides;
    };
    const Case cases[] = {
        // Passed pawns with a rook against a knight and another minor.
        {"r3k3/p4p2/8/8/8/8/8/4KBN1 w - - ", 207, true},
        {"r3k3/p4p2/8/8/8/8/5P2/4KBN1 w - - ", 107, true},
        {"4kbn1/8/8/8/8/8/P1P2P2/R3K3 b - - ", -307, true},
        {"r3k3/p4p2/8/8/8/8/8/2B1KB2 w - - ", 0, true},
        {"r3kn2/p4p2/8/8/8/8/8/4KBN1 w - - ", 0, true},
        // The white king past the black pawns, with a pawn of his own on the way. With Black to move a file more is
        // wanted.
        {"8/8/7k/p7/P1K5/8/8/8 w - - ", -5000, false},
        {"8/8/7k/p7/P1K5/8/8/8 b - - ", -5000, false},
        {"8/8/3k4/p7/P1K5/8/8/8 w - - ", -5000, false},
        {"8/8/3k4/p7/P1K5/8/8/8 b - - ", 0, false},
        {"8/8/7k/8/P1K5/8/8/8 w - - ", 0, false},    // nothing to take
        {"8/8/7k/4p3/P1K5/8/8/8 w - - ", 0, false},  // not past it
        {"8/8/7k/p7/3KP3/8/8/8 w - - ", 0, false},   // nothing of his own behind
        // To the left of them, and the black king's side of it.
        {"8/8/k7/7p/5K1P/8/8/8 w - - ", -5000, false},
        {"8/8/K7/8/5k1p/7P/8/8 b - - ", 5000, false},
        {"8/8/7K/8/2k4p/p6P/P7/8 w - - ", 0, false},
        {"8/8/7K/8/p1k5/P7/8/8 w - - ", 5000, false},
    };
    for (const Case& c : cases) {
        Prepare(c.fen);
        AddFewPieceTerms();
        EXPECT_EQ(thread_eval_info.packed, c.packed) << c.fen;
        EXPECT_EQ(thread_eval_info.both_sides_valid != 0, c.both_sides) << c.fen;
        Prepare(ColourMirror(c.fen));
        AddFewPieceTerms();
        EXPECT_EQ(thread_eval_info.packed, -c.packed) << c.fen;
    }
}

TEST_F(EndgameScale, AnswersForAnyFactor) {
    std::mt19937 random(9);
    constexpr std::int32_t EXTREMES[] = {std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max(), -257, 65537};
    for (int i = 0; i < 5000; ++i) {
        ForEachScale([&](const Parameter& parameter) { *parameter.values = EXTREMES[random() % 4]; });
        std::ranges::generate(OppositeBishopsPosition, [&] { return EXTREMES[random() % 4]; });
        std::ranges::generate(OppositeBishopsMaterial, [&] { return EXTREMES[random() % 4]; });
        const std::string fen = RandomFewMen(random, 1 + i % 5);
        Prepare(fen);
        thread_eval_info.material_score = EXTREMES[random() % 4];
        const auto value = static_cast<std::int32_t>(random());
        const std::int32_t first = ScaleEndgame(ScaleOppositeBishops(value));
        AddFewPieceTerms();
        const std::int32_t material = thread_eval_info.material_score;
        Prepare(fen);
        thread_eval_info.material_score = material;
        ASSERT_EQ(ScaleEndgame(ScaleOppositeBishops(value)), first) << fen;
    }
}

}  // namespace
