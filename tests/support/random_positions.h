// Positions of random legal games, positions with few men, and colour mirrors, for tests of what must hold everywhere.
#pragma once

#include "movegen/exchange.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
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

/// Two kings and up to `men` other men a side, drawn from the letters given, set up and as a FEN: pawns on ranks 2 to
/// 7, kings apart, the side that has just moved not in check.
inline std::string RandomFewMen(std::mt19937& random, unsigned men, const std::string& white = "PPPPNBRQ",
                                const std::string& black = "ppppnbrq") {
    for (;;) {
        std::string board(64, '1');
        const auto put = [&](char man) {
            const bool pawn = man == 'P' || man == 'p';
            std::size_t square = 0;
            do {
                square = pawn ? 8 + random() % 48 : random() % 64;
            } while (board[square] != '1');
            board[square] = man;
        };
        put('K');
        put('k');
        for (const std::string& letters : {white, black}) {
            for (auto left = static_cast<unsigned>(random() % (men + 1)); left > 0; --left) {
                put(letters[random() % letters.size()]);
            }
        }
        std::string fen;
        for (std::size_t rank = 0; rank < 8; ++rank) {
            fen += board.substr(8 * rank, 8) + (rank < 7 ? "/" : "");
        }
        fen += random() % 2 == 0 ? " w - - " : " b - - ";
        SetupFen(fen);
        const Colour us = thread_board.SideToMove;
        const bool apart = (KingAttacks[thread_board.KingSquare[WHITE]] & Bit(thread_board.KingSquare[BLACK])) == 0;
        if (apart && !SquareAttacked(us, thread_board.KingSquare[ChangeSide(us)])) {
            return fen;
        }
    }
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
    return mirrored + (side == "b" ? " w " : " b ") + castling + " " + en_passant + " ";
}
