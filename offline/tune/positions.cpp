#include "tune/positions.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <random>
#include <unordered_set>

#include "games/pgn.h"
#include "games/rules.h"
#include "movegen/exchange.h"

namespace {

/// Beyond these scores the game is decided, and how is no matter of the numbers that are tuned.
constexpr std::int32_t SETTLED = 700;

/// Long manoeuvres without progress are drawn by the rules, not by what stands on the board.
constexpr int LONGEST_WITHOUT_PROGRESS = 40;

float PointsOf(GameResult result) {
    return result == GameResult::WHITE_WINS ? 1.0F : result == GameResult::BLACK_WINS ? 0.0F : 0.5F;
}

bool InCheck() {
    const Colour us = thread_board.SideToMove;
    return SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
}

}  // namespace

void SamplePositions(std::string_view pgn, const SampleSettings& settings, int& games, int& unreadable,
                     std::vector<Sample>& samples) {
    std::unordered_set<Key> known;
    for (const Sample& sample : samples) {
        known.insert(sample.board.PositionKey);
    }
    constexpr std::size_t ALL_PLIES = 100'000;
    PgnReader reader(pgn);
    PgnGame game;
    std::string error;
    std::vector<Sample> candidates;
    for (PgnStep step = reader.Next(ALL_PLIES, game, error); step != PgnStep::END;
         step = reader.Next(ALL_PLIES, game, error)) {
        if (step == PgnStep::UNREADABLE) {
            ++unreadable;
            continue;
        }
        const int number = games++;
        if (game.result == GameResult::UNKNOWN) {
            continue;
        }
        candidates.clear();
        BeginGame(game.fen);
        for (std::size_t i = 0; i < game.moves.size(); ++i) {
            const std::optional<int> score = ScoreOfComment(game.comments[i]);
            const bool quiet = score && std::abs(*score) <= SETTLED && IsQuiet(game.moves[i]) && !InCheck() &&
                               thread_board.FiftyCounter <= LONGEST_WITHOUT_PROGRESS;
            if (quiet) {
                candidates.push_back({thread_board, PointsOf(game.result), *score, number});
            }
            PlayGameMove(game.moves[i]);
            if (quiet && InCheck()) {
                candidates.pop_back();
            }
        }
        // Not a distribution or shuffle of the library: those differ from one library to the next.
        std::mt19937_64 random(settings.seed * 0x9E3779B97F4A7C15ULL + static_cast<std::uint64_t>(number));
        for (int taken = 0; taken < settings.per_game && !candidates.empty(); ++taken) {
            const std::size_t chosen = random() % candidates.size();
            if (known.insert(candidates[chosen].board.PositionKey).second) {
                samples.push_back(candidates[chosen]);
            }
            candidates[chosen] = candidates.back();
            candidates.pop_back();
        }
    }
}
