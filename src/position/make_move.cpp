// Making and unmaking moves. What is cheap to invert is inverted; PositionKey, FiftyCounter, CastlingFlags,
// MaterialIndex and PieceSquareSum come back from the record.
#include <array>
#include <cassert>

#include "position/board.h"
#include "position/piece_square.h"
#include "position/zobrist.h"

std::int32_t PieceSquareTable[1024];

namespace {

/// ANDed into CastlingFlags when a rook or king leaves the square or a rook is captured on it.
constexpr std::array<std::uint8_t, 64> CastlingMask = [] {
    std::array<std::uint8_t, 64> mask;
    mask.fill(255);
    mask[A1] = 255 - WHITE_LONG;
    mask[E1] = 255 - WHITE_SHORT - WHITE_LONG;
    mask[H1] = 255 - WHITE_SHORT;
    mask[A8] = 255 - BLACK_LONG;
    mask[E8] = 255 - BLACK_SHORT - BLACK_LONG;
    mask[H8] = 255 - BLACK_SHORT;
    return mask;
}();

/// All ones for a piece that moves along ranks and files, or diagonals: which pieces a game moves is hard to
/// predict, so the two slider sets are toggled without a branch.
inline Bitboard LinesMask(int code) {
    return Bitboard{0} - static_cast<Bitboard>((code >> 2) & code & 1);
}
inline Bitboard DiagonalsMask(int code) {
    return Bitboard{0} - static_cast<Bitboard>((code >> 2) & (code >> 1) & 1);
}
inline void ToggleSliders(int code, Bitboard squares) {
    thread_board.RooksQueens ^= squares & LinesMask(code);
    thread_board.BishopsQueens ^= squares & DiagonalsMask(code);
}

/// The piece's share of PieceSquareSum. Unsigned, because the sum wraps modulo 2^32.
template <Colour colour>
inline std::uint32_t PieceSquareShare(int code, int square) {
    const auto word = static_cast<std::uint32_t>(PieceSquareTable[PieceSquareIndex(code, colour, square)]);
    return colour == BLACK ? word : 0 - word;
}

/// What MakeMove changes at several steps, kept in registers until the end.
struct RunningSums {
    Key position_key;
    std::uint32_t piece_square;
};

inline void SaveState(HistoryRecord& record) {
    record.key = thread_board.PositionKey;
    record.fifty = thread_board.FiftyCounter;
    record.castling = thread_board.CastlingFlags;
    record.material_index = thread_board.MaterialIndex;
    record.piece_square_sum = thread_board.PieceSquareSum;
}

/// Where the rook stands and goes when the king castles to `to`; both bits, for one XOR.
template <Colour us>
struct CastlingRook {
    int from;
    int to;
    Bitboard moved;

    explicit CastlingRook(int king_to)
        : from(king_to == KING_SHORT ? H1 + HOME : A1 + HOME),
          to(king_to == KING_SHORT ? F1 + HOME : D1 + HOME),
          moved(Bit(from) | Bit(to)) {}

    static bool Moves(int king_from, int king_to) {
        return king_from == E1 + HOME && (king_to == KING_SHORT || king_to == C1 + HOME);
    }

