#include "eval/low_material.h"

#include <map>

#include "support/evaluation_fixture.h"
#include "support/tablebase_answers.h"

namespace {

struct Answer {
    bool settled;
    std::int32_t result;
    int both_sides;
    bool cannot_win[2];
};

Answer Ask(const std::string& fen) {
    SetupFen(fen);
    thread_eval_info = {};
    thread_eval_info.both_sides_valid = 1;
    std::int32_t result = 12345;
    const bool settled = EvaluateLowMaterial(result);
    const ThreadEvalInfo& info = thread_eval_info;
    return {settled, result, info.both_sides_valid, {info.cannot_win[WHITE] != 0, info.cannot_win[BLACK] != 0}};
}

class LowMaterial : public EvaluationTest {};

/// Positions, and after each the final score, or "open" for none, and "mover" where that hangs on the side to move.
void ExpectAnswers(const std::string& text) {
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            const Answer answer = Ask(seen.fen);
            EXPECT_EQ(answer.settled ? std::to_string(answer.result) : "open", c.words[0]) << seen.fen;
            EXPECT_EQ(answer.both_sides, c.words.size() == 1) << seen.fen;
        });
    }
}

// Each recogniser with its near misses.
TEST_F(LowMaterial, RecognisesEndings) {
    Ply = 7;
    // Nobody can win, level pieces without pawns.
    ExpectAnswers(
        "4k3/8/8/8/8/8/8/4KNN1 0; 4k1n1/8/8/8/8/8/8/4KB2 b 0; 4k2r/8/8/8/8/8/8/4KBN1 0; 4k2r/8/8/8/8/8/8/3QK3 open; "
        "3rk1b1/8/8/8/8/8/8/3QK3 0");
    // King and pawn against king: by the rank of the pawn, and by who moves.
    ExpectAnswers(
        "8/8/8/8/4k3/8/4P3/4K3 0; 8/8/8/4k3/8/4K3/4P3/8 0 mover; 8/8/8/4k3/8/4K3/4P3/8 b -800 mover; "
        "4k3/8/3K4/4P3/8/8/8/8 860; 8/8/8/8/4p3/3k4/8/4K3 -860");
    // The king that stops one pawn leaves others to run.
    ExpectAnswers(
        "8/8/8/7k/p6P/8/8/6K1 b 850; 8/8/p7/7k/p6P/8/8/6K1 -1250; 8/8/8/1p5k/p6P/8/8/6K1 b 1350 mover; "
        "8/8/8/8/p6P/7k/8/6K1 b open mover; 8/8/8/7k/p6P/2K5/8/8 0 mover");
    // Bishops of different colours against two pawns: the king stops one, the bishop the other.
    ExpectAnswers(
        "8/4k3/4P3/2bP4/8/5B2/8/4K3 0 mover; 8/4k3/4P3/2bP4/2K5/5B2/8/8 b 0 mover; "
        "8/4k3/4P3/2bP4/2K5/5B2/8/8 open mover; 8/4k3/4P3/3P4/8/b4B2/8/4K3 0 mover; 8/4k3/4P3/3P4/8/5B2/8/b3K3 open; "
        "8/4k3/4P3/2b5/3P4/5B2/8/4K3 open; 8/8/Pk6/1P6/8/8/4B2b/4K3 0 mover; 8/8/6kP/6P1/8/8/b2B4/3K4 0 mover; "
        "8/8/kP6/P7/8/8/5B2/4K2b 0 mover");
    // And against one: the bishop sees the pawn's way, or the king stands on it early enough.
    ExpectAnswers(
        "8/8/8/2b5/8/2k5/4P3/4KB2 0 mover; 8/8/4k3/8/4P3/8/8/2b1KB2 0 mover; 8/4k3/4P3/8/8/8/8/b3KB2 open mover; "
        "8/4k3/4P3/8/8/8/8/b3KB2 b 0 mover; 8/3k4/4P3/8/8/8/8/b3KB2 b open mover");
    // A knight against a bishop's pawn.
    ExpectAnswers(
        "4k3/8/4P3/5n2/8/8/1B6/K7 0 mover; 4k3/8/4P3/8/8/8/nB6/2K5 open mover; 8/8/4P3/5n2/8/8/1B6/K6k open mover; "
        "4k3/5P1K/8/8/6n1/8/1B6/8 0 mover");
    // Mate and stalemate of a side that can only move its king.
    ExpectAnswers(
        "k5R1/8/1K6/8/8/8/8/8 b -32693 mover; k7/2Q5/1K6/8/8/8/8/8 b 0 mover; k5R1/8/1K6/8/8/8/8/8 open mover; "
        "k7/6R1/2K5/8/8/8/8/8 b open; 8/8/8/8/8/p7/P1k5/K6q -32693 mover; 8/8/8/8/8/p7/PPk5/K6q open");
    // A rook against one pawn.
    ExpectAnswers("8/8/8/8/8/1k6/1p5R/3K4 b 0 mover; 8/8/8/8/8/8/1p3k1R/1K6 open mover");
    // A queen against a pawn on the seventh.
    ExpectAnswers(
        "8/8/8/8/6Q1/K7/5k1p/8 0 mover; 8/8/8/8/6Q1/3K4/5k1p/8 open mover; 8/8/8/8/6Q1/3K4/5k1p/8 b 0 mover; "
        "8/8/8/8/6Q1/K7/6pk/8 open; 8/8/8/8/8/K7/5p1k/Q7 0; 8/8/8/8/6Q1/K7/5p1k/8 open; "
        "2K5/2P5/4q3/3k4/8/8/8/8 b open mover; 2K5/2P5/8/3q4/4k3/8/8/8 b 0 mover; "
        "2K5/2P5/4q3/2k5/8/8/8/8 open mover; 2K5/2P5/8/8/3k3q/8/8/8 0 mover");
}

