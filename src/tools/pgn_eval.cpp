#include "tools/pgn_eval.h"

#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "platform/process.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "search/front_end.h"
#include "tools/foreign_path.h"
#include "tools/pgn_move.h"
#include "tools/pgn_stream.h"
#include "tools/pgn_tags.h"

#include <cstdio>
#include <memory>
#include <string>

std::int32_t PgnResult;
std::int32_t PgnPlyCount;
std::int32_t PgnSkipGame;
char PgnToken[PGN_TOKEN_SIZE];

namespace {

constexpr char OUTPUT_NAME[] = "c:\\work\\my_eval.csv";
constexpr int GAMES_PER_REPORT = 100;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

void ReportMissingFile(const char* path) {
    std::printf("Error opening file %s...\n", path);
    std::fflush(stdout);
}

/// The data set. Opened and closed for each line, so that it is whole whenever a long run is broken off.
class LineFile {
  public:
    explicit LineFile(std::string path) : path_(std::move(path)) {}

    void Append(const char* fen, const char* move, std::int32_t moves_left, std::int32_t length, int result) {
        const File file(std::fopen(path_.c_str(), "a"));
        if (file != nullptr) {
            std::fprintf(file.get(), "%s;%s;%d;%d;%d\n", fen, move, moves_left, length, result);
        } else if (!complained_) {
            ReportMissingFile(path_.c_str());
            complained_ = true;
        }
    }

