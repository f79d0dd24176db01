// Random positions with few men, and random parameters, for the tests of the endgame knowledge.
#pragma once

#include "movegen/exchange.h"
#include "position/fen.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

#include <random>
#include <string>
#include <vector>

/// Random values in place of every parameter of the given names' beginnings; values are multiples of `step` up to
/// 16 * step. KingEdgeBonus stays alike for both colours.
inline void ShuffleParameters(std::mt19937& random, const std::vector<std::string>& prefixes, int step) {
    for (const Parameter& parameter : Parameters()) {
        const bool named = std::ranges::any_of(
            prefixes, [&](const std::string& prefix) { return parameter.name.starts_with(prefix); });
        for (int i = 0; named && i < parameter.entries; ++i) {
            parameter.values[i] = step * static_cast<std::int32_t>(random() % 17);
        }
    }
    for (int square = 0; square < 32; ++square) {
        KingEdgeBonus[MirrorRank(square)] = KingEdgeBonus[square];
    }
}

/// Sets up two kings and up to `pieces` other men a side, drawn from the kinds given: pawns on ranks 2 to 7, kings
/// apart, the side that has just moved not in check.
inline std::string RandomFewMen(std::mt19937& random, unsigned pieces, const std::string& white = "PPPPNBRQ",
                                const std::string& black = "ppppnbrq") {
    const auto below = [&](std::size_t n) { return static_cast<int>(random() % n); };
    for (;;) {
        std::string board(64, '.');
        const auto put = [&](char man) {
            for (;;) {
                const int square = below(64);
                const bool edge = RankOf(square) == 0 || RankOf(square) == 7;
                if (board[static_cast<std::size_t>(square)] == '.' && !((man == 'P' || man == 'p') && edge)) {
                    board[static_cast<std::size_t>(square)] = man;
                    return;
                }
            }
        };
        put('K');
        put('k');
        for (const std::string& kinds : {white, black}) {
            for (int left = below(pieces + 1); left > 0; --left) {
                put(kinds[random() % kinds.size()]);
            }
        }
        std::string fen;
        for (int square = 0; square < 64; ++square) {
            const char man = board[static_cast<std::size_t>(MirrorRank(square))];
            fen += man == '.' ? '1' : man;
            fen += square % 8 == 7 && square != 63 ? "/" : "";
        }
        fen += random() % 2 == 0 ? " w - - " : " b - - ";
        SetupFen(fen);
        const Colour mover = thread_board.SideToMove;
        const bool apart = (KingAttacks[thread_board.KingSquare[WHITE]] & Bit(thread_board.KingSquare[BLACK])) == 0;
        if (apart && !SquareAttacked(mover, thread_board.KingSquare[ChangeSide(mover)])) {
            return fen;
        }
    }
}
