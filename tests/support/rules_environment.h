// Brings the rules to life before the tests of a program.
#pragma once

#include "games/rules.h"

#include <gtest/gtest.h>

class RulesEnvironment : public testing::Environment {
  public:
    void SetUp() override { InitializeRules(); }
};

inline testing::Environment* const rules_environment = testing::AddGlobalTestEnvironment(new RulesEnvironment);
