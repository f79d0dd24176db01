#include <gtest/gtest.h>

#include "position/attacks.h"
#include "position/zobrist.h"
#include "support.h"

TEST(Fen, IsReadAndWritten) {
    const std::pair<const char*, const char*> cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
         "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - "},
        {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq - 47 99",
         "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b Kq - "},
        // En passant: kept with a neighbour, dropped on the wrong rank, without the pawn or on a full square.
        {"4k3/8/8/8/3pP3/8/8/4K3 b - e3", "4k3/8/8/8/3pP3/8/8/4K3 b - e3 "},
        {"4k3/8/8/3Pp3/8/8/8/4K3   w   -   e6 0 1", "4k3/8/8/3Pp3/8/8/8/4K3 w - e6 "},
        {"4k3/8/8/8/3pP3/8/8/4K3 b - e6", "4k3/8/8/8/3pP3/8/8/4K3 b - - "},
        {"4k3/8/8/8/3p4/4P3/8/4K3 b - e3", "4k3/8/8/8/3p4/4P3/8/4K3 b - - "},
        {"4k3/8/8/8/3pP3/4N3/8/4K3 b - e3", "4k3/8/8/8/3pP3/4N3/8/4K3 b - - "},
        {"4k3/8/8/8/3pP3/8/8/4K3 b - E3", "4k3/8/8/8/3pP3/8/8/4K3 b - - "},
        // No pawn beside: the push is remembered but cannot be answered.
        {"4k3/8/8/8/p3P2p/8/8/4K3 b - e3", "4k3/8/8/8/p3P2p/8/8/4K3 b - - "},
        // A pawn on h4 is no neighbour of the a-file.
        {"4k3/8/8/8/7p/8/8/4K3 b - a3", "4k3/8/8/8/7p/8/8/4K3 b - - "},
        // Rights without king or rook at home.
        {"r3k3/8/8/8/8/8/8/4K2R w KQkq -", "r3k3/8/8/8/8/8/8/4K2R w Kq - "},
        {"r2k3r/8/8/8/8/8/8/R4K1R w KQkq -", "r2k3r/8/8/8/8/8/8/R4K1R w - - "},
        {"n3k2b/8/8/8/8/8/8/r3K2r w KQkq -", "n3k2b/8/8/8/8/8/8/r3K2r w - - "},
        {"r3k2r/8/8/8/8/8/8/R3K2R w xKx?q -", "r3k2r/8/8/8/8/8/8/R3K2R w Kq - "},
        // Noise in the board, squares beyond it, fields that are missing.
        {"4kx#3/8/8/8/8/8/8/4K3 x - -", "4k3/8/8/8/8/8/8/4K3 b - - "},
        {"4k3Q/pppppppppp/9q/8/8/8/8/4K3/RR w - -", "4k3/pppppppp/8/8/8/8/8/4K3 w - - "},
        {"4k3/8/8/8/8/8/8/R3K3", "4k3/8/8/8/8/8/8/R3K3 w - - "},
        {"", "8/8/8/8/8/8/8/8 w - - "},
    };
    for (const auto& [text, written] : cases) {
        SetupFen(text);
        EXPECT_EQ(FenOf(), written) << text;
        EXPECT_TRUE(PositionIsConsistent()) << text;
        EXPECT_EQ(thread_board.FiftyCounter, 0);
        SetupFen(written);
        EXPECT_EQ(FenOf(), written);
    }
    SetupFen("4k3/8/8/8/p3P2p/8/8/4K3 b - e3");
    EXPECT_EQ(GamePly, 1);
    EXPECT_EQ(GameHistory[0].move, BuildMove(E2, SquareOf("e4"), PAWN));
    SetupFen("4k3/8/8/8/8/8/8/4K3 b - e3");
    EXPECT_EQ(GamePly, 0);
    EXPECT_STREQ(WriteFen(BuildMove(E7, E8, PAWN, 0, QUEEN)), "4k3/8/8/8/8/8/8/4K3 b - - e7e8");
}

TEST(Fen, AnyTextLeavesASoundPosition) {
    std::mt19937 random(11);
    const std::string letters = "KQRBNPkqrbnp/12345678 /-wbKQkqe3e6";
    const std::string valid = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
    for (int trial = 0; trial < 8000; ++trial) {
        std::string text;
        if (trial % 2) {
            text = valid;
            for (auto i = random() % 6; i > 0; --i) {
                text[random() % text.size()] = letters[random() % letters.size()];
            }
        } else {
            for (auto length = random() % 200; length > 0; --length) {
                text += trial % 4 ? letters[random() % letters.size()] : static_cast<char>(random());
            }
        }
        ::testing::internal::CaptureStdout();
        SetupFen(text);
        ::testing::internal::GetCapturedStdout();
        ASSERT_TRUE(PositionIsConsistent()) << text;
        ASSERT_TRUE(GamePly == 0 || GamePly == 1);
        ASSERT_GE(thread_board.MaterialIndex, 0);
        const std::string written = FenOf();
        ASSERT_LT(written.size() + 4, static_cast<std::size_t>(FEN_BUFFER));
        ::testing::internal::CaptureStdout();
        SetupFen(written);
        ::testing::internal::GetCapturedStdout();
        ASSERT_EQ(FenOf(), written) << text;
        thread_board.CastlingFlags = 0;
        for (int square = 0; square < 64; ++square) {
            if (random() % 2 == 0 && thread_board.Board[square] != KING) {
                RemovePiece(square);
            }
        }
        ASSERT_TRUE(PositionIsConsistent()) << "of some men: " << text;
    }
    SetupFen(std::string(5000000, '9') + "Q/" + std::string(100000, '/') + "k w - -");
    EXPECT_EQ(thread_board.TotalPieces, 0);
}

