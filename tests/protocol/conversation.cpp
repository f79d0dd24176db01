#include "protocol/conversation.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds PATIENCE{60};
constexpr std::size_t SHOWN_ON_FAILURE = 12;

std::filesystem::path FreshDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "quorvanth-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    return name;
}

std::array<int, 2> OpenPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

void CloseOnce(int& descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

}  // namespace

Conversation::Conversation(const Files& files) : directory_(FreshDirectory()) {
    for (const auto& [name, text] : files) {
        WriteFile(name, text);
    }
    signal(SIGPIPE, SIG_IGN);  // a program that has ended is found out by reading
    const std::array<int, 2> input = OpenPipe();
    const std::array<int, 2> output = OpenPipe();
    process_ = fork();
    if (process_ == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        if (chdir(directory_.c_str()) == 0) {
            execl(QUORVANTH_PROGRAM, QUORVANTH_PROGRAM, static_cast<char*>(nullptr));
        }
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    to_engine_ = input[1];
    from_engine_ = output[0];
    if (process_ < 0) {
        throw std::runtime_error("the program does not start");
    }
    greeting_ = ExpectUpTo("Pondering = ");
    Ask("");
}

Conversation::~Conversation() {
    CloseInput();
    CloseOutput();
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

void Conversation::Send(std::string_view line) {
    SendRaw(std::string(line) + "\n");
}

void Conversation::SendRaw(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(to_engine_, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            Fail("writing to a program that does not read");
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

void Conversation::CloseInput() {
    CloseOnce(to_engine_);
}

void Conversation::CloseOutput() {
    CloseOnce(from_engine_);
}

bool Conversation::ReadMore(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd output{from_engine_, POLLIN, 0};
    if (left.count() < 0 || poll(&output, 1, static_cast<int>(left.count())) <= 0) {
        return false;
    }
    std::array<char, 65536> buffer{};
    const ssize_t count = read(from_engine_, buffer.data(), buffer.size());
    if (count <= 0) {
        return false;
    }
    pending_.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

bool Conversation::NextLine(std::string& line, Clock::time_point deadline) {
    std::size_t end = pending_.find('\n');
    while (end == std::string::npos) {
        if (!ReadMore(deadline)) {
            return false;
        }
        end = pending_.find('\n');
    }
    line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    transcript_.push_back(line);
    return true;
}

Conversation::Lines Conversation::ExpectUpTo(std::string_view start) {
    const Clock::time_point deadline = Clock::now() + PATIENCE;
    Lines lines;
    do {
        std::string line;
        if (!NextLine(line, deadline)) {
            Fail("waiting for \"" + std::string(start) + "\"");
        }
        lines.push_back(std::move(line));
    } while (!lines.back().starts_with(start));
    return lines;
}

std::string Conversation::Expect(std::string_view start) {
    return ExpectUpTo(start).back();
}

Conversation::Lines Conversation::Ask(std::string_view command) {
    Send(std::string(command) + "\nisready");
    Lines lines = ExpectUpTo("readyok");
    lines.pop_back();
    return lines;
}

Conversation::Lines Conversation::Overhear(std::chrono::milliseconds time) {
    const Clock::time_point deadline = Clock::now() + time;
    Lines lines;
    std::string line;
    while (NextLine(line, deadline)) {
        lines.push_back(line);
    }
    return lines;
}

int Conversation::ExitCode() {
    const Clock::time_point deadline = Clock::now() + PATIENCE;
    std::string line;
    if (from_engine_ >= 0) {
        while (NextLine(line, deadline)) {
        }
    }
    while (process_ > 0) {
        if (waitpid(process_, &status_, WNOHANG) == process_) {
            process_ = -1;
        } else if (Clock::now() > deadline) {
            Fail("waiting for the program to end");
        } else {
            poll(nullptr, 0, 2);
        }
    }
    return WIFSIGNALED(status_) ? -WTERMSIG(status_) : WEXITSTATUS(status_);
}

std::size_t Conversation::CountLines(std::string_view start) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(transcript_, [start](const std::string& line) { return line.starts_with(start); }));
}

void Conversation::WriteFile(const std::string& name, std::string_view text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
}

std::string Conversation::ReadFile(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(directory_ / name, std::ios::binary).rdbuf();
    return text.str();
}

void Conversation::Fail(const std::string& what) const {
    const std::size_t shown = std::min(SHOWN_ON_FAILURE, transcript_.size());
    const Lines last(transcript_.end() - static_cast<std::ptrdiff_t>(shown), transcript_.end());
    throw std::runtime_error(what + ", after:\n" + Joined(last) + pending_);
}

ScriptResult RunScript(std::string_view input) {
    Conversation engine;
    const std::size_t said = engine.Transcript().size();
    engine.SendRaw(input);
    engine.CloseInput();
    const int code = engine.ExitCode();
    const Conversation::Lines& all = engine.Transcript();
    return {code, {all.begin() + static_cast<std::ptrdiff_t>(said), all.end()}};
}

std::string Joined(const Conversation::Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}
