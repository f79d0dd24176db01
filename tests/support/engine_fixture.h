// The whole engine, brought to life once in a process and put back to the same state before every test.
#pragma once

#include "frontend/game.h"
#include "frontend/startup.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/transposition.h"
#include "support/files.h"
#include "support/move_lists.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <string_view>

class EngineTest : public testing::Test {
  protected:
    static constexpr std::int64_t TABLE_ENTRIES = 1 << 17;

    static void SetUpTestSuite() {
        static bool started = false;
        if (!started) {
            testing::internal::CaptureStdout();
            StartEngine();
            testing::internal::GetCapturedStdout();
            started = true;
        }
    }

    void SetUp() override {
        OpenInput();
        AssignDefaults();
        AssignStyleDefaults();
        PonderOn = 0;
        PostThinking = 0;
        TimeLeft = NO_CLOCK;
        TablebasePieces = 0;
        UciPonder = PonderSearch = HintSearch = 0;
        SearchMoveCount = 0;
        FreeTransposition();
        TranspositionSize = TABLE_ENTRIES;
        ASSERT_TRUE(AllocateTransposition());
        CleanTables();
        SetupStartPosition();
        ForgetGame();
        SetUnlimitedBudget();
        thread_board.SearchAborted = 0;
        SearchStart = ClockCentiseconds();
    }

    void TearDown() override { close(writeEnd_); }

    /// The engine's standard input is a pipe: nothing is there until a test types it.
    void OpenInput() {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        writeEnd_ = ends[1];
    }
    void Type(std::string_view lines) const {
        ASSERT_EQ(write(writeEnd_, lines.data(), lines.size()), static_cast<ssize_t>(lines.size()));
    }
    /// For a process of its own, because an input that has closed stays so.
    static void CloseInput() { dup2(open("/dev/null", O_RDONLY), STDIN_FILENO); }

    static void Setup(const char* fen) { SetupPosition(fen); }
    static void Play(std::string_view text) { PlayMove(MoveFromText(text)); }

    template <typename Action>
    static std::string Printed(Action&& action) {
        return OutputOf(action);
    }

    static std::string TextOf(Move move) {
        char text[MOVE_BUFFER];
        return MoveToText(text, move);
    }

  private:
    int writeEnd_ = -1;
};
