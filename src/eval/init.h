// The start-up steps of the evaluation.
#pragma once

#include "eval/material_table.h"

/// Fills PieceSquareTable from the 16-bit source rows: at start-up the built-in numbers, in the self test the
/// parameters' values.
void BuildPieceSquareTable();

/// Needs KnightDistance.
void InitKnightIntercept();

/// Needs the attack tables.
void InitKrkpDraw();

/// Fills KpkWin and KpkRun. Needs the attack tables.
void InitPawnEndgameTables();

/// Sets the opposite-bishops tables to 256, before any file is read.
void InitOppositeBishops();

/// Fills KingZoneValue with its start values, before any file is read.
void InitKingZoneValue();

/// Checks the parameters and builds every table that is made of them.
void BuildEvaluationTables(const MaterialStatistics& statistics);

/// Reads "values.txt" if there is one and builds every table that depends on it: the move statistics, the
/// derived rows, the material table, the sigmoids, the packed tables. Clears the pawn hash and the evaluation cache. At
/// start-up and again by `reload`.
void InitEvaluation();
