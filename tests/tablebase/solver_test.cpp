// The tables against the rules of chess: a plain retrograde solver whose moves are found by walking squares.
//
// A material is solved with its pawns in fixed places: quiet moves of pieces stay within, and what every zeroing move
// leads to - fewer men, a new piece, a pawn further on - is asked of the probe. So the tables are proved one upon the
// other, the bare kings first. QUORVANTH_SOLVE="KQvKP KPvKP" proves the materials named, in every position, in both
// colours; without it the three-men materials and some pawn endings are proved, of which every STRIDE-th position is
// compared.
#include "movegen/search_records.h"
#include "position/board.h"
#include "support/slow_chess.h"
#include "support/tablebases.h"
#include "tablebase/probe.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int MOST_MEN = 4;
constexpr std::size_t STRIDE = 7;

// WDL values and one below them all.
constexpr int LOSS = -2;
constexpr int WIN = 2;
constexpr int NO_MOVE = -3;

/// The ways in which a table may hold distances, as bits: in plies; in moves, halved and rounded down; and the same of
/// the positions one ply on. Those by which `distance` becomes `dtz`.
unsigned Roundings(int dtz, int distance) {
    const int inMoves = (distance - 1) / 2 * 2 + 1;
    const int oneOn = distance < 2 ? distance : (distance - 2) / 2 * 2 + 2;
    return (dtz == distance ? 1u : 0u) | (dtz == inMoves ? 2u : 0u) | (dtz == oneOn ? 4u : 0u);
}

struct Man {
    int colour;
    int code;
};

struct Placement {
    std::vector<Man> men;  // White's king first, Black's second, pawns last
    std::array<int, MOST_MEN> square{};
    int side = WHITE;

    int Men() const { return static_cast<int>(men.size()); }
    Man ManOf(int i) const { return men[static_cast<std::size_t>(i)]; }
    int& SquareOf(int i) { return square[static_cast<std::size_t>(i)]; }
    int SquareOf(int i) const { return square[static_cast<std::size_t>(i)]; }

    int ManOn(int wanted) const {
        for (int i = 0; i < Men(); ++i) {
            if (SquareOf(i) == wanted) {
                return i;
            }
        }
        return -1;
    }

    /// Visits the squares that man `i` attacks, occupied ones too.
    template <typename Visit>
    void Attacks(int i, Visit visit) const {
        const int forward = ManOf(i).colour == WHITE ? 1 : -1;
        const Step pawn[] = {{-1, forward}, {1, forward}};
        const int code = ManOf(i).code;
        const auto walk = [&](std::span<const Step> steps) {
            for (const Step step : steps) {
                for (int to = Stepped(SquareOf(i), step); to >= 0; to = Stepped(to, step)) {
                    visit(to);
                    if (code < ROOK || ManOn(to) >= 0) {
                        break;
                    }
                }
            }
        };
        if (code == PAWN) {
            walk(pawn);
        } else if (code == KNIGHT) {
            walk(KNIGHT_STEPS);
        } else {
            walk(code == BISHOP ? std::span<const Step>() : std::span<const Step>(STRAIGHT_STEPS));
            walk(code == ROOK ? std::span<const Step>() : std::span<const Step>(DIAGONAL_STEPS));
        }
    }

    bool InCheck(int colour) const {
        bool check = false;
        for (int i = 0; i < Men(); ++i) {
            if (ManOf(i).colour != colour) {
                Attacks(i, [&](int to) { check |= to == SquareOf(colour); });
            }
        }
        return check;
    }

    /// The same after one more move of the side to move: man `taken` gone (-1 for none), man `i` on `to` as `code`.
    Placement After(int i, int to, int code, int taken) const {
        Placement after = *this;
        after.SquareOf(i) = to;
        after.men[static_cast<std::size_t>(i)].code = code;
        after.side = 1 - side;
        if (taken >= 0) {
            after.men.erase(after.men.begin() + taken);
            for (int k = taken; k < after.Men(); ++k) {
                after.SquareOf(k) = after.SquareOf(k + 1);
            }
        }
        return after;
    }

