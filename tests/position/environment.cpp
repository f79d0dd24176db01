#include <gtest/gtest.h>

#include "position/repetition.h"
#include "support/board_tables.h"

namespace {

class PositionTables : public ::testing::Environment {
  public:
    void SetUp() override {
        FillBoardTables();
        FillPieceSquaresAtRandom();
        ASSERT_TRUE(AllocateReversibleMoveHash());
        ::testing::internal::CaptureStdout();
        BuildReversibleMoveHash();
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "") << "a bucket has overflowed";
    }
    void TearDown() override { FreeReversibleMoveHash(); }
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new PositionTables);

}  // namespace
