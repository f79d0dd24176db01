#include "selfplay/self_game.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "frontend/game.h"
#include "frontend/startup.h"
#include "games/rules.h"
#include "games/san.h"
#include "match/pgn_writer.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/think.h"

namespace {

// Both tables are cleared before every game: small ones keep that cheap and hold what such short searches write.
constexpr std::int32_t HASH_MEGABYTES = 4;
constexpr std::int32_t PAWN_HASH_MEGABYTES = 1;

constexpr int DEEPEST = 90;
constexpr int POLLS_PER_SEARCH = 50;

/// A game is called when the engine, on both sides, has long agreed about its result.
struct Adjudication {
    int first_ply;
    int plies;           // in a row
    std::int32_t score;  // centipawns: at least for a win, at most for a draw
};
constexpr Adjudication WIN{0, 8, 1000};
constexpr Adjudication DRAW{100, 16, 6};

/// Openings that are out of balance themselves must come to an end.
constexpr int MOST_DRAWS = 50;

/// Games that go on for ever, such as those of blocked positions, tell no more.
constexpr int LONGEST_GAME = 500;

class Adjudicator {
  public:
    /// `score` from White's view, of the move made at `ply`.
    void Note(int ply, std::int32_t score) {
        win_ = std::abs(score) >= WIN.score ? (score > 0) == white_ahead_ ? win_ + 1 : 1 : 0;
        white_ahead_ = score > 0;
        draw_ = ply >= DRAW.first_ply && std::abs(score) <= DRAW.score ? draw_ + 1 : 0;
    }
    bool IsWin() const { return win_ >= WIN.plies; }
    bool IsDraw() const { return draw_ >= DRAW.plies; }
    bool WhiteAhead() const { return white_ahead_; }

  private:
    int win_ = 0;
    int draw_ = 0;
    bool white_ahead_ = false;
};

void SearchMove(std::int64_t nodes) {
    SetUnlimitedBudget();
    NodeLimit = nodes;
    PollInterval = static_cast<std::int32_t>(std::max<std::int64_t>(nodes / POLLS_PER_SEARCH, 1));
    SearchStart = ClockCentiseconds();
    thread_board.SearchAborted = 0;
    IterativeDeepening(DEEPEST, false);
    PrevRootScore = RootScores[0];
    PrevRootSide = EngineSide;
}

std::string ScoreComment(std::int32_t score) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%+.2f/%d", static_cast<double>(score) / 100.0, Iteration + 1);
    return text.data();
}

void ForgetAll() {
    CleanTables();
    ForgetGame();
    TTGeneration = 0;
}

/// The opening's moves and the random ones behind them. The last draw holds, whatever its balance.
std::vector<Move> DrawStart(const Opening& opening, const SelfGameSettings& settings, std::mt19937_64& random) {
    std::vector<Move> start;
    for (int draw = 0; draw < MOST_DRAWS; ++draw) {
        ForgetAll();
        BeginGame(opening.fen);
        start = opening.moves;
        for (const Move move : opening.moves) {
            PlayGameMove(move);
        }
        for (int i = 0; i < settings.random_plies && GameEnding() == Ending::NONE; ++i) {
            // Not a distribution of the library: those differ from one library to the next.
            start.push_back(GameMoves()[random() % GameMoves().size()]);
            PlayGameMove(start.back());
        }
        if (settings.balance == 0 || settings.random_plies == 0) {
            break;
        }
        if (GameEnding() == Ending::NONE) {
            SearchMove(settings.nodes);
            if (std::abs(RootScores[0]) <= settings.balance) {
                break;
            }
        }
    }
    return start;
}

struct Ended {
    std::string_view result;
    std::string_view words;
};

Ended EndOf(Ending ending) {
    switch (ending) {
        case Ending::CHECKMATE:
            return {thread_board.SideToMove == BLACK ? "1-0" : "0-1", "checkmate"};
        case Ending::STALEMATE:
            return {"1/2-1/2", "stalemate"};
        case Ending::REPETITION:
            return {"1/2-1/2", "repetition"};
        case Ending::FIFTY_MOVES:
            return {"1/2-1/2", "fifty moves"};
        case Ending::DEAD_POSITION:
            return {"1/2-1/2", "insufficient material"};
        case Ending::NONE:
            break;
    }
    return {"1/2-1/2", "too long"};
}

}  // namespace

void PrepareSelfPlay() {
    StartEngine();
    PostThinking = 0;
    TablebasePieces = 0;
    OwnBook = 0;
    ResizeTransposition(HASH_MEGABYTES);
    ResizePawnHash(PAWN_HASH_MEGABYTES);
}

std::string PlaySelfGame(int number, const Opening& opening, const SelfGameSettings& settings, std::uint64_t seed) {
    std::mt19937_64 random(seed * 0x9E3779B97F4A7C15ULL + static_cast<std::uint64_t>(number));
    const std::vector<Move> start = DrawStart(opening, settings, random);
    ForgetAll();
    BeginGame(opening.fen);

    PgnWriter pgn;
    const auto play = [&pgn](Move move, std::string_view comment) {
        pgn.AddMove(GameMoveNumber(), thread_board.SideToMove == WHITE, MoveToSan(move), comment);
        PlayGameMove(move);
    };
    for (const Move move : start) {
        play(move, "");
    }

    Adjudicator adjudicator;
    Ended end{};
    for (int ply = 0; end.result.empty(); ++ply) {
        const Ending ending = GameEnding();
        if (ending != Ending::NONE || ply >= LONGEST_GAME) {
            end = EndOf(ending);
        } else if (adjudicator.IsWin()) {
            end = {adjudicator.WhiteAhead() ? "1-0" : "0-1", "win adjudicated"};
        } else if (adjudicator.IsDraw()) {
            end = {"1/2-1/2", "draw adjudicated"};
        } else if (GameMoves().size() == 1) {
            play(GameMoves()[0], "");  // the engine does not search it, and so has no score of its own
        } else {
            SearchMove(settings.nodes);
            const std::int32_t score = EngineSide == WHITE ? RootScores[0] : -RootScores[0];
            adjudicator.Note(ply, score);
            play(MoveList[0].Move, ScoreComment(score));
        }
    }

    pgn.AddTag("Event", "Self-play");
    pgn.AddTag("Site", "?");
    pgn.AddTag("Date", "????.??.??");
    pgn.AddTag("Round", std::to_string(number + 1));
    pgn.AddTag("White", "Quorvanth");
    pgn.AddTag("Black", "Quorvanth");
    pgn.AddTag("Result", end.result);
    if (opening.fen != START_FEN) {
        pgn.AddTag("SetUp", "1");
        pgn.AddTag("FEN", opening.fen);
    }
    return pgn.Finish(end.words, end.result);
}
