#include "position/attacks.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

std::uint8_t ToLowerTable[256];
Bitboard NotFile[8];
Bitboard RanksBelow[64];
std::uint8_t HighestBit[256];
std::uint8_t LowestBit[256];
std::uint8_t BitCount[256];
std::int32_t BitReverse[256];
Bitboard AdjacentFiles[64];
Bitboard LightSquares;
Bitboard DarkSquares;
Bitboard PawnSquare[2][2][64];
Bitboard SquaresAhead[64];
Bitboard SquaresBehind[64];
Bitboard FileAhead[64];
Bitboard FileBehind[64];
Bitboard KingOpposition[64];
std::int32_t PawnFileClass[256];
Bitboard KingsideRookTrap[2][3];
Bitboard QueensideRookTrap[2][3];

Bitboard KnightAttacks[64];
Bitboard KingAttacks[64];
Bitboard WhitePawnAttacks[64];
Bitboard BlackPawnAttacks[64];
Bitboard PassedMaskWhite[64];
Bitboard PassedMaskBlack[64];
Bitboard Between[64][64];
Bitboard Rectangle[64][64];
Bitboard RayTable[19][65];

std::int32_t KnightDistance[64][64];

namespace {

Bitboard FileMask(int file) {
    return FILE_A << file;
}

/// The square's bit displaced by files and ranks, 0 beyond the edge.
Bitboard Displaced(int square, int files, int ranks) {
    const int file = FileOf(square) + files;
    const int rank = RankOf(square) + ranks;
    return file >= 0 && file < 8 && rank >= 0 && rank < 8 ? Bit(8 * rank + file) : 0;
}

Bitboard RanksAbove(int square) {
    return RankOf(square) == 7 ? 0 : ~Bitboard{0} << (8 * (RankOf(square) + 1));
}

void FillByteTables() {
    for (unsigned value = 0; value < 256; ++value) {
        const bool capital = value >= 'A' && value <= 'Z';
        ToLowerTable[value] = static_cast<std::uint8_t>(capital ? value + ('a' - 'A') : value);
        HighestBit[value] = static_cast<std::uint8_t>(value ? HighestSetBit(value) : 8);
        LowestBit[value] = static_cast<std::uint8_t>(value ? LowestSetBit(value) : 8);
        BitCount[value] = static_cast<std::uint8_t>(PopCount(value));
        BitReverse[value] = 0;
        for (int bit = 0; bit < 8; ++bit) {
            BitReverse[value] |= static_cast<std::int32_t>((value >> bit) & 1) << (7 - bit);
        }
    }
}

void FillLineMasks() {
    for (int file = 0; file < 8; ++file) {
        NotFile[file] = ~FileMask(file);
    }
    LightSquares = 0;
    for (int square = 0; square < 64; ++square) {
        const int file = FileOf(square);
        RanksBelow[square] = Bit(8 * RankOf(square)) - 1;
        AdjacentFiles[square] = (file > 0 ? FileMask(file - 1) : 0) | (file < 7 ? FileMask(file + 1) : 0);
        SquaresAhead[square] = Displaced(square, -1, 1) | Displaced(square, 0, 1) | Displaced(square, 1, 1);
        SquaresBehind[square] = Displaced(square, -1, -1) | Displaced(square, 0, -1) | Displaced(square, 1, -1);
        FileAhead[square] = FileMask(file) & RanksAbove(square);
        FileBehind[square] = FileMask(file) & RanksBelow[square];
        if ((RankOf(square) + square) & 1) {
            LightSquares |= Bit(square);
        }
    }
    DarkSquares = ~LightSquares;
}

/// For a pawn n king steps from its promotion, the defender catches it from every square whose king distance
/// to the promotion square is at most n, or n + 1 when the defender moves first.
void FillPawnSquares() {
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int pawn = A2; pawn < A8; ++pawn) {
        const int rank = RankOf(pawn);
        // The double step saves a move.
        const int white_steps = rank == 1 ? 5 : 7 - rank;
        const int black_steps = rank == 6 ? 5 : rank;
        for (int colour = WHITE; colour <= BLACK; ++colour) {
            PawnSquare[colour][WHITE][pawn] = PawnSquare[colour][BLACK][pawn] = 0;
        }
        for (int square = 0; square < 64; ++square) {
            const int files = std::abs(FileOf(square) - FileOf(pawn));
            const int to_rank_8 = std::max(7 - RankOf(square), files);
            const int to_rank_1 = std::max(RankOf(square), files);
            const Bitboard bit = Bit(square);
            PawnSquare[WHITE][WHITE][pawn] |= to_rank_8 <= white_steps ? bit : 0;
            PawnSquare[WHITE][BLACK][pawn] |= to_rank_8 <= white_steps + 1 ? bit : 0;
            PawnSquare[BLACK][BLACK][pawn] |= to_rank_1 <= black_steps ? bit : 0;
            PawnSquare[BLACK][WHITE][pawn] |= to_rank_1 <= black_steps + 1 ? bit : 0;
        }
    }
}

void FillKingOpposition() {
    const auto oppose = [](int king, std::initializer_list<int> others) {
        KingOpposition[king] = 0;
        for (const int other : others) {
            KingOpposition[king] |= Bit(63 - other);
        }
    };
    std::fill_n(KingOpposition, 64, Bitboard{0});
    for (const int flip : {0, 56}) {  // the corners and the edge of rank 1, then their mirror on rank 8
        oppose(A1 ^ flip, {(A1 + 16) ^ flip, (B1 + 16) ^ flip, C1 ^ flip, C2 ^ flip});
        oppose(H1 ^ flip, {(H1 + 16) ^ flip, (G1 + 16) ^ flip, F1 ^ flip, F2 ^ flip});
        for (int square = B1; square <= G1; ++square) {
            oppose(square ^ flip, {(square + 16) ^ flip});
        }
    }
    for (int square = A2; square <= A7; square += 8) {
        oppose(square, {square + 2});
        oppose(square + 7, {square + 5});
    }
}

