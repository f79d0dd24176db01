#include "match/game.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "games/rules.h"
#include "games/san.h"
#include "match/command_line.h"
#include "match/pgn_writer.h"
#include "position/board.h"
#include "position/move_text.h"

const std::array<std::string_view, REASONS> REASON_TEXT = {"checkmate",
                                                           "stalemate",
                                                           "threefold repetition",
                                                           "fifty moves",
                                                           "insufficient material",
                                                           "adjudicated draw",
                                                           "adjudicated win",
                                                           "crash",
                                                           "illegal move",
                                                           "loss on time",
                                                           "stall",
                                                           "answer while pondering"};

const std::array<std::string_view, REASONS> TERMINATION_TAG = {
    "normal",       "normal",    "normal",           "normal",       "normal",    "adjudication",
    "adjudication", "abandoned", "rules infraction", "time forfeit", "abandoned", "rules infraction"};

namespace {

constexpr std::string_view COLOUR_NAME[] = {"White", "Black"};

Result WinOf(Colour colour) {
    return colour == WHITE ? Result::WHITE_WINS : Result::BLACK_WINS;
}

/// "+0.31", "+M5", "-M3": moves for mates.
std::string ScoreText(int score) {
    char text[32];
    const int distance = MATE_CENTIPAWNS - std::abs(score);
    if (distance <= 1000) {
        std::snprintf(text, sizeof text, "%cM%d", score > 0 ? '+' : '-', distance);
    } else {
        std::snprintf(text, sizeof text, "%+.2f", score / 100.0);
    }
    return text;
}

std::string SecondsText(std::chrono::microseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3fs", static_cast<double>(time.count()) / 1e6);
    return text;
}

/// The score from White's view, so that the whole game reads alike and the offline tools can learn from it.
std::string ThoughtText(Colour mover, const MoveAnswer& answer) {
    std::string text;
    if (answer.score) {
        const int score = mover == WHITE ? *answer.score : -*answer.score;
        text = ScoreText(score) + "/" + std::to_string(answer.depth) + " ";
    }
    return text + SecondsText(answer.elapsed);
}

std::string Today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[32] = "????.??.??";
    if (localtime_r(&now, &local) != nullptr) {
        std::strftime(text, sizeof text, "%Y.%m.%d", &local);
    }
    return text;
}

/// One side's clock. Without one it never runs out.
class Clock {
  public:
    explicit Clock(const Limits& limits) : limits_(limits), left_(limits.base), moves_to_go_(limits.period) {}

    bool Exists() const { return limits_.clock; }
    std::chrono::microseconds Left() const { return left_; }
    std::int64_t MillisecondsLeft() const { return std::max<std::int64_t>(left_.count() / 1000, 1); }
    int MovesToGo() const { return moves_to_go_; }

    std::optional<Milliseconds> Allowance(Milliseconds margin) const {
        if (!limits_.clock) {
            return std::nullopt;
        }
        return std::chrono::duration_cast<Milliseconds>(left_) + margin;
    }

    void Spend(std::chrono::microseconds time) {
        left_ = std::max(left_ - time, std::chrono::microseconds{0}) + limits_.increment;
        if (limits_.period > 0 && --moves_to_go_ == 0) {
            moves_to_go_ = limits_.period;
            left_ += limits_.base;
        }
    }

  private:
    const Limits& limits_;
    std::chrono::microseconds left_;
    int moves_to_go_;
};

/// What the engines' scores say of the rest of the game.
class Adjudicator {
  public:
    explicit Adjudicator(const MatchSettings& match) : match_(match) {}

    void Note(Colour mover, std::optional<int> score) {
        const auto extend = [](int& streak, bool goes_on) { streak = goes_on ? streak + 1 : 0; };
        if (match_.draw) {
            extend(level_, score && std::abs(*score) <= match_.draw->score);
        }
        if (match_.resign) {
            extend(winning_[mover], score && *score >= match_.resign->score);
            extend(losing_[mover], score && *score <= -match_.resign->score);
        }
    }

    bool IsDrawn(int move_number) const {
        return match_.draw && move_number >= match_.draw->from && level_ >= 2 * match_.draw->moves;
    }

    bool IsLostFor(Colour side) const {
        return match_.resign && losing_[side] >= match_.resign->moves &&
               winning_[ChangeSide(side)] >= match_.resign->moves;
    }

  private:
    const MatchSettings& match_;
    int level_ = 0;  // half-moves
    int winning_[2] = {0, 0};
    int losing_[2] = {0, 0};
};

class Game {
  public:
    Game(const MatchSettings& match, int number, const Opening& opening, const std::array<UciEngine*, 2>& engines,
         const std::array<const EngineSettings*, 2>& settings)
        : match_(match),
          number_(number),
          opening_(opening),
          engines_(engines),
          settings_(settings),
          clocks_{Clock(settings[WHITE]->limits), Clock(settings[BLACK]->limits)},
          adjudicator_(match) {}