  private:
    std::string path_;
    bool complained_ = false;
};

// --- Making moves ---

std::int32_t HalfMovesPlayed() {
    return GamePly + DroppedPlies;
}

/// 1 won, 2 lost, 0 drawn, for the side to move.
int ResultForSideToMove() {
    if (PgnResult == PGN_DRAW) {
        return 0;
    }
    return (PgnResult == PGN_WHITE_WON) == (thread_board.SideToMove == WHITE) ? 1 : 2;
}

void AppendLine(LineFile& output, Move move) {
    char text[MOVE_BUFFER];
    output.Append(WriteFen(0), MoveToPlainText(text, move), PgnPlyCount - HalfMovesPlayed(), PgnPlyCount,
                  ResultForSideToMove());
}

void ReportUnknown(const char* text) {
    std::printf("\nCan't recognize: %s...\n", text);
    std::fflush(stdout);
    PgnSkipGame = 1;
}

void ReportAmbiguous(Move first, Move second) {
    char text[MOVE_BUFFER];
    std::printf("\nAmbigous move: %s... ", PgnToken);
    std::printf("[%s, ", MoveToPieceText(text, first));
    std::printf("%s]\n", MoveToPieceText(text, second));
    std::fflush(stdout);
    PgnSkipGame = 1;
}

/// The legal move that the token means, 0 for none. Of several the last is answered, after a complaint about the
/// first two. In a position that cannot arise no move is legal.
Move FindMove() {
    if (!PositionIsPlayable()) {
        return 0;
    }
    const PgnMoveText text = ReadPgnMove(PgnToken, thread_board.SideToMove);
    const std::int32_t saved_count = MoveCount;
    GenerateLegalMoves(LEGALITY_WINDOW);
    Move found = 0;
    int matches = 0;
    for (std::int32_t i = LEGALITY_WINDOW; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (MatchesPgnMove(move, text)) {
            if (++matches == 2) {
                ReportAmbiguous(found, move);
            }
            found = move;
        }
    }
    MoveCount = saved_count;
    return found;
}

/// Makes the move of PgnToken, or gives the game up. An ambiguous move is made all the same.
void PgnMove(LineFile& output) {
    if (PgnSkipGame != 0) {
        return;
    }
    const Move move = FindMove();
    if (move == 0) {
        ReportUnknown(PgnToken);
        return;
    }
    if (PgnResult != PGN_UNKNOWN && HalfMovesPlayed() != 0 && IsQuiet(move)) {
        AppendLine(output, move);
    }
    MakeRoomInHistory();
    MakeMove(move, 1);
}

// --- Reading moves ---

/// Castling written with zeros; any other digit is a move number, a NAG or a result.
bool IsZeroCastling(PgnStream& in) {
    return in.Peek() == '0' && in.Peek(1) == '-' && in.Peek(2) == '0';
}

bool IsNoise(int character) {
    constexpr std::string_view marks = ".0123456789$-+?\\#*/";
    return character >= 0 && (character < '"' || marks.find(static_cast<char>(character)) != marks.npos);
}

void SkipNoise(PgnStream& in) {
    while (IsNoise(in.Peek()) && !IsZeroCastling(in)) {
        in.Take();
    }
}

void SkipNoiseAndAsides(PgnStream& in) {
    for (;;) {
        SkipNoise(in);
        if (in.Peek() == '{') {
            in.SkipNested('{', '}');
        } else if (in.Peek() == '(') {
            in.SkipNested('(', ')');
        } else {
            return;
        }
    }
}

bool IsTokenCharacter(int character) {
    constexpr std::string_view characters = "abcdefgh012345678KQNBR=-O:x";
    return character > 0 && characters.find(static_cast<char>(character)) != characters.npos;
}

/// Fills PgnToken. False when no move begins here; nothing is taken then.
bool ReadToken(PgnStream& in) {
    int length = 0;
    while (IsTokenCharacter(in.Peek())) {
        PgnToken[length++] = static_cast<char>(in.Take());
        PgnToken[length] = '\0';
        if (length == PGN_TOKEN_SIZE - 1) {
            std::printf("Error parsing move (move too long): %s...\n", PgnToken);
            ExitEngine(2);
        }
    }
    return length > 0;
}

/// Something that is neither a move nor noise nor the beginning of a comment: the game is given up, and the character
/// passed over.
void GiveUpAt(PgnStream& in) {
    const int character = in.Take();
    if (PgnSkipGame == 0) {
        const char text[] = {character < 0x7f ? static_cast<char>(character) : '?', '\0'};
        ReportUnknown(text);
    }
}

/// False at the end of the file.
bool ReadMoves(PgnStream& in, LineFile& output) {
    for (;;) {
        SkipNoise(in);
        if (in.AtEnd()) {
            return false;
        }
        if (in.Peek() == '[') {
            return true;
        }
        if (ReadToken(in)) {
            PgnMove(output);
        } else if (in.Peek() != '{' && in.Peek() != '(') {
            GiveUpAt(in);
        }
        SkipNoiseAndAsides(in);
    }
}

/// False when the file has ended, within the game or before it.
bool ReadGame(PgnStream& in, LineFile& output) {
    PgnPlyCount = 0;
    if (!in.SkipTo('[', '[')) {
        return false;
    }
    PgnResult = PGN_UNKNOWN;
    SetupStartPosition();
    ReadPgnHeader(in);
    if (in.Peek() == '{') {
        in.SkipNested('{', '}');
    }
    if (!in.SkipTo('1', '[')) {
        return false;
    }
    PgnSkipGame = 0;
    return ReadMoves(in, output);
}

void ReportProgress(int games) {
    // Hits are not counted.
    std::printf("Processed %d games, hit/game = %1.3f...              \r", games, 0.0);
    std::fflush(stdout);
}

}  // namespace

void PgnEval(const char* path) {
    const PathForm form = FindForeignFile(path);
    const File file(std::fopen(PathInForm(path, form).c_str(), "rb"));
    if (file == nullptr) {
        ReportMissingFile(path);
        return;
    }
    PgnStream in(file.get());
    LineFile output(PathInForm(OUTPUT_NAME, form));
    for (int games = 1; ReadGame(in, output); ++games) {
        if (games % GAMES_PER_REPORT == 0) {
            ReportProgress(games);
        }
    }
}
