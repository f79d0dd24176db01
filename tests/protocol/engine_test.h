// Tests that share one program, because its start-up costs more than most conversations. Each test begins with the
// settings as they are after the start; a test that fails, or that ends the program, leaves the next a fresh one.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "protocol/conversation.h"

class EngineTest : public testing::Test {
  protected:
    using Lines = Conversation::Lines;

    static void TearDownTestSuite() { shared.reset(); }

    EngineTest() {
        if (shared == nullptr) {
            shared = std::make_unique<Conversation>();
        }
    }

    void SetUp() override {
        engine().Ask("xboard\nnew\npost\ntime -1\nlevel 0 0 0\nclean\neasy\nsetoption name MultiPV value 1");
        engine().ForgetTranscript();
    }

    void TearDown() override {
        if (HasFailure()) {
            shared.reset();
        }
    }

    static Conversation& engine() { return *shared; }

    /// Waits for the program to end and answers its exit code.
    static int EndOfProgram() {
        const int code = engine().ExitCode();
        ended = std::move(shared);
        return code;
    }

    static std::string Board() { return Joined(engine().Ask("brd")); }

    static std::unique_ptr<Conversation> shared;
    static std::unique_ptr<Conversation> ended;
};

inline std::unique_ptr<Conversation> EngineTest::shared;
inline std::unique_ptr<Conversation> EngineTest::ended;
