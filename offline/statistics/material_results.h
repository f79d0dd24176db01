// How games with a certain material ended.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "eval/army.h"
#include "games/pgn.h"

/// A material situation lasts when no man leaves or changes for this many half-moves: exchanges under way do not count.
inline constexpr int LASTING_PLIES = 4;

/// Army numbers as in the material table: pawns, then 9 a knight, 27 a bishop, 81 a rook, 243 the queen.
inline constexpr int ARMIES = 486;
Army ArmyOfNumber(int number);

/// A game that came through a situation. Of its two views the one is kept whose first army has the greater number: both
/// colours count together.
struct SituationResult {
    std::int32_t pair;  // ARMIES * first + second
    float points;       // of the first army: 1 a win, 1/2 a draw
    float set_share;    // a game is shared out among its situations that differ in pawns alone, so that it counts once
                        // for the set of pieces
    float score;        // centipawns for the first army, the mean of what the searches gave until it had lasted
    bool scored;        // false when none of them is known
};

/// Follows games on thread_board. Situations of three equal pieces, or of two queens, have no statistics and are passed
/// over, and so are equal armies, which have no better side.
class MaterialResults {
  public:
    void BeginGame();

    /// After each move; `score` is that of the search that chose it, centipawns for White.
    void NoteMove(std::optional<int> score);

    /// Counts each situation of the game once. A game without a result counts for nothing.
    void EndGame(GameResult result);

    const std::vector<SituationResult>& Situations() const { return situations_; }

  private:
    struct Seen {
        int first;  // army numbers
        int second;
        bool white_first;
        float score;
        bool scored;
    };

    void NoteSituation();
    float SharesOfSet(const Seen& situation) const;

    std::vector<SituationResult> situations_;
    std::vector<Seen> seen_;  // in this game
    std::int32_t material_ = 0;
    int plies_ = 0;  // since the material changed, and what their searches gave
    int scores_ = 0;
    int score_sum_ = 0;
};