void FillPawnFileClasses() {
    for (unsigned files = 0; files < 256; ++files) {
        PawnFileClass[files] = 5;
    }
    PawnFileClass[0] = 0;
    PawnFileClass[1] = PawnFileClass[128] = 1;
    PawnFileClass[2] = PawnFileClass[64] = 2;
    PawnFileClass[4] = PawnFileClass[8] = PawnFileClass[16] = PawnFileClass[32] = 3;
    PawnFileClass[3] = PawnFileClass[192] = 4;
}

void FillRookTraps() {
    KingsideRookTrap[WHITE][0] = Bit(H2);
    KingsideRookTrap[WHITE][1] = Bit(H1) | Bit(H2);
    KingsideRookTrap[WHITE][2] = Bit(G1) | Bit(H1) | Bit(H2);
    QueensideRookTrap[WHITE][0] = Bit(A2);
    QueensideRookTrap[WHITE][1] = Bit(A1) | Bit(A2);
    QueensideRookTrap[WHITE][2] = Bit(A1) | Bit(B1) | Bit(A2);
    KingsideRookTrap[BLACK][0] = Bit(H7);
    KingsideRookTrap[BLACK][1] = Bit(H7) | Bit(H8);
    KingsideRookTrap[BLACK][2] = Bit(G8) | Bit(H8) | Bit(H7);
    QueensideRookTrap[BLACK][0] = Bit(A7);
    QueensideRookTrap[BLACK][1] = Bit(A7) | Bit(A8);
    QueensideRookTrap[BLACK][2] = Bit(A7) | Bit(A8) | Bit(B8);
}

void FillStepAttacks() {
    for (int square = 0; square < 64; ++square) {
        KnightAttacks[square] = KingAttacks[square] = 0;
        for (int files = -2; files <= 2; ++files) {
            for (int ranks = -2; ranks <= 2; ++ranks) {
                const int product = std::abs(files * ranks);
                if (product == 2) {
                    KnightAttacks[square] |= Displaced(square, files, ranks);
                } else if (std::max(std::abs(files), std::abs(ranks)) == 1) {
                    KingAttacks[square] |= Displaced(square, files, ranks);
                }
            }
        }
        WhitePawnAttacks[square] = Displaced(square, -1, 1) | Displaced(square, 1, 1);
        BlackPawnAttacks[square] = Displaced(square, -1, -1) | Displaced(square, 1, -1);

        const Bitboard files = FileMask(FileOf(square)) | AdjacentFiles[square];
        PassedMaskWhite[square] = files & RanksAbove(square);
        PassedMaskBlack[square] = files & RanksBelow[square];
    }
}

void FillRectangles() {
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int pair = 0; pair < 64 * 64; ++pair) {
        Between[pair >> 6][pair & 63] = 0;
        Rectangle[pair >> 6][pair & 63] = 0;
    }
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int first = 0; first < 64; ++first) {
        for (int second = 0; second < 64; ++second) {
            const auto [left, right] = std::minmax({FileOf(first), FileOf(second)});
            const auto [low, high] = std::minmax({RankOf(first), RankOf(second)});
            for (int rank = low; rank <= high; ++rank) {
                for (int file = left; file <= right; ++file) {
                    Rectangle[first][second] |= Bit(8 * rank + file);
                }
            }
        }
    }
}

/// The ray of direction code -(8 * ranks + files), by the sign rule of the codes.
void FillRay(int square, int files, int ranks) {
    Bitboard ray = 0;
    for (int step = 1; step < 8; ++step) {
        ray |= Displaced(square, step * files, step * ranks);
    }
    RayTable[9 - (8 * ranks + files)][square] = ray;
}

void FillRays() {
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int square = 0; square < 64; ++square) {
        FillRay(square, 1, 1);
        FillRay(square, -1, 1);
        FillRay(square, 1, -1);
        FillRay(square, -1, -1);
    }
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int square = 0; square < 64; ++square) {
        FillRay(square, 0, 1);
        FillRay(square, 0, -1);
        FillRay(square, 1, 0);
        FillRay(square, -1, 0);
    }
}

void FillBetween() {
    for (int first = 0; first < 64; ++first) {
        for (const int code : {1, 7, 8, 9, -1, -7, -8, -9}) {
            const Bitboard ray = Ray(code, first);
            Bitboard targets = ray;
            while (targets) {
                const int second = PopLowestBit(targets);
                Between[first][second] = Bit(first) | (ray & ~Ray(code, second) & ~Bit(second));
            }
        }
    }
}

}  // namespace

void InitializeBitMasks() {
    FillByteTables();
    FillLineMasks();
    FillPawnSquares();
    FillKingOpposition();
    FillPawnFileClasses();
    FillRookTraps();
}

void InitializeBitBoards() {
    FillStepAttacks();
    FillRectangles();
    FillRays();
    FillBetween();
}

void InitKnightDistance() {
    for (int start = 0; start < 64; ++start) {
        Bitboard reached = Bit(start);
        Bitboard frontier = reached;
        KnightDistance[start][start] = 0;
        for (int moves = 1; frontier; ++moves) {
            Bitboard next = 0;
            while (frontier) {
                next |= KnightAttacks[PopLowestBit(frontier)];
            }
            frontier = next & ~reached;
            reached |= frontier;
            for (Bitboard squares = frontier; squares;) {
                KnightDistance[start][PopLowestBit(squares)] = moves;
            }
        }
    }
}