  private:
    static constexpr int HOME = us == WHITE ? A1 : A8;
    static constexpr int KING_SHORT = G1 + HOME;
};

/// The captured piece leaves `to`. Its bit in ColourPieces and AllPieces is the caller's.
template <Colour them>
inline void TakePiece(int captured, int to, RunningSums& sums) {
    const Bitboard bit = Bit(to);
    const Key key = PieceKeys[them][captured][to];
    thread_board.Pieces[captured][them] &= ~bit;
    sums.position_key ^= key;
    thread_board.Material[them] -= PieceValue[captured];
    thread_board.PieceWeight[them] -= PieceUnits[captured];
    const std::int32_t count = --thread_board.PieceCount[captured][them];
    // Right whether or not the mover's toggle has just touched the bit: the captured piece's bit was set before.
    ToggleSliders(captured, bit);
    if (captured == PAWN) {
        thread_board.PawnKey ^= key;
    } else if (captured == ROOK) {
        thread_board.CastlingFlags &= CastlingMask[to];
    }
    if (thread_board.MaterialIndex != MATERIAL_OVERFLOW) {
        thread_board.MaterialIndex -= MaterialIndexWeight[captured][them];
    } else if (captured != PAWN && count == 2) {
        RecomputeMaterialIndex();
    }
}

/// The pawn that has arrived on `to` becomes the promoted piece.
template <Colour us>
inline void PromotePawn(int promotion, int to, RunningSums& sums) {
    const Bitboard bit = Bit(to);
    thread_board.Board[to] = static_cast<std::uint32_t>(promotion);
    thread_board.PieceCount[PAWN][us] -= 1;
    thread_board.Pieces[PAWN][us] &= ~bit;
    thread_board.Pieces[promotion][us] |= bit;
    thread_board.ColourPieces[us] |= bit;
    thread_board.AllPieces |= bit;
    ToggleSliders(promotion, bit);
    sums.piece_square += PieceSquareShare<us>(promotion, to) - PieceSquareShare<us>(PAWN, to);
    sums.position_key ^= PieceKeys[us][PAWN][to] ^ PieceKeys[us][promotion][to];
    thread_board.Material[us] += PieceValue[promotion] - PieceValue[PAWN];
    thread_board.PieceWeight[us] += PieceUnits[promotion];
    const std::int32_t count = ++thread_board.PieceCount[promotion][us];
    if (thread_board.MaterialIndex == MATERIAL_OVERFLOW || count >= 3) {
        thread_board.MaterialIndex = MATERIAL_OVERFLOW;
    } else {
        thread_board.MaterialIndex += MaterialIndexWeight[promotion][us] - MaterialIndexWeight[PAWN][us];
    }
}

template <Colour them>
inline void TakeEnPassant(int square, RunningSums& sums) {
    const Bitboard bit = Bit(square);
    const Key key = PieceKeys[them][PAWN][square];
    sums.piece_square -= PieceSquareShare<them>(PAWN, square);
    sums.position_key ^= key;
    thread_board.PawnKey ^= key;
    thread_board.TotalPieces -= 1;
    thread_board.ColourPieces[them] &= ~bit;
    thread_board.Pieces[PAWN][them] &= ~bit;
    thread_board.AllPieces &= ~bit;
    thread_board.Material[them] -= PieceValue[PAWN];
    thread_board.PieceCount[PAWN][them] -= 1;
    thread_board.Board[square] = NO_PIECE;
    if (thread_board.MaterialIndex != MATERIAL_OVERFLOW) {
        thread_board.MaterialIndex -= MaterialIndexWeight[PAWN][them];
    }
}

template <Colour us>
inline void PutBackEnPassant(int square) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard bit = Bit(square);
    thread_board.AllPieces |= bit;
    thread_board.ColourPieces[them] |= bit;
    thread_board.Pieces[PAWN][them] |= bit;
    thread_board.PawnKey ^= PieceKeys[them][PAWN][square];
    thread_board.TotalPieces += 1;
    thread_board.Material[them] += PieceValue[PAWN];
    thread_board.Board[square] = PAWN;
    thread_board.PieceCount[PAWN][them] += 1;
}

/// The castling rook's move on the bitboards; its own inverse.
template <Colour us>
inline void ToggleCastlingRook(const CastlingRook<us>& rook) {
    thread_board.ColourPieces[us] ^= rook.moved;
    thread_board.AllPieces ^= rook.moved;
    thread_board.Pieces[ROOK][us] ^= rook.moved;
    thread_board.RooksQueens ^= rook.moved;
}

/// The square of a pawn taken en passant: the file of the target, the rank of the origin.
inline int EnPassantVictim(int from, int to) {
    return (to & 7) | (from & 56);
}

template <Colour us>
void MakeMoveOf(Move move, int save) {
    constexpr Colour them = ChangeSide(us);
    HistoryRecord& record = GameHistory[GamePly];
    if (save) {
        SaveState(record);
    }

    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const int piece = MovePiece(move);
    const int captured = MoveCaptured(move);
    const Bitboard moved = Bit(from) | Bit(to);

    ToggleSliders(piece, moved);
    thread_board.ColourPieces[us] ^= moved;
    thread_board.Pieces[piece][us] ^= moved;
    thread_board.AllPieces ^= moved;
    thread_board.Board[from] = NO_PIECE;
    thread_board.Board[to] = static_cast<std::uint32_t>(piece);
    RunningSums sums = {thread_board.PositionKey ^ PieceKeys[us][piece][to] ^ PieceKeys[us][piece][from],
                        static_cast<std::uint32_t>(thread_board.PieceSquareSum) + PieceSquareShare<us>(piece, to) -
                            PieceSquareShare<us>(piece, from)};

    if (captured == NO_PIECE) {
        thread_board.FiftyCounter += 1;
    } else {
        thread_board.ColourPieces[them] &= ~Bit(to);
        thread_board.AllPieces |= Bit(to);
        thread_board.TotalPieces -= 1;
        thread_board.FiftyCounter = 0;
        sums.piece_square -= PieceSquareShare<them>(captured, to);
        // A captured king changes nothing else: such a word is never legal, it is only taken back.
        if (captured != KING) {
            TakePiece<them>(captured, to, sums);
        }
    }

    if (piece == PAWN) {
        thread_board.FiftyCounter = 0;
        thread_board.PawnKey ^= PieceKeys[us][PAWN][from];
        if (const int promotion = MovePromotion(move); promotion != NO_PIECE) {
            PromotePawn<us>(promotion, to, sums);
        } else {
            thread_board.PawnKey ^= PieceKeys[us][PAWN][to];
            if (captured == NO_PIECE && ((from ^ to) & 1)) {
                TakeEnPassant<them>(EnPassantVictim(from, to), sums);
            }
        }
    } else if (piece == ROOK) {
        thread_board.CastlingFlags &= CastlingMask[from];
    } else if (piece == KING) {
        thread_board.CastlingFlags &= CastlingMask[from];
        thread_board.KingSquare[us] = to;
        if (CastlingRook<us>::Moves(from, to)) {
            const CastlingRook<us> rook(to);
            ToggleCastlingRook<us>(rook);
            sums.piece_square += PieceSquareShare<us>(ROOK, rook.to) - PieceSquareShare<us>(ROOK, rook.from);
            sums.position_key ^= PieceKeys[us][ROOK][rook.from] ^ PieceKeys[us][ROOK][rook.to];
            thread_board.Board[rook.from] = NO_PIECE;
            thread_board.Board[rook.to] = ROOK;
        }
    }

    thread_board.PositionKey = sums.position_key;
    thread_board.PieceSquareSum = static_cast<std::int32_t>(sums.piece_square);
    thread_board.SideToMove = them;
    record.move = move;
    GamePly += 1;
}

