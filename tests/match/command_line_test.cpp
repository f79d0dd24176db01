#include "match/command_line.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace {

struct Read {
    bool good;
    MatchSettings settings;
    std::string error;
};

/// Words are separated by blanks.
Read ReadLine(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    Read read{false, {}, ""};
    const std::vector<std::string_view> arguments(words.begin(), words.end());
    read.good = ReadCommandLine(arguments, read.settings, read.error);
    return read;
}

const std::string TWO = "-engine cmd=/bin/cat name=A -engine cmd=sh name=B ";

TEST(MatchCommandLine, ReadsEverything) {
    const Read read = ReadLine(
        "-engine cmd=/bin/cat name=A dir=/ arg=-x arg= option.Hash=16 option.Path=a=b nodes=7 "
        "-each tc=40/60+0.5 depth=9 option.Hash=8 ponder=on -restart on -engine cmd=sh tc=5+0.05 ponder=off "
        "-tournament gauntlet -games 12 -concurrency 3 -norepeat -seed 99 -margin 25 -patience 1.5 -pgn out.pgn "
        "-event Test -openings file=o.epd order=sequential plies=6 "
        "-sprt elo0=-3.5 elo1=2 alpha=0.1 beta=0.2 -draw from=30 moves=4 score=5 -resign moves=2 score=500");
    ASSERT_TRUE(read.good) << read.error;
    const MatchSettings& match = read.settings;
    const EngineSettings& first = match.engines[0];
    EXPECT_EQ(first.arguments, (std::vector<std::string>{"-x", ""}));
    // What is said of one engine comes after what is said of each, and so holds.
    ASSERT_EQ(first.options.size(), 3u);
    EXPECT_EQ(first.options[0].second, "8");
    EXPECT_EQ(first.options[1].second, "16");
    EXPECT_EQ(first.options[2].second, "a=b");
    EXPECT_EQ(LimitsText(first.limits), "tc=40/60+0.5 nodes=7 depth=9");
    EXPECT_EQ(LimitsText(match.engines[1].limits), "tc=5+0.05 depth=9");
    EXPECT_EQ(match.engines[1].limits.increment, Milliseconds(50));
    EXPECT_TRUE(first.ponder && first.restart && match.engines[1].restart && !match.engines[1].ponder);
    EXPECT_TRUE(match.games == 12 && match.concurrency == 3 && !match.repeat && match.seed == 99);
    EXPECT_EQ(match.patience, Milliseconds(1500));
    EXPECT_TRUE(!match.random_order && match.opening_plies == 6);
    ASSERT_TRUE(match.sprt && match.draw && match.resign);
    EXPECT_EQ(match.sprt->elo0, -3.5);
    EXPECT_EQ(match.sprt->beta, 0.2);
    EXPECT_TRUE(match.draw->from == 30 && match.resign->score == 500);
}

TEST(MatchCommandLine, MistakesAreNamed) {
    const Read read = ReadLine(TWO + "-each nodes=10");
    EXPECT_TRUE(read.good && read.settings.repeat);
    EXPECT_FALSE(read.settings.sprt || read.settings.draw || read.settings.resign);
    const auto expect = [](const std::string& line, const std::string& message) {
        const Read mistaken = ReadLine(line);
        EXPECT_FALSE(mistaken.good) << line;
        EXPECT_NE(mistaken.error.find(message), std::string::npos) << line << ": " << mistaken.error;
    };
    const std::pair<const char*, const char*> setups[] = {
        {"-engine cmd=sh", "two engines"},
        {"-engine name=A -engine cmd=sh -each nodes=1", "cmd="},
        {"-engine cmd=sh -engine cmd=sh -each nodes=1", "both engines are called"},
        {"-engine cmd=/nowhere/x -engine cmd=sh -each nodes=1", "/nowhere/x"},
        {"-engine cmd=/bin -engine cmd=sh -each nodes=1", "no program"},
        {"-engine cmd=no-such-program -engine cmd=sh -each nodes=1", "search path"},
        {"-engine cmd=sh name=A dir=/nowhere -engine cmd=sh -each nodes=1", "/nowhere"},
    };
    for (const auto& [line, message] : setups) {
        expect(line, message);
    }
    expect(TWO + "-engine cmd=sh -each nodes=1 -sprt", "tests two engines");
    expect(TWO + "-engine cmd=sh -each nodes=1 -games 4000000", "3 pairings");
    expect(TWO, "no limit");
    expect(TWO + "-each nodes=1 -games", "-games needs");
    expect(TWO + "-each nodes=1 -sprt elo0=5 elo1=5", "elo0 below elo1");
    // A word that cannot be read is named.
    for (const char* word : {"tc=", "tc=0", "tc=5+", "tc=0/5", "tc=nan", "tc=-1", "tc=1e99", "nodes=0", "nodes=1x",
                             "colour=red", "nodes", "option.=1", "vary.X=1,,2", "vary.=1", "ponder=yes"}) {
        expect(TWO + "-each nodes=1 " + word, word);
    }
    for (const char* words :
         {"-restart x", "-tournament swiss", "-games 0", "-games 99999999999", "-concurrency x", "-sprt alpha=0.7",
          "-openings x.pgn", "-openings format=xml", "-patience 0", "stray", "-what"}) {
        expect(TWO + "-each nodes=1 " + words, std::string(words).substr(0, std::string(words).find(' ')));
    }
}

}  // namespace
