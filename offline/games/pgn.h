// Games from PGN text.
#pragma once

#include "position/types.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class GameResult { UNKNOWN, WHITE_WINS, BLACK_WINS, DRAW };

struct PgnGame {
    std::string fen;                         // six tidy fields
    std::vector<Move> moves;                 // played from there
    std::vector<std::string_view> comments;  // the first behind each move, without its braces; empty for none
    GameResult result = GameResult::UNKNOWN;
};

enum class PgnStep { GAME, UNREADABLE, END };

/// The centipawns of a comment such as "+0.35/8"; mates are 100 pawns; nothing for what is no score.
std::optional<int> ScoreOfComment(std::string_view comment);

/// A walk over PGN text, game by game. Variations, numeric marks and move numbers are passed over.
class PgnReader {
  public:
    /// The text must outlive the reader and the games' comments.
    explicit PgnReader(std::string_view text);

    /// Reads the next game: its moves up to `plies` half-moves, and its result, which stands behind the moves, or in
    /// the tag where they end without. UNREADABLE is a game that begins from no position or has a move that is not
    /// legal; `error` then says what is wrong and ErrorLine where, and the reader stands behind that game. Leaves the
    /// last position on thread_board.
    PgnStep Next(std::size_t plies, PgnGame& game, std::string& error);

    int Line() const { return line_; }
    int ErrorLine() const { return error_line_; }

    /// Bytes that have been read.
    std::size_t Offset() const { return at_; }

  private:
    bool FindToken();
    bool AtTag() const { return text_[at_] == '['; }
    std::pair<std::string, std::string> TakeTag();
    std::string_view TakeWord();
    bool ReadTags(PgnGame& game, std::string& error);
    void NoteError();

    void Advance();
    template <typename Condition>
    std::string_view TakeWhile(Condition condition);
    void SkipBlanks();
    void SkipTo(char last);
    void TakeComment();
    void SkipMark();
    void SkipVariation();
    bool SkipMoveNumber();

    std::string_view text_;
    std::vector<std::string_view>* comments_ = nullptr;  // of the game whose moves are being read
    std::size_t at_ = 0;
    int line_ = 1;
    int error_line_ = 0;
};
