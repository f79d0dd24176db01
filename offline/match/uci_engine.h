// The referee's side of the UCI protocol.
#pragma once

#include "match/engine_process.h"

#include <optional>

enum class Answer {
    OK,
    CRASHED,  // the engine is gone
    STALLED,  // it did not answer and was killed
    LATE,     // it answered after its clock had run out
    STOPPED   // the match is called off
};

/// A mate in n moves counts as this many centipawns minus n.
inline constexpr int MATE_CENTIPAWNS = 100000;

struct MoveAnswer {
    Answer answer = Answer::OK;
    std::string move;  // as the engine wrote it
    std::chrono::microseconds elapsed{0};
    std::optional<int> score;  // of the last thinking line, in centipawns, from the engine's own point of view
    int depth = 0;             // 0 for unknown
};

class UciEngine {
  public:
    /// `settings` must outlive the engine.
    UciEngine(const EngineSettings& settings, Milliseconds patience) : settings_(settings), patience_(patience) {}

    /// Gets ready for a new game; starts the program if it does not run. Anything but OK leaves it killed.
    Answer BeginGame();

    /// Asks for a move. With a clock the engine has `time`; it is told to stop when that has run out, and killed when
    /// it does not answer then either. CRASHED and STALLED leave it killed.
    MoveAnswer AskMove(const std::string& position, const std::string& go, std::optional<Milliseconds> time);

    /// True when the last start of the program did not lead to a first answer.
    bool FailedToStart() const { return failed_to_start_; }

    /// Options that were set though the engine did not list them.
    const std::vector<std::string>& UnknownOptions() const { return unknown_options_; }

    void Quit() { process_.Quit(SteadyClock::now() + QUIT_TIME); }
    void Kill() { process_.Kill(); }

  private:
    static constexpr Milliseconds QUIT_TIME{2000};
    static constexpr Milliseconds STOP_TIME{10000};

    Answer Start();
    bool Send(std::string_view line) { return process_.Send(line, SteadyClock::now() + patience_); }
    bool ListsOption(std::string_view name) const;
    Answer Expect(std::string_view word);
    Answer Failed(Answer answer);

    const EngineSettings& settings_;
    Milliseconds patience_;
    EngineProcess process_;
    bool failed_to_start_ = false;
    std::vector<std::string> listed_options_;
    std::vector<std::string> unknown_options_;
};

/// Takes depth and score out of a thinking line; other lines and further lines of several change nothing.
void ReadThinking(std::string_view line, MoveAnswer& answer);
