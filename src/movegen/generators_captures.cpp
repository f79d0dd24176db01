// Captures and promotions.
#include "movegen/generator_parts.h"
#include "movegen/generators.h"

#include <initializer_list>

namespace {

/// The own pawns that attack one of `targets`.
template <Colour us>
constexpr Bitboard PawnsAttacking(Bitboard targets) {
    return us == WHITE ? ((targets >> 7) & 0x00FEFEFEFEFEFEFEULL) | ((targets >> 9) & 0x007F7F7F7F7F7F7FULL)
                       : ((targets << 7) & 0x7F7F7F7F7F7F7F7FULL) | ((targets << 9) & 0xFEFEFEFEFEFEFEFEULL);
}

template <Colour us, Keep keep>
void PawnCaptures(Bitboard map, Bitboard targets) {
    Bitboard pawns = thread_board.Pieces[PAWN][us] & PawnsAttacking<us>(targets);
    while (pawns != 0) {
        const int from = PopRearmostPawn<us>(pawns);
        Bitboard destinations = PawnAttacksFrom<us>(from) & targets;
        while (destinations != 0) {
            const int to = PopLowestBit(destinations);
            if ((LAST_RANK<us> & Bit(to)) == 0) {
                AppendCapture<us, keep>(map, from, to, PAWN);
                continue;
            }
            AppendCapture<us, keep>(map, from, to, PAWN, QUEEN);
            if (keep == Keep::ALL) {  // the verdict on an underpromotion is always LOSING
                AppendCapture<us, keep>(map, from, to, PAWN, KNIGHT);
                AppendCapture<us, keep>(map, from, to, PAWN, ROOK);
                AppendCapture<us, keep>(map, from, to, PAWN, BISHOP);
            }
        }
    }
}

void AppendEnPassant(int from, int to) {
    std::int32_t safety = SAFE;
    const Move move = BuildMove(from, to, PAWN);
    const std::int32_t score = CaptureOrderScore(move, safety);
    Store(move, score, safety);
}

template <Colour us>
void EnPassantCaptures() {
    const int pushed = DoublePushTarget<us>();
    if (pushed < 0) {
        return;
    }
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    if (FileOf(pushed) != 0 && (pawns & Bit(pushed - 1)) != 0) {
        AppendEnPassant(pushed - 1, pushed + FORWARD<us>);
    }
    if (FileOf(pushed) != 7 && (pawns & Bit(pushed + 1)) != 0) {
        AppendEnPassant(pushed + 1, pushed + FORWARD<us>);
    }
}

template <Colour us, Keep keep, int piece>
void PieceCaptures(Bitboard map, Bitboard targets) {
    Bitboard pieces = thread_board.Pieces[piece][us];
    while (pieces != 0) {
        const int from = PopLowestBit(pieces);
        Bitboard destinations = PieceAttacks<piece>(from) & targets;
        while (destinations != 0) {
            AppendCapture<us, keep>(map, from, PopLowestBit(destinations), piece);
        }
    }
}

template <Colour us, Keep keep>
void Captures(Bitboard targets) {
    const Bitboard map = EnemyMap<us>();
    PawnCaptures<us, keep>(map, targets);
    EnPassantCaptures<us>();
    PieceCaptures<us, keep, KNIGHT>(map, targets);
    PieceCaptures<us, keep, BISHOP>(map, targets);
    PieceCaptures<us, keep, ROOK>(map, targets);
    PieceCaptures<us, keep, QUEEN>(map, targets);

    const int king = thread_board.KingSquare[us];
    Bitboard destinations = KingAttacks[king] & targets;
    while (destinations != 0) {
        AppendCapture<us, keep>(map, king, PopLowestBit(destinations), KING);
    }
}

template <Colour us>
void Promotions() {
    const Bitboard map = EnemyMap<us>();
    Bitboard pawns =
        thread_board.Pieces[PAWN][us] & SEVENTH_RANK<us> & Retreat<us>(~thread_board.AllPieces & LAST_RANK<us>);
    while (pawns != 0) {
        const int from = PopHighestBit(pawns);
        const int to = from + FORWARD<us>;
        for (const int promotion : {QUEEN, ROOK, KNIGHT, BISHOP}) {
            AppendCapture<us>(map, from, to, PAWN, promotion);
        }
    }
}

}  // namespace

void GenerateCaptures(Bitboard targets) {
    thread_board.SideToMove == WHITE ? Captures<WHITE, Keep::ALL>(targets) : Captures<BLACK, Keep::ALL>(targets);
}

void GenerateSafeCaptures(Bitboard targets) {
    thread_board.SideToMove == WHITE ? Captures<WHITE, Keep::SAFE_ONLY>(targets)
                                     : Captures<BLACK, Keep::SAFE_ONLY>(targets);
}

void GeneratePromotions() {
    thread_board.SideToMove == WHITE ? Promotions<WHITE>() : Promotions<BLACK>();
}

void AppendPromotion(int from, int to, int promotion) {
    if (thread_board.SideToMove == WHITE) {
        AppendCapture<WHITE>(EnemyMap<WHITE>(), from, to, PAWN, promotion);
    } else {
        AppendCapture<BLACK>(EnemyMap<BLACK>(), from, to, PAWN, promotion);
    }
}
