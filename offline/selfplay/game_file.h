// The file that self-play games are added to, in the order of their numbers.
#pragma once

#include <map>
#include <string>

class GameFile {
  public:
    /// Opens `path` for adding. What an interrupted run has left is kept up to its last whole game; a rest behind that
    /// is cut off. Answers an empty string, or why the file cannot be used.
    std::string Open(const std::string& path);

    /// Games in the file, which is the number of the next one.
    int Games() const { return games_; }

    /// Takes a game in any order; writes it as soon as all before it are there. False when the file takes no more.
    bool Add(int number, std::string pgn);

  private:
    std::string path_;
    int games_ = 0;
    std::map<int, std::string> waiting_;
};
