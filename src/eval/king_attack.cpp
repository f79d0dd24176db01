#include "eval/king_attack.h"

#include <algorithm>

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/parameters.h"
#include "eval/sigmoids.h"
#include "eval/wrapping.h"
#include "position/attacks.h"

namespace {

/// The places of a bit of the KingZoneValue index.
enum ZoneBit : int {
    DEFENDED = 2,
    OCCUPANT = 3,  // two bits: nobody, own pawn, own piece, enemy
    PLACE = 5,     // two bits: beside toward the edge, in front, behind, beside toward the centre
    UNTOUCHED = 7,
    SAFELY_HIT = 8
};

/// What pawns and kings add. Their places in the sums do not matter, so they come after the pieces.
template <Colour us>
void GatherPawnsAndKing() {
    constexpr Colour them = ChangeSide(us);
    ThreadEvalInfo& info = thread_eval_info;
    const std::int64_t hits = PopCount(info.king_zone[them] & info.enemy_pawn_attacks[them]);
    WrappingAdd(info.danger[us], hits * PawnZoneDanger);
    WrappingAdd(info.attackers[us], hits * PawnZoneWeight);
    if ((info.king_zone[us] & info.king_zone[them]) != 0) {
        WrappingAdd(info.danger[us], KingTouchDanger);
        WrappingAdd(info.attackers[us], KingTouchWeight);
    }
}

/// A queen counts more beside a broken shelter.
template <Colour us>
void AddQueenNearShelter(std::int32_t development) {
    ThreadEvalInfo& info = thread_eval_info;
    if (thread_board.Pieces[QUEEN][us] == 0) {
        return;
    }
    const std::int32_t weakness = std::min(info.shelter_penalty[ChangeSide(us)], 15);
    const std::int64_t scale = QueenDevelopmentScale[development];
    WrappingAdd(info.open_score[us], (QueenShelterOpen[weakness] * scale) >> 6);
    WrappingAdd(info.end_score[us], (QueenShelterEnd[weakness] * scale) >> 6);
}

/// Class 0..3 of a king's square: corners of the first rank, rest of it, second rank, farther out.
template <Colour defender>
int KingPlaceClass(int king) {
    constexpr Bitboard FirstRankCentre = Bit(C1) | Bit(D1) | Bit(E1) | Bit(F1);
    const int square = OwnSquare<defender>(king);
    const int rank = RankOf(square);
    return rank == 0 ? (FirstRankCentre >> square & 1) != 0 : rank == 1 ? 2 : 3;
}

/// The squares next to the king, each by who stands there, who guards it and where it lies.
template <Colour us>
void AddZoneDanger() {
    constexpr Colour them = ChangeSide(us);
    ThreadEvalInfo& info = thread_eval_info;
    const int king = thread_board.KingSquare[them];
    const int king_class = KingPlaceClass<them>(king);
    const Bitboard pawns = thread_board.Pieces[PAWN][them];
    const Bitboard pieces = thread_board.ColourPieces[them] & ~pawns;
    const Bitboard attackers = thread_board.ColourPieces[us];
    const Bitboard beside = FileOf(king) < 4 ? Bit(king) << 1 : Bit(king) >> 1;
    const Bitboard front = (them == WHITE ? SquaresAhead[king] : SquaresBehind[king]) | beside;
    const Bitboard behind = (them == WHITE ? SquaresBehind[king] : SquaresAhead[king]) | beside;
    const Bitboard safe = info.safe_zone_hits[them];
    const Bitboard untouched = ~(info.attacks[us] | safe);  // of these two bits at most one, or the table ends
    const auto bit = [](Bitboard set, int square, int place) { return static_cast<int>(set >> square & 1) << place; };
    for (Bitboard zone = info.king_zone[them]; zone != 0;) {
        const int square = PopLowestBit(zone);
        const int index = king_class | bit(info.attacks[them], square, DEFENDED) |
                          bit(pawns | attackers, square, OCCUPANT) | bit(pieces | attackers, square, OCCUPANT + 1) |
                          bit(front, square, PLACE) | bit(behind, square, PLACE + 1) |
                          bit(untouched, square, UNTOUCHED) | bit(safe, square, SAFELY_HIT);
        WrappingAdd(info.danger[us], KingZoneValue[index]);
    }
}

/// From the finished sums to the attacker's scores. What move_bonus held so far counts only without an attack value.
template <Colour us>
void AddAttackValue(std::int32_t development) {
    constexpr Colour them = ChangeSide(us);
    ThreadEvalInfo& info = thread_eval_info;
    info.danger[us] = std::clamp(info.danger[us], 0, 127);
    const std::int64_t sums =
        WrappingProduct(std::int64_t{DangerCurve[info.danger[us]]} * PressureSigmoid[info.attackers[us]],
                        ShelterFactor[info.shelter_penalty[them]]) >>
        15;
    const bool has_queen = thread_board.Pieces[QUEEN][us] != 0;
    const std::int64_t armed = WrappingProduct(sums, has_queen ? AttackScaleQueen : AttackScaleNoQueen) >> 13;
    const std::int64_t horror = (std::int64_t{AttackHorrorSigmoid[thread_board.attack_force[us]]} + 256) *
                                (std::int64_t{DefendHorrorSigmoid[thread_board.defend_force[them]]} + 256);
    const std::int64_t value =
        WrappingProduct(WrappingProduct(horror, armed) >> 16, AttackDevelopmentScale[development]) >> 6;
    if (value > 0) {
        const std::int64_t balance = info.material_score;
        WrappingAdd(info.open_score[us], WrappingProduct(HorrorSigmoid[us == BLACK ? balance : -balance], value) >> 8);
    }
    info.move_bonus[us] = static_cast<std::int32_t>(WrappingProduct(AttackMoveShare, value) >> 6);
}

template <Colour us>
void EvaluateKingAttack() {
    if (thread_eval_info.ending[ChangeSide(us)] != 0) {
        return;
    }
    const std::int32_t development = DevelopmentClassOf<us>();
    GatherPawnsAndKing<us>();
    AddQueenNearShelter<us>(development);
    AddZoneDanger<us>();
    AddAttackValue<us>(development);
}

/// Adds the threat of `us` to `value` and to side_delta: it counts in full when `us` is to move, else by half.
template <Colour us>
void AddQueenCheckThreat(std::int32_t& value) {
    constexpr Colour them = ChangeSide(us);
    ThreadEvalInfo& info = thread_eval_info;
    if (thread_board.Pieces[QUEEN][us] == 0) {
        return;
    }
    const int king = thread_board.KingSquare[them];
    const Bitboard checks = info.queen_attacks[us] & ~thread_board.ColourPieces[us] & ~info.attacks[them] &
                            QueenAttacksOf(king, thread_board.AllPieces);
    const int count = PopCount(checks) + PopCount(checks & ~KingAttacks[king]);
    const std::int64_t threat = QueenCheckThreat[std::min(count, 6)];
    const std::int64_t gain_of_move = threat - (threat >> 1);
    const bool to_move = thread_board.SideToMove == us;
    const std::int64_t counted = to_move ? threat : threat >> 1;
    const std::int64_t delta = to_move ? gain_of_move : -gain_of_move;
    WrappingAdd(value, us == BLACK ? counted : -counted);
    WrappingAdd(info.side_delta, us == BLACK ? delta : -delta);
}

}  // namespace

template <Colour us>
std::int32_t DevelopmentClassOf() {
    const auto stands = [](int piece, int square) { return (PiecesOf(piece, us) & Bit(OwnSquare<us>(square))) != 0; };
    const int king = OwnSquare<us>(thread_board.KingSquare[us]);
    const int pattern = (king >= C1 && king <= F1) | stands(QUEEN, D1) << 1 | stands(KNIGHT, B1) << 2 |
                        stands(KNIGHT, G1) << 3 | stands(BISHOP, C1) << 4 | stands(BISHOP, F1) << 5;
    return DevelopmentClass[pattern];
}

template std::int32_t DevelopmentClassOf<WHITE>();
template std::int32_t DevelopmentClassOf<BLACK>();

void EvaluateKingAttacks() {
    EvaluateKingAttack<BLACK>();
    EvaluateKingAttack<WHITE>();
}

std::int32_t AddQueenCheckThreats(std::int32_t value) {
    AddQueenCheckThreat<BLACK>(value);
    AddQueenCheckThreat<WHITE>(value);
    return value;
}
