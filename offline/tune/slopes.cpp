#include "tune/slopes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "eval/evaluation.h"
#include "eval/init.h"
#include "eval/sigmoids.h"
#include "games/rules.h"
#include "position/settings.h"

namespace {

/// Knobs that are turned together at first, to find the samples that answer to any of them, and the parts into which
/// such a group is cut.
constexpr std::size_t GROUP = 16;
constexpr std::size_t PARTS = 4;

/// The slopes of one process's samples, knob by knob.
class SlopeMeter {
  public:
    SlopeMeter(const std::vector<Sample>& samples, const std::vector<Knob>& knobs, const MaterialStatistics& statistics,
               std::size_t first, std::size_t step)
        : samples_(samples), knobs_(knobs), statistics_(statistics), first_(first), step_(step) {
        for (std::size_t i = first_; i < samples_.size(); i += step_) {
            all_.push_back(static_cast<std::uint32_t>(base_.size()));
            base_.push_back(EvaluateSample(samples_[i]));
        }
    }

    void MeasureAll(const std::function<void(std::size_t)>& report) {
        for (std::size_t begin = 0; begin < knobs_.size(); begin += GROUP) {
            Measure(begin, std::min(begin + GROUP, knobs_.size()), all_);
            report(begin);
        }
    }

    /// Its table by sample, in the order of its samples.
    SlopeTable Table() const {
        SlopeTable table;
        table.begin.assign(base_.size() + 1, 0);
        for (const Found& found : found_) {
            ++table.begin[found.sample + 1];
        }
        for (std::size_t i = 0; i < base_.size(); ++i) {
            table.begin[i + 1] += table.begin[i];
        }
        table.slopes.resize(found_.size());
        std::vector<std::size_t> next(table.begin.begin(), table.begin.end() - 1);
        for (const Found& found : found_) {
            table.slopes[next[found.sample]++] = found.slope;
        }
        return table;
    }

  private:
    struct Found {
        std::uint32_t sample;
        Slope slope;
    };

    std::int32_t StepOf(const Knob& knob) const {
        return KnobValue(knob) + knob.step > knob.high ? -knob.step : knob.step;
    }

    /// Looks for samples among `where` that answer to knobs begin..end-1, and goes on with those alone until a single
    /// knob is left.
    void Measure(std::size_t begin, std::size_t end, const std::vector<std::uint32_t>& where) {
        const std::size_t count = end - begin;
        std::vector<std::int32_t> before(count);
        bool material = false;
        for (std::size_t i = 0; i < count; ++i) {
            const Knob& knob = knobs_[begin + i];
            before[i] = KnobValue(knob);
            material = material || knob.material;
            // Steps of different lengths: answers of equal ones would cancel where one side gains by one knob what
            // the other side gains by the next.
            const auto length = static_cast<std::int32_t>(1 + (i * 7) % GROUP);
            SetKnob(knob, before[i] + (count == 1 ? StepOf(knob) : StepOf(knob) * length));
        }
        RebuildTables(statistics_, material);

        std::vector<std::uint32_t> answering;
        const Knob& knob = knobs_[begin];
        const double scale = knob.spread / ((KnobValue(knob) - before[0]) * SLOPE_UNIT);
        for (const std::uint32_t i : where) {
            const std::int32_t change = EvaluateSample(samples_[first_ + i * step_]) - base_[i];
            if (change == 0) {
                continue;
            }
            if (count > 1) {
                answering.push_back(i);
            } else {
                constexpr double LARGEST = std::numeric_limits<std::int16_t>::max();
                const double slope = std::clamp(std::round(change * scale), -LARGEST, LARGEST);
                found_.push_back({i, {static_cast<std::uint16_t>(begin), static_cast<std::int16_t>(slope)}});
            }
        }
        for (std::size_t i = 0; i < count; ++i) {
            SetKnob(knobs_[begin + i], before[i]);
        }
        if (material) {
            RebuildTables(statistics_, true);
        }
        if (answering.empty()) {
            return;
        }
        const std::size_t part = (count + PARTS - 1) / PARTS;
        for (std::size_t from = begin; from < end; from += part) {
            Measure(from, std::min(from + part, end), answering);
        }
    }