    GameOutcome Play() {
        position_ = opening_.fen == START_FEN ? "position startpos" : "position fen " + opening_.fen;
        BeginGame(opening_.fen);
        for (const Move move : opening_.moves) {
            Record(move, "");
        }
        over_ = !EnginesAreReady();
        while (!over_) {
            PlayHalfMove();
        }
        StopPondering();
        if (!outcome_.stopped) {
            outcome_.pgn = ScoreSheet();
        }
        return outcome_;
    }

  private:
    void End(Result result, Reason reason, std::string last_words) {
        over_ = true;
        outcome_.result = result;
        outcome_.reason = reason;
        last_words_ = std::move(last_words);
    }

    void Forfeit(Colour loser, Reason reason, std::string_view what) {
        End(WinOf(ChangeSide(loser)), reason, std::string(COLOUR_NAME[loser]) + " " + std::string(what));
    }

    /// Ends the game for any answer but OK.
    bool Accept(Colour side, Answer answer) {
        switch (answer) {
            case Answer::OK:
                return true;
            case Answer::CRASHED:
                Forfeit(side, Reason::CRASH, "has crashed");
                break;
            case Answer::STALLED:
                Forfeit(side, Reason::STALL, "does not answer");
                break;
            case Answer::LATE:
                Forfeit(side, Reason::TIME, "loses on time");
                break;
            case Answer::EARLY:
                Forfeit(side, Reason::EARLY_ANSWER, "answers before it is told that its ponder move was played");
                break;
            case Answer::STOPPED:
                over_ = outcome_.stopped = true;
                break;
        }
        return false;
    }

    bool EnginesAreReady() {
        for (const Colour side : {WHITE, BLACK}) {
            if (!Accept(side, engines_[side]->BeginGame())) {
                outcome_.failed_to_start = engines_[side]->FailedToStart();
                return false;
            }
        }
        return true;
    }

    std::string GoCommand(Colour side, std::string_view kind = "go") const {
        std::string command(kind);
        const auto add = [&command](std::string_view name, std::int64_t value) {
            command += ' ';
            command += name;
            command += ' ';
            command += std::to_string(value);
        };
        if (clocks_[side].Exists()) {
            // An opponent without a clock is shown the same time: some engines want to see both.
            const Colour other = clocks_[ChangeSide(side)].Exists() ? ChangeSide(side) : side;
            const Colour of_white = side == WHITE ? side : other;
            const Colour of_black = side == BLACK ? side : other;
            add("wtime", clocks_[of_white].MillisecondsLeft());
            add("btime", clocks_[of_black].MillisecondsLeft());
            add("winc", settings_[of_white]->limits.increment.count());
            add("binc", settings_[of_black]->limits.increment.count());
            if (clocks_[side].MovesToGo() > 0) {
                add("movestogo", clocks_[side].MovesToGo());
            }
        }
        if (settings_[side]->limits.nodes > 0) {
            add("nodes", settings_[side]->limits.nodes);
        }
        if (settings_[side]->limits.depth > 0) {
            add("depth", settings_[side]->limits.depth);
        }
        return command;
    }

    static Move FindMove(const std::string& text) {
        char buffer[MOVE_BUFFER];
        for (const Move move : GameMoves()) {
            if (text == MoveToText(buffer, move)) {
                return move;
            }
        }
        return 0;
    }

    void Record(Move move, const std::string& comment) {
        char buffer[MOVE_BUFFER];
        position_ += moves_.empty() ? " moves " : " ";
        position_ += MoveToText(buffer, move);
        writer_.AddMove(GameMoveNumber(), thread_board.SideToMove == WHITE, MoveToSan(move), comment);
        PlayGameMove(move);
        moves_.push_back(move);
    }

    /// Whether the game would go on after the move. There is no way back in a game: it is played anew.
    bool GoesOnAfter(Move move) const {
        const auto replay = [this] {
            BeginGame(opening_.fen);
            for (const Move played : moves_) {
                PlayGameMove(played);
            }
        };
        PlayGameMove(move);
        const bool goes_on = GameEnding() == Ending::NONE;
        replay();
        return goes_on;
    }

    /// Behind the move of `side`: lets it think on `expected`, the answer that it expects. A move that is not legal, or
    /// that ends the game, leaves nothing to think about.
    void StartPondering(Colour side, const std::string& expected) {
        const Move move = FindMove(expected);
        if (move != 0 && GoesOnAfter(move)) {
            expected_[side] = move;
            ++outcome_.ponders[side];
            engines_[side]->StartPonder(position_ + " " + expected, GoCommand(side, "go ponder"));
        }
    }

    /// The game is over; what happens now changes nothing in it.
    void StopPondering() {
        for (const Colour side : {WHITE, BLACK}) {
            if (!outcome_.stopped && engines_[side]->IsPondering()) {
                outcome_.afterwards[side] = engines_[side]->StopPonder();
                outcome_.stopped = outcome_.afterwards[side] == Answer::STOPPED;
            }
        }
    }

    MoveAnswer AskMove(Colour side) {
        UciEngine& engine = *engines_[side];
        UciEngine* const opponent = engines_[ChangeSide(side)];
        const std::optional<Milliseconds> time = clocks_[side].Allowance(match_.margin);
        if (engine.IsPondering()) {
            if (moves_.back() == expected_[side]) {
                ++outcome_.ponder_hits[side];
                return engine.PonderHit(time, opponent);
            }
            if (const Answer stopped = engine.StopPonder(); stopped != Answer::OK) {
                MoveAnswer failed;
                failed.answer = stopped;
                return failed;
            }
        }
        return engine.AskMove(position_, GoCommand(side), time, opponent);
    }

