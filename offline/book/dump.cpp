#include "book/dump.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <deque>
#include <limits>
#include <set>
#include <span>

#include "book/book_format.h"
#include "book/lines.h"
#include "games/pgn.h"
#include "games/rules.h"
#include "games/san.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"

namespace {

constexpr int KEY_DIGITS = 8;
constexpr std::int64_t MOST_POINTS_TYPED = 1'000'000'000;

std::string SquareText(int square) {
    return {static_cast<char>('a' + FileOf(square)), static_cast<char>('1' + RankOf(square))};
}

/// The legal move of thread_board between two squares, a promotion to a queen; 0 if there is none.
Move LegalMoveBetween(int from, int to) {
    for (const Move move : LegalMoves()) {
        if (MoveFrom(move) == from && MoveTo(move) == to && BookCanSay(move)) {
            return move;
        }
    }
    return 0;
}

void AppendMoves(const BookPosition& position, std::string& text) {
    const std::size_t count = std::min<std::size_t>(position.moves.size(), BOOK_LIST_MAX);
    for (const BookMove& move : std::span(position.moves).first(count)) {
        text += SquareText(move.from) + SquareText(move.to);
        if (move.excluded) {
            text += " -\n";
        } else if (move.plus + move.minus == 0) {
            text += " ?\n";
        } else {
            text += ' ' + std::to_string(move.plus) + ' ' + std::to_string(move.minus) + '\n';
        }
    }
    text += '\n';
}

/// A position on the way through a book, and how one comes there.
struct Stop {
    std::string fen;
    std::string moves;  // " 1. e4 c5"
    int plies;
};

/// Writes the positions that the book's own moves lead to, each by the shortest way there.
class BookWalk {
  public:
    explicit BookWalk(const BookContents& book) : book_(book) {}

    void Append(std::string& text) {
        SetupFen(START_FEN);
        Meet({std::string(START_FEN), "", 0});
        for (; !waiting_.empty(); waiting_.pop_front()) {
            Visit(waiting_.front(), text);
        }
    }

    bool HasWritten(BookKeys keys) const { return written_.contains(keys); }

  private:
    /// The stop's position stands on thread_board.
    void Meet(const Stop& stop) {
        const BookKeys keys = CurrentBookKeys();
        if (book_.contains(keys) && met_.insert(keys).second) {
            waiting_.push_back(stop);
        }
    }

    void Visit(const Stop& stop, std::string& text) {
        SetupFen(stop.fen);
        const BookKeys keys = CurrentBookKeys();
        const BookPosition& position = book_.at(keys);
        bool all_legal = true;
        std::vector<Move> moves;
        for (const BookMove& entry : position.moves) {
            const Move move = LegalMoveBetween(entry.from, entry.to);
            all_legal &= move != 0;
            if (move != 0) {
                moves.push_back(move);
            }
        }
        if (all_legal) {
            written_.insert(keys);
            text += "after" + stop.moves + '\n';
            AppendMoves(position, text);
        }
        for (const Move move : moves) {
            SetupFen(stop.fen);
            std::string way = stop.moves;
            if (stop.plies % 2 == 0) {
                way += ' ' + std::to_string(stop.plies / 2 + 1) + '.';
            }
            way += ' ' + MoveToSan(move);
            MakeMove(move, 1);
            Meet({WriteFen(0), way, stop.plies + 1});
        }
    }

    const BookContents& book_;
    std::deque<Stop> waiting_;
    std::set<BookKeys, BookKeysOrder> met_;
    std::set<BookKeys, BookKeysOrder> written_;
};

std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \t"));
    text.remove_prefix(word.size());
    return word;
}

template <typename Number>
bool ReadWhole(std::string_view text, Number& number, int base) {
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return failure == std::errc{} && end == text.data() + text.size();
}

/// "e2e4": both squares and nothing else.
bool IsPlainMove(std::string_view name) {
    return name.size() == 4 && IsMoveText(name);
}

int FirstSquare(std::string_view name) {
    return 8 * (name[1] - '1') + ((name[0] | 0x20) - 'a');
}

/// The text's reader: the position that the last head line named, and the book that grows.
class DumpReader {
  public:
    explicit DumpReader(BookContents& book) : book_(book) {}