    const std::vector<Sample>& samples_;
    const std::vector<Knob>& knobs_;
    const MaterialStatistics& statistics_;
    std::size_t first_;
    std::size_t step_;
    std::vector<std::uint32_t> all_;
    std::vector<std::int32_t> base_;
    std::vector<Found> found_;
};

struct Child {
    pid_t process;
    std::FILE* file;
};

/// Ends the processes from `first` on too: without the rest their work is for nothing.
[[noreturn]] void Fail(const char* what, const std::vector<Child>& children, std::size_t first) {
    for (std::size_t n = first; n < children.size(); ++n) {
        kill(children[n].process, SIGKILL);
    }
    std::fprintf(stderr, "quorvanth-tune: %s\n", what);
    std::exit(1);
}

template <typename T>
bool WriteVector(std::FILE* file, const std::vector<T>& list) {
    const std::size_t size = list.size();
    return std::fwrite(&size, sizeof size, 1, file) == 1 && std::fwrite(list.data(), sizeof(T), size, file) == size;
}

template <typename T>
bool ReadVector(std::FILE* file, std::vector<T>& list) {
    std::size_t size = 0;
    if (std::fread(&size, sizeof size, 1, file) != 1) {
        return false;
    }
    list.resize(size);
    return std::fread(list.data(), sizeof(T), size, file) == size;
}

/// Sample i is the (i / tables)-th of table i % tables.
SlopeTable Merge(const std::vector<SlopeTable>& tables, std::size_t samples) {
    SlopeTable merged;
    merged.begin.push_back(0);
    for (std::size_t i = 0; i < samples; ++i) {
        const SlopeTable& table = tables[i % tables.size()];
        const std::size_t row = i / tables.size();
        const auto at = [&table](std::size_t place) {
            return table.slopes.begin() + static_cast<std::ptrdiff_t>(place);
        };
        merged.slopes.insert(merged.slopes.end(), at(table.begin[row]), at(table.begin[row + 1]));
        merged.begin.push_back(merged.slopes.size());
    }
    return merged;
}

}  // namespace

void PrepareEvaluation() {
    InitializeRules();
    BuildPieceSquareTable();
    InitKnightIntercept();
    InitPawnEndgameTables();
    InitKrkpDraw();
    AssignStyleDefaults();
    // What it keeps is worked out with numbers that are about to change.
    PawnHashSize = 0;
}

void RebuildTables(const MaterialStatistics& statistics, bool material) {
    BuildDerivedRows();
    if (material) {
        BuildMaterialTable(statistics);
    }
    BuildSigmoids();
    PackParameters();
}

std::int32_t EvaluateSample(const Sample& sample) {
    thread_board = sample.board;
    std::int32_t score = 0;
    EvaluateFull(score);
    return thread_board.SideToMove == WHITE ? score : -score;
}

SlopeTable MeasureSlopes(const std::vector<Sample>& samples, const std::vector<Knob>& knobs,
                         const MaterialStatistics& statistics, int processes,
                         const std::function<void(std::size_t)>& report) {
    std::vector<Child> children;
    for (int n = 0; n < processes; ++n) {
        std::FILE* file = std::tmpfile();
        const pid_t process = file == nullptr ? -1 : fork();
        if (process < 0) {
            Fail("no process or no temporary file to be had", children, 0);
        }
        if (process == 0) {
            SlopeMeter meter(samples, knobs, statistics, static_cast<std::size_t>(n),
                             static_cast<std::size_t>(processes));
            meter.MeasureAll(n == 0 ? report : [](std::size_t) {});
            const SlopeTable table = meter.Table();
            const bool written =
                WriteVector(file, table.begin) && WriteVector(file, table.slopes) && std::fflush(file) == 0;
            _exit(written ? 0 : 1);
        }
        children.push_back({process, file});
    }
    std::vector<SlopeTable> tables(children.size());
    for (std::size_t n = 0; n < children.size(); ++n) {
        int status = 0;
        waitpid(children[n].process, &status, 0);
        std::rewind(children[n].file);
        if (status != 0 || !ReadVector(children[n].file, tables[n].begin) ||
            !ReadVector(children[n].file, tables[n].slopes)) {
            Fail("a process that measured slopes has failed", children, n + 1);
        }
        std::fclose(children[n].file);
    }
    return Merge(tables, samples.size());
}
