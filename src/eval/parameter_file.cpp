#include "eval/parameter_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <memory>

#include "eval/parameters.h"

namespace {

constexpr char PARAMETER_FILE_NAME[] = "values.txt";
constexpr std::int32_t NEUTRAL_TIME_FACTOR = 256;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Decimal integers from a stream, with scanf's idea of one and without scanf's price.
class NumberReader {
  public:
    explicit NumberReader(std::FILE* file) : file_(file) { Refill(); }

    /// True when the very first read failed, as it does for a directory.
    bool Unreadable() const { return end_ == 0 && std::ferror(file_) != 0; }

    /// Answers false at the end and at anything that is no number. Numbers beyond 64 bits become the nearest.
    bool Read(std::int64_t& value) {
        while (IsSpace(Peek())) {
            ++at_;
        }
        const int sign = Peek();
        if (sign == '-' || sign == '+') {
            ++at_;
        }
        if (!IsDigit(Peek())) {
            return false;
        }
        const std::uint64_t limit =
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (sign == '-' ? 1 : 0);
        std::uint64_t magnitude = 0;
        for (int digit = Peek(); IsDigit(digit); digit = Peek()) {
            const auto unit = static_cast<std::uint64_t>(digit - '0');
            magnitude = magnitude > (limit - unit) / 10 ? limit : magnitude * 10 + unit;
            ++at_;
        }
        value = static_cast<std::int64_t>(sign == '-' ? 0 - magnitude : magnitude);
        return true;
    }

  private:
    static constexpr int END = -1;

    static bool IsSpace(int character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
    static bool IsDigit(int character) { return character >= '0' && character <= '9'; }

    int Peek() {
        if (at_ == end_ && !Refill()) {
            return END;
        }
        return static_cast<unsigned char>(buffer_[at_]);
    }

    bool Refill() {
        at_ = 0;
        end_ = std::fread(buffer_.data(), 1, buffer_.size(), file_);
        return end_ != 0;
    }

    std::FILE* file_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::array<char, 1 << 16> buffer_;
};

void StoreMoveCount(std::vector<std::int64_t>& counts, int place, std::int64_t value) {
    if (counts.empty()) {
        counts.assign(MOVE_COUNT_VALUES, 0);
    }
    if (place % 2 == 0 && value < 0) {
        std::printf("Error! Negative prune stats value: %" PRId64 "\n", value);
    }
    counts[static_cast<std::size_t>(place)] = value;
}

/// Where the value of a statistics place stands; nullptr for other places.
template <typename Statistics>
auto* StatisticOf(Statistics& statistics, const Parameter& parameter, int place) {
    const auto entry = static_cast<std::size_t>(EntryOfPlace(parameter, place));
    return parameter.store == ParameterStore::IMBALANCE ? &statistics.imbalance[entry]
           : parameter.store == ParameterStore::ARMY    ? &statistics.army[entry]
                                                        : nullptr;
}

void ReadParameters(NumberReader& reader, EvaluationStatistics& statistics) {
    bool ended = false;
    ForEachPlace([&](const Parameter& parameter, int place) {
        std::int64_t value = 0;
        if (ended || !reader.Read(value)) {
            ended = true;
            return;
        }
        const auto word = static_cast<std::int32_t>(std::clamp<std::int64_t>(
            value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
        if (parameter.store == ParameterStore::TABLE) {
            StoreValue(parameter, place, word);
        } else if (parameter.store == ParameterStore::MOVE_COUNTS) {
            StoreMoveCount(statistics.move_counts, place, value);
        } else if (std::int32_t* statistic = StatisticOf(statistics, parameter, place)) {
            *statistic = word;
        }
    });
}

}  // namespace

EvaluationStatistics::EvaluationStatistics()
    : imbalance(IMBALANCE_SETS), army(ARMY_PAIRS), time_factors(ARMY_PAIRS, NEUTRAL_TIME_FACTOR) {}

EvaluationStatistics LoadParameterFile() {
    EvaluationStatistics statistics;
    std::ranges::fill(TradeBonus, 0);
    std::ranges::fill(TradeThin, 0);
    std::ranges::fill(PieceValueFull, 0);
    std::ranges::fill(PieceValueThin, 0);

    const File file{std::fopen(PARAMETER_FILE_NAME, "r")};
    bool readable = false;
    if (file) {
        NumberReader reader(file.get());
        readable = !reader.Unreadable();
        ReadParameters(reader, statistics);
    }
    if (!readable) {
        std::printf("Error loading values.txt\n");
    }
    std::fflush(stdout);
    return statistics;
}

bool WriteParameterFile(const std::string& path, const EvaluationStatistics& statistics) {
    std::string text;
    const auto append = [&text](std::int64_t value) {
        char digits[24];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        text += '\n';
    };
    ForEachPlace([&](const Parameter& parameter, int place) {
        if (parameter.store == ParameterStore::TABLE) {
            append(parameter.values[EntryOfPlace(parameter, place)]);
        } else if (parameter.store == ParameterStore::MOVE_COUNTS) {
            append(statistics.move_counts.empty() ? 0 : statistics.move_counts[static_cast<std::size_t>(place)]);
        } else {
            const std::int32_t* statistic = StatisticOf(statistics, parameter, place);
            append(statistic != nullptr ? *statistic : 0);
        }
    });
    File file{std::fopen(path.c_str(), "wb")};
    if (!file) {
        return false;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    return std::fclose(file.release()) == 0 && written;
}
