// Who plays whom, and from where.
#pragma once

#include "match/settings.h"

#include <array>

/// Two engines by their places on the command line.
struct Pairing {
    std::size_t first;
    std::size_t second;
};

/// By the first engine, then by the second.
std::vector<Pairing> Pairings(std::size_t engines, Tournament tournament);

/// The games of a match by their numbers, from 0. The pairings take turns game by game; each has the same openings in
/// the same order, and in each the engines take turns with White: two games in a row from one opening have both.
struct Schedule {
    std::vector<Pairing> pairings;
    std::vector<Opening> openings;
    std::vector<std::size_t> order;

    std::size_t PairingOf(int number) const { return static_cast<std::size_t>(number) % pairings.size(); }

    /// Its number among the games of its pairing.
    std::size_t RoundOf(int number) const { return static_cast<std::size_t>(number) / pairings.size(); }

    /// Whether the pairing's first engine is White.
    bool FirstIsWhite(int number) const { return RoundOf(number) % 2 == 0; }

    /// By colour.
    std::array<std::size_t, 2> EnginesOf(int number) const {
        const Pairing& pairing = pairings[PairingOf(number)];
        std::array<std::size_t, 2> engines{};
        engines[WHITE] = FirstIsWhite(number) ? pairing.first : pairing.second;
        engines[BLACK] = FirstIsWhite(number) ? pairing.second : pairing.first;
        return engines;
    }

    const Opening& OpeningOf(int number, bool repeat) const {
        const std::size_t round = RoundOf(number);
        return openings[order[(repeat ? round / 2 : round) % order.size()]];
    }
};
