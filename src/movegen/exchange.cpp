#include "movegen/exchange.h"

namespace {

/// Rook lines: directions of size 1 and 8. The argument is one of the eight codes.
constexpr bool IsStraight(int direction) {
    return direction == 1 || direction == -1 || direction == 8 || direction == -8;
}

constexpr bool IsDirection(int direction) {
    const int size = direction < 0 ? -direction : direction;
    return size == 1 || (size >= 7 && size <= 9);
}

/// Sliders of both colours that move along `direction`.
Bitboard SlidersAlong(int direction) {
    return IsStraight(direction) ? thread_board.RooksQueens : thread_board.BishopsQueens;
}

Bitboard AttacksAlong(int square, int direction) {
    return IsStraight(direction) ? RookAttacksOf(square, thread_board.AllPieces)
                                 : BishopAttacksOf(square, thread_board.AllPieces);
}

/// True when the line through `square` with `direction` (not 0) holds, up to the first piece on either side,
/// both `target` and a slider of `attacker` that moves along it: then a piece on `square` screens `target`.
bool Screens(int square, int direction, int target, Colour attacker) {
    const Bitboard line = Ray(direction, square) | Ray(-direction, square);
    const Bitboard sliders = SlidersAlong(direction) & thread_board.ColourPieces[attacker] & line;
    if (sliders == 0) {
        return false;
    }
    const Bitboard seen = AttacksAlong(square, direction);
    return (seen & Bit(target)) != 0 && (seen & sliders) != 0;
}

/// True when `move` leaves the line between `target` and a slider of `attacker`.
bool Uncovers(Move move, int target, Colour attacker) {
    const int from = MoveFrom(move);
    const int direction = Direction[from][target];
    if (direction == 0) {
        return false;
    }
    const int course = Direction[from][MoveTo(move)];
    return course != direction && course != -direction && Screens(from, direction, target, attacker);
}

/// The slider of either colour behind `square` on the line away from the exchange square. Pieces that have left
/// during the swap-off are still on the board here: what lies beyond `square` is seen, whatever lies in front.
Bitboard XrayBehind(int square, int direction) {
    const Bitboard behind = Ray(direction, square) & SlidersAlong(direction);
    return behind == 0 ? 0 : behind & AttacksAlong(square, direction);
}

/// True when castling checks: from the square that the rook reaches, or along the back rank past the squares
/// that king and rook leave.
bool CastlingGivesCheck(int from, int to, Bitboard enemy_king) {
    const int rook_target = (from + to) / 2;
    if ((RookAttacksOf(rook_target, thread_board.AllPieces) & enemy_king) != 0) {
        return true;
    }
    const Colour us = thread_board.SideToMove;
    const int own = thread_board.KingSquare[us];
    const int enemy = thread_board.KingSquare[ChangeSide(us)];
    return RankOf(own) == RankOf(enemy) && (Between[own][enemy] & ~Bit(own) & thread_board.AllPieces) == 0;
}

bool PromotionGivesCheck(Move move, Bitboard enemy_king) {
    const Colour us = thread_board.SideToMove;
    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const int promotion = MovePromotion(move);
    if ((AttacksFrom(promotion, us, to) & enemy_king) != 0) {
        return true;
    }
    // The promoted piece looks back through the square that the pawn has left.
    if ((AttacksFrom(promotion, us, from) & RayAttack(from, Direction[to][from]) & enemy_king) != 0) {
        return true;
    }
    return DiscoversCheck(move);
}

/// Takes the cheapest attacker of `colour`, the king excepted, out of `attackers`, adds the slider behind it and
/// answers its value; 0 when there is none.
template <Colour colour>
inline std::int32_t TakeCheapest(Bitboard& attackers, int to) {
    int piece = PAWN;
    Bitboard candidates = attackers & thread_board.Pieces[PAWN][colour];
    if (candidates == 0) {
        candidates = attackers & thread_board.Pieces[KNIGHT][colour];
        if (candidates != 0) {
            attackers ^= candidates & (~candidates + 1);
            return ExchangeValue[KNIGHT];  // nothing can stand behind a knight
        }
        piece = BISHOP;
        candidates = attackers & thread_board.Pieces[BISHOP][colour];
        if (candidates == 0) {
            piece = ROOK;
            candidates = attackers & thread_board.Pieces[ROOK][colour];
            if (candidates == 0) {
                piece = QUEEN;
                candidates = attackers & thread_board.Pieces[QUEEN][colour];
                if (candidates == 0) {
                    return 0;
                }
            }
        }
    }
    const int square = LowestSetBit(candidates);
    attackers ^= Bit(square);
    attackers |= XrayBehind(square, Direction[to][square]);
    return ExchangeValue[piece];
}

/// The same for the king, the last resort.
template <Colour colour>
inline std::int32_t TakeKing(Bitboard& attackers) {
    const Bitboard king = attackers & thread_board.Pieces[KING][colour];
    attackers ^= king;
    return king == 0 ? 0 : ExchangeValue[KING];
}

/// Captures in turn on `to`, the enemy first, until one side is ahead for good. `balance` is the mover's loss so
/// far as a value at or below 0; true when the mover does not lose.
template <Colour us>
bool PlayOut(Bitboard attackers, int to, std::int32_t balance) {
    constexpr Colour them = ChangeSide(us);
    // A balance above this means that the enemy has just captured with its king.
    constexpr std::int32_t king_captured = 100;

    for (;;) {
        std::int32_t taken = TakeCheapest<them>(attackers, to);
        if (taken == 0) {
            taken = TakeKing<them>(attackers);
            if (taken == 0) {
                return true;
            }
        }
        balance += taken;
        if (balance < 0) {
            return false;  // behind even if that piece is won back
        }

        std::int32_t spent = TakeCheapest<us>(attackers, to);
        if (spent == 0) {
            if ((attackers & thread_board.Pieces[KING][us]) == 0) {
                return false;
            }
            if (balance > king_captured) {
                return true;  // the enemy king would have captured into our king's attack
            }
            spent = TakeKing<us>(attackers);
        }
        balance -= spent;
        if (balance >= 0) {
            return true;
        }
    }
}

}  // namespace

