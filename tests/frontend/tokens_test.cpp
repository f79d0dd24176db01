#include "frontend/tokens.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace {

TEST(CommandIs, AgreesUpToTheShorterEnd) {
    struct Case {
        const char* keyword;
        const char* text;
        bool matches;
    };
    const Case cases[] = {{"help", "h", true},          {"help", "hard", false},
                          {"hard", "  HARD 5", true},   {"perft", "perft5", true},
                          {"perft", "per ft", false},   {"help", "   ", false},
                          {"", "help", false},          {"st", "stop", false},
                          {"stop", "st", false},        {"st", "st 10", true},
                          {"stop", "stopping", false},  {"uci", "ucinewgame", false},
                          {"ucinewgame", "uci", false}, {"ucinewgame", "UciNewGame ", true}};
    for (const Case& each : cases) {
        EXPECT_EQ(CommandIs(each.keyword, each.text), each.matches) << each.keyword << " | " << each.text;
    }
}

TEST(Tokenize, SplitsAtRunsAndCountsTheOpenEnd) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"   ", {""}},
        {"go ", {"go", ""}},
        {"  go   depth 5", {"go", "depth", "5"}},
        {"level 40 5:30 2", {"level", "40", "5", "30", "2"}},
    };
    for (const auto& [line, tokens] : cases) {
        ASSERT_EQ(Tokenize(line, " :"), static_cast<int>(tokens.size())) << line;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            EXPECT_EQ(Tokens[i], tokens[i]) << line;
        }
    }
    std::string many;
    for (int i = 0; i < MAX_TOKENS + 500; ++i) {
        many += "a ";
    }
    EXPECT_EQ(Tokenize(many, " "), MAX_TOKENS);
    Tokenize("setoption name", " ");  // nothing is left of the line before
    EXPECT_TRUE(Tokens[2].empty() && Tokens[4].empty());
    EXPECT_EQ(TextFromToken("setoption name", 4), "");
}

TEST(TextToInteger, ToleratesJunkAndSaturates) {
    using Limits = std::numeric_limits<std::int64_t>;
    const std::pair<const char*, std::int64_t> cases[] = {{"", 0},
                                                          {"junk", 0},
                                                          {"-", 0},
                                                          {"+-3", 0},
                                                          {"12ab", 12},
                                                          {" \t-7 9", -7},
                                                          {"+5", 5},
                                                          {"2147483648", 2147483648},
                                                          {"-2147483649", -2147483649},
                                                          {"9223372036854775808", Limits::max()},
                                                          {"-9223372036854775809", Limits::min()}};
    constexpr std::int32_t low = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t high = std::numeric_limits<std::int32_t>::max();
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(TextToInteger64(text), value) << text;
        EXPECT_EQ(TextToInteger(text), std::clamp<std::int64_t>(value, low, high)) << text;
    }
    EXPECT_EQ(SaturatingProduct(high, 100), high);
    EXPECT_EQ(SaturatingProduct(low, 100), low);
    EXPECT_EQ(SaturatingProduct(-3, 100), -300);
}

}  // namespace
