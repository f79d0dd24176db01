#include "values/named_values.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <map>
#include <span>
#include <utility>

#include "eval/parameters.h"

namespace {

constexpr std::string_view ALL_ZERO = "zero";
constexpr std::size_t ZERO_FROM = 16;     // longer lists of zeros are written as the word
constexpr std::size_t SHOWN_LENGTH = 40;  // of a strange word in a message

/// The names of all descriptors, in their order.
std::vector<std::string> Names() {
    std::vector<std::string> names;
    int block = 0;
    int reserved = 0;
    for (const Parameter& parameter : Parameters()) {
        if (parameter.block != block) {
            block = parameter.block;
            reserved = 0;
        }
        switch (parameter.store) {
            case ParameterStore::TABLE:
                names.emplace_back(parameter.name);
                break;
            case ParameterStore::IMBALANCE:
                names.emplace_back("ImbalanceStats");
                break;
            case ParameterStore::ARMY:
                names.emplace_back("ArmyStats");
                break;
            case ParameterStore::MOVE_COUNTS:
                names.emplace_back("MoveCounts");
                break;
            case ParameterStore::RESERVED:
                ++reserved;
                names.push_back("Reserved" + std::to_string(block) + "." + std::to_string(reserved));
                break;
        }
    }
    return names;
}

std::string InLine(int line, const std::string& problem) {
    return "line " + std::to_string(line) + ": " + problem;
}

std::string Quoted(std::string_view word) {
    std::string text(word.substr(0, SHOWN_LENGTH));
    std::ranges::replace_if(
        text, [](char c) { return c < '!' || c > '~'; }, '?');
    return "\"" + text + (word.size() > SHOWN_LENGTH ? "...\"" : "\"");
}

bool IsSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Takes the next line off `text`, without its end.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Takes the next word off `line`; empty when there is none.
std::string_view TakeWord(std::string_view& line) {
    const auto first = std::ranges::find_if_not(line, IsSpace);
    const auto last = std::find_if(first, line.end(), IsSpace);
    const std::string_view word(first, last);
    line = std::string_view(last, line.end());
    return word;
}

/// Answers an empty string, or why `word` is no value of this store. Move counts have 64 bits, all others 32.
std::string ReadValue(std::string_view word, ParameterStore store, std::int64_t& value) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error == std::errc::invalid_argument || end != word.data() + word.size()) {
        return Quoted(word) + " is no number";
    }
    const bool narrow = store != ParameterStore::MOVE_COUNTS;
    if (error == std::errc::result_out_of_range || (narrow && (value < std::numeric_limits<std::int32_t>::min() ||
                                                               value > std::numeric_limits<std::int32_t>::max()))) {
        return Quoted(word) + " is out of range";
    }
    return {};
}

std::size_t PlacesOf(const Parameter& parameter) {
    return static_cast<std::size_t>(parameter.places);
}

/// Reads the named text statement by statement.
class NamedReader {
  public:
    explicit NamedReader(FileValues& values) : values_(values), names_(Names()), begun_(names_.size()) {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            index_.emplace(names_[i], i);
        }
        values_.assign(names_.size(), {});
    }

    std::string Read(std::string_view text) {
        while (!text.empty()) {
            ++line_;
            if (std::string problem = ReadLine(TakeLine(text)); !problem.empty()) {
                return problem;
            }
        }
        std::string problem = CloseStatement();
        return problem.empty() ? FindMissing() : problem;
    }

  private:
    static constexpr std::size_t NOTHING = static_cast<std::size_t>(-1);

    std::string ReadLine(std::string_view line) {
        line = line.substr(0, line.find('#'));
        if (const std::size_t equals = line.find('='); equals != std::string_view::npos) {
            std::string_view left = line.substr(0, equals);
            const std::string_view name = TakeWord(left);
            std::string problem = OpenStatement(name, TakeWord(left));
            if (!problem.empty()) {
                return problem;
            }
            line.remove_prefix(equals + 1);
        }
        for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
            if (std::string problem = TakeValue(word); !problem.empty()) {
                return InLine(line_, problem);
            }
        }
        return {};
    }

    std::string OpenStatement(std::string_view name, std::string_view surplus) {
        if (std::string problem = CloseStatement(); !problem.empty()) {
            return problem;
        }
        if (name.empty() || !surplus.empty()) {
            return InLine(line_, "one name must stand before '='");
        }
        const auto found = index_.find(name);
        if (found == index_.end()) {
            return InLine(line_, "unknown name " + Quoted(name));
        }
        if (begun_[found->second] != 0) {
            return InLine(line_,
                          names_[found->second] + " stands already in line " + std::to_string(begun_[found->second]));
        }
        open_ = found->second;
        begun_[open_] = line_;
        all_zero_ = false;
        return {};
    }

    std::string TakeValue(std::string_view word) {
        if (open_ == NOTHING) {
            return Quoted(word) + " stands before the first name";
        }
        const Parameter& parameter = Parameters()[open_];
        std::vector<std::int64_t>& list = values_[open_];
        if (all_zero_ || (word == ALL_ZERO && !list.empty())) {
            return "\"zero\" must stand alone";
        }
        if (word == ALL_ZERO) {
            all_zero_ = true;
            list.assign(PlacesOf(parameter), 0);
            return {};
        }
        std::int64_t value = 0;
        std::string problem = ReadValue(word, parameter.store, value);
        if (problem.empty() && list.size() == PlacesOf(parameter)) {
            problem = names_[open_] + " has more than " + std::to_string(parameter.places) + " values";
        }
        list.push_back(value);
        return problem;
    }

    /// Tells the line of the name when values are missing.
    std::string CloseStatement() const {
        if (open_ == NOTHING || values_[open_].size() == PlacesOf(Parameters()[open_])) {
            return {};
        }
        return InLine(begun_[open_], names_[open_] + " has " + std::to_string(values_[open_].size()) + " values, not " +
                                         std::to_string(Parameters()[open_].places));
    }

    std::string FindMissing() {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (begun_[i] == 0 && Parameters()[i].store == ParameterStore::RESERVED) {
                values_[i].assign(PlacesOf(Parameters()[i]), 0);
            } else if (begun_[i] == 0) {
                return InLine(line_, "the text ends without " + names_[i]);
            }
        }
        return {};
    }

    FileValues& values_;
    const std::vector<std::string> names_;
    std::map<std::string_view, std::size_t> index_;
    std::vector<int> begun_;  // line of each name, 0 for none yet
    std::size_t open_ = NOTHING;
    bool all_zero_ = false;
    int line_ = 0;
};

