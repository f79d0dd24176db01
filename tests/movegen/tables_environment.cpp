#include "support/board_tables.h"

#include <gtest/gtest.h>

namespace {

class BoardTables : public testing::Environment {
  public:
    void SetUp() override {
        FillBoardTables();
        FillPieceSquaresAtRandom();
    }
};

testing::Environment* const board_tables = testing::AddGlobalTestEnvironment(new BoardTables);

}  // namespace
