// A conversation with the real program: lines in through a pipe, lines out through another.
//
// Waiting has a generous limit, so that a slow machine or a sanitizer build passes; a missing answer throws, which
// fails the test with the end of the transcript. The program is ended with the object, if it has not ended itself.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Conversation {
  public:
    using Lines = std::vector<std::string>;

    using Files = std::vector<std::pair<std::string, std::string>>;  // names and contents

    /// Starts the program in a directory of its own, empty but for `files`, and takes in what it says on start-up.
    explicit Conversation(const Files& files = {});
    ~Conversation();
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    void Send(std::string_view line);
    void SendRaw(std::string_view text);  // as it is, without a newline
    void CloseInput();
    void CloseOutput();  // nobody reads any more

    /// The next line that begins with `start`; the lines before it are passed over.
    std::string Expect(std::string_view start);

    /// Every line up to the one that begins with `start`, that one included.
    Lines ExpectUpTo(std::string_view start);

    /// All that a command that does not think prints: sends it with `isready` behind it, and leaves that answer out.
    Lines Ask(std::string_view command);

    /// The lines that are there within a short while, for what must not be said.
    Lines Overhear(std::chrono::milliseconds time);

    /// Reads to the end and answers the exit code; a signal's number comes as a negative one.
    int ExitCode();

    /// What was said on start-up, and everything since.
    const Lines& Greeting() const { return greeting_; }
    const Lines& Transcript() const { return transcript_; }
    void ForgetTranscript() { transcript_.clear(); }
    std::size_t CountLines(std::string_view start) const;

    void WriteFile(const std::string& name, std::string_view text) const;
    std::string ReadFile(const std::string& name) const;

  private:
    bool ReadMore(std::chrono::steady_clock::time_point deadline);
    bool NextLine(std::string& line, std::chrono::steady_clock::time_point deadline);
    [[noreturn]] void Fail(const std::string& what) const;

    std::filesystem::path directory_;
    pid_t process_ = -1;
    int to_engine_ = -1;
    int from_engine_ = -1;
    int status_ = 0;
    std::string pending_;
    Lines greeting_;
    Lines transcript_;
};

/// Runs a whole script with the input closed behind it.
struct ScriptResult {
    int exit_code;
    Conversation::Lines lines;
};
ScriptResult RunScript(std::string_view input);

std::string Joined(const Conversation::Lines& lines);
