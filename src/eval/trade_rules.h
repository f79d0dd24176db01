// The catalogue of unequal trades: what rook against minor, queen against two rooks and the like are worth
// beyond the pieces' values. Read by the material table and by its fallback; White's point of view throughout.
#pragma once

#include "eval/army.h"

/// The trades that have a bonus of their own. Each pays TradeBonus[trade] + TradeFixedPart[trade], and tells the
/// table with its indicator to add TradeThin[trade] to the values of a thin board.
enum Trade : int {
    MORE_MATERIAL = 0,     // more heavy units or minors, nothing against it
    TWO_MINORS_FOR_ROOK,   // the two minors being all that the side has
    MINORS_AGAINST_QUEEN,  // two or more minors up, one heavy unit down, the queen alone on the other side
    HEAVY_FOR_MINOR,       // one heavy unit up, one minor down
    QUEEN_IN_HEAVY_LEAD,   // the heavy side of HEAVY_FOR_MINOR has the only queen
    QUEEN_FOR_HEAVY,       // equal units, the only queen against rooks
    TRADES
};

struct TradeVerdict {
    std::int64_t value = 0;
    int indicator[TRADES] = {};  // +1 when White has the better of the trade, -1 when Black has
};

TradeVerdict ApplyTradeRules(const Army& white, const Army& black);

/// A lead with few pawns counts less when the leading side has not enough pieces more: scales `value` by
/// MaterialScale.
std::int64_t ScaleThinLead(std::int64_t value, const Army& white, const Army& black);

/// RookPawnsBonus for the number of pawns of both colours. The row ends at 15 pawns, and 16 read its last entry.
std::int32_t RookPawnsValue(int pawns);
