#include "movegen/legal_moves.h"

#include "movegen/generated.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

namespace {

TEST(LegalMoves, TakesAnyWordForACandidate) {
    SetupFen("8/4P3/8/8/8/7k/8/4K3 w - -");
    const std::pair<const char*, bool> cases[] = {{"e7e8n", true}, {"e1d2", true},  {"e7e8", false}, {"e6e7q", false},
                                                  {"a1a2", false}, {"h3h4", false}, {"e1e3", false}};
    for (const auto& [text, legal] : cases) {
        MoveCount = 17;
        EXPECT_EQ(IsLegalMove(MoveFromText(text)), legal) << text;
        EXPECT_EQ(MoveCount, 17);
    }
    SetupFen("4k3/4Q3/8/8/8/8/8/4K3 w - -");
    EXPECT_FALSE(IsLegalMove(MoveFromText("e7e8"))) << "no king is taken";
}

TEST(LegalMoves, LeavesTheSearchAlone) {
    SetupFen("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    unsigned char before[sizeof(PlyState)];
    Ply = 3;
    std::memset(&PlyState[LEGALITY_PLY], 0x5a, sizeof(PlyRecord));
    std::memcpy(before, PlyState, sizeof before);
    MoveList[99] = {12345, 6, 7};
    GenerateLegalMoves(100);
    EXPECT_EQ(MoveCount, 100 + 48);
    EXPECT_EQ(MoveList[99].Move, 12345u);
    EXPECT_EQ(Ply, 3);
    EXPECT_EQ(std::memcmp(before, PlyState, sizeof before), 0);
    PlyState[LEGALITY_PLY] = {};
    Ply = 0;
    MoveCount = 0;
}

TEST(LegalMoves, PlayablePositions) {
    const std::pair<const char*, bool> cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", true},
        {"4k3/4R3/8/8/8/8/8/4K3 b - -", true},
        {"4k3/4R3/8/8/8/8/8/4K3 w - -", false},
        {"8/8/8/3kK3/8/8/8/8 w - -", false},
        {"4k3/8/8/8/8/8/8/8 w - -", false},
        {"4k2k/8/8/8/8/8/8/4K3 w - -", false},
        {"P3k3/8/8/8/8/8/8/4K3 w - -", false},
        {"4k3/8/8/8/8/8/8/p3K3 w - -", false},
        {"4k3/8/8/8/8/4P3/PPPPPPPP/4K3 w - -", false},
        {"4k3/8/8/NN6/NNNN4/NNNNNNNN/NN6/4K3 w - -", false},
        {"4k3/8/8/NN6/NNN5/NNNNNNNN/NN6/4K3 w - -", true},
    };
    for (const auto& [fen, playable] : cases) {
        SetupFen(fen);
        EXPECT_EQ(PositionIsPlayable(), playable) << fen;
    }
}

}  // namespace
