// Tables and positions for the tests of the probes.
#pragma once

#include "movegen/exchange.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"
#include "position/fen.h"
#include "tablebase/tablebase.h"
#include "tablebase/tables.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

/// Lists the tables of `path`, silently. What an earlier listing had of distances is forgotten too: a key that stays in
/// the cache without its table answers no.
inline void ListTables(const std::string& path) {
    for (DtzSlot& slot : DtzCache) {
        slot = {};
    }
    testing::internal::CaptureStdout();
    init_tablebases(path);
    testing::internal::GetCapturedStdout();
}

/// Lists the whole set of tables where it is at hand.
inline bool ListSharedTables() {
    const std::string path = QUORVANTH_SHARED "/syzygy";
    if (!std::filesystem::exists(path + "/KRNvKR.rtbz")) {
        return false;
    }
    ListTables(path);
    return true;
}

/// The position on the board as a probe wants to find it, at ply 0.
inline void EnterForProbe() {
    Ply = 0;
    MoveCount = 0;
    const Colour us = thread_board.SideToMove;
    PlyState[0].InCheck = SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]) ? 1 : 0;
}

inline void PlaceForProbe(const std::string& fen) {
    SetupFen(fen);
    EnterForProbe();
}

/// What a probe must leave as it found it.
struct ProbeState {
    Key key = SearchKey();
    std::int32_t fifty = thread_board.FiftyCounter;
    std::int32_t gamePly = GamePly;
    std::int32_t moveCount = MoveCount;
    std::int32_t ply = Ply;
    std::int32_t side = thread_board.SideToMove;

    bool operator==(const ProbeState&) const = default;
};
