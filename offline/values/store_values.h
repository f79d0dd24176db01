// From the values of a file to the parameters of the engine.
#pragma once

#include "eval/parameter_file.h"
#include "values/named_values.h"

/// Puts the values, which must have the shape that the readers give, into the parameters as reading them from
/// values.txt does, and answers the statistics among them. Numbers beyond 32 bits count as the nearest. Tables that
/// are made of the parameters stay as they were.
EvaluationStatistics StoreFileValues(const FileValues& values);