    /// On the engine's board; `flipped` with White and Black exchanged. `pushed` is a pawn's square after its double
    /// push, -1 if there was none.
    void Set(bool flipped, int pushed) const {
        const int flip = flipped ? 56 : 0;
        ClearHistory();
        ClearBoard();
        thread_board.CastlingFlags = 0;
        thread_board.SideToMove = static_cast<Colour>(side ^ (flipped ? 1 : 0));
        for (int i = 0; i < Men(); ++i) {
            PlacePiece(SquareOf(i) ^ flip, static_cast<Colour>(ManOf(i).colour ^ (flipped ? 1 : 0)), ManOf(i).code);
        }
        if (pushed >= 0) {
            GameHistory[GamePly++].move = BuildMove(pushed ^ flip ^ 16, pushed ^ flip, PAWN);
        }
        EnterForProbe();
    }

    int Probed(int pushed = -1) const {
        Set(false, pushed);
        std::int32_t success = 0;
        const int wdl = ProbeWdl(success);
        EXPECT_GT(success, 0);
        return wdl;
    }
};

/// One material with its pawns where `base` has them.
class Slice {
  public:
    explicit Slice(Placement base) : base_(std::move(base)) {
        while (free_ < base_.Men() && base_.ManOf(free_).code != PAWN) {
            ++free_;
        }
        positions_.resize(std::size_t{2} << (6 * free_));
        for (std::size_t n = 0; n < positions_.size(); ++n) {
            positions_[n].legal = IsLegal(At(n));
        }
        for (std::size_t n = 0; n < positions_.size(); ++n) {
            if (positions_[n].legal) {
                CountMoves(n);
            }
        }
        for (std::size_t level = 0; level < levels_.size(); ++level) {
            for (std::size_t i = 0; i < levels_[level].size(); ++i) {
                Spread(levels_[level][i], static_cast<int>(level));
            }
        }
    }

    /// Compares every `stride`-th position, and what en passant makes of it, with the probes.
    void Compare(std::size_t stride) {
        for (std::size_t n = 0; n < positions_.size(); n += stride) {
            if (!positions_[n].legal) {
                continue;
            }
            const Placement at = At(n);
            Check(at, -1, positions_[n].wdl, positions_[n].distance);
            for (int i = free_; i < at.Men(); ++i) {
                const int back = at.side == WHITE ? 8 : -8;  // towards where the pawn has come from
                const int pawn = at.SquareOf(i);
                if (at.ManOf(i).colour != at.side && pawn / 8 == (at.side == WHITE ? 4 : 3) &&
                    at.ManOn(pawn + back) < 0 && at.ManOn(pawn + 2 * back) < 0) {
                    CheckEnPassant(at, i, pawn + back, positions_[n]);
                }
            }
        }
    }

    static inline long compared = 0;
    static inline long wrong = 0;

  private:
    struct Position {
        bool legal = false;
        bool moves = false;   // there is a legal move
        std::int8_t wdl = 0;  // what is not resolved in the end is a draw
        std::int8_t zeroing = NO_MOVE;
        std::uint8_t quiet = 0;     // quiet moves that do not lose yet
        std::uint8_t distance = 0;  // to zeroing or mate
    };

    Placement At(std::size_t n) const {
        Placement at = base_;
        at.side = static_cast<int>(n & 1);
        for (int i = 0; i < free_; ++i) {
            at.SquareOf(i) = static_cast<int>(n >> (1 + 6 * i) & 63);
        }
        return at;
    }

    static bool IsLegal(const Placement& at) {
        for (int i = 0; i < at.Men(); ++i) {
            if (at.ManOn(at.SquareOf(i)) != i) {
                return false;
            }
        }
        return !at.InCheck(1 - at.side);
    }

