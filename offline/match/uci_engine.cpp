#include "match/uci_engine.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <numeric>

namespace {

/// More than an engine can have left unread before a deadline. One that talks without end is not heard out.
constexpr int MAX_LATE_LINES = 1000;

std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \t"));
    text.remove_prefix(word.size());
    return word;
}

int ReadInteger(std::string_view text, int otherwise) {
    int value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    return failure == std::errc{} ? value : otherwise;
}

int MateScore(int moves) {
    const int distance = std::clamp(std::abs(std::max(moves, -1000)), 0, 1000);
    return moves > 0 ? MATE_CENTIPAWNS - distance : distance - MATE_CENTIPAWNS;
}

/// The name out of "option name Clear Hash type button".
std::string_view OptionName(std::string_view line) {
    constexpr std::string_view BEGINNING = "option name ";
    if (!line.starts_with(BEGINNING)) {
        return {};
    }
    line.remove_prefix(BEGINNING.size());
    return line.substr(0, line.find(" type "));
}

bool EqualNames(std::string_view one, std::string_view other) {
    return std::ranges::equal(one, other,
                              [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

}  // namespace

void ReadThinking(std::string_view line, MoveAnswer& answer) {
    if (TakeWord(line) != "info") {
        return;
    }
    int depth = answer.depth;
    std::optional<int> score = answer.score;
    while (!line.empty()) {
        const std::string_view word = TakeWord(line);
        if (word == "string" || word == "pv") {
            break;
        }
        if (word == "multipv" && ReadInteger(TakeWord(line), 1) != 1) {
            return;
        }
        if (word == "depth") {
            depth = std::max(ReadInteger(TakeWord(line), 0), 0);
        } else if (word == "score") {
            const std::string_view kind = TakeWord(line);
            const int value = ReadInteger(TakeWord(line), 0);
            if (kind == "cp") {
                score = std::clamp(value, -MATE_CENTIPAWNS / 2, MATE_CENTIPAWNS / 2);
            } else if (kind == "mate") {
                score = MateScore(value);
            }
        }
    }
    answer.depth = depth;
    answer.score = score;
}

int VariedRound(const EngineSettings& settings) {
    std::int64_t round = 1;
    for (const VariedOption& option : settings.varied) {
        round = std::lcm(round, static_cast<std::int64_t>(option.values.size()));
        if (round > MAX_VARIED_ROUND) {
            return 0;
        }
    }
    return static_cast<int>(round);
}

std::string VariedText(const EngineSettings& settings, int phase) {
    std::string text;
    for (const VariedOption& option : settings.varied) {
        text += text.empty() ? "" : " ";
        text += option.name;
        text += '=';
        text += option.values[static_cast<std::size_t>(phase) % option.values.size()];
    }
    return text;
}

Answer UciEngine::Failed(Answer answer) {
    pondering_ = false;
    process_.Kill();
    return answer;
}

Answer UciEngine::Expect(std::string_view word, Milliseconds time) {
    const TimePoint deadline = SteadyClock::now() + time;
    std::string line;
    for (;;) {
        switch (process_.ReadLine(line, deadline)) {
            case ReadOutcome::TIMEOUT:
            case ReadOutcome::OTHER:
                return Failed(Answer::STALLED);
            case ReadOutcome::CLOSED:
                return Failed(Answer::CRASHED);
            case ReadOutcome::STOPPED:
                return Failed(Answer::STOPPED);
            case ReadOutcome::LINE:
                break;
        }
        std::string_view rest = line;
        if (TakeWord(rest) == word) {
            return Answer::OK;
        }
        if (const std::string_view name = OptionName(line); !name.empty()) {
            listed_options_.emplace_back(name);
        }
        // Endless talk keeps the pipe full and the wait above from timing out.
        if (SteadyClock::now() > deadline) {
            return Failed(Answer::STALLED);
        }
    }
}

bool UciEngine::ListsOption(std::string_view name) const {
    return std::ranges::any_of(listed_options_, [name](const std::string& listed) { return EqualNames(listed, name); });
}

void UciEngine::NoteUnknown(const std::string& name) {
    if (!ListsOption(name)) {
        unknown_options_.push_back(name);
    }
}

void UciEngine::SetOption(const std::string& name, const std::string& value) {
    Send("setoption name " + name + (value.empty() ? "" : " value " + value));
}

Answer UciEngine::Start() {
    failed_to_start_ = true;
    listed_options_.clear();
    unknown_options_.clear();
    if (!process_.Start(settings_)) {
        return Answer::CRASHED;
    }
    Send("uci");
    if (const Answer answer = Expect("uciok", patience_); answer != Answer::OK) {
        return answer;
    }
    if (settings_.ponder) {
        // Whether it is listed does not matter: an engine that ponders is one that tells what move it expects.
        SetOption("Ponder", "true");
    }
    for (const auto& [name, value] : settings_.options) {
        NoteUnknown(name);
        SetOption(name, value);
    }
    for (const VariedOption& option : settings_.varied) {
        NoteUnknown(option.name);
    }
    failed_to_start_ = false;
    return Answer::OK;
}

Answer UciEngine::SetVariedOptions() {
    phase_ = static_cast<int>(games_++ % std::max(VariedRound(settings_), 1));
    if (settings_.varied.empty()) {
        return Answer::OK;
    }
    for (const VariedOption& option : settings_.varied) {
        SetOption(option.name, option.values[static_cast<std::size_t>(phase_) % option.values.size()]);
    }
    Send("isready");
    return Expect("readyok", patience_);
}

Answer UciEngine::BeginGame() {
    failed_to_start_ = false;
    if (!process_.IsRunning()) {
        if (const Answer answer = Start(); answer != Answer::OK) {
            return answer;
        }
    }
    if (const Answer answer = SetVariedOptions(); answer != Answer::OK) {
        return answer;
    }
    // A failed write shows in the answer that does not come.
    Send("ucinewgame");
    Send("isready");
    return Expect("readyok", patience_);
}

MoveAnswer UciEngine::AskMove(const std::string& position, const std::string& go, std::optional<Milliseconds> time,
                              UciEngine* other) {
    MoveAnswer answer;
    process_.ForgetOutput();
    const bool told = Send(position);
    const TimePoint start = SteadyClock::now();
    if (told && Send(go)) {
        WaitForMove(answer, start, time, other);
    } else {
        // Gone, or not reading: waiting for a word that no line holds tells which, at once in the first case.
        answer.answer = Expect("\n", patience_);
    }
    return answer;
}

void UciEngine::StartPonder(const std::string& position, const std::string& go) {
    process_.ForgetOutput();
    pondered_ = {};
    early_ = gone_ = false;
    pondering_ = true;
    if (Send(position)) {
        Send(go);
    }
}

/// Hears what it has said while pondering, without waiting. Somebody must, lest it blocks on a full pipe.
void UciEngine::Overhear() {
    std::string line;
    const TimePoint now = SteadyClock::now();
    for (int lines = 0; lines < MAX_LATE_LINES; ++lines) {
        const ReadOutcome outcome = process_.ReadLine(line, now);
        gone_ |= outcome == ReadOutcome::CLOSED;
        if (outcome != ReadOutcome::LINE) {
            return;
        }
        std::string_view rest = line;
        early_ |= TakeWord(rest) == "bestmove";
        ReadThinking(line, pondered_);
    }
}

MoveAnswer UciEngine::PonderHit(std::optional<Milliseconds> time, UciEngine* other) {
    Overhear();
    pondering_ = false;
    // It may find its move at once, and then has said before what it thinks of it.
    MoveAnswer answer = pondered_;
    const TimePoint start = SteadyClock::now();
    if (early_) {
        answer.answer = Answer::EARLY;
    } else if (Send("ponderhit")) {
        WaitForMove(answer, start, time, other);
    } else {
        answer.answer = Expect("\n", patience_);
    }
    return answer;
}

Answer UciEngine::StopPonder() {
    Overhear();
    pondering_ = false;
    if (early_) {
        return Answer::EARLY;
    }
    Send("stop");
    return Expect("bestmove", std::min(STOP_TIME, patience_));
}

Answer UciEngine::Leave() {
    switch (process_.Quit(SteadyClock::now() + patience_)) {
        case QuitOutcome::EXITED:
            break;
        case QuitOutcome::CRASHED:
            return Answer::CRASHED;
        case QuitOutcome::KILLED:
            return Answer::STALLED;
    }
    return Answer::OK;
}

void UciEngine::WaitForMove(MoveAnswer& answer, TimePoint start, std::optional<Milliseconds> time, UciEngine* other) {
    TimePoint deadline = start + (time ? *time : patience_);
    bool out_of_time = false;
    int late_lines = 0;  // read after the deadline
    std::string line;
    for (;;) {
        UciEngine* const ponders = other != nullptr && other->pondering_ && !other->gone_ ? other : nullptr;
        const ReadOutcome outcome =
            process_.ReadLine(line, deadline, ponders != nullptr ? &ponders->process_ : nullptr);
        if (outcome == ReadOutcome::CLOSED || outcome == ReadOutcome::STOPPED) {
            answer.answer = Failed(outcome == ReadOutcome::CLOSED ? Answer::CRASHED : Answer::STOPPED);
            return;
        }
        if (outcome == ReadOutcome::OTHER && ponders != nullptr) {
            ponders->Overhear();
        }
        if (outcome == ReadOutcome::LINE) {
            std::string_view rest = line;
            if (TakeWord(rest) == "bestmove") {
                answer.move = TakeWord(rest);
                answer.ponder = TakeWord(rest) == "ponder" ? TakeWord(rest) : "";
                answer.elapsed = std::chrono::duration_cast<std::chrono::microseconds>(SteadyClock::now() - start);
                answer.answer = time && answer.elapsed > *time ? Answer::LATE : Answer::OK;
                return;
            }
            ReadThinking(line, answer);
        }
        // On a busy machine it may be the referee that comes late: what the engine has said by now is heard first.
        if (SteadyClock::now() > deadline && (outcome == ReadOutcome::TIMEOUT || ++late_lines > MAX_LATE_LINES)) {
            if (out_of_time || !time) {
                answer.answer = Failed(Answer::STALLED);
                return;
            }
            out_of_time = true;
            late_lines = 0;
            deadline = SteadyClock::now() + std::min(STOP_TIME, patience_);
            Send("stop");
        }
    }
}
