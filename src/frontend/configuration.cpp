#include "frontend/configuration.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "book/book.h"
#include "eval/evaluation.h"
#include "frontend/tokens.h"
#include "position/settings.h"
#include "search/transposition.h"

namespace {

constexpr const char* FILE_NAME = "Quorvanth.ini";
constexpr std::string_view DELIMITERS = " =\r\n,\"";

/// Longer lines are cut here, and what remains of them counts as a further line. The newline does not count.
constexpr std::size_t LINE_LENGTH = 249;

/// What either table gets when its size cannot be obeyed.
constexpr std::int64_t FALLBACK_SIZE = 0x80000;

constexpr std::int32_t MAX_MEGABYTES = 1024;
constexpr std::int32_t MAX_TRANSPOSITION_POWER = 25;
constexpr std::int32_t MIN_PAWN_HASH_POWER = 12;
constexpr std::int32_t MAX_PAWN_HASH_POWER = 23;
constexpr std::int32_t MAX_STYLE = 300;    // percent
constexpr std::int32_t MAX_VARIETY = 100;  // percent

constexpr const char* TRANSPOSITION_WARNING = "Incorrect hash size setting in Quorvanth.ini; set to default";
constexpr const char* PAWN_HASH_WARNING = "Incorrect pawn hash size setting in Quorvanth.ini; set to default";

// The line at hand. Its tokens stand in Tokens.
std::int64_t line_number;
std::string_view line_text;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// The next line in `buffer`, without its newline; false at the end of the file.
bool ReadFileLine(std::FILE* file, std::array<char, LINE_LENGTH>& buffer, std::string_view& line) {
    std::size_t length = 0;
    int c = std::getc(file);
    if (c == EOF) {
        return false;
    }
    while (c != EOF && c != '\n' && length < buffer.size()) {
        buffer[length++] = static_cast<char>(c);
        c = std::getc(file);
    }
    if (c != EOF && c != '\n') {
        std::ungetc(c, file);
    }
    line = {buffer.data(), length};
    return true;
}

/// The line up to its first byte that is not printable ASCII: a tab and a carriage return end it as well. Byte 127
/// is let through.
std::string_view PlainPart(std::string_view line) {
    const auto foreign = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 32 || byte > 127;
    };
    return {line.begin(), std::ranges::find_if(line, foreign)};
}

void Warn(const char* text) {
    std::printf("Quorvanth.ini(%lld) WARNING: %s\n", static_cast<long long>(line_number), text);
    std::fflush(stdout);
}

void WarnOfToken() {
    const std::string_view token = Tokens[1];
    std::printf("Quorvanth.ini(%lld) WARNING: Token unknown \"%.*s\"\n", static_cast<long long>(line_number),
                static_cast<int>(token.size()), token.data());
    std::fflush(stdout);
}

std::int32_t Number() {
    return TextToInteger(Tokens[1]);
}

/// The value is this word in full; abbreviations are for keys.
bool ValueIs(std::string_view word) {
    return Tokens[1].size() == word.size() && CommandIs(word, Tokens[1]);
}

using Words = std::initializer_list<std::string_view>;

/// The words for 1 and those for 0; any other leaves the setting alone.
void SetWord(std::int32_t& setting, Words on, Words off) {
    if (std::ranges::any_of(on, ValueIs)) {
        setting = 1;
    } else if (std::ranges::any_of(off, ValueIs)) {
        setting = 0;
    } else {
        WarnOfToken();
    }
}

void SetBoolean(std::int32_t& setting) {
    SetWord(setting, {"on", "true"}, {"off", "false"});
}

void SetMegabytes(std::int64_t& entries, std::size_t entrySize, const char* warning) {
    const std::int32_t megabytes = Number();
    if (megabytes >= 0 && megabytes <= MAX_MEGABYTES) {
        entries = (std::int64_t{megabytes} << 20) / static_cast<std::int64_t>(entrySize);
    } else {
        Warn(warning);
        entries = FALLBACK_SIZE;
    }
}

