#include "statistics/material_results.h"

#include <algorithm>

#include "position/board.h"

namespace {

constexpr int PAWN_COUNTS = TABLE_PAWNS + 1;
constexpr int HIGHEST_SCORE = 1000;  // beyond, all is won

int PiecesOf(int army) {
    return army / PAWN_COUNTS;
}

/// -1 for an army that has no number.
int ArmyOnBoard(Colour colour) {
    const auto count = [colour](int code) { return thread_board.PieceCount[code][colour]; };
    if (count(QUEEN) > 1 || std::max({count(ROOK), count(BISHOP), count(KNIGHT)}) > TABLE_PIECES ||
        count(PAWN) > TABLE_PAWNS) {
        return -1;
    }
    return count(PAWN) + 9 * count(KNIGHT) + 27 * count(BISHOP) + 81 * count(ROOK) + 243 * count(QUEEN);
}

}  // namespace

Army ArmyOfNumber(int number) {
    return MakeArmy(number / 243, number / 81 % 3, number / 27 % 3, number / 9 % 3, number % 9);
}

void MaterialResults::BeginGame() {
    seen_.clear();
    material_ = thread_board.MaterialIndex;
    plies_ = 0;
    scores_ = 0;
    score_sum_ = 0;
}

// All indexes outside the table are one to this test, and stay passed over.
void MaterialResults::NoteMove(std::optional<int> score) {
    if (thread_board.MaterialIndex != material_) {
        material_ = thread_board.MaterialIndex;
        plies_ = 0;
        scores_ = 0;
        score_sum_ = 0;
        return;
    }
    if (score) {
        ++scores_;
        score_sum_ += std::clamp(*score, -HIGHEST_SCORE, HIGHEST_SCORE);
    }
    if (++plies_ == LASTING_PLIES) {
        NoteSituation();
    }
}

void MaterialResults::NoteSituation() {
    const int white = ArmyOnBoard(WHITE);
    const int black = ArmyOnBoard(BLACK);
    if (white < 0 || black < 0 || white == black) {
        return;
    }
    const bool white_first = white > black;
    const float mean = scores_ == 0 ? 0.0F : static_cast<float>(score_sum_) / static_cast<float>(scores_);
    const Seen situation{std::max(white, black), std::min(white, black), white_first, white_first ? mean : -mean,
                         scores_ != 0};
    const bool known = std::ranges::any_of(seen_, [&](const Seen& other) {
        return other.first == situation.first && other.second == situation.second &&
               other.white_first == situation.white_first;
    });
    if (!known) {
        seen_.push_back(situation);
    }
}

float MaterialResults::SharesOfSet(const Seen& situation) const {
    return static_cast<float>(std::ranges::count_if(seen_, [&](const Seen& other) {
        return PiecesOf(other.first) == PiecesOf(situation.first) &&
               PiecesOf(other.second) == PiecesOf(situation.second) && other.white_first == situation.white_first;
    }));
}

void MaterialResults::EndGame(GameResult result) {
    if (result == GameResult::UNKNOWN) {
        return;
    }
    for (const Seen& situation : seen_) {
        const GameResult won = situation.white_first ? GameResult::WHITE_WINS : GameResult::BLACK_WINS;
        const float points = result == GameResult::DRAW ? 0.5F : result == won ? 1.0F : 0.0F;
        situations_.push_back({situation.first * ARMIES + situation.second, points, 1 / SharesOfSet(situation),
                               situation.score, situation.scored});
    }
}
