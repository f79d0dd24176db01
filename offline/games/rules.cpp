#include "games/rules.h"

#include <algorithm>
#include <charconv>

#include "movegen/exchange.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/zobrist.h"

namespace {

constexpr int FIFTY_MOVES_LIMIT = 100;  // half-moves
constexpr int MAX_MOVE_NUMBER = 9999;
constexpr Key BLACK_TO_MOVE = 0x9e3779b97f4a7c15ULL;

std::vector<Move> LegalNow;
std::vector<Key> PositionsSinceIrreversible;  // the present one last
int FirstMoveNumber;
int HalfMovesPlayed;
Colour FirstSide;

/// Equal for positions with the same men, side to move, castling rights and possible en-passant captures.
Key OccurrenceKey() {
    Key key = thread_board.PositionKey ^ CastleKeys[thread_board.CastlingFlags];
    if (thread_board.SideToMove == BLACK) {
        key ^= BLACK_TO_MOVE;
    }
    const auto capture = std::ranges::find_if(LegalNow, IsEnPassant);
    return capture == LegalNow.end() ? key : key ^ EnPassantKeys[FileOf(MoveTo(*capture))];
}

void NotePosition() {
    LegalNow = LegalMoves();
    if (thread_board.FiftyCounter == 0) {
        PositionsSinceIrreversible.clear();
    }
    PositionsSinceIrreversible.push_back(OccurrenceKey());
}

/// No sequence of legal moves mates: bare kings, one minor piece, or bishops that all run on one colour of squares.
bool IsDeadPosition() {
    const auto count = [](int code) {
        return thread_board.PieceCount[code][WHITE] + thread_board.PieceCount[code][BLACK];
    };
    if (count(PAWN) + count(ROOK) + count(QUEEN) != 0) {
        return false;
    }
    if (count(KNIGHT) + count(BISHOP) <= 1) {
        return true;
    }
    const Bitboard bishops = thread_board.Pieces[BISHOP][WHITE] | thread_board.Pieces[BISHOP][BLACK];
    return count(KNIGHT) == 0 && ((bishops & LightSquares) == 0 || (bishops & DarkSquares) == 0);
}

std::string_view TakeField(std::string_view& text) {
    constexpr std::string_view BLANKS = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    const std::string_view field = text.substr(0, text.find_first_of(BLANKS));
    text.remove_prefix(field.size());
    return field;
}

bool IsOneOf(char letter, std::string_view letters) {
    return letters.find(letter) != std::string_view::npos;
}

/// SetupFen is lenient; an opening must say exactly what is meant.
bool IsBoardField(std::string_view field) {
    int rank = 0;
    int file = 0;
    for (const char letter : field) {
        if (letter == '/') {
            if (file != 8) {
                return false;
            }
            ++rank;
            file = 0;
        } else if (letter >= '1' && letter <= '8') {
            file += letter - '0';
        } else if (IsOneOf(letter, "KQRBNPkqrbnp")) {
            ++file;
        } else {
            return false;
        }
        if (file > 8) {
            return false;
        }
    }
    return rank == 7 && file == 8;
}

bool IsSideField(std::string_view field) {
    return field == "w" || field == "b";
}

bool IsCastlingField(std::string_view field) {
    return field == "-" || (!field.empty() && field.size() <= 4 &&
                            std::ranges::all_of(field, [](char letter) { return IsOneOf(letter, "KQkq"); }));
}

bool IsEnPassantField(std::string_view field) {
    return field == "-" ||
           (field.size() == 2 && field[0] >= 'a' && field[0] <= 'h' && (field[1] == '3' || field[1] == '6'));
}

/// The whole text as a number of at most four digits, -1 for anything else.
int ReadClock(std::string_view text) {
    int value = -1;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    return failure == std::errc{} && end == text.data() + text.size() && value <= MAX_MOVE_NUMBER ? value : -1;
}

struct MoveClocks {
    int half_moves = 0;  // since the last irreversible move
    int move_number = 1;
};

/// FEN has two numbers behind its fourth field, EPD has operations, some files have nothing.
MoveClocks ReadClocks(std::string_view rest) {
    MoveClocks clocks;
    std::string_view fen = rest;
    const int half_moves = ReadClock(TakeField(fen));
    if (half_moves >= 0) {
        clocks.half_moves = half_moves;
        clocks.move_number = std::max(ReadClock(TakeField(fen)), 1);
        return clocks;
    }
    while (!rest.empty()) {
        std::string_view operation = rest.substr(0, rest.find(';'));
        rest.remove_prefix(std::min(operation.size() + 1, rest.size()));
        const std::string_view code = TakeField(operation);
        const int operand = ReadClock(TakeField(operation));
        if (code == "hmvc") {
            clocks.half_moves = std::max(operand, 0);
        } else if (code == "fmvn") {
            clocks.move_number = std::max(operand, 1);
        }
    }
    return clocks;
}

}  // namespace

