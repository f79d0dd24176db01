#include "book/sources.h"

#include <limits>

#include "book/lines.h"
#include "games/pgn.h"
#include "games/rules.h"
#include "position/board.h"
#include "progress.h"

namespace {

/// Of one file; the count at the end tells the rest.
constexpr std::int64_t MOST_COMPLAINTS = 20;

/// What a table's head says above its moves. Tables that were put together have several heads.
constexpr std::string_view COLUMN_NAME = "pgn";

class Complaints {
  public:
    Complaints(const std::string& name, Progress& progress) : name_(name), progress_(progress) {}

    void Add(int line, const std::string& error, SourceCount& count) {
        if (++count.unreadable <= MOST_COMPLAINTS) {
            progress_.Say(name_ + ":" + std::to_string(line) + ": passed over: " + error);
        }
    }

  private:
    const std::string& name_;
    Progress& progress_;
};

struct Points {
    int plus;
    int minus;
};

/// What the game came to for the side that made a move.
Points PointsFor(Colour mover, GameResult result) {
    switch (result) {
        case GameResult::UNKNOWN:
            return {0, 0};
        case GameResult::DRAW:
            return {1, 1};
        case GameResult::WHITE_WINS:
        case GameResult::BLACK_WINS:
            break;
    }
    return (result == GameResult::WHITE_WINS) == (mover == WHITE) ? Points{2, 0} : Points{0, 2};
}

void AddGame(const PgnGame& game, BookContents& book) {
    BeginGame(game.fen);
    for (const Move move : game.moves) {
        if (!BookCanSay(move)) {
            return;
        }
        BookMove& entry = EnterMove(EnterPosition(book), MoveFrom(move), MoveTo(move));
        const Points points = PointsFor(thread_board.SideToMove, game.result);
        entry.plus += points.plus;
        entry.minus += points.minus;
        ++entry.seen;
        PlayGameMove(move);
    }
}

/// Hands every line of moves to `take`, and counts and complains of those that cannot be read.
template <typename Take>
SourceCount ReadMoveLines(const std::string& name, std::string_view text, std::size_t plies, Take take) {
    Progress progress(name, text.size());
    Complaints complaints(name, progress);
    SourceCount count;
    TextLines lines(text);
    while (lines.Next()) {
        progress.Report(lines.Offset());
        std::string_view line = lines.Line();
        if (const std::size_t tab = line.rfind('\t'); tab != std::string_view::npos) {
            line.remove_prefix(tab + 1);
            if (line == COLUMN_NAME) {
                continue;
            }
        }
        PgnReader reader(line);
        PgnGame game;
        std::string error;
        PgnStep step = reader.Next(plies, game, error);
        PgnGame another;
        if (step == PgnStep::GAME && reader.Next(plies, another, error) != PgnStep::END) {
            error = "there is more behind the result";
            step = PgnStep::UNREADABLE;
        }
        if (step == PgnStep::UNREADABLE) {
            complaints.Add(lines.Number(), error, count);
        } else if (step == PgnStep::GAME) {
            ++count.games;
            game.result = GameResult::UNKNOWN;
            take(game);
        }
    }
    return count;
}

}  // namespace

SourceCount AddGames(const std::string& name, std::string_view text, std::size_t plies, BookContents& book) {
    Progress progress(name, text.size());
    Complaints complaints(name, progress);
    SourceCount count;
    PgnReader reader(text);
    PgnGame game;
    std::string error;
    for (PgnStep step; (step = reader.Next(plies, game, error)) != PgnStep::END;) {
        progress.Report(reader.Offset());
        if (step == PgnStep::UNREADABLE) {
            complaints.Add(reader.ErrorLine(), error, count);
        } else {
            ++count.games;
            AddGame(game, book);
        }
    }
    return count;
}

SourceCount AddLines(const std::string& name, std::string_view text, std::size_t plies, BookContents& book) {
    return ReadMoveLines(name, text, plies, [&book](const PgnGame& game) { AddGame(game, book); });
}

SourceCount ExcludeMoves(const std::string& name, std::string_view text, BookContents& book, std::int64_t& missed) {
    missed = 0;
    constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();
    return ReadMoveLines(name, text, ALL, [&](const PgnGame& game) {
        BeginGame(game.fen);
        for (std::size_t i = 0; i + 1 < game.moves.size(); ++i) {
            PlayGameMove(game.moves[i]);
        }
        const auto position = book.find(CurrentBookKeys());
        const Move last = game.moves.empty() ? 0 : game.moves.back();
        BookMove* const move =
            position == book.end() ? nullptr : FindMove(position->second, MoveFrom(last), MoveTo(last));
        if (move == nullptr) {
            ++missed;
        } else {
            move->excluded = true;
        }
    });
}
