// Positions of random legal games, and their colour mirrors, for tests of what must hold everywhere.
#pragma once

#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <sstream>
#include <string>
#include <vector>

/// Beginnings of the random games: the whole army, thin ones, and three knights.
inline const std::vector<std::string> GameStarts = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - ",
    "2r2rk1/5ppp/p3p3/1p6/3P4/P3PN2/1P3PPP/2R2RK1 b - - ",
    "8/1p3k2/p2r2p1/5p1p/3R1P2/1P4PP/P4K2/8 w - - ",
    "8/5k2/1p3p2/p4n2/P1B2P2/1P4P1/5K2/8 b - - ",
    "4k3/2p2p2/8/8/8/8/P3P1P1/4K3 w - - ",
    "1nbqk3/pppp4/8/8/8/8/3PPPPP/NNN1KQ2 b - - ",
};

/// The FENs of all positions of `games` games of at most `plies` half-moves from each start.
inline std::vector<std::string> RandomPositions(unsigned seed, int games, int plies) {
    std::mt19937 random(seed);
    std::vector<std::string> positions;
    for (const std::string& start : GameStarts) {
        for (int game = 0; game < games; ++game) {
            SetupFen(start);
            for (int ply = 0; ply < plies; ++ply) {
                positions.emplace_back(WriteFen(0));
                MoveCount = 0;
                GenerateLegalMoves(0);
                const int moves = MoveCount;
                MoveCount = 0;
                if (moves == 0) {
                    break;
                }
                MakeMove(MoveList[random() % static_cast<unsigned>(moves)].Move, 1);
            }
        }
    }
    return positions;
}

/// The same position with colours changed: ranks turned upside down, every right and square with them.
inline std::string ColourMirror(const std::string& fen) {
    std::istringstream fields(fen);
    std::string board, side, castling, en_passant;
    fields >> board >> side >> castling >> en_passant;
    const auto other_case = [](unsigned char c) {
        return static_cast<char>(std::isupper(c) ? std::tolower(c) : std::toupper(c));
    };
    std::string mirrored;
    std::istringstream ranks(board);
    for (std::string rank; std::getline(ranks, rank, '/');) {
        std::transform(rank.begin(), rank.end(), rank.begin(), other_case);
        mirrored = rank + (mirrored.empty() ? "" : "/") + mirrored;
    }
    std::transform(castling.begin(), castling.end(), castling.begin(), other_case);
    if (en_passant.size() == 2) {
        en_passant[1] = en_passant[1] == '3' ? '6' : '3';
    }
    return mirrored + (side == "w" ? " b " : " w ") + castling + " " + en_passant + " ";
}
