// thread_board, the one position of the process, and GameHistory, the undo records below it.
//
// Everything in ThreadBoard up to PieceWeight is kept incrementally by MakeMove, UnmakeMove and
// PlacePiece; PositionIsConsistent() names the invariants by testing them. The evaluation's working
// fields at the end are refreshed by a full evaluation only.
//
// Owner: position/board.cpp. Written by this room's routines; the phases, force fields, AllPawns and
// PawnEntry by the evaluation; SearchAborted by the search and the input handler.
#pragma once

#include "position/types.h"
#include "position/zobrist.h"

/// Castling rights as bits of ThreadBoard::CastlingFlags.
enum CastlingRight : std::uint32_t { WHITE_SHORT = 1, WHITE_LONG = 2, BLACK_SHORT = 4, BLACK_LONG = 8 };

/// The material index of a position with three or more queens, rooks, bishops or knights of one colour.
inline constexpr std::int32_t MATERIAL_OVERFLOW = 531441;  // 3 to the 12th

/// Weight of one piece in ThreadBoard::MaterialIndex by PieceCode, then colour: a mixed-radix number whose
/// digits are the piece counts (0..2, pawns 0..8). The largest index is 531440.
inline constexpr std::int32_t MaterialIndexWeight[8][2] = {{0, 0}, {0, 0},  {729, 2187}, {6561, 59049},
                                                           {0, 0}, {9, 27}, {81, 243},   {1, 3}};

/// Pawn-structure knowledge of one pawn key: a slot of the pawn hash, and thread_board's working copy. Packed,
/// because the table is sized by 34 bytes a slot.
#pragma pack(push, 1)
struct PawnHashEntry {
    Key key;
    std::int32_t pawn_score[4];      // packed, Black's point of view, by wing_index[WHITE]
    std::uint8_t PassedVector[2];    // bit f: a passed pawn on file f. Stored Black first: read by PassedFiles
    std::uint8_t PawnFiles[2];       // bit f: a pawn on file f, by colour
    std::uint8_t WeakFiles[2];       // stored Black first
    std::uint8_t WingShelter[2][2];  // by colour, then king's wing, queen's wing

    std::uint8_t& PassedFiles(Colour colour) { return PassedVector[1 - colour]; }
    std::uint8_t& WeakFilesOf(Colour colour) { return WeakFiles[1 - colour]; }
};
#pragma pack(pop)
static_assert(sizeof(PawnHashEntry) == 34);

struct ThreadBoard {
    std::int32_t TotalPieces;
    std::int32_t white_phase;    // 0 full army .. 256 no pieces; written by the evaluation
    std::int32_t black_phase;    // the same for Black
    std::int32_t current_phase;  // both armies together
    std::uint32_t CastlingFlags;
    std::int32_t PieceSquareSum;  // packed: black pieces' table words minus white pieces', modulo 2^32
    std::int32_t MaterialIndex;
    std::int32_t FiftyCounter;   // half-moves since the last capture or pawn move
    std::int32_t SearchAborted;  // non-zero while a running search must unwind
    Colour SideToMove;
    Bitboard ColourPieces[2];
    Bitboard Pieces[8][2];  // by PieceCode, then colour; rows 0 and 4 stay empty
    Bitboard AllPieces;
    std::int32_t KingSquare[2];
    Bitboard RooksQueens;           // of both colours
    Bitboard BishopsQueens;         // of both colours
    std::int32_t PieceCount[8][2];  // rows 2, 3, 5, 6, 7 are in use
    std::uint32_t Board[64];        // PieceCode, 0 if empty
    Bitboard AllPawns;              // refreshed by the evaluation only
    PawnHashEntry PawnEntry;
    Key PositionKey;  // pieces only: no side to move, no castling rights, no en passant
    Key PawnKey;
    std::int32_t Material[2];     // centipawns without the king; 3900 in the start position
    std::int32_t PieceWeight[2];  // PieceUnits; 31 in the start position

    // Copied from the MaterialEntry at each full evaluation.
    std::int16_t defend_force[2];
    std::int16_t attack_force[2];
};

extern ThreadBoard thread_board;

/// The state just before a move, and the move. Record n is written by the n-th move of the game or search. Packed,
/// because padding behind the last field would make it 32 bytes.
#pragma pack(push, 4)
struct HistoryRecord {
    Key key;
    std::int32_t fifty;
    Move move;  // 0 for a null move
    std::uint32_t castling;
    std::int32_t material_index;
    std::int32_t piece_square_sum;
};
#pragma pack(pop)
static_assert(sizeof(HistoryRecord) == 28);

