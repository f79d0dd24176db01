// The parameter file "values.txt": decimal integers separated by white space, in the order of the parameter list,
// with no keys and no header.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The statistics of the file that are no parameters. They live only while the tables are built.
struct EvaluationStatistics {
    std::vector<std::int32_t> imbalance;     // by SetIndex
    std::vector<std::int32_t> army;          // by PairIndex
    std::vector<std::int32_t> time_factors;  // by PairIndex; 256 is 1.0
    std::vector<std::int64_t> move_counts;   // MOVE_COUNT_VALUES, or empty when no file gave any

    EvaluationStatistics();
};

/// Reads "values.txt" of the working directory into the parameters and answers its statistics. First of all the trade
/// and piece values become 0; statistics that no file gives are 0, the time factors 256. Without a file it prints its
/// line and the other parameters stay.
///
/// No value is checked, but for the sign of the move counts. Numbers beyond 32 bits (64 for move counts) count as
/// the nearest that fits. The end of the file, or anything that is no number, ends the reading; what was not
/// reached stays as it was.
EvaluationStatistics LoadParameterFile();

/// Writes the parameters and `statistics` as LoadParameterFile reads them, reserved values as 0. Answers false when
/// the file cannot be written.
bool WriteParameterFile(const std::string& path, const EvaluationStatistics& statistics);
