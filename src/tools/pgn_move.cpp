#include "tools/pgn_move.h"

#include <algorithm>
#include <string>

namespace {

constexpr int UNTOLD = PgnMoveText::UNTOLD;

/// Reads a token from the left, one optional part after the other.
class PartReader {
  public:
    explicit PartReader(std::string_view text) : rest_(text) { SkipHyphens(); }

    /// The code of a piece letter, UNTOLD where there is none.
    int TakePiece() {
        constexpr std::string_view letters = "?KNP?RBQ";  // by PieceCode
        const std::size_t code = rest_.empty() || rest_[0] == '?' ? letters.npos : letters.find(rest_[0]);
        if (code == letters.npos) {
            return UNTOLD;
        }
        TakeOne();
        return static_cast<int>(code);
    }

    int TakeFile() { return TakeInRange('a'); }
    int TakeRank() { return TakeInRange('1'); }

  private:
    int TakeInRange(char first) {
        if (rest_.empty() || rest_[0] < first || rest_[0] >= first + 8) {
            return UNTOLD;
        }
        const int number = rest_[0] - first;
        TakeOne();
        return number;
    }

    void TakeOne() {
        rest_.remove_prefix(1);
        SkipHyphens();
    }

    // Long notation has them between the squares.
    void SkipHyphens() { rest_.remove_prefix(std::min(rest_.find_first_not_of('-'), rest_.size())); }

    std::string_view rest_;
};

bool IsCastlingLetter(char letter) {
    return letter == 'O' || letter == '0';
}

PgnMoveText ReadCastling(std::string_view token, Colour side) {
    const bool to_queenside = token.size() > 3 && token[3] == '-';
    const int home_rank = side == WHITE ? 0 : 7;
    return {.piece = KING,
            .from_file = FileOf(E1),
            .from_rank = home_rank,
            .to_file = FileOf(to_queenside ? C1 : G1),
            .to_rank = home_rank};
}

bool Agrees(int told, int is) {
    return told == UNTOLD || told == is;
}

}  // namespace

PgnMoveText ReadPgnMove(std::string_view raw, Colour side) {
    std::string token(raw);
    const bool capture = std::erase_if(token, [](char mark) { return mark == ':' || mark == 'x'; }) != 0;
    std::erase(token, '=');
    if (token.size() >= 3 && IsCastlingLetter(token[0]) && token[1] == '-' && IsCastlingLetter(token[2])) {
        return ReadCastling(token, side);
    }
    PgnMoveText text;
    text.capture = capture;
    PartReader parts(token);
    if (const int piece = parts.TakePiece(); piece != UNTOLD) {
        text.piece = piece;
    }
    text.to_file = parts.TakeFile();
    text.to_rank = parts.TakeRank();
    const int second_file = parts.TakeFile();
    const int second_rank = parts.TakeRank();
    if (second_file != UNTOLD || second_rank != UNTOLD) {
        text.from_file = text.to_file;
        text.from_rank = text.to_rank;
        text.to_file = second_file;
        text.to_rank = second_rank;
    }
    text.promotion = parts.TakePiece();
    return text;
}

bool MatchesPgnMove(Move move, const PgnMoveText& text) {
    return Agrees(text.from_file, FileOf(MoveFrom(move))) && Agrees(text.to_file, FileOf(MoveTo(move))) &&
           Agrees(text.to_rank, RankOf(MoveTo(move))) && Agrees(text.from_rank, RankOf(MoveFrom(move))) &&
           MovePiece(move) == text.piece && Agrees(text.promotion, MovePromotion(move)) &&
           (!text.capture || MoveCaptured(move) != NO_PIECE || IsEnPassant(move));
}
