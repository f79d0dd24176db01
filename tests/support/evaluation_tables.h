// The evaluation as it stands after start-up without a parameter file, for tests.
#pragma once

#include "eval/evaluation.h"
#include "eval/init.h"
#include "eval/parameters.h"
#include "support/board_tables.h"

#include <gtest/gtest.h>

/// Every parameter back at its default and every table built from the defaults.
inline void ResetEvaluation() {
    static const bool filled = [] {
        FillBoardTables();
        BuildPieceSquareTable();
        InitKnightIntercept();
        InitPawnEndgameTables();
        InitKrkpDraw();
        return true;
    }();
    static_cast<void>(filled);
    AssignParameterDefaults();
    InitKingZoneValue();
    InitOppositeBishops();
    testing::internal::CaptureStdout();  // the line about the missing file
    InitEvaluation();
    testing::internal::GetCapturedStdout();
}