void InitializeRules() {
    InitZobristKeys();
    InitializeBitMasks();
    InitializeBitBoards();
    InitMagics();
    InitKnightDistance();
}

std::vector<Move> LegalMoves() {
    MoveCount = 0;
    GenerateLegalMoves(0);
    std::vector<Move> moves(static_cast<std::size_t>(MoveCount));
    std::transform(MoveList, MoveList + MoveCount, moves.begin(), [](const MoveEntry& entry) { return entry.Move; });
    MoveCount = 0;
    return moves;
}

std::string TidyFen(std::string_view text, std::string& error) {
    std::string_view rest = text;
    const std::string_view board = TakeField(rest);
    const std::string_view side = TakeField(rest);
    const std::string_view castling = TakeField(rest);
    const std::string_view en_passant = TakeField(rest);
    if (!IsBoardField(board)) {
        error = "the board is not eight ranks of eight squares";
    } else if (!IsSideField(side)) {
        error = "the side to move is neither w nor b";
    } else if (!IsCastlingField(castling)) {
        error = "the castling field is not - or some of KQkq";
    } else if (!IsEnPassantField(en_passant)) {
        error = "the en-passant field is neither - nor a square";
    } else if (std::ranges::count(board, 'P') > 8 || std::ranges::count(board, 'p') > 8) {
        error = "a side has more than eight pawns";
    } else {
        SetupFen(text);
        if (!PositionIsPlayable()) {
            error = "the position cannot arise in a game";
            return {};
        }
        const MoveClocks clocks = ReadClocks(rest);
        if (clocks.half_moves >= FIFTY_MOVES_LIMIT) {
            error = "fifty moves have passed without progress";
            return {};
        }
        return WriteFen(0) + std::to_string(clocks.half_moves) + " " + std::to_string(clocks.move_number);
    }
    return {};
}

void BeginGame(std::string_view fen) {
    SetupFen(fen);
    std::string_view rest = fen;
    for (int field = 0; field < 4; ++field) {
        TakeField(rest);
    }
    const MoveClocks clocks = ReadClocks(rest);
    thread_board.FiftyCounter = clocks.half_moves;
    FirstMoveNumber = clocks.move_number;
    FirstSide = thread_board.SideToMove;
    HalfMovesPlayed = 0;
    PositionsSinceIrreversible.clear();
    NotePosition();
}

void PlayGameMove(Move move) {
    MakeRoomInHistory();
    MakeMove(move, 1);
    ++HalfMovesPlayed;
    NotePosition();
}

const std::vector<Move>& GameMoves() {
    return LegalNow;
}

Ending GameEnding() {
    if (LegalNow.empty()) {
        const Colour us = thread_board.SideToMove;
        return SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]) ? Ending::CHECKMATE : Ending::STALEMATE;
    }
    if (IsDeadPosition()) {
        return Ending::DEAD_POSITION;
    }
    if (thread_board.FiftyCounter >= FIFTY_MOVES_LIMIT) {
        return Ending::FIFTY_MOVES;
    }
    if (std::ranges::count(PositionsSinceIrreversible, PositionsSinceIrreversible.back()) >= 3) {
        return Ending::REPETITION;
    }
    return Ending::NONE;
}

int GameMoveNumber() {
    return FirstMoveNumber + (HalfMovesPlayed + (FirstSide == BLACK ? 1 : 0)) / 2;
}
