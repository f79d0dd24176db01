// The exchange test in slow and obvious code, on squares instead of bitboards.
#pragma once

#include "movegen/exchange.h"
#include "support/slow_chess.h"

#include <algorithm>
#include <optional>
#include <set>

class SlowExchange {
  public:
    explicit SlowExchange(const SlowBoard& position)
        : board(position), us(thread_board.SideToMove), them(1 - thread_board.SideToMove) {}

    bool IsSafe(int to, int from, int piece, int captured, int promotion, bool accept_equal = true) {
        if (promotion != NO_PIECE && promotion != QUEEN) {
            return false;
        }
        const int risk = promotion != NO_PIECE ? 9 : Units(piece);
        const int gain = Units(captured) + (promotion != NO_PIECE ? 8 : 0);
        if (gain > risk || (gain == risk && accept_equal)) {
            return true;
        }
        const int deficit = risk - gain;
        target = to;
        men.clear();
        for (const int colour : {WHITE, BLACK}) {
            for (const int square : board.Attackers(colour, to)) {
                men.insert(square);
            }
        }
        if ((deficit >= 2 && Cheapest(them, PAWN)) || (deficit >= 4 && Cheapest(them, KNIGHT)) ||
            (deficit >= 4 && Cheapest(them, BISHOP)) || (deficit >= 6 && Cheapest(them, ROOK))) {
            return false;
        }
        if (risk < 9 && gain >= 1 && Cheapest(us, PAWN)) {
            return true;
        }
        men.erase(from);
        men.erase(to);
        AddBehind(from);
        return men.empty() || SwapOff(-deficit);
    }

  private:
    static int Units(int code) {
        constexpr int units[] = {0, 200, 3, 1, 0, 5, 3, 9};
        return units[code];
    }

    /// The lowest square of a man of this colour and kind that takes part.
    std::optional<int> Cheapest(int colour, int code) const {
        const auto found = std::ranges::find_if(men, [&](int square) { return board.Holds(square, colour, code); });
        return found == men.end() ? std::nullopt : std::optional<int>(*found);
    }

    /// The slider that a man on `square` hid from the target joins, whatever its colour. Nobody has left the board.
    void AddBehind(int square) {
        const int file = (square & 7) - (target & 7);
        const int rank = (square >> 3) - (target >> 3);
        const bool straight = file == 0 || rank == 0;
        if (square == target || (!straight && std::abs(file) != std::abs(rank))) {
            return;
        }
        const Step away = {(file > 0) - (file < 0), (rank > 0) - (rank < 0)};
        int at = Stepped(square, away);
        while (at >= 0 && board.code[at] == NO_PIECE) {
            at = Stepped(at, away);
        }
        if (at >= 0 && (board.code[at] == QUEEN || board.code[at] == (straight ? ROOK : BISHOP))) {
            men.insert(at);
        }
    }

    /// Removes the cheapest man of the colour but the king and answers its units, 0 if there is none.
    int Spend(int colour) {
        for (const int code : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN}) {
            if (const auto square = Cheapest(colour, code)) {
                men.erase(*square);
                if (code != KNIGHT) {
                    AddBehind(*square);
                }
                return Units(code);
            }
        }
        return 0;
    }

    bool SwapOff(int balance) {
        for (;;) {
            if (const int taken = Spend(them); taken != 0) {
                balance += taken;
            } else if (const auto king = Cheapest(them, KING)) {
                men.erase(*king);
                balance += 200;
            } else {
                return true;
            }
            if (balance < 0) {
                return false;
            }
            if (const int spent = Spend(us); spent != 0) {
                balance -= spent;
            } else if (const auto king = Cheapest(us, KING); !king) {
                return false;
            } else if (balance > 100) {
                return true;
            } else {
                men.erase(*king);
                balance -= 200;
            }
            if (balance >= 0) {
                return true;
            }
        }
    }

    const SlowBoard& board;
    int us;
    int them;
    int target = 0;
    std::set<int> men;  // squares of those that still take part
};