TEST(Fen, ImpossibleMaterialIsReportedOnce) {
    ::testing::internal::CaptureStdout();
    SetupFen("pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp w - -");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Error when indexing material!\n");
    EXPECT_TRUE(PositionIsConsistent());

    ::testing::internal::CaptureStdout();
    SetupFen("qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq w - -");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(thread_board.MaterialIndex, MATERIAL_OVERFLOW);
}

TEST(SearchKey, HoldsRightsAndAPawnThatCanBeTaken) {
    const std::pair<const char*, Key> cases[] = {
        {"4k3/8/8/8/4p3/8/3P4/4K3 w - -", EnPassantKeys[3]},
        {"4k3/8/8/8/2p5/8/3P4/4K3 w - -", EnPassantKeys[3]},
        {"4k3/8/8/8/5p2/8/3P4/4K3 w - -", 0},
        {"4k3/8/8/8/4P3/8/3P4/4K3 w - -", 0},  // an own pawn does not count
        {"4k3/8/8/4p3/8/8/3P4/4K3 w - -", 0},
    };
    for (const auto& [fen, extra] : cases) {
        SetupFen(fen);
        EXPECT_EQ(SearchKey(), thread_board.PositionKey ^ CastleKeys[0]);
        Play("d2d4");
        EXPECT_EQ(SearchKey(), thread_board.PositionKey ^ CastleKeys[0] ^ extra) << fen;
    }
    // The board does not wrap: a pawn on h4 is not beside a5, nor one on a5 beside h4.
    SetupFen("4k3/7p/8/P7/8/8/8/4K3 b - -");
    Play("h7h5");
    EXPECT_EQ(SearchKey(), thread_board.PositionKey ^ CastleKeys[0]);
    SetupFen("r3k3/8/8/8/8/8/8/4K2R w Kq -");
    EXPECT_EQ(SearchKey(), thread_board.PositionKey ^ CastleKeys[WHITE_SHORT | BLACK_LONG]);
}

TEST(MoveText, WritesAndReads) {
    EXPECT_EQ(BuildMove(E2, SquareOf("e4"), PAWN), 0x370cu);
    EXPECT_EQ(BuildMove(E7, D8, PAWN, ROOK, QUEEN), 0x1ebef4u);
    char buffer[MOVE_BUFFER];
    const struct {
        Move move;
        const char *text, *plain, *piece;
    } cases[] = {
        {0, "0000", "a1a1", "-"},
        {BuildMove(E7, D8, PAWN, ROOK, KNIGHT), "e7d8n", "e7d8", "Pe7d8"},
        {WHITE_CASTLES_SHORT, "e1g1", "e1g1", "Ke1g1"},
        {BuildMove(A8, H1, BISHOP), "a8h1", "a8h1", "Ba8h1"},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(MoveToText(buffer, c.move), c.text);
        EXPECT_STREQ(MoveToPlainText(buffer, c.move), c.plain);
        EXPECT_STREQ(MoveToPieceText(buffer, c.move), c.piece);
    }

    for (const char* token : {"e2e4", "E2e4", "a1H8", "e7e8q", "e2e4 and more"}) {
        EXPECT_TRUE(IsMoveText(token)) << token;
    }
    for (const char* token : {"", "e2e", "i2e4", "e9e4", "e2e0", "e2-e4", "2e4e", "\xe5\x32\x65\x34"}) {
        EXPECT_FALSE(IsMoveText(token)) << token;
        EXPECT_EQ(MoveFromText(token), 0u);
    }
    SetupFen("3rk3/4P3/8/8/8/8/8/4K3 w - -");
    EXPECT_EQ(MoveFromText("e7d8q"), BuildMove(E7, D8, PAWN, ROOK, QUEEN));
    EXPECT_EQ(MoveFromText("E7D8b"), BuildMove(E7, D8, PAWN, ROOK, BISHOP));
    EXPECT_EQ(MoveFromText("e7d8Q"), BuildMove(E7, D8, PAWN, ROOK));
    EXPECT_EQ(MoveFromText("e7d8"), BuildMove(E7, D8, PAWN, ROOK));
    EXPECT_EQ(MoveFromText("a3a4"), BuildMove(SquareOf("a3"), SquareOf("a4"), NO_PIECE));
}