inline constexpr int HISTORY_RECORDS = 768;

/// Room that a search may need above the game: more plies than PlyState has records.
inline constexpr int HISTORY_SEARCH_ROOM = 256;

/// Half-moves that leave the stack at once when a game grows too long for it.
inline constexpr int HISTORY_STEP = 256;

extern HistoryRecord GameHistory[HISTORY_RECORDS];

/// Records in use: game moves and search moves alike.
extern std::int32_t GamePly;

/// Half-moves of the game that have left the bottom of GameHistory: the game's true length is
/// GamePly + DroppedPlies. 0 in every game of fewer than 512 half-moves.
extern std::int32_t DroppedPlies;

/// Zeroes the board: pieces, counts, keys, sums and FiftyCounter. SideToMove, CastlingFlags and KingSquare
/// stay for the caller to set.
void ClearBoard();

/// Adds one piece to an otherwise consistent position and keeps every field in step; sets KingSquare for a
/// king. The square must be empty. RemovePiece is its inverse and leaves KingSquare alone; it does nothing on
/// an empty square.
void PlacePiece(int square, Colour colour, int code);
void RemovePiece(int square);

/// Empties GameHistory and places the start position: the board part of a new game. What the rest of the
/// engine forgets with it belongs to SetupStartPosition in search/front_end.h.
void PlaceStartPosition();

/// Empties GameHistory: GamePly and DroppedPlies become 0.
void ClearHistory();

/// Keeps room for a search above the game: when GamePly has reached HISTORY_RECORDS - HISTORY_SEARCH_ROOM the
/// oldest HISTORY_STEP records go. Call before a game move is made; never while search moves stand on the stack.
void MakeRoomInHistory();

/// Recomputes MaterialIndex from PieceCount: the mixed-radix sum, or MATERIAL_OVERFLOW with three of a kind.
/// An impossible set (more than eight pawns) can give a sum above MATERIAL_OVERFLOW: prints
/// "Error when indexing material!" and keeps the value, so readers test with >=.
void RecomputeMaterialIndex();

/// Makes `move`, whose fields are believed: neither legality nor the board is looked at. The record at GamePly takes
/// the move, and with `save` non-zero the state before it as well: all the other fields. With `save` zero it must
/// already hold this position's state, as it does after a sibling's UnmakeMove. GamePly must be below
/// HISTORY_RECORDS; MakeRoomInHistory and the bound on a search's plies see to that.
void MakeMove(Move move, int save);

/// Takes back the move of the record at GamePly - 1. GamePly must be above 0 and that move not a null move.
void UnmakeMove();

/// True when UnmakeMove would take back the last move as it was made. Not so without a record; after a command has
/// changed the side to move; and for a double push that is known from a FEN only.
bool CanTakeBack();

/// Square of the enemy pawn that has just made a double push and has a pawn of the side to move beside it, -1 if
/// there is none: the one en-passant question. Whether a capture would be legal is not asked.
inline int EnPassantPawn() {
    if (GamePly > 0 && IsDoublePush(GameHistory[GamePly - 1].move)) {
        const int pawn = MoveTo(GameHistory[GamePly - 1].move);
        const Bitboard beside = ((Bit(pawn) & ~FILE_A) >> 1) | ((Bit(pawn) & ~FILE_H) << 1);
        // Commands that change the side to move can leave an own push as the last move.
        const Bitboard own = thread_board.Pieces[PAWN][thread_board.SideToMove];
        if ((beside & own) != 0 && (Bit(pawn) & own) == 0) {
            return pawn;
        }
    }
    return -1;
}

/// PositionKey plus castling rights and, with a pawn beside a pawn that has just made a double push, its file.
/// The side to move is not part of it. Inline, because every node asks for it.
inline Key SearchKey() {
    Key key = thread_board.PositionKey ^ CastleKeys[thread_board.CastlingFlags];
    if (const int pawn = EnPassantPawn(); pawn >= 0) {
        key ^= EnPassantKeys[FileOf(pawn)];
    }
    return key;
}

/// True when every incrementally kept field of thread_board agrees with values computed from the pieces.
/// Slow; for assertions and tests.
bool PositionIsConsistent();
