#include "book/vetting.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "book/book.h"
#include "frontend/game.h"
#include "frontend/startup.h"
#include "games/rules.h"
#include "movegen/exchange.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/settings.h"
#include "progress.h"
#include "search/clock.h"
#include "search/think.h"

namespace {

/// Rounds of bringing scores back. Lines are shorter; this is for moves that go in circles.
constexpr int MOST_ROUNDS = 1000;

/// Only moves in a row; what forces longer counts as a draw.
constexpr int MOST_FORCED = 20;

constexpr const char* VALUES_FILE = "values.txt";

struct VettedMove {
    BookMove* move;
    std::size_t target;  // the position that it leads to
};

/// Scores are centipawns, the side to move's view.
struct VettedPosition {
    std::string fen;
    int searched = 0;
    int value = 0;  // with what its moves lead to
    std::vector<VettedMove> moves;
};

/// The driver plays an only move without a search, so that the score is found behind it.
int SearchedScore(const std::string& fen, int depth) {
    SetupPosition(fen);
    int sign = 1;
    std::vector<Move> moves = LegalMoves();
    for (int forced = 0; moves.size() == 1 && forced < MOST_FORCED; ++forced) {
        MakeMove(moves[0], 1);
        SetupPosition(std::string(WriteFen(0)));
        sign = -sign;
        moves = LegalMoves();
    }
    if (moves.empty()) {
        const Colour us = thread_board.SideToMove;
        return SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]) ? -sign * MATE_SCORE : 0;
    }
    SetUnlimitedBudget();
    SearchStart = ClockCentiseconds();
    const bool game_over = moves.size() == 1 || IterativeDeepening(depth, false) != 0;
    return game_over ? 0 : sign * RootScores[0];
}

/// A book's positions and those that its moves lead to, with what the moves are worth.
class Opinion {
  public:
    explicit Opinion(BookContents& book) {
        for (const auto& [keys, position] : book) {
            if (!position.fen.empty()) {
                Enter(keys, position.fen);
            }
        }
        std::size_t index = 0;
        for (auto& [keys, position] : book) {
            if (!position.fen.empty()) {
                EnterMoves(index++, position);
            }
        }
    }

    int Search(int depth) {
        Progress progress("searching", positions_.size());
        for (std::size_t i = 0; i < positions_.size(); ++i) {
            progress.Report(i);
            positions_[i].value = positions_[i].searched = SearchedScore(positions_[i].fen, depth);
        }
        return static_cast<int>(positions_.size());
    }

    void BringBack() {
        bool changed = true;
        for (int round = 0; changed && round < MOST_ROUNDS; ++round) {
            changed = false;
            for (VettedPosition& position : positions_) {
                int value = position.searched;
                for (const VettedMove& move : position.moves) {
                    value = std::max(value, ValueOf(move));
                }
                changed |= value != position.value;
                position.value = value;
            }
        }
    }

    int ExcludeBelow(int margin) {
        int excluded = 0;
        for (const VettedPosition& position : positions_) {
            for (const VettedMove& move : position.moves) {
                if (!move.move->excluded && ValueOf(move) < position.value - margin) {
                    move.move->excluded = true;
                    ++excluded;
                }
            }
        }
        return excluded;
    }

  private:
    std::size_t Enter(BookKeys keys, const std::string& fen) {
        const auto [known, is_new] = index_.emplace(keys, positions_.size());
        if (is_new) {
            positions_.emplace_back().fen = fen;
        }
        return known->second;
    }

    /// The moves that are legal where the position came up first. An excluded move counts as an answer that the other
    /// side has, if the book knows what follows.
    void EnterMoves(std::size_t index, BookPosition& position) {
        for (BookMove& entry : position.moves) {
            SetupFen(position.fen);
            for (const Move move : LegalMoves()) {
                if (MoveFrom(move) != entry.from || MoveTo(move) != entry.to || !BookCanSay(move)) {
                    continue;
                }
                MakeMove(move, 1);
                const BookKeys keys = CurrentBookKeys();
                if (!entry.excluded || index_.contains(keys)) {
                    const std::size_t target = Enter(keys, WriteFen(0));
                    positions_[index].moves.push_back({&entry, target});
                }
                break;
            }
        }
    }

    int ValueOf(const VettedMove& move) const { return -positions_[move.target].value; }

    std::vector<VettedPosition> positions_;
    std::map<BookKeys, std::size_t, BookKeysOrder> index_;
};

}  // namespace

bool StartVetting(std::string& error) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(VALUES_FILE, ignored)) {
        error = std::string(VALUES_FILE).append(" is not in the working directory: the engine cannot judge without it");
        return false;
    }
    StartEngine();
    CloseBook();
    PostThinking = 0;
    return true;
}

VettingCount VetMoves(BookContents& book, int depth, int margin) {
    Opinion opinion(book);
    VettingCount count;
    count.positions = opinion.Search(depth);
    opinion.BringBack();
    count.excluded = opinion.ExcludeBelow(margin);
    return count;
}
