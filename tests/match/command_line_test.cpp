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
        "-each tc=40/60+0.5 depth=9 option.Hash=8 vary.X=1 ponder=on -restart on "
        "-engine cmd=sh tc=5+0.05 vary.X=a,b,c ponder=off -tournament gauntlet -games 12 -concurrency 3 -norepeat "
        "-seed 99 "
        "-margin 25 -patience 1.5 -pgn out.pgn -event Test -openings file=o.epd format=pgn order=sequential plies=6 "
        "-sprt elo0=-3.5 elo1=2 alpha=0.1 beta=0.2 -draw from=30 moves=4 score=5 -resign moves=2 score=500");
    ASSERT_TRUE(read.good) << read.error;
    const MatchSettings& match = read.settings;
    const EngineSettings& first = match.engines[0];
    EXPECT_EQ(first.name, "A");
    EXPECT_EQ(first.arguments, (std::vector<std::string>{"-x", ""}));
    // What is said of one engine comes after what is said of each, and so holds.
    ASSERT_EQ(first.options.size(), 3u);
    EXPECT_EQ(first.options[0].second, "8");
    EXPECT_EQ(first.options[1].second, "16");
    EXPECT_EQ(first.options[2].second, "a=b");
    EXPECT_EQ(LimitsText(first.limits), "tc=40/60+0.5 nodes=7 depth=9");
    EXPECT_EQ(match.engines[1].name, "sh");
    EXPECT_EQ(LimitsText(match.engines[1].limits), "tc=5+0.05 depth=9");
    EXPECT_EQ(match.engines[1].limits.base, Milliseconds(5000));
    EXPECT_EQ(match.engines[1].limits.increment, Milliseconds(50));
    EXPECT_EQ(match.engines[1].limits.period, 0);
    EXPECT_TRUE(first.ponder && first.restart && match.engines[1].restart && !match.engines[1].ponder);
    ASSERT_EQ(match.engines[1].varied.size(), 1u);
    EXPECT_EQ(match.engines[1].varied[0].values, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(match.tournament, Tournament::GAUNTLET);
    EXPECT_EQ(match.games, 12);
    EXPECT_EQ(match.concurrency, 3);
    EXPECT_FALSE(match.repeat);
    EXPECT_EQ(match.seed, 99u);
    EXPECT_EQ(match.margin, Milliseconds(25));
    EXPECT_EQ(match.patience, Milliseconds(1500));
    EXPECT_EQ(match.pgn, "out.pgn");
    EXPECT_EQ(match.opening_format, OpeningFormat::PGN);
    EXPECT_FALSE(match.random_order);
    EXPECT_EQ(match.opening_plies, 6);
    ASSERT_TRUE(match.sprt && match.draw && match.resign);
    EXPECT_EQ(match.sprt->elo0, -3.5);
    EXPECT_EQ(match.sprt->beta, 0.2);
    EXPECT_EQ(match.draw->from, 30);
    EXPECT_EQ(match.resign->score, 500);
}

TEST(MatchCommandLine, MistakesAreNamed) {
    const Read read = ReadLine(TWO + "-each nodes=10");
    EXPECT_TRUE(read.good && read.settings.repeat);
    EXPECT_FALSE(read.settings.sprt || read.settings.draw || read.settings.resign);
    const std::pair<const char*, const char*> setups[] = {
        {"-engine cmd=sh", "two engines"},
        {"-engine name=A -engine cmd=sh -each nodes=1", "cmd="},
        {"-engine cmd=sh -engine cmd=sh -each nodes=1", "both engines are called"},
        {"-engine cmd=/nowhere/x -engine cmd=sh -each nodes=1", "/nowhere/x"},
        {"-engine cmd=/bin -engine cmd=sh -each nodes=1", "no program"},
        {"-engine cmd=no-such-program -engine cmd=sh -each nodes=1", "search path"},
        {"-engine cmd=sh name=A dir=/nowhere -engine cmd=sh -each nodes=1", "/nowhere"},
    };
    const std::pair<const char*, const char*> settings[] = {
        {"-engine cmd=sh -each nodes=1 -sprt", "tests two engines"},
        {"-engine cmd=sh name=B -each nodes=1", "two engines are called"},
        {"-engine cmd=sh -each nodes=1 -games 4000000", "3 pairings"},
        {"-each nodes=1 vary.X=1,,2", "vary.X=1,,2"},
        {"-each nodes=1 vary.X=", "vary.X="},
        {"-each nodes=1 vary.=1", "vary.=1"},
        {"-each nodes=1 ponder=yes", "ponder=yes"},
        {"-each nodes=1 -restart x", "-restart"},
        {"-each nodes=1 -tournament swiss", "swiss"},
        {"", "no limit"},
        {"-each nodes", "nodes"},
        {"-each option.=1", "option."},
        {"-each nodes=1 -games", "-games needs"},
        {"-each nodes=1 -games 0", "-games"},
        {"-each nodes=1 -games 99999999999", "-games"},
        {"-each nodes=1 -concurrency x", "-concurrency"},
        {"-each nodes=1 -sprt elo0=5 elo1=5", "elo0 below elo1"},
        {"-each nodes=1 -sprt alpha=0.7", "alpha=0.7"},
        {"-each nodes=1 -openings x.pgn", "x.pgn"},
        {"-each nodes=1 -openings format=xml", "format=xml"},
        {"-each nodes=1 -patience 0", "-patience"},
        {"-each nodes=1 stray", "stray"},
        {"-each nodes=1 -what", "-what"},
    };
    const auto expect = [](const std::string& line, const std::string& message) {
        const Read mistaken = ReadLine(line);
        EXPECT_FALSE(mistaken.good) << line;
        EXPECT_NE(mistaken.error.find(message), std::string::npos) << line << ": " << mistaken.error;
    };
    for (const auto& [line, message] : setups) {
        expect(line, message);
    }
    for (const auto& [line, message] : settings) {
        expect(TWO + line, message);
    }
    for (const char* limit :
         {"tc=", "tc=0", "tc=5+", "tc=0/5", "tc=nan", "tc=-1", "tc=1e99", "nodes=0", "nodes=1x", "colour=red"}) {
        expect(TWO + "-each " + limit, limit);
    }
}

}  // namespace
