// Games of the engine against itself, by the real program: nothing but the arguments decides what is in the file.

#include "support/files.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(SelfPlay, TheSameBytesByAnyNumberOfProcessesAndAfterAnInterruption) {
    const TestFolder folder;
    folder.Write("openings.pgn", "1. e4 e5 *\n\n1. d4 d5 *\n\n1. c4 *\n\n");
    const auto run = [&](const std::string& out, const std::string& arguments) {
        const std::string command = "cd " + folder.Path() +
                                    " && " QUORVANTH_SELFPLAY_PROGRAM
                                    " -openings openings.pgn -games 4 -nodes 200 -random 3 -balance 30 -out " +
                                    out + " " + arguments + " 2>error.txt";
        return std::system(command.c_str());
    };
    ASSERT_EQ(run("one.pgn", "-processes 1"), 0) << folder.Read("error.txt");
    const std::string games = folder.Read("one.pgn");
    const std::size_t third = games.find("[Round \"3\"]");
    ASSERT_NE(third, std::string::npos) << games;
    EXPECT_NE(games.find("[Round \"4\"]"), std::string::npos) << games;

    std::size_t starts = 0;
    for (std::size_t game = games.find("[Event "); game != std::string::npos; game = games.find("[Event ", game + 1)) {
        const std::size_t comment = games.find('{', game);
        ASSERT_NE(comment, std::string::npos);
        EXPECT_LE(std::abs(std::stod(games.substr(comment + 1))), 0.30) << games.substr(game);
        ++starts;
    }
    EXPECT_EQ(starts, 4U);

    ASSERT_EQ(run("three.pgn", "-processes 3"), 0) << folder.Read("error.txt");
    EXPECT_TRUE(folder.Read("three.pgn") == games);

    for (const std::size_t cut : {games.find("\n\n", third) + 20, games.size() - 1}) {
        folder.Write("cut.pgn", games.substr(0, cut));
        ASSERT_EQ(run("cut.pgn", "-processes 2"), 0) << folder.Read("error.txt");
        EXPECT_TRUE(folder.Read("cut.pgn") == games) << cut;
    }

    folder.Write("foreign.pgn", "[Event \"Match\"]\n\n1. e4 *\n\n");
    EXPECT_NE(run("foreign.pgn", ""), 0);
    EXPECT_NE(folder.Read("error.txt").find("something other"), std::string::npos);
}

}  // namespace