/// `us` is the side that made the move.
template <Colour us>
void UnmakeMoveOf(const HistoryRecord& record) {
    constexpr Colour them = ChangeSide(us);
    const Move move = record.move;
    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const int piece = MovePiece(move);
    const int captured = MoveCaptured(move);
    const Bitboard moved = Bit(from) | Bit(to);

    thread_board.SideToMove = us;
    ToggleSliders(piece, moved);
    thread_board.ColourPieces[us] ^= moved;
    thread_board.Pieces[piece][us] ^= moved;
    thread_board.AllPieces ^= moved;
    thread_board.Board[from] = static_cast<std::uint32_t>(piece);
    thread_board.Board[to] = static_cast<std::uint32_t>(captured);

    if (captured != NO_PIECE) {
        const Bitboard bit = Bit(to);
        thread_board.ColourPieces[them] |= bit;
        thread_board.AllPieces |= bit;
        thread_board.TotalPieces += 1;
        if (captured != KING) {
            thread_board.Pieces[captured][them] |= bit;
            thread_board.PieceCount[captured][them] += 1;
            thread_board.Material[them] += PieceValue[captured];
            thread_board.PieceWeight[them] += PieceUnits[captured];
            ToggleSliders(captured, bit);
            if (captured == PAWN) {
                thread_board.PawnKey ^= PieceKeys[them][PAWN][to];
            }
        }
    }

    if (piece == PAWN) {
        thread_board.PawnKey ^= PieceKeys[us][PAWN][from];
        if (const int promotion = MovePromotion(move); promotion != NO_PIECE) {
            const Bitboard bit = Bit(to);
            thread_board.PieceCount[PAWN][us] += 1;
            thread_board.Pieces[PAWN][us] &= ~bit;
            thread_board.Pieces[promotion][us] &= ~bit;
            thread_board.PieceCount[promotion][us] -= 1;
            thread_board.Material[us] -= PieceValue[promotion] - PieceValue[PAWN];
            thread_board.PieceWeight[us] -= PieceUnits[promotion];
            ToggleSliders(promotion, bit);
        } else {
            thread_board.PawnKey ^= PieceKeys[us][PAWN][to];
            if (captured == NO_PIECE && ((from ^ to) & 1)) {
                PutBackEnPassant<us>(EnPassantVictim(from, to));
            }
        }
    } else if (piece == KING) {
        thread_board.KingSquare[us] = from;
        if (CastlingRook<us>::Moves(from, to)) {
            const CastlingRook<us> rook(to);
            ToggleCastlingRook<us>(rook);
            thread_board.Board[rook.from] = ROOK;
            thread_board.Board[rook.to] = NO_PIECE;
        }
    }

    thread_board.CastlingFlags = record.castling;
    thread_board.FiftyCounter = record.fifty;
    thread_board.PieceSquareSum = record.piece_square_sum;
    thread_board.PositionKey = record.key;
    thread_board.MaterialIndex = record.material_index;
}

}  // namespace

void MakeMove(Move move, int save) {
    assert(GamePly < HISTORY_RECORDS);
    if (thread_board.SideToMove == WHITE) {
        MakeMoveOf<WHITE>(move, save);
    } else {
        MakeMoveOf<BLACK>(move, save);
    }
}

void UnmakeMove() {
    assert(GamePly > 0);
    GamePly -= 1;
    const HistoryRecord& record = GameHistory[GamePly];
    if (thread_board.SideToMove == BLACK) {
        UnmakeMoveOf<WHITE>(record);
    } else {
        UnmakeMoveOf<BLACK>(record);
    }
}
