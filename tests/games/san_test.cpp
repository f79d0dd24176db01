#include "games/san.h"

#include <gtest/gtest.h>

#include <set>

#include "games/rules.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "support/random_positions.h"

namespace {

std::string TextOf(Move move) {
    char buffer[MOVE_BUFFER];
    return move == 0 ? "none" : MoveToText(buffer, move);
}

// Every legal move of every position has a text of its own, and the text leads back to it.
TEST(GamesSan, RoundTripOverRandomGames) {
    for (const std::string& fen : RandomPositions(7, 4, 120)) {
        SetupFen(fen);
        std::set<std::string> texts;
        for (const Move move : LegalMoves()) {
            const std::string san = MoveToSan(move);
            ASSERT_TRUE(texts.insert(san).second) << fen << san;
            ASSERT_EQ(TextOf(MoveFromSan(san)), TextOf(move)) << fen << san;
            ASSERT_EQ(TextOf(MoveFromSan(TextOf(move))), TextOf(move)) << fen;
        }
    }
}

TEST(GamesSan, Writes) {
    struct Case {
        const char* fen;
        const char* move;
        const char* san;
    };
    for (const Case& each : {
             Case{"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1g1", "O-O"},
             Case{"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "e8c8", "O-O-O"},
             Case{"5k2/8/8/8/8/8/8/4K2R w K -", "e1g1", "O-O+"},
             Case{"4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", "exd6"},
             Case{"3rk3/2K1P3/8/8/8/8/8/5R2 w - -", "e7d8q", "exd8=Q#"},
             Case{"8/4P3/8/8/8/k7/8/K7 w - -", "e7e8n", "e8=N"},
             Case{"4k3/8/8/8/8/5N2/8/1N2K3 w - -", "b1d2", "Nbd2"},
             Case{"4k3/8/8/1N6/8/8/8/1N2K3 w - -", "b1a3", "N1a3"},
             Case{"6k1/8/8/8/4Q2Q/8/8/K6Q w - -", "h4e1", "Qh4e1"},
             // The other knight is pinned: it needs no telling apart.
             Case{"4k3/8/8/8/8/2n5/8/1N2K1Nr w - -", "b1c3", "Nxc3"},
             Case{"4r2k/8/8/8/8/4N3/8/1N2K3 w - -", "b1c3", "Nc3"},
             Case{"rnbqkbnr/pppp1ppp/8/4p3/6P1/5P2/PPPPP2P/RNBQKBNR b KQkq -", "d8h4", "Qh4#"},
         }) {
        SetupFen(each.fen);
        EXPECT_EQ(MoveToSan(MoveFromText(each.move)), each.san) << each.fen;
    }
}

TEST(GamesSan, ReadsWhatFilesHold) {
    struct Case {
        const char* fen;
        const char* text;
        const char* move;
    };
    const char* const castles = "r3k2r/1P6/8/8/8/8/8/R3K2R w KQkq -";
    const char* const knights = "4k3/8/8/8/8/5N2/8/1N2K3 w - -";
    const char* const passing = "4k3/8/8/3pP3/8/8/8/4K3 w - d6";
    for (const Case& each : {
             Case{castles, "0-0", "e1g1"},      Case{castles, "O-O-O!?", "e1c1"},  Case{castles, "e1g1", "e1g1"},
             Case{castles, "b8Q+", "b7b8q"},    Case{castles, "b8(N)", "b7b8n"},   Case{castles, "bxa8=R", "b7a8r"},
             Case{castles, "b8", "none"},       Case{castles, "Kd8", "none"},      Case{castles, "b7a8q", "b7a8q"},
             Case{knights, "Nd2", "none"},      Case{knights, "Nb1-d2", "b1d2"},   Case{knights, "Nb1d2", "b1d2"},
             Case{knights, "f3e5", "f3e5"},     Case{knights, "N1d2", "b1d2"},     Case{knights, "Nxe5", "f3e5"},
             Case{passing, "exd6e.p.", "e5d6"}, Case{passing, "ed6", "e5d6"},      Case{passing, "e6", "e5e6"},
             Case{passing, "Pe6", "e5e6"},      Case{passing, "", "none"},         Case{passing, "e", "none"},
             Case{passing, "e9", "none"},       Case{passing, "--", "none"},       Case{passing, "Kee2e", "none"},
             Case{passing, "e5e5e5e5", "none"}, Case{passing, "\xff\xfe", "none"}, Case{passing, "N", "none"},
         }) {
        SetupFen(each.fen);
        EXPECT_EQ(TextOf(MoveFromSan(each.text)), each.move) << each.fen << " " << each.text;
    }
}

}  // namespace