void SetPowerOfTwo(std::int64_t& entries, std::int32_t least, std::int32_t most, const char* warning) {
    const std::int32_t power = Number();
    if (power >= least && power <= most) {
        entries = std::int64_t{1} << power;
    } else {
        Warn(warning);
        entries = FALLBACK_SIZE;
    }
}

/// A percentage from 0 to `most`; `name` as the warning writes it.
void SetPercentage(std::int32_t& setting, std::int32_t most, const char* name) {
    const std::int32_t wanted = Number();
    setting = std::clamp(wanted, 0, most);
    if (setting != wanted) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "Incorrect %s setting; set to %d", name, setting);
        Warn(text.data());
    }
}

void SetStyle(std::int32_t& shown, std::int32_t& rate, const char* name) {
    SetPercentage(shown, MAX_STYLE, name);
    rate = shown / 2;
}

void SetPondering() {
    SetBoolean(Pondering);
    if (ValueIs("off") || ValueIs("false")) {
        PonderOn = 0;
    }
}

struct ConfigurationKey {
    std::string_view name;
    void (*obey)();
};

// The order matters: a line belongs to the first key that it begins with.
constexpr ConfigurationKey keys[] = {
    {"TranspositionSizeMb", [] { SetMegabytes(TranspositionSize, sizeof(TTEntry), TRANSPOSITION_WARNING); }},
    {"TranspositionSize", [] { SetPowerOfTwo(TranspositionSize, 0, MAX_TRANSPOSITION_POWER, TRANSPOSITION_WARNING); }},
    {"ResignValue", [] { ResignValue = Number(); }},
    {"ResignTimes", [] { ResignTimes = Number(); }},
    {"PawnHashSizeMb", [] { SetMegabytes(PawnHashSize, sizeof(PawnHashEntry), PAWN_HASH_WARNING); }},
    {"PawnHashSize", [] { SetPowerOfTwo(PawnHashSize, MIN_PAWN_HASH_POWER, MAX_PAWN_HASH_POWER, PAWN_HASH_WARNING); }},
    {"Aggressivity", [] { SetStyle(Aggressivity, AggressivityRate, "AGGRESSIVITY"); }},
    {"Cowardice", [] { SetStyle(Cowardice, CowardiceRate, "COWARDICE"); }},
    {"VarietyOfPlay", [] { SetPercentage(VarietyOfPlay, MAX_VARIETY, "VarietyOfPlay"); }},
    {"BookLearningBound", [] { BookLearningBound = Number(); }},
    {"Learning", [] { SetBoolean(UseLearning); }},
    {"UseBookLearning", [] { SetBoolean(UseBookLearning); }},
    {"Pondering", SetPondering},
    {"UseEGTB", [] { SetBoolean(UseEGTB); }},
    {"EGTBPath", [] { EGTBPath = TextFromToken(line_text, 1); }},
    {"OpeningsBook", [] { OpenBook(std::string(TextFromToken(line_text, 1))); }},
    {"BookLearningMode", [] { SetWord(BookLearningMode, {"discover"}, {"kill"}); }},
    {"UseLearningData", [] { SetBoolean(UseLearningData); }},
    {"UseBookWeights", [] { SetBoolean(UseBookWeights); }},
    {"LogLearningIntoFile", [] { SetBoolean(LogLearningIntoFile); }},
    {"ObeyEachGo", [] { SetBoolean(ObeyEachGo); }},
};

void ObeyLine() {
    const ConfigurationKey* const key =
        std::ranges::find_if(keys, [](const ConfigurationKey& each) { return CommandIs(each.name, line_text); });
    if (key != std::end(keys) && Tokenize(line_text, DELIMITERS) >= 2) {
        key->obey();
    }
}

}  // namespace

void ReadConfiguration() {
    const File file(std::fopen(FILE_NAME, "rb"));
    if (file == nullptr) {
        return;
    }
    std::array<char, LINE_LENGTH> buffer{};
    std::string_view line;
    for (line_number = 1; ReadFileLine(file.get(), buffer, line); ++line_number) {
        if (!line.starts_with(';')) {
            line_text = PlainPart(line);
            ObeyLine();
        }
    }
}
