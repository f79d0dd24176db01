// How fast the endgame tables answer. One argument: a directory with table files. Lists it, sets up random positions of
// each table in it, and measures the probes a second when tables and positions have been seen before: of the tables
// themselves, and of the answers with captures taken into account. The positions are the same in every run.

#include "frontend/startup.h"
#include "movegen/exchange.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "tablebase/probe.h"
#include "tablebase/tablebase.h"
#include "tablebase/tables.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int POSITIONS_PER_TABLE = 200;
constexpr int ROUNDS = 50;

/// Of this process: other work on the machine does not count.
double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

int CodeOfLetter(char letter) {
    constexpr int codes[] = {KING, QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
    return codes[std::string_view("KQRBNP").find(letter)];
}

/// Puts a random playable position of the table `name` on the board.
void PlaceRandomly(const std::string& name, std::mt19937& random) {
    do {
        SetupFen("8/8/8/8/8/8/8/8 w - - ");
        Colour colour = random() % 2 == 0 ? WHITE : BLACK;
        for (const char letter : name) {
            if (letter == 'v') {
                colour = ChangeSide(colour);
                continue;
            }
            int square = 0;
            do {
                square = static_cast<int>(random() % 64);
            } while (thread_board.Board[square] != NO_PIECE);
            PlacePiece(square, colour, CodeOfLetter(letter));
        }
        thread_board.SideToMove = random() % 2 == 0 ? WHITE : BLACK;
    } while (!PositionIsPlayable());
}

/// The positions of one table as they stand on the board: setting one up is a copy, whose time is taken off.
using Positions = std::vector<ThreadBoard>;

std::vector<Positions> PositionsOfTables(const std::filesystem::path& directory) {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
        if (file.path().extension() == ".rtbw") {
            names.push_back(file.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    std::mt19937 random(1);
    std::vector<Positions> tables;
    for (const std::string& name : names) {
        Positions positions;
        for (int n = 0; n < POSITIONS_PER_TABLE; ++n) {
            PlaceRandomly(name, random);
            positions.push_back(thread_board);
        }
        tables.push_back(std::move(positions));
    }
    return tables;
}

void Place(const ThreadBoard& position) {
    thread_board = position;
    PlyState[Ply].InCheck =
        SquareAttacked(ChangeSide(position.SideToMove), position.KingSquare[position.SideToMove]) ? 1 : 0;
}

/// Seconds for ROUNDS walks over each table's positions, after one that loads what is not loaded yet.
template <class Probe>
double Measure(const std::vector<Positions>& tables, Probe probe) {
    double seconds = 0;
    for (const Positions& positions : tables) {
        double start = 0;
        for (int round = 0; round <= ROUNDS; ++round) {
            if (round == 1) {
                start = ProcessorSeconds();
            }
            for (const ThreadBoard& position : positions) {
                Place(position);
                probe();
            }
        }
        seconds += ProcessorSeconds() - start;
    }
    return seconds;
}

volatile std::int32_t result;  // keeps the probes from being optimised away

template <class Probe>
void Report(const char* title, const std::vector<Positions>& tables, double setup, Probe probe) {
    const double seconds = Measure(tables, [&probe] { result = probe(); }) - setup;
    const double probes = static_cast<double>(tables.size()) * POSITIONS_PER_TABLE * ROUNDS;
    std::printf("%-14s %12.0f probes/second\n", title, probes / seconds);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
        std::puts("Usage: quorvanth-bench-tablebase DIRECTORY");
        return 1;
    }
    StartEngine();
    const double start = ProcessorSeconds();
    init_tablebases(argv[1]);
    std::printf("%-14s %12.3f ms\n", "listing", (ProcessorSeconds() - start) * 1000);
    if (LargestTable == 0) {
        std::puts("There are no tables in this directory.");
        return 1;
    }
    Ply = 1;
    MoveCount = 0;

    const std::vector<Positions> tables = PositionsOfTables(argv[1]);
    const double setup = Measure(tables, [] { result = 0; });
    std::int32_t success = 0;
    Report("ProbeWdlTable", tables, setup, [&success] { return ProbeWdlTable(success); });
    Report("ProbeDtzTable", tables, setup, [&success] { return ProbeDtzTable(2, success); });
    Report("ProbeWdl", tables, setup, [&success] { return ProbeWdl(success); });
    Report("ProbeDtz", tables, setup, [&success] { return ProbeDtz(success); });
    return 0;
}
