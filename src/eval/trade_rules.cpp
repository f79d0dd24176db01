#include "eval/trade_rules.h"

#include "eval/parameters.h"

#include <iterator>

namespace {

constexpr std::int32_t TradeFixedPart[TRADES] = {120, 90, 60, 30, 30, 60};

void Pay(TradeVerdict& verdict, Trade trade, int sign) {
    verdict.value += sign * (std::int64_t{TradeBonus[trade]} + TradeFixedPart[trade]);
    verdict.indicator[trade] = sign;
}

/// +1 when White alone has a piece of `code`, -1 when Black alone has.
int OnlyWhiteHas(int code, const Army& white, const Army& black) {
    return (white.count[code] > 0 && black.count[code] == 0) - (black.count[code] > 0 && white.count[code] == 0);
}

/// More than eight pawns, which a position set by hand may have, read the last entry.
std::int64_t MinorAgainstPawns(const Army& army) {
    return MinorVsPawns[std::min(army.Pawns(), static_cast<int>(std::size(MinorVsPawns)) - 1)];
}

void EqualUnits(TradeVerdict& verdict, const Army& white, const Army& black) {
    const int queen_side = OnlyWhiteHas(QUEEN, white, black);
    if (queen_side != 0) {
        Pay(verdict, QUEEN_FOR_HEAVY, queen_side);
    }
    const bool both_queens = white.count[QUEEN] > 0 && black.count[QUEEN] > 0;
    if (white.minors == 1 && both_queens && white.Pawns() + black.Pawns() > 0) {
        verdict.value += std::int64_t{OnlyWhiteHas(KNIGHT, white, black)} * KnightWithQueen;
    }
}

/// `rich` has one heavy unit more than `poor` and not as many minors; `sign` is +1 when `poor` is White.
void OneHeavyUnitDown(TradeVerdict& verdict, const Army& poor, const Army& rich, int sign) {
    const bool against_queen = rich.count[QUEEN] > 0 && poor.count[QUEEN] == 0;
    if (poor.minors == rich.minors + 1) {
        Pay(verdict, HEAVY_FOR_MINOR, -sign);
        if (against_queen) {
            Pay(verdict, QUEEN_IN_HEAVY_LEAD, -sign);
        }
    } else if (poor.minors >= rich.minors + 2) {
        if (poor.points == 6) {
            Pay(verdict, TWO_MINORS_FOR_ROOK, sign);
        } else if (against_queen) {
            Pay(verdict, MINORS_AGAINST_QUEEN, sign);
        } else {
            Pay(verdict, MORE_MATERIAL, sign);
        }
    }
}

/// Rook and bishop work together, and so do queen and knight.
std::int64_t Partners(const Army& white, const Army& black) {
    const auto partners = [&](int code) {
        return (white.heavy > 0 && white.count[code] > 0) - (black.heavy > 0 && black.count[code] > 0);
    };
    if (white.count[QUEEN] + black.count[QUEEN] == 0) {
        return std::int64_t{partners(BISHOP)} * BishopWithRook;
    }
    if (white.count[ROOK] + black.count[ROOK] == 0) {
        return std::int64_t{partners(KNIGHT)} * KnightWithQueen;
    }
    return 0;
}

}  // namespace

TradeVerdict ApplyTradeRules(const Army& white, const Army& black) {
    TradeVerdict verdict;
    if (white.points < 4 && black.points < 4) {
        if (white.minors > 0 && black.minors == 0) {
            verdict.value += MinorAgainstPawns(white);
        }
        if (black.minors > 0 && white.minors == 0) {
            verdict.value -= MinorAgainstPawns(black);
        }
        return verdict;
    }
    const int minors_up = white.minors - black.minors;
    const int heavy_up = white.heavy - black.heavy;
    if (minors_up == 0 && heavy_up == 0) {
        EqualUnits(verdict, white, black);
    } else if (minors_up == 0) {
        Pay(verdict, MORE_MATERIAL, heavy_up > 0 ? 1 : -1);
    } else if (heavy_up == 0) {
        Pay(verdict, MORE_MATERIAL, minors_up > 0 ? 1 : -1);
    } else if (heavy_up == -1) {
        OneHeavyUnitDown(verdict, white, black, 1);
    } else if (heavy_up == 1) {
        OneHeavyUnitDown(verdict, black, white, -1);
    } else if (heavy_up == 2 || heavy_up == -2) {
        if (minors_up > 2) {
            Pay(verdict, MORE_MATERIAL, 1);
        } else if (minors_up < -2) {
            Pay(verdict, MORE_MATERIAL, -1);
        }
    }
    verdict.value += Partners(white, black);
    return verdict;
}

std::int64_t ScaleThinLead(std::int64_t value, const Army& white, const Army& black) {
    if (value == 0) {
        return 0;
    }
    const Army& leader = value > 0 ? white : black;
    const Army& other = value > 0 ? black : white;
    const int lead = leader.points - other.points;
    if (lead > 3) {
        return value;
    }
    constexpr int RowOfLead[4] = {1, 2, 2, 3};
    const int row = lead < 0 ? 0 : RowOfLead[lead];
    // The cut to 32 bits keeps the product in range whatever the parameter file holds.
    return (std::int64_t{static_cast<std::int32_t>(value)} * MaterialScale[row][std::min(leader.Pawns(), 3)]) >> 6;
}

std::int32_t RookPawnsValue(int pawns) {
    return RookPawnsBonus[std::min(pawns, static_cast<int>(std::size(RookPawnsBonus)) - 1)];
}
