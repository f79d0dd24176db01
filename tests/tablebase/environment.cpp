#include <gtest/gtest.h>

#include "support/board_tables.h"

namespace {

class TablebaseTables : public testing::Environment {
  public:
    void SetUp() override { FillBoardTables(); }
};

const auto* const environment = testing::AddGlobalTestEnvironment(new TablebaseTables);

}  // namespace