    void PlayHalfMove() {
        const Colour side = thread_board.SideToMove;
        const MoveAnswer answer = AskMove(side);
        if (!Accept(side, answer.answer)) {
            if (answer.answer == Answer::LATE) {
                last_words_ += ": " + SecondsText(answer.elapsed) + " of " + SecondsText(clocks_[side].Left());
            }
            return;
        }
        clocks_[side].Spend(answer.elapsed);
        const Move move = FindMove(answer.move);
        if (move == 0) {
            Forfeit(side, Reason::ILLEGAL_MOVE, "plays the illegal move \"" + answer.move.substr(0, 20) + "\"");
            return;
        }
        Record(move, ThoughtText(side, answer));
        adjudicator_.Note(side, answer.score);
        JudgePosition(side);
        if (!over_ && settings_[side]->ponder) {
            StartPondering(side, answer.ponder);
        }
    }

    void JudgePosition(Colour mover) {
        const std::string name(COLOUR_NAME[mover]);
        switch (GameEnding()) {
            case Ending::CHECKMATE:
                return End(WinOf(mover), Reason::CHECKMATE, name + " mates");
            case Ending::STALEMATE:
                return End(Result::DRAW, Reason::STALEMATE, "Draw by stalemate");
            case Ending::REPETITION:
                return End(Result::DRAW, Reason::REPETITION, "Draw by threefold repetition");
            case Ending::FIFTY_MOVES:
                return End(Result::DRAW, Reason::FIFTY_MOVES, "Draw by the fifty-move rule");
            case Ending::DEAD_POSITION:
                return End(Result::DRAW, Reason::DEAD_POSITION, "Draw by insufficient material");
            case Ending::NONE:
                break;
        }
        // The number of the move just made: that of the next one has gone up if it was Black's.
        if (adjudicator_.IsDrawn(GameMoveNumber() - (mover == BLACK ? 1 : 0))) {
            return End(Result::DRAW, Reason::DRAW_ADJUDICATED, "Draw by adjudication");
        }
        for (const Colour side : {WHITE, BLACK}) {
            if (adjudicator_.IsLostFor(side)) {
                return End(WinOf(ChangeSide(side)), Reason::WIN_ADJUDICATED,
                           std::string(COLOUR_NAME[ChangeSide(side)]) + " wins by adjudication");
            }
        }
    }

    std::string ScoreSheet() {
        const std::string_view result = RESULT_TEXT[static_cast<std::size_t>(outcome_.result)];
        const Limits& white = settings_[WHITE]->limits;
        const Limits& black = settings_[BLACK]->limits;
        writer_.AddTag("Event", match_.event);
        writer_.AddTag("Site", "?");
        writer_.AddTag("Date", Today());
        writer_.AddTag("Round", std::to_string(number_ + 1));
        writer_.AddTag("White", settings_[WHITE]->name);
        writer_.AddTag("Black", settings_[BLACK]->name);
        writer_.AddTag("Result", result);
        if (opening_.fen != START_FEN) {
            writer_.AddTag("SetUp", "1");
            writer_.AddTag("FEN", opening_.fen);
        }
        writer_.AddTag("PlyCount", std::to_string(moves_.size()));
        // The tag holds one control for both: "?" for two different ones, "-" for none.
        const std::string clock = ClockText(white);
        writer_.AddTag("TimeControl", clock != ClockText(black) ? "?" : clock.empty() ? "-" : clock);
        writer_.AddTag("WhiteLimits", LimitsText(white));
        writer_.AddTag("BlackLimits", LimitsText(black));
        for (const auto& [side, tag] : {std::pair{WHITE, "WhiteOptions"}, std::pair{BLACK, "BlackOptions"}}) {
            if (!settings_[side]->varied.empty()) {
                writer_.AddTag(tag, VariedText(*settings_[side], engines_[side]->Phase()));
            }
        }
        writer_.AddTag("Termination", TERMINATION_TAG[static_cast<std::size_t>(outcome_.reason)]);
        return writer_.Finish(last_words_, result);
    }

    const MatchSettings& match_;
    int number_;
    const Opening& opening_;
    const std::array<UciEngine*, 2>& engines_;
    const std::array<const EngineSettings*, 2>& settings_;
    Clock clocks_[2];
    Adjudicator adjudicator_;
    PgnWriter writer_;
    std::string position_;
    std::string last_words_;
    std::vector<Move> moves_;    // from the opening's position on
    Move expected_[2] = {0, 0};  // by an engine that ponders
    bool over_ = false;
    GameOutcome outcome_;
};

}  // namespace

GameOutcome PlayGame(const MatchSettings& match, int number, const Opening& opening,
                     const std::array<UciEngine*, 2>& engines, const std::array<const EngineSettings*, 2>& settings) {
    return Game(match, number, opening, engines, settings).Play();
}
