#include "frontend/demo.h"

#include <cstdio>
#include <memory>

#include "frontend/delivery.h"
#include "frontend/game.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/repetition.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/think.h"

namespace {

constexpr const char* OPENINGS_FILE = "openings.epd";
constexpr int LINE_ROOM = 256;  // 255 characters and the terminator

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

bool IsGameOver() {
    return IsInsufficientMaterial() || IsRepetition() || (GamePly > 0 && GameHistory[GamePly - 1].fifty >= 100);
}

std::int32_t GameLength() {
    return GamePly + DroppedPlies;
}

void PlayGame() {
    std::int32_t length = 0;
    do {
        length = GameLength();
        UciPonder = 0;
        SearchMoveCount = 0;
        MakeRoomInHistory();
        Think();
    } while (GameLength() != length && !IsGameOver());
}

}  // namespace

void Demo() {
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(OPENINGS_FILE, "r"));
    if (file == nullptr) {
        std::printf("Error opening file %s...\n", OPENINGS_FILE);
        return;
    }
    const std::int32_t ponder_on = PonderOn;
    PonderOn = 0;
    char line[LINE_ROOM];
    for (int game = 1; std::fgets(line, LINE_ROOM, file.get()) != nullptr; ++game) {
        SetupPosition(line);
        std::printf("-------------- Game #%d --------------\n", game);
        std::fflush(stdout);
        PlayGame();
    }
    PonderOn = ponder_on;
}