    /// Visits the positions that man `colour`'s quiet moves lead to, or come from; legal ones only.
    template <typename Visit>
    void Quiet(std::size_t n, int colour, Visit visit) {
        const Placement at = At(n);
        for (int i = 0; i < free_; ++i) {
            if (at.ManOf(i).colour == colour) {
                at.Attacks(i, [&](int to) {
                    const std::size_t moved =
                        ((n & ~(std::size_t{63} << (1 + 6 * i))) ^ 1) | static_cast<std::size_t>(to) << (1 + 6 * i);
                    if (at.ManOn(to) < 0 && positions_[moved].legal) {
                        visit(moved);
                    }
                });
            }
        }
    }

    static int BestZeroing(const Placement& at) {
        int best = NO_MOVE;
        const auto take = [&](int i, int to, int taken, int pushed = -1) {
            const bool promotes = at.ManOf(i).code == PAWN && (to < 8 || to >= 56);
            for (const int code : {QUEEN, KNIGHT, ROOK, BISHOP}) {
                const Placement after = at.After(i, to, promotes ? code : at.ManOf(i).code, taken);
                if (after.InCheck(at.side) || (!promotes && code != QUEEN)) {
                    break;
                }
                best = std::max(best, -after.Probed(pushed));
            }
        };
        for (int i = 0; i < at.Men(); ++i) {
            if (at.ManOf(i).colour != at.side) {
                continue;
            }
            at.Attacks(i, [&](int to) {
                if (const int taken = at.ManOn(to); taken > 1 && at.ManOf(taken).colour != at.side) {
                    take(i, to, taken);
                }
            });
            const int ahead = at.SquareOf(i) + (at.side == WHITE ? 8 : -8);
            if (at.ManOf(i).code == PAWN && at.ManOn(ahead) < 0) {
                take(i, ahead, -1);
                const int twice = 2 * ahead - at.SquareOf(i);
                if (at.SquareOf(i) / 8 == (at.side == WHITE ? 1 : 6) && at.ManOn(twice) < 0) {
                    take(i, twice, -1, twice);
                }
            }
        }
        return best;
    }

    void CountMoves(std::size_t n) {
        const Placement at = At(n);
        Position& here = positions_[n];
        here.zeroing = static_cast<std::int8_t>(BestZeroing(at));
        Quiet(n, at.side, [&](std::size_t) { ++here.quiet; });
        here.moves = here.quiet > 0 || here.zeroing != NO_MOVE;
        if (here.zeroing == WIN) {
            Resolve(n, WIN, 1);
        } else if (here.quiet == 0 && here.zeroing == LOSS) {
            Resolve(n, LOSS, 1);
        } else if (!here.moves && at.InCheck(at.side)) {
            Resolve(n, LOSS, 0);
        }
    }

    void Resolve(std::size_t n, int wdl, int distance) {
        positions_[n].wdl = static_cast<std::int8_t>(wdl);
        positions_[n].distance = static_cast<std::uint8_t>(distance);
        const auto level = static_cast<std::size_t>(distance);
        if (level >= levels_.size()) {
            levels_.resize(level + 1);
        }
        levels_[level].push_back(n);
    }

    /// Tells the positions before this one of its result.
    void Spread(std::size_t n, int distance) {
        const bool lost = positions_[n].wdl == LOSS;
        Quiet(n, 1 - static_cast<int>(n & 1), [&](std::size_t before) {
            Position& there = positions_[before];
            if (there.wdl != 0) {
                return;
            }
            if (lost) {
                Resolve(before, WIN, distance + 1);
            } else if (--there.quiet == 0 && (there.zeroing == NO_MOVE || there.zeroing == LOSS)) {
                Resolve(before, LOSS, distance + 1);
            }
        });
    }

    void CheckEnPassant(const Placement& at, int taken, int target, const Position& without) {
        int best = NO_MOVE;
        for (int i = free_; i < at.Men(); ++i) {
            at.Attacks(i, [&](int to) {
                if (at.ManOf(i).colour == at.side && to == target) {
                    const Placement after = at.After(i, to, PAWN, taken);
                    best = std::max(best, after.InCheck(at.side) ? NO_MOVE : -after.Probed());
                }
            });
        }
        if (best == NO_MOVE) {
            Check(at, at.SquareOf(taken), without.wdl, without.distance);
        } else if (best > without.wdl || !without.moves) {
            Check(at, at.SquareOf(taken), best, 1);
        } else {
            Check(at, at.SquareOf(taken), without.wdl, best == WIN ? 1 : without.distance);
        }
    }

