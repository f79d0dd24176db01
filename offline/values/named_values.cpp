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

/// Takes the next line off `text`, with its end if that is asked for.
std::string_view TakeLine(std::string_view& text, bool with_end = false) {
    const std::size_t end = text.find('\n');
    const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
    const std::string_view line = text.substr(0, with_end ? length : end);
    text.remove_prefix(length);
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

std::string Digits(std::int64_t value) {
    std::string text;
    AppendNumber(text, value);
    return text;
}

bool IsAllZero(const std::vector<std::int64_t>& list) {
    return std::ranges::all_of(list, [](std::int64_t value) { return value == 0; });
}

/// Written as the word.
bool IsZeroStatement(const std::vector<std::int64_t>& list) {
    return list.size() > ZERO_FROM && IsAllZero(list);
}

/// What stands behind the '=': half tables as they lie on the board, anything else as eight a line. A list of more
/// than one line begins with a line's end.
std::string NumberLines(const Parameter& parameter, const std::vector<std::int64_t>& list) {
    std::string text;
    const std::size_t row = parameter.layout == FileLayout::HALF ? 4 : 8;
    for (std::size_t i = 0; i < list.size(); ++i) {
        text += i % row == 0 && list.size() > row ? "\n    " : " ";
        AppendNumber(text, list[i]);
    }
    return text;
}

void AppendStatement(std::string& text, const Parameter& parameter, const std::string& name,
                     const std::vector<std::int64_t>& list) {
    if (parameter.store == ParameterStore::RESERVED && IsAllZero(list)) {
        return;
    }
    text += name + " =";
    if (IsZeroStatement(list)) {
        text += ' ';
        text += ALL_ZERO;
    } else {
        text += NumberLines(parameter, list);
    }
    text += '\n';
}

/// Puts new numbers into a named text that ReadNamedValues takes.
class NamedUpdater {
  public:
    /// The text must outlive the updater.
    NamedUpdater(std::string_view text, const FileValues& old_values, const FileValues& new_values)
        : old_values_(old_values), new_values_(new_values), names_(Names()), statements_(names_.size()) {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            statements_[i].changed = old_values_[i] != new_values_[i];
            statements_[i].zeroed = IsZeroStatement(new_values_[i]);
        }
        std::size_t open = NOTHING;
        while (!text.empty()) {
            lines_.push_back(SplitLine(TakeLine(text, true), open));
        }
        for (const Line& line : lines_) {
            Measure(line);
        }
        for (std::size_t i = 0; i < statements_.size(); ++i) {
            if (statements_[i].in_columns) {
                for (const std::int64_t value : new_values_[i]) {
                    statements_[i].width = std::max(statements_[i].width, 1 + Digits(value).size());
                }
            }
        }
    }

    std::string Text() {
        std::string text;
        for (const Line& line : lines_) {
            Append(text, line);
        }
        for (std::size_t i = 0; i < statements_.size(); ++i) {
            if (statements_[i].changed && !statements_[i].named) {  // reserved places that are no longer 0
                text += text.empty() || text.ends_with('\n') ? "" : "\n";
                AppendStatement(text, Parameters()[i], names_[i], new_values_[i]);
            }
        }
        return text;
    }

  private:
    static constexpr std::size_t NOTHING = static_cast<std::size_t>(-1);

    struct Field {
        std::string_view gap;  // the blanks before the word
        std::string_view word;
    };

    struct Line {
        std::string_view head;  // up to the '=', if there is one
        std::vector<Field> fields;
        std::string_view tail;  // blanks, comment, end of line
        std::size_t statement;
    };

    struct Statement {
        bool changed = false;
        bool zeroed = false;      // the word will stand for the numbers
        bool named = false;       // by the text
        bool in_columns = false;  // numbers stand below each other, with more than one blank between some
        std::size_t width = 0;    // of a column
        std::size_t written = 0;  // values so far
    };

    Line SplitLine(std::string_view text, std::size_t& open) {
        Line line{};
        std::string_view code = text.substr(0, text.find_first_of("#\n"));
        if (const std::size_t equals = code.find('='); equals != std::string_view::npos) {
            line.head = code.substr(0, equals + 1);
            std::string_view name = line.head.substr(0, equals);
            open = static_cast<std::size_t>(std::ranges::find(names_, TakeWord(name)) - names_.begin());
            statements_[open].named = true;
            code.remove_prefix(equals + 1);
        }
        line.statement = open;
        const char* end = text.data() + line.head.size();
        for (std::string_view word = TakeWord(code); !word.empty(); word = TakeWord(code)) {
            line.fields.push_back({{end, word.data()}, word});
            end = word.data() + word.size();
        }
        line.tail = {end, text.data() + text.size()};
        return line;
    }

    /// Columns keep their width unless a new number needs more. What stands left of a line's first number is its
    /// indentation.
    void Measure(const Line& line) {
        if (line.statement == NOTHING || !statements_[line.statement].changed) {
            return;
        }
        Statement& statement = statements_[line.statement];
        for (std::size_t i = 1; i < line.fields.size(); ++i) {
            const Field& field = line.fields[i];
            statement.in_columns |= field.gap.size() > 1 && field.gap.find_first_not_of(' ') == std::string_view::npos;
            statement.width = std::max(statement.width, field.gap.size() + field.word.size());
        }
    }

    void Append(std::string& text, const Line& line) {
        text += line.head;
        if (line.statement == NOTHING || !statements_[line.statement].changed) {
            for (const Field& field : line.fields) {
                text += field.gap;
                text += field.word;
            }
            text += line.tail;
        } else if (statements_[line.statement].zeroed) {
            AppendZeroed(text, line);
        } else if (!line.fields.empty() && line.fields.front().word == ALL_ZERO) {
            AppendLaidOut(text, line);
        } else {
            AppendNumbers(text, line);
            text += line.tail;
        }
    }

    void AppendNumbers(std::string& text, const Line& line) {
        Statement& statement = statements_[line.statement];
        for (std::size_t i = 0; i < line.fields.size(); ++i) {
            const auto& [gap, word] = line.fields[i];
            const std::int64_t value = new_values_[line.statement][statement.written];
            const bool same = value == old_values_[line.statement][statement.written];
            const std::string digits = same ? std::string(word) : Digits(value);
            ++statement.written;
            if (statement.in_columns && gap.find_first_not_of(' ') == std::string_view::npos) {
                const std::size_t width = i == 0 ? gap.size() + word.size() : statement.width;
                const std::size_t least = gap.empty() ? 0 : 1;
                text.append(std::max(width, digits.size() + least) - digits.size(), ' ');
            } else {
                text += gap;
            }
            text += digits;
        }
    }

    /// The word stands behind the '='. Lines that held numbers alone go.
    void AppendZeroed(std::string& text, const Line& line) const {
        if (!line.head.empty()) {
            text += ' ';
            text += ALL_ZERO;
            text += line.tail;
        } else if (line.fields.empty() || line.tail.find('#') != std::string_view::npos) {
            text += line.fields.empty() ? "" : line.fields.front().gap;
            text += line.fields.empty() ? line.tail : line.tail.substr(line.tail.find('#'));
        }
    }

    /// The comment stays with the name, the numbers follow as in a fresh text.
    void AppendLaidOut(std::string& text, const Line& line) const {
        const std::string numbers = NumberLines(Parameters()[line.statement], new_values_[line.statement]);
        if (numbers.front() == '\n') {
            text += line.tail;
            text += text.ends_with('\n') ? "" : "\n";
            text += numbers.substr(1);
            text += '\n';
        } else {
            text += numbers;
            text += line.tail;
        }
    }

    const FileValues& old_values_;
    const FileValues& new_values_;
    const std::vector<std::string> names_;
    std::vector<Statement> statements_;
    std::vector<Line> lines_;
};

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

std::string UpdateNamedText(std::string_view old_text, const FileValues& values, std::string& updated) {
    FileValues old_values;
    if (std::string problem = ReadNamedValues(old_text, old_values); !problem.empty()) {
        return problem;
    }
    updated = NamedUpdater(old_text, old_values, values).Text();
    return {};
}

std::string PlainText(const FileValues& values) {
    std::string text;
    ForEachPlace([&](const Parameter& parameter, int place) {
        AppendNumber(text, values[IndexOf(parameter)][static_cast<std::size_t>(place)]);
        text += '\n';
    });
    return text;
}