std::size_t IndexOf(const Parameter& parameter) {
    return static_cast<std::size_t>(&parameter - Parameters().data());
}

void AppendNumber(std::string& text, std::int64_t value) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

/// Half tables as they lie on the board, anything else as eight a line.
void AppendStatement(std::string& text, const Parameter& parameter, const std::string& name,
                     const std::vector<std::int64_t>& list) {
    const bool all_zero = std::ranges::all_of(list, [](std::int64_t value) { return value == 0; });
    if (all_zero && parameter.store == ParameterStore::RESERVED) {
        return;
    }
    text += name + " =";
    if (all_zero && list.size() > ZERO_FROM) {
        text += ' ';
        text += ALL_ZERO;
    } else {
        const std::size_t row = parameter.layout == FileLayout::HALF ? 4 : 8;
        for (std::size_t i = 0; i < list.size(); ++i) {
            text += i % row == 0 && list.size() > row ? "\n    " : " ";
            AppendNumber(text, list[i]);
        }
    }
    text += '\n';
}

}  // namespace

std::string ReadNamedValues(std::string_view text, FileValues& values) {
    return NamedReader(values).Read(text);
}

std::string ReadPlainValues(std::string_view text, FileValues& values) {
    values.assign(Parameters().size(), {});
    int line = 0;
    std::string_view rest_of_line;
    const auto next_word = [&] {
        std::string_view word = TakeWord(rest_of_line);
        while (word.empty() && !text.empty()) {
            rest_of_line = TakeLine(text);
            ++line;
            word = TakeWord(rest_of_line);
        }
        return word;
    };
    const std::vector<std::string> names = Names();
    std::string problem;
    ForEachPlace([&](const Parameter& parameter, int) {
        if (!problem.empty()) {
            return;
        }
        const std::size_t i = IndexOf(parameter);
        const std::string_view word = next_word();
        std::int64_t value = 0;
        problem = word.empty() ? "the text ends within " + names[i] : ReadValue(word, parameter.store, value);
        values[i].push_back(value);
    });
    if (problem.empty() && !next_word().empty()) {
        problem = "there are values after the last one";
    }
    return problem.empty() ? problem : InLine(line, problem);
}

std::string NamedText(const FileValues& values) {
    std::string text = "# The parameters of the evaluation in the order of values.txt.\n";
    const std::vector<std::string> names = Names();
    int block = 0;
    for (const Parameter& parameter : Parameters()) {
        if (parameter.block != block) {
            block = parameter.block;
            text += "\n# Block " + std::to_string(block) + "\n";
        }
        AppendStatement(text, parameter, names[IndexOf(parameter)], values[IndexOf(parameter)]);
    }
    return text;
}

std::string PlainText(const FileValues& values) {
    std::string text;
    ForEachPlace([&](const Parameter& parameter, int place) {
        AppendNumber(text, values[IndexOf(parameter)][static_cast<std::size_t>(place)]);
        text += '\n';
    });
    return text;
}
