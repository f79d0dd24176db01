// A folder for table files that a test makes, and positions of a material.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "movegen/legal_moves.h"
#include "position/board.h"
#include "tablebase/tablebase.h"
#include "tablebase/tables.h"

using Bytes = std::vector<std::uint8_t>;

inline Bytes ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Removed with all that is in it at the end; the tables are given up before.
class TableFolder {
  public:
    TableFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tables-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    TableFolder(const TableFolder&) = delete;
    TableFolder& operator=(const TableFolder&) = delete;
    ~TableFolder() {
        FreeTablebases();
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& Path() const { return path_; }
    void Write(const std::string& name, const Bytes& bytes = {}) const {
        std::ofstream file(path_ + "/" + name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    void Remove(const std::string& name) const { std::filesystem::remove(path_ + "/" + name); }

  private:
    std::string path_;
};

/// What `run` prints.
template <class Routine>
std::string OutputOf(Routine run) {
    testing::internal::CaptureStdout();
    run();
    return testing::internal::GetCapturedStdout();
}

inline int CodeOfTableLetter(char letter) {
    constexpr int codes[] = {KING, QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
    return codes[std::string("KQRBNP").find(letter)];
}

/// Puts a random playable position of the table `name` on the board; `first` is the colour of the side named first.
inline void PlaceRandomly(const std::string& name, Colour first, std::mt19937& random) {
    do {
        ClearHistory();
        ClearBoard();
        thread_board.CastlingFlags = 0;
        Colour colour = first;
        for (const char letter : name) {
            if (letter == 'v') {
                colour = ChangeSide(first);
                continue;
            }
            const int code = CodeOfTableLetter(letter);
            int square = 0;
            do {
                square = code == PAWN ? 8 + static_cast<int>(random() % 48) : static_cast<int>(random() % 64);
            } while (thread_board.Board[square] != NO_PIECE);
            PlacePiece(square, colour, code);
        }
        thread_board.SideToMove = random() % 2 == 0 ? WHITE : BLACK;
    } while (!PositionIsPlayable());
}
