// One side's pieces as counts, with the sums that the material rules ask for. The material table walks through
// all armies of at most two pieces of a kind and eight pawns; positions outside it count the board.
#pragma once

#include "position/types.h"

#include <algorithm>

/// The most pieces of one kind, but for pawns, that the material table knows.
inline constexpr int TABLE_PIECES = 2;
inline constexpr int TABLE_PAWNS = 8;

struct Army {
    int count[8];  // by PieceCode, without the king
    int minors;    // knights and bishops
    int heavy;     // heavy units: a rook 1, a queen 2
    int points;    // PieceUnits

    constexpr int Pawns() const { return count[PAWN]; }
    constexpr int Force() const { return minors + 2 * heavy; }  // 12 for a full army
};

constexpr Army MakeArmy(int queens, int rooks, int bishops, int knights, int pawns) {
    Army army{};
    army.count[QUEEN] = queens;
    army.count[ROOK] = rooks;
    army.count[BISHOP] = bishops;
    army.count[KNIGHT] = knights;
    army.count[PAWN] = pawns;
    army.minors = bishops + knights;
    army.heavy = rooks + 2 * queens;
    for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT}) {
        army.points += PieceUnits[code] * army.count[code];
    }
    return army;
}

/// Phases: 0 for a full army, 256 for none; one side's own, and that of both together.
constexpr int SidePhase(const Army& army) {
    return (std::max(12 - army.Force(), 0) * 256 + 6) / 12;
}
constexpr int CommonPhase(const Army& white, const Army& black) {
    return (std::max(24 - white.Force() - black.Force(), 0) * 256 + 12) / 24;
}

/// The force of an army when its own king is attacked, and when it attacks: PieceCount times weights.
std::int16_t DefendForce(const Army& army);
std::int16_t AttackForce(const Army& army);