Bitboard AttackersTo(Colour colour, int square) {
    const Bitboard attackers = (thread_board.Pieces[PAWN][colour] & PawnAttackersOf(colour, square)) |
                               (thread_board.Pieces[KNIGHT][colour] & KnightAttacks[square]) |
                               (thread_board.Pieces[KING][colour] & KingAttacks[square]) |
                               (thread_board.RooksQueens & RookAttacksOf(square, thread_board.AllPieces)) |
                               (thread_board.BishopsQueens & BishopAttacksOf(square, thread_board.AllPieces));
    return attackers & thread_board.ColourPieces[colour];
}

Bitboard RayAttack(int square, int direction) {
    return IsDirection(direction) ? AttacksAlong(square, direction) & Ray(direction, square) : 0;
}

Bitboard AddXray(Bitboard attackers, int square, int direction) {
    return IsDirection(direction) ? attackers | XrayBehind(square, direction) : attackers;
}

bool IsPinned(int square) {
    const Colour us = thread_board.SideToMove;
    const int king = thread_board.KingSquare[us];
    const int direction = Direction[square][king];
    return direction != 0 && Screens(square, direction, king, ChangeSide(us));
}

bool ExposesOwnKing(Move move) {
    const Colour us = thread_board.SideToMove;
    return Uncovers(move, thread_board.KingSquare[us], ChangeSide(us));
}

bool IsMoveIllegal(Move move) {
    if (MovePiece(move) == KING) {
        return SquareAttacked(ChangeSide(thread_board.SideToMove), MoveTo(move));
    }
    return ExposesOwnKing(move);
}

