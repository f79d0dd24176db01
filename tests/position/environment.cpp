#include <gtest/gtest.h>

#include <random>

#include "position/attacks.h"
#include "position/piece_square.h"
#include "position/repetition.h"
#include "position/zobrist.h"

namespace {

class PositionTables : public ::testing::Environment {
  public:
    void SetUp() override {
        InitZobristKeys();
        InitializeBitMasks();
        InitializeBitBoards();
        InitMagics();
        InitKnightDistance();
        // Random words of full width, so that a wrong square, sign or colour shows and the sum does wrap.
        std::mt19937 random(1);
        for (int code = KING; code <= QUEEN; ++code) {
            for (int square = 0; square < 128 && code != 4; ++square) {
                PieceSquareTable[PieceSquareIndex(code, 0, 0) + square] = static_cast<std::int32_t>(random());
            }
        }
        ASSERT_TRUE(AllocateReversibleMoveHash());
        ::testing::internal::CaptureStdout();
        BuildReversibleMoveHash();
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "") << "a bucket has overflowed";
    }
    void TearDown() override { FreeReversibleMoveHash(); }
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new PositionTables);

}  // namespace
