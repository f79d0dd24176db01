#include <algorithm>

#include "eval/init.h"
#include "eval/packed.h"
#include "eval/parameters.h"

namespace {

/// The rows of both halves by PieceCode and square as Black reads it; White reads the square mirrored.
using SourceRows = std::array<std::array<std::array<std::int16_t, 64>, 8>, 2>;

constexpr SourceRows BuiltInSource() {
    SourceRows rows{};
    for (std::size_t piece = 0; piece < PIECE_SQUARE_PIECES; ++piece) {
        for (std::size_t half = 0; half < 2; ++half) {
            for (std::size_t square = 0; square < 64; ++square) {
                rows[half][static_cast<std::size_t>(PieceSquarePiece[piece])][square ^ 56] =
                    BuiltInPieceSquare[piece][half][square];
            }
        }
    }
    return rows;
}

/// The built-in numbers until BuildPieceSquareSource puts the parameters in their place.
constinit SourceRows Source = BuiltInSource();

}  // namespace

void BuildPieceSquareSource() {
    for (int piece = 0; piece < PIECE_SQUARE_PIECES; ++piece) {
        for (int half = 0; half < 2; ++half) {
            auto& row = Source[static_cast<std::size_t>(half)][static_cast<std::size_t>(PieceSquarePiece[piece])];
            for (int square = 0; square < 64; ++square) {
                const int file = std::min(FileOf(square), 7 - FileOf(square));
                const int index = PieceSquareColumnIndex(piece, half, file, 7 - RankOf(square));
                row[static_cast<std::size_t>(square)] =
                    static_cast<std::int16_t>(PieceSquareColumn[static_cast<std::size_t>(index)]);
            }
        }
    }
}

void BuildPieceSquareTable() {
    for (const int code : PieceSquarePiece) {
        const auto& opening = Source[0][static_cast<std::size_t>(code)];
        const auto& ending = Source[1][static_cast<std::size_t>(code)];
        for (int square = 0; square < 64; ++square) {
            const auto at = static_cast<std::size_t>(square);
            const std::int32_t word = Pack(opening[at], ending[at]);
            PieceSquareTable[PieceSquareIndex(code, BLACK, square)] = word;
            PieceSquareTable[PieceSquareIndex(code, WHITE, MirrorRank(square))] = word;
        }
    }
}
