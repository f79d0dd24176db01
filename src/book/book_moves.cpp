// What the book's moves are good for: the choice of one, and the list for the user.
#include "book/book.h"
#include "book/book_list.h"
#include "movegen/legal_moves.h"
#include "position/board.h"
#include "position/settings.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

namespace {

constexpr std::int32_t UNKNOWN_RATE = 500;  // of a move without results: as good as any

struct Candidate {
    ::Move Move;
    std::int32_t games;  // 2 a game
    std::int32_t rate;   // score in tenths of a percent
};

std::uint32_t random_state = 1;

/// Fifteen bits of a linear congruential generator.
std::size_t RandomBelow(std::size_t count) {
    random_state = random_state * 214013 + 2531011;
    return (random_state >> 16 & 0x7fff) % count;
}

Candidate CandidateOf(int entry, Move move) {
    const std::int32_t plus = BookPlus(entry);
    const std::int32_t games = plus + BookMinus(entry);
    return {move, games, games == 0 ? UNKNOWN_RATE : plus * 1000 / games};
}

/// The book's word for an entry, 0 for one that is damaged or not legal here: positions that differ in castling rights
/// and en passant share a node, and so do two that share both keys by accident.
Move LegalBookMove(int entry) {
    const std::int32_t from = BookFrom[entry];
    const std::int32_t to = BookTo[entry];
    if (from > H8 || to > H8) {
        return 0;
    }
    const Move move =
        BuildMove(from, to, static_cast<int>(thread_board.Board[from]), static_cast<int>(thread_board.Board[to]));
    return IsLegalMove(PromotedToQueen(move)) ? move : 0;
}

/// Fills `candidates` in list order with what may be played. Moves that cannot be are left out before the choice, so
/// that they take no chance from the others and set no bound.
std::span<Candidate> CollectCandidates(std::span<Candidate> candidates) {
    std::size_t count = 0;
    for (int entry = 0; entry < BookMoveCount; ++entry) {
        if (IsExcludedBookMove(entry)) {
            continue;
        }
        if (const Move move = LegalBookMove(entry); move != 0) {
            candidates[count++] = CandidateOf(entry, move);
        }
    }
    return candidates.first(count);
}

/// The first of those with the fewest games, and among them with the highest rate.
Move LeastTried(std::span<const Candidate> candidates) {
    return std::ranges::min_element(candidates,
                                    [](const Candidate& a, const Candidate& b) {
                                        return a.games != b.games ? a.games < b.games : a.rate > b.rate;
                                    })
        ->Move;
}

/// Those within VarietyOfPlay percent of the best rate. `candidates` is rearranged.
std::span<Candidate> KeepGoodRates(std::span<Candidate> candidates) {
    const std::int32_t best = std::ranges::max(candidates, {}, &Candidate::rate).rate;
    const std::int32_t bound = (100 - std::clamp(VarietyOfPlay, 0, 100)) * best / 100;
    const auto kept_end = std::remove_if(candidates.begin(), candidates.end(),
                                         [bound](const Candidate& each) { return each.rate < bound; });
    return candidates.first(static_cast<std::size_t>(kept_end - candidates.begin()));
}

void PrintSquares(int entry) {
    const auto letter = [](char first, std::int32_t number) { return static_cast<char>(first + number); };
    const std::int32_t from = BookFrom[entry];
    const std::int32_t to = BookTo[entry];
    std::printf("%c%c%c%c ", letter('a', FileOf(from)), letter('1', RankOf(from)), letter('a', FileOf(to)),
                letter('1', RankOf(to)));
}

void PrintResults(int entry) {
    const std::int32_t games = BookPlus(entry) + BookMinus(entry);
    if (BookVersion0) {
        std::printf("%d\n", BookWeight[entry]);
    } else if (games == 0) {
        std::puts("?");
    } else if (IsExcludedBookMove(entry)) {
        std::puts("-");
    } else {
        std::printf("%d%% (not less than %d game(s))\n", BookPlus(entry) * 100 / games, games >> 1);
    }
}

}  // namespace

void SeedBookChoice(std::uint32_t seed) {
    random_state = seed;
}

Move ChooseBookMove() {
    if (!ReadBookMoves()) {
        return 0;
    }
    std::array<Candidate, 256> room;
    std::span<Candidate> candidates = CollectCandidates(room);
    if (candidates.empty()) {
        return 0;
    }
    if (!BookVersion0 && BookLearningMode == DISCOVER) {
        return LeastTried(candidates);
    }
    if (!BookVersion0 && UseBookWeights != 0) {
        candidates = KeepGoodRates(candidates);
    }
    return candidates[RandomBelow(candidates.size())].Move;
}

void ListBookMoves() {
    if (ReadBookMoves()) {
        std::printf("%d moves from current pos in book:\n", BookMoveCount);
        for (int entry = 0; entry < BookMoveCount; ++entry) {
            PrintSquares(entry);
            PrintResults(entry);
        }
    } else {
        std::puts("No moves from current pos in book");
    }
    std::fflush(stdout);
}