TEST_F(LowMaterial, SaysWhoCannotWin) {
    // White, Black: the wrong bishop for an edge pawn, with the king near or far, and pieces that are too few.
    const std::string text =
        "8/8/8/8/8/7k/8/K5R1 0 1; k7/8/8/8/P7/8/5B2/6K1 1 1; k7/8/8/8/P7/8/6B1/6K1 0 1; 8/8/8/8/P6k/8/5B2/6K1 0 1; "
        "4b3/5k2/8/8/8/8/6PP/6K1 b 0 1; 7k/8/8/7P/7P/8/8/K2n4 1 1; 6k1/8/8/6PP/8/8/8/K2n4 0 1; "
        "4k1b1/8/8/8/8/8/8/BB2K3 0 1; 4k1b1/4p3/8/8/8/8/8/B1B1K3 1 0; 4k3/ppp5/8/8/8/8/8/B3K3 1 0";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            const Answer answer = Ask(seen.fen);
            EXPECT_EQ(answer.cannot_win[seen.Of(WHITE)], c.Number(0)) << seen.fen;
            EXPECT_EQ(answer.cannot_win[seen.Of(BLACK)], c.Number(1)) << seen.fen;
            EXPECT_EQ(answer.settled && answer.result == 0, c.Number(0) + c.Number(1) == 2) << seen.fen;
        });
    }
}

/// Positions that stay open, and what the base value holds for White beside the material.
void ExpectTerms(const std::string& text) {
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            const Answer answer = Ask(seen.fen);
            EXPECT_FALSE(answer.settled) << seen.fen;
            EXPECT_EQ(answer.result - thread_eval_info.material_score, seen.For(c.Number(0))) << seen.fen;
        });
    }
}

TEST_F(LowMaterial, AddsTermsToTheMaterial) {
    RookPawnsLone = 7000000;
    RookPawnsEach = 1000000;
    RookPawnsLooseEach = 2000000;
    RookPawnsTwoDraw = 3000000;
    RookPawnsManyDraw = 5000000;
    // A rook against pawns: all lost, none near the king, some running, two or three that hold.
    ExpectTerms(
        "8/8/8/8/8/8/1p3k1R/1K6 7000000; 8/pp6/7k/8/8/8/8/K5R1 2000000; 8/pp6/6k1/8/8/8/8/4R1K1 4000000; "
        "8/8/7k/8/8/8/pp6/6RK 0; 8/8/8/8/8/2k5/pp6/6RK -3000000; 8/8/8/8/8/2k5/ppp5/6RK -5000000");
}

TEST_F(LowMaterial, OnePawnOfManyHolds) {
    RookPawnFar = 16 * 256;
    RookPawnBase = 5;
    RookPawnPerPawn = 1000 * 256;
    RookPawnNear = 100000;
    // By the rank of the rearmost pawn, of two of them the one nearer the a-file, and by its king's distance.
    ExpectAnswers(
        "8/8/8/1k6/3p4/8/1p6/6KR b 2059 mover; 2R5/8/3K4/p3p1p1/8/1k6/8/8 b 103043 mover; "
        "8/8/3K4/8/1R2p3/8/3p1k2/8 -102059 mover");
}

/// The promises that a recogniser makes are kept, but for what its rule leaves out of sight.
TEST_F(LowMaterial, SettlesAsTheTablebasesDo) {
    // Verdicts that the tablebases do not share, by material: captures of the last pawn at once, en passant, queens
    // too near for the table of fortresses. A rook's draws are often wins of the pawn. Level queens or rooks are
    // called level whatever stands to be taken.
    const std::map<std::string, int> known = {{"KBPvK", 2}, {"KPvKP", 1}, {"KQvKP", 5}, {"KRvKP", 153}};
    std::map<std::string, int> wrong;
    int settled = 0;
    for (const TablebaseAnswer& truth : TablebaseAnswers()) {
        if (truth.material == "KQvKQ" || truth.material == "KRvKR") {
            continue;
        }
        const Answer answer = Ask(truth.fen);
        const auto sign = [](int value) { return (value > 0) - (value < 0); };
        if (answer.settled) {
            ++settled;
            wrong[truth.material] += sign(answer.result) != sign(truth.wdl);
        } else if (truth.wdl != 0) {
            const Colour winner = truth.wdl > 0 ? thread_board.SideToMove : ChangeSide(thread_board.SideToMove);
            EXPECT_FALSE(answer.cannot_win[winner]) << truth.fen;
        }
    }
    if (settled == 0) {
        GTEST_SKIP() << "no tablebase answers here";
    }
    for (const auto& [material, count] : wrong) {
        EXPECT_EQ(count, known.contains(material) ? known.at(material) : 0) << material;
    }
}

}  // namespace
