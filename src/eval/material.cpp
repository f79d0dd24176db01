// What the evaluation asks about the material of the position on the board: the fallback for positions outside
// the table, and the pattern term.
#include "eval/material_table.h"
#include "eval/parameters.h"
#include "eval/trade_rules.h"
#include "position/attacks.h"

#include <array>

namespace {

Army ArmyOnBoard(Colour colour) {
    const auto count = [&](int code) { return thread_board.PieceCount[code][colour]; };
    return MakeArmy(count(QUEEN), count(ROOK), count(BISHOP), count(KNIGHT), count(PAWN));
}

/// The rook-ending class of a byte of pawn files: 37 without pawns, 0 for three files and more, and a number of
/// its own, 1..36 in rising order of the byte, for each set of one or two files.
constexpr std::array<std::uint8_t, 256> BuildRookEndingClasses() {
    std::array<std::uint8_t, 256> classes{};
    std::uint8_t next = 1;
    for (unsigned byte = 1; byte < 256; ++byte) {
        if (std::popcount(byte) <= 2) {
            classes[byte] = next++;
        }
    }
    classes[0] = 37;
    return classes;
}

constexpr std::array<std::uint8_t, 256> RookEndingClass = BuildRookEndingClasses();
static_assert(RookEndingClass[0b11000000] == 36);

/// Bit f: a pawn of the colour on file f.
std::uint8_t PawnFilesOf(Colour colour) {
    Bitboard pawns = thread_board.Pieces[PAWN][colour];
    pawns |= pawns >> 32;
    pawns |= pawns >> 16;
    pawns |= pawns >> 8;
    return static_cast<std::uint8_t>(pawns & RANK_1);
}

/// Distance from the edge of the board, 0..3.
int Ring(int square) {
    return std::min({FileOf(square), 7 - FileOf(square), RankOf(square), 7 - RankOf(square)});
}

/// The table is read for the position and for its mirror image left to right.
std::int64_t RookEndingPattern(std::uint8_t white_files, std::uint8_t black_files) {
    const auto difference = [](int white, int black) {
        const int a = RookEndingClass[static_cast<std::size_t>(white)];
        const int b = RookEndingClass[static_cast<std::size_t>(black)];
        return std::int64_t{RookEndingTable[b][a]} - RookEndingTable[a][b];
    };
    return (difference(white_files, black_files) + difference(BitReverse[white_files], BitReverse[black_files])) >> 1;
}

/// What the kings' places are worth to the side with more pieces, from its point of view.
std::int64_t KingPattern(int leader_king, int other_king, int lead) {
    const int file_distance = std::abs(FileOf(leader_king) - FileOf(other_king));
    const int rank_distance = std::abs(RankOf(leader_king) - RankOf(other_king));
    // Kings side by side, or none at all, are possible in positions set by hand only.
    const int distance = std::clamp(std::max(file_distance, rank_distance), 2, 5);
    const int row = lead <= 2 ? 0 : lead <= 4 ? 1 : 2;
    return KingDistancePattern[row][distance - 2][Ring(leader_king)][Ring(other_king)];
}

}  // namespace

std::int32_t EvaluateMaterial() {
    const Army white = ArmyOnBoard(WHITE);
    const Army black = ArmyOnBoard(BLACK);
    std::int64_t value = ApplyTradeRules(white, black).value;
    const std::int64_t rook_value = RookPawnsValue(white.Pawns() + black.Pawns());
    value += rook_value * (std::min(white.count[ROOK], 2) - std::min(black.count[ROOK], 2));
    value += thread_board.Material[WHITE] - thread_board.Material[BLACK];
    return static_cast<std::int32_t>(-ScaleThinLead(value, white, black));
}

void ComputeMaterialFallback() {
    const Army white = ArmyOnBoard(WHITE);
    const Army black = ArmyOnBoard(BLACK);
    thread_board.white_phase = SidePhase(white);
    thread_board.black_phase = SidePhase(black);
    thread_board.current_phase = CommonPhase(white, black);
    thread_board.defend_force[WHITE] = DefendForce(white);
    thread_board.defend_force[BLACK] = DefendForce(black);
    thread_board.attack_force[WHITE] = AttackForce(white);
    thread_board.attack_force[BLACK] = AttackForce(black);
}

std::int32_t MaterialPatternTerm() {
    const MaterialEntry* entry = CurrentMaterial();
    if (entry == nullptr) {
        return 0;
    }
    const int white_weight = thread_board.PieceWeight[WHITE];
    const int black_weight = thread_board.PieceWeight[BLACK];
    const int pawns = thread_board.PieceCount[PAWN][WHITE] + thread_board.PieceCount[PAWN][BLACK];
    if (white_weight == 5 && black_weight == 5 && pawns > 0) {
        return static_cast<std::int32_t>(RookEndingPattern(PawnFilesOf(WHITE), PawnFilesOf(BLACK)));
    }
    if (entry->pattern_class[0] < 0) {
        return 0;
    }
    const int white_class = PawnFileClass[PawnFilesOf(WHITE)];
    const int black_class = PawnFileClass[PawnFilesOf(BLACK)];
    std::int64_t value = (std::int64_t{PatternRow[entry->pattern_class[0]][black_class][white_class != 0]} -
                          PatternRow[entry->pattern_class[1]][white_class][black_class != 0]) >>
                         1;
    const int white_king = thread_board.KingSquare[WHITE];
    const int black_king = thread_board.KingSquare[BLACK];
    if (black_weight > white_weight) {
        value += KingPattern(black_king, white_king, black_weight - white_weight);
    } else if (black_weight < white_weight) {
        value -= KingPattern(white_king, black_king, white_weight - black_weight);
    }
    return static_cast<std::int32_t>(value);
}