    /// An empty answer, or what is wrong with the line.
    std::string Read(std::string_view line) {
        std::string_view rest = line;
        const std::string_view first = TakeWord(rest);
        if (first == "after" || first == "fen" || first == "keys") {
            position_ = nullptr;
            return first == "after" ? ReadWay(rest) : first == "fen" ? ReadFen(rest) : ReadKeys(rest);
        }
        return position_ == nullptr ? "a move before any position" : ReadMove(first, rest);
    }

  private:
    std::string ReadWay(std::string_view moves) {
        PgnReader reader(moves);
        PgnGame game;
        std::string error;
        switch (reader.Next(std::numeric_limits<std::size_t>::max(), game, error)) {
            case PgnStep::UNREADABLE:
                return error;
            case PgnStep::END:
                BeginGame(START_FEN);
                break;
            case PgnStep::GAME:
                break;
        }
        return EnterBoard();
    }

    std::string ReadFen(std::string_view text) {
        std::string error;
        const std::string fen = TidyFen(text, error);
        if (fen.empty()) {
            return error;
        }
        BeginGame(fen);
        return EnterBoard();
    }

    std::string ReadKeys(std::string_view text) {
        BookKeys keys{};
        const std::string_view key1 = TakeWord(text);
        const std::string_view key2 = TakeWord(text);
        if (key1.size() != KEY_DIGITS || key2.size() != KEY_DIGITS || !ReadWhole(key1, keys.key1, 16) ||
            !ReadWhole(key2, keys.key2, 16) || !TakeWord(text).empty()) {
            return "a position is named by two keys of eight hexadecimal digits";
        }
        board_known_ = false;
        position_ = &book_[keys];
        return {};
    }

    std::string EnterBoard() {
        board_known_ = true;
        position_ = &EnterPosition(book_);
        return {};
    }

    std::string ReadMove(std::string_view name, std::string_view rest) {
        Move move = 0;
        if (board_known_) {
            move = IsPlainMove(name) ? LegalMoveBetween(FirstSquare(name), FirstSquare(name.substr(2)))
                                     : MoveFromSan(name);
            if (move == 0 || !BookCanSay(move)) {
                return std::string("no legal move of a book by the name ").append(name);
            }
        } else if (IsPlainMove(name)) {
            // Of the position no board is known, so the squares are all there is.
            move = BuildMove(FirstSquare(name), FirstSquare(name.substr(2)), NO_PIECE);
        } else {
            return std::string("this is no move such as e2e4: ").append(name);
        }
        const std::string_view plus = TakeWord(rest);
        const std::string_view minus = TakeWord(rest);
        std::int64_t points[2] = {0, 0};
        const bool marked = (plus == "?" || plus == "-") && minus.empty();
        const auto count = [](std::string_view text, std::int64_t& value) {
            return ReadWhole(text, value, 10) && value >= 0 && value <= MOST_POINTS_TYPED;
        };
        if (!TakeWord(rest).empty() || (!marked && !(count(plus, points[0]) && count(minus, points[1])))) {
            return "behind a move stand plus and minus, or ? or -";
        }
        if (position_->moves.size() >= BOOK_LIST_MAX) {
            return "a position has room for " + std::to_string(BOOK_LIST_MAX) + " moves";
        }
        BookMove& entry = EnterMove(*position_, MoveFrom(move), MoveTo(move));
        entry.from_book = true;
        entry.excluded |= plus == "-";
        entry.plus += points[0];
        entry.minus += points[1];
        return {};
    }

    BookContents& book_;
    BookPosition* position_ = nullptr;
    bool board_known_ = false;
};

}  // namespace

std::string BookDump(const BookContents& book) {
    std::string text = "# " + std::to_string(book.size()) + " positions\n\n";
    BookWalk walk(book);
    walk.Append(text);
    for (const auto& [keys, position] : book) {
        if (!walk.HasWritten(keys) && !position.moves.empty()) {
            char line[32];
            std::snprintf(line, sizeof line, "keys %08x %08x\n", keys.key1, keys.key2);
            text += line;
            AppendMoves(position, text);
        }
    }
    return text;
}

bool AddBookDump(std::string_view text, BookContents& book, std::string& error) {
    DumpReader reader(book);
    TextLines lines(text);
    while (lines.Next()) {
        if (std::string problem = reader.Read(lines.Line()); !problem.empty()) {
            error = "line " + std::to_string(lines.Number()) + ": ";
            error += problem;
            return false;
        }
    }
    return true;
}
