#include "games/rules.h"

#include <gtest/gtest.h>

namespace {

class Rules : public testing::Environment {
  public:
    void SetUp() override { InitializeRules(); }
};

testing::Environment* const rules = testing::AddGlobalTestEnvironment(new Rules);

}  // namespace
