#include "eval/king_shelter.h"

#include <algorithm>

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/parameters.h"
#include "eval/wrapping.h"
#include "position/settings.h"

namespace {

/// Columns of PawnHashEntry::WingShelter.
constexpr int KINGS_WING = 0;
constexpr int QUEENS_WING = 1;

template <Colour us>
bool Stands(int piece, int square) {
    return (thread_board.Pieces[piece][us] & Bit(OwnSquare<us>(square))) != 0;
}

/// How a file before the king is covered. Of several own pawns the one nearest home counts.
template <Colour us>
std::int32_t FileCover(int file, std::int32_t open, std::int32_t half_open) {
    const Bitboard own = thread_board.Pieces[PAWN][us] & (FILE_A << file);
    if (own == 0) {
        const Bitboard enemy = thread_board.Pieces[PAWN][ChangeSide(us)] & (FILE_A << file);
        return enemy == 0 ? open : half_open;
    }
    return (own & RankMaskSeenBy<us>(1)) != 0 ? 0 : (own & RankMaskSeenBy<us>(2)) != 0 ? 1 : 2;
}

/// A king that can still castle: its present files, and the better of the wings that it may go to.
template <Colour us>
std::int64_t CastlerShelter() {
    constexpr std::uint32_t Short = us == WHITE ? WHITE_SHORT : BLACK_SHORT;
    constexpr std::uint32_t Long = us == WHITE ? WHITE_LONG : BLACK_LONG;
    std::int64_t files = CastleShelterBase;
    for (int i = 0; i < 3; ++i) {
        files += FileCover<us>(3 + i, FileOpen[i], FileHalfOpen[i]);
    }
    std::int64_t best = files;
    if ((thread_board.CastlingFlags & Long) != 0) {
        best = std::min<std::int64_t>(best, thread_board.PawnEntry.WingShelter[us][QUEENS_WING]);
    }
    if ((thread_board.CastlingFlags & Short) != 0) {
        best = std::min<std::int64_t>(best, thread_board.PawnEntry.WingShelter[us][KINGS_WING]);
    }
    if constexpr (us == BLACK) {
        best = std::max<std::int64_t>(best, 0);  // White's stays negative: the colours differ here
    }
    const std::int64_t weighted =
        WrappingSum(WrappingProduct(files, CastleFileWeight), WrappingProduct(best, CastleWingWeight));
    return (weighted >> 4) + CastleShelterBias;
}

/// The wing of a king that cannot castle any more, and the hole that a fianchetto without its pawn leaves.
template <Colour us>
std::int64_t WingCover(int king) {
    constexpr Colour them = ChangeSide(us);
    const bool on_queenside = FileOf(king) < 4;
    std::int64_t cover = thread_board.PawnEntry.WingShelter[us][on_queenside ? QUEENS_WING : KINGS_WING];
    const int pawn = on_queenside ? B2 : G2;
    const Bitboard hole = Bit(OwnSquare<us>(on_queenside ? C2 + 8 : F2 + 8));
    const Bitboard intruders = thread_board.Pieces[PAWN][them] | thread_board.Pieces[BISHOP][them];
    if (!Stands<us>(PAWN, pawn) && (intruders & hole) != 0 && thread_board.Pieces[QUEEN][them] != 0) {
        cover += FianchettoHole;
    }
    return cover;
}

/// What a king on the d or e file lacks on the three files around it. Its place costs 1 once, not for each file.
template <Colour us>
std::int64_t CentreCover(int king) {
    std::int64_t cover = 1;
    for (int i = -1; i <= 1; ++i) {
        const int middle = i == 0 ? 1 : 0;
        cover += FileCover<us>(FileOf(king) + i, CentreFileOpen[middle], CentreFileHalfOpen[middle]);
    }
    return cover;
}

/// The enemy's pieces decide how much the weakness counts.
template <Colour us>
std::int32_t ScaledPenalty(std::int64_t weakness) {
    constexpr Colour them = ChangeSide(us);
    const auto& count = thread_board.PieceCount;
    const std::int32_t scale = ShelterScale[std::min(count[QUEEN][them], 1)][std::min(count[ROOK][them], 2)]
                                           [std::min(count[KNIGHT][them] + count[BISHOP][them], 4)];
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(WrappingProduct(weakness, scale) >> 8, 0, 63));
}

template <Colour us>
std::int32_t KingShelter() {
    constexpr std::uint32_t Rights = us == WHITE ? WHITE_SHORT | WHITE_LONG : BLACK_SHORT | BLACK_LONG;
    const int king = thread_board.KingSquare[us];
    std::int64_t weakness = KingSquareShelter[OwnSquare<us>(king)];
    std::int64_t queen_left = 0;
    if ((thread_board.CastlingFlags & Rights) != 0) {
        if (!Stands<us>(QUEEN, D1)) {
            queen_left = -std::int64_t{QueenLeftHome};
        }
        weakness += CastlerShelter<us>();
    } else {
        weakness += WingCover<us>(king);
        if (FileOf(king) == 3 || FileOf(king) == 4) {
            weakness += CentreCover<us>(king);
        }
    }
    const std::int32_t penalty = ScaledPenalty<us>(weakness);
    thread_eval_info.shelter_penalty[us] = penalty;
    const std::int64_t rate = us == EngineSide ? CowardiceRate : AggressivityRate;
    return static_cast<std::int32_t>(queen_left - rate * ShelterPenalty[penalty] / 100);
}

}  // namespace

std::int32_t EvaluateKingShelter(Colour colour) {
    return colour == WHITE ? KingShelter<WHITE>() : KingShelter<BLACK>();
}

void AddKingShelters() {
    ThreadEvalInfo& info = thread_eval_info;
    for (const Colour colour : {BLACK, WHITE}) {
        if (info.ending[colour] == 0) {
            WrappingAdd(info.open_score[ChangeSide(colour)], -std::int64_t{EvaluateKingShelter(colour)});
        } else {
            info.shelter_penalty[colour] = 0;
        }
    }
}