bool DiscoversCheck(Move move) {
    const Colour us = thread_board.SideToMove;
    return Uncovers(move, thread_board.KingSquare[ChangeSide(us)], us);
}

bool DiscoversAttackOn(Move move, int square) {
    return Uncovers(move, square, thread_board.SideToMove);
}

bool GivesCheck(Move move) {
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    const Bitboard enemy_king = thread_board.Pieces[KING][them];
    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const int piece = MovePiece(move);

    if (piece == KING) {
        const bool castles = from - to == 2 || to - from == 2;
        return castles ? CastlingGivesCheck(from, to, enemy_king) : DiscoversCheck(move);
    }
    if (MovePromotion(move) != NO_PIECE) {
        return PromotionGivesCheck(move, enemy_king);
    }
    if ((AttacksFrom(piece, us, to) & enemy_king) != 0) {
        return true;
    }
    if (IsEnPassant(move)) {
        // Only making it sees a line that the taken pawn opens.
        MakeMove(move, 1);
        const bool check = SquareAttacked(us, thread_board.KingSquare[them]);
        UnmakeMove();
        return check;
    }
    return DiscoversCheck(move);
}

template <Colour us>
bool ExchangeHolds(int to, int from, std::int32_t risk, std::int32_t gain) {
    constexpr Colour them = ChangeSide(us);
    const std::int32_t deficit = risk - gain;
    const Bitboard enemy = thread_board.ColourPieces[them];

    const Bitboard enemy_pawns = thread_board.Pieces[PAWN][them] & PawnAttackersOf(them, to);
    if (deficit >= 2 && enemy_pawns != 0) {
        return false;
    }

    const Bitboard knights =
        (thread_board.Pieces[KNIGHT][WHITE] | thread_board.Pieces[KNIGHT][BLACK]) & KnightAttacks[to];
    if (deficit >= 4 && (knights & enemy) != 0) {
        return false;
    }

    const Bitboard occupied = thread_board.AllPieces;
    Bitboard attackers = enemy_pawns | knights;
    attackers |= BishopAttacksOf(to, occupied) & thread_board.BishopsQueens;
    if (deficit >= 4 && (attackers & thread_board.Pieces[BISHOP][them]) != 0) {
        return false;
    }

    attackers |= RookAttacksOf(to, occupied) & thread_board.RooksQueens;
    if (deficit >= 6 && (attackers & thread_board.Pieces[ROOK][them]) != 0) {
        return false;
    }

    // A capture by anything but a queen, with a pawn to recapture, counts as safe.
    const Bitboard own_pawns = thread_board.Pieces[PAWN][us] & PawnAttackersOf(us, to);
    if (risk < ExchangeValue[QUEEN] && gain >= 1 && own_pawns != 0) {
        return true;
    }

    attackers |= own_pawns;
    attackers |= (thread_board.Pieces[KING][WHITE] | thread_board.Pieces[KING][BLACK]) & KingAttacks[to];
    attackers &= ~(Bit(from) | Bit(to));
    const int direction = Direction[to][from];
    if (direction != 0) {
        attackers |= XrayBehind(from, direction);
    }
    return attackers == 0 || PlayOut<us>(attackers, to, -deficit);
}

template bool ExchangeHolds<WHITE>(int to, int from, std::int32_t risk, std::int32_t gain);
template bool ExchangeHolds<BLACK>(int to, int from, std::int32_t risk, std::int32_t gain);

bool ThreatHolds(int target, int from, int piece, int victim) {
    const std::int32_t risk = ExchangeValue[piece];
    const std::int32_t gain = ExchangeValue[victim];
    if (gain > risk) {
        return true;
    }
    return thread_board.SideToMove == WHITE ? ExchangeHolds<WHITE>(target, from, risk, gain)
                                            : ExchangeHolds<BLACK>(target, from, risk, gain);
}
