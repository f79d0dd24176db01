// The referee's side of the UCI protocol.
#pragma once

#include "match/engine_process.h"

#include <optional>

enum class Answer : std::int32_t {
    OK,
    CRASHED,  // the engine is gone
    STALLED,  // it did not answer and was killed
    LATE,     // it answered after its clock had run out
    EARLY,    // it answered while it was to ponder
    STOPPED   // the match is called off
};

/// A mate in n moves counts as this many centipawns minus n.
inline constexpr int MATE_CENTIPAWNS = 100000;

struct MoveAnswer {
    Answer answer = Answer::OK;
    std::string move;    // as the engine wrote it
    std::string ponder;  // the answer that it expects, likewise; empty for none
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
    /// Meanwhile it listens to `other`, which may ponder; null for nobody.
    MoveAnswer AskMove(const std::string& position, const std::string& go, std::optional<Milliseconds> time,
                       UciEngine* other);

    /// Lets it think in the opponent's time, until one of the two below. A failure shows there.
    void StartPonder(const std::string& position, const std::string& go);
    bool IsPondering() const { return pondering_; }

    /// The move that it ponders on has been played: the same as AskMove, its time counting from here. EARLY if it has
    /// answered already; it is alive then and idle.
    MoveAnswer PonderHit(std::optional<Milliseconds> time, UciEngine* other);

    /// Another move has been played, or the game is over: stops it, and drops its move. Answers OK, CRASHED, STALLED
    /// (both leave it killed), EARLY, or STOPPED.
    Answer StopPonder();

    /// True when the last start of the program did not lead to a first answer.
    bool FailedToStart() const { return failed_to_start_; }

    /// Options that were set though the engine did not list them.
    const std::vector<std::string>& UnknownOptions() const { return unknown_options_; }

    /// Which game of this engine it is, from 0, in the round of its varied options: games with the same number have
    /// the same settings.
    int Phase() const { return phase_; }

    std::int64_t ResidentBytes() const { return process_.ResidentBytes(); }

    /// Ends it and waits for that. STALLED when it had to be killed, CRASHED when it went by a signal.
    Answer Leave();

    void Quit() { process_.Quit(SteadyClock::now() + QUIT_TIME); }
    void Kill() { process_.Kill(); }

  private:
    static constexpr Milliseconds QUIT_TIME{2000};
    static constexpr Milliseconds STOP_TIME{10000};

    Answer Start();
    Answer SetVariedOptions();
    void SetOption(const std::string& name, const std::string& value);
    void NoteUnknown(const std::string& name);
    void Overhear();
    void WaitForMove(MoveAnswer& answer, TimePoint start, std::optional<Milliseconds> time, UciEngine* other);
    bool Send(std::string_view line) { return process_.Send(line, SteadyClock::now() + patience_); }
    bool ListsOption(std::string_view name) const;
    Answer Expect(std::string_view word, Milliseconds time);
    Answer Failed(Answer answer);

    const EngineSettings& settings_;
    Milliseconds patience_;
    EngineProcess process_;
    bool failed_to_start_ = false;
    bool pondering_ = false;
    bool early_ = false;   // said a best move while pondering
    bool gone_ = false;    // its output ended while pondering
    MoveAnswer pondered_;  // score and depth so far
    std::int64_t games_ = 0;
    int phase_ = 0;
    std::vector<std::string> listed_options_;
    std::vector<std::string> unknown_options_;
};

/// After how many games the varied options come round; 1 without any. 0 for more than MAX_VARIED_ROUND.
inline constexpr int MAX_VARIED_ROUND = 1000;
int VariedRound(const EngineSettings& settings);

/// "Hash=16 Threads=2": the varied options in a game of that phase; empty without any.
std::string VariedText(const EngineSettings& settings, int phase);

/// Takes depth and score out of a thinking line; other lines and further lines of several change nothing.
void ReadThinking(std::string_view line, MoveAnswer& answer);