    /// Distances may be rounded, but one table rounds all of its losses, and all of its wins, in one way.
    void Check(const Placement& at, int pushed, int wdl, int distance) {
        for (const bool flipped : {false, true}) {
            at.Set(flipped, pushed);
            std::int32_t success = 0;
            const int probedWdl = ProbeWdl(success);
            const int dtz = success > 0 ? ProbeDtz(success) : 0;
            ++compared;
            unsigned& ways = roundings_[wdl > 0 ? 1 : 0];
            const bool draws = wdl == 0 && dtz == 0;
            if (dtz * wdl > 0) {
                ways &= Roundings(std::abs(dtz), std::max(distance, 1));  // a mated side is at 1
            }
            if ((success <= 0 || probedWdl != wdl || !(draws || (dtz * wdl > 0 && ways != 0))) && ++wrong <= 10) {
                ADD_FAILURE() << WriteFen(0) << ": " << probedWdl << " " << dtz << ", not " << wdl << " " << distance;
            }
        }
    }
    Placement base_;
    int free_ = 2;
    std::vector<Position> positions_;
    std::vector<std::vector<std::size_t>> levels_;  // resolved positions by distance
    unsigned roundings_[2] = {7, 7};                // still possible, of losses and of wins
};

Placement MaterialOf(const std::string& name) {
    Placement placement;
    placement.men = {{WHITE, KING}, {BLACK, KING}};
    for (const bool pawns : {false, true}) {
        int colour = WHITE;
        for (const char letter : name) {
            const auto code = static_cast<int>(std::string_view(".KNP?RBQ").find(letter));
            if (letter == 'v') {
                colour = BLACK;
            } else if (code > KING && (code == PAWN) == pawns) {
                placement.men.push_back({colour, code});
            }
        }
    }
    return placement;
}

/// Solves the material with its pawns, from man `first` on, in all their places.
void SolveAll(Placement base, int first, std::size_t stride) {
    while (first < base.Men() && base.ManOf(first).code != PAWN) {
        ++first;
    }
    if (first == base.Men()) {
        Slice(base).Compare(stride);
        return;
    }
    for (int square = A2; square <= H7; ++square) {
        bool free = true;
        for (int i = 2; i < first; ++i) {
            // Equal pawns one way round only.
            free &= base.ManOf(i).code != PAWN ||
                    (base.ManOf(i).colour == base.ManOf(first).colour ? base.SquareOf(i) < square
                                                                      : base.SquareOf(i) != square);
        }
        if (free) {
            base.SquareOf(first) = square;
            SolveAll(base, first + 1, stride);
        }
    }
}

TEST(Solver, AgreesWithTheTables) {
    const bool whole = ListSharedTables();
    if (!whole) {
        ListTables(QUORVANTH_TEST_DATA "/syzygy");
    }
    Slice::compared = Slice::wrong = 0;
    const char* const asked = std::getenv("QUORVANTH_SOLVE");
    std::istringstream names(asked != nullptr ? asked : "KQvK KRvK KBvK KNvK KPvK");
    for (std::string name; names >> name;) {
        SolveAll(MaterialOf(name), 2, asked != nullptr ? 1 : STRIDE);
    }
    // The fourth rank after the double push, and the pawn still at home.
    Placement pawns = MaterialOf("KPvKP");
    for (int file = 0; whole && asked == nullptr && file < 7; ++file) {
        for (const int rank : {1, 3}) {
            pawns.SquareOf(2) = 8 * rank + file;
            pawns.SquareOf(3) = 24 + file + 1;
            Slice(pawns).Compare(STRIDE);
        }
    }
    EXPECT_EQ(Slice::wrong, 0) << "of " << Slice::compared;
    RecordProperty("compared", std::to_string(Slice::compared));
}

}  // namespace
