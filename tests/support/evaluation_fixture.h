// What the tests of the evaluation share: every test finds the defaults in all tables and leaves them so; parameters
// drawn at random, so that no default of 0 hides a sign or an index; and every case again with colours changed.
#pragma once

#include "eval/king_attack.h"
#include "eval/packed.h"
#include "eval/sigmoids.h"
#include "position/settings.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

class EvaluationTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    void SetUp() override {
        AssignParameterDefaults();
        AssignStyleDefaults();
        Rebuild();
        EngineSide = WHITE;
        Ply = 0;
    }
    void TearDown() override {
        FreePawnHash();
        FreeEvalHash();
        EvaluationTest::SetUp();
    }

    /// Everything that is made of the parameters, but the material table.
    static void Rebuild() {
        testing::internal::CaptureStdout();  // corrections of random values
        ValidateParameters();
        testing::internal::GetCapturedStdout();
        BuildDerivedRows();
        InitPawnEndgameSigmoid();
        InitPressureSigmoid();
        InitAttackHorrorSigmoid();
        InitDefendHorrorSigmoid();
        InitHorrorSigmoid();
        PackParameters();
        ForgetStructure();
    }

    /// The structure on the board was judged by other numbers.
    static void ForgetStructure() {
        ClearPawnHash();
        thread_board.PawnEntry = {};
        thread_board.PawnEntry.key = ~Key{0};
    }

    /// `value(parameter, entry)` in place of every parameter.
    template <typename Value>
    static void SetParameters(const Value& value) {
        for (const Parameter& parameter : Parameters()) {
            for (int entry = 0; entry < parameter.entries; ++entry) {
                parameter.values[entry] = value(parameter, entry);
            }
        }
        // Read alike for both colours.
        for (int square = A1; square < 32; ++square) {
            KingEdgeBonus[MirrorRank(square)] = KingEdgeBonus[square];
        }
        Rebuild();
    }

    /// Numbers around the defaults. None is negative by design: a negative shelter is cut for one colour only.
    static void RandomizeParameters(unsigned seed) {
        std::mt19937 random(seed);
        SetParameters([&](const Parameter& parameter, int entry) {
            const std::int32_t value = parameter.defaults[entry];
            const std::int32_t spread = value == 0 ? 30 : std::max(std::abs(value) / 4, 1);
            const std::int32_t low = value == 0 ? 0 : value - spread;
            return low + static_cast<std::int32_t>(random() % static_cast<unsigned>(value + spread - low + 1));
        });
        std::generate_n(&ShelterScale[0][0][0], 30, [&] { return static_cast<std::int32_t>(100 + random() % 300); });
        PawnDuelAmplitude = 200;
    }

    static std::int32_t FullResult() {
        std::int32_t result = NO_EVALUATION;
        EvaluateFull(result);
        return result;
    }
    static std::int32_t FullResultOf(const std::string& fen) {
        SetupFen(fen);
        return FullResult();
    }

    static void SetAllPawns() {
        thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
    }
};

/// One of a test's positions as it stands, or with colours changed: then whatever is White's is Black's.
struct Seen {
    std::string fen;
    bool mirrored;

    Colour Of(Colour colour) const { return mirrored ? ChangeSide(colour) : colour; }
    int At(int square) const { return mirrored ? MirrorRank(square) : square; }
    Bitboard Of(Bitboard squares) const { return mirrored ? __builtin_bswap64(squares) : squares; }
    /// A score that is told for White, from Black's point of view.
    std::int32_t For(std::int32_t white) const { return mirrored ? white : -white; }
    std::int32_t PackedFor(std::int32_t white) const { return mirrored ? white : PackedSub(0, white); }
};

/// Calls `test` for the position and for its mirror. Fields that are missing mean that White is to move.
template <typename Test>
void FromBothSides(const std::string& fen, const Test& test) {
    for (const bool mirrored : {false, true}) {
        test(Seen{mirrored ? ColourMirror(fen) : fen, mirrored});
    }
}

/// Cases told as text: ';' stands between them, each is a FEN of one to three fields and its words.
struct TextCase {
    std::string fen;
    std::vector<std::string> words;

    int Number(std::size_t i) const { return std::stoi(words.at(i)); }
};

inline std::vector<TextCase> TextCases(const std::string& text) {
    std::vector<TextCase> cases;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line, ';');) {
        std::istringstream fields(line);
        TextCase& next = cases.emplace_back();
        fields >> next.fen;
        for (std::string word; fields >> word;) {
            const bool side = word == "w" || word == "b";
            const bool of_fen = next.words.empty() && (side || word.find_first_not_of("KQkq") == std::string::npos);
            of_fen ? static_cast<void>(next.fen += " " + word) : next.words.push_back(word);
        }
    }
    return cases;
}

/// The square of a name like "e4".
constexpr int SquareOf(const char* name) {
    return 8 * (name[1] - '1') + name[0] - 'a';
}
