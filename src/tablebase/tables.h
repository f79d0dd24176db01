// Syzygy table files: the records that discovery makes, what loading adds to them, and the value of one table for the
// position on the board. Captures and en passant are not looked at here; see probe.h for answers about real positions.
//
// Inside files and records a piece is a 4-bit number: 1 pawn, 2 knight, 3 bishop, 4 rook, 5 queen, 6 king, plus 8 for
// the second colour of the table's name. A table is found by its material key, and stands in TableHash under its own
// key and under that with the colours exchanged.
//
// Owners: discovery.cpp (the hash, the records and their counts), table_probe.cpp (DtzCache), table_files.cpp (the
// list of directories). A record's layout and decoders are written once, when the table is loaded.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/file_mapping.h"
#include "position/types.h"
#include "tablebase/decompress.h"

inline constexpr int TableMen = 6;        // most men in a table
inline constexpr int TBMAX_PIECE = 254;   // most pawnless tables
inline constexpr int TBMAX_PAWN = 256;    // most tables with pawns
inline constexpr int TableHashBits = 10;  // the bucket of a key is its top bits
inline constexpr int HSHMAX = 5;          // slots per bucket
inline constexpr int DtzCacheSize = 64;   // DTZ tables held open at a time

/// Room for a table's name and its terminator, whatever stands on the board.
inline constexpr int TABLE_NAME_ROOM = 72;

/// Numbers of pieces by table piece number, both colours.
struct TablePieceCounts {
    std::int32_t count[16];
};

/// One part of a table that is indexed and compressed by itself: that of one side to move, and with pawns of one file
/// of the lead pawn. Pieces in the order of the square list; Norm[i] is the size of the group that begins at i; a
/// group's index counts Factor[i] times.
struct TableSection {
    std::unique_ptr<CompressedTable> Pairs;
    std::int32_t Factor[TableMen];
    std::uint8_t Pieces[TableMen];
    std::uint8_t Norm[TableMen];
};

/// The two sections by side to move; a symmetric table has only the first.
struct FileSection {
    TableSection Sides[2];
};

/// The head of every table record.
struct TableEntry {
    ::Key Key;            // MaterialKey with the first side of the name as White
    FileMapping Mapping;  // empty while not loaded
    std::uint8_t Ready;   // header parsed
    std::uint8_t Men;     // kings included
    std::uint8_t Symmetric;
    std::uint8_t HasPawns;
};

/// How three or two pieces at the front of the square list are turned into one index. Pawnless tables only.
enum EncodingType : std::uint8_t { ENCODE_THREE_UNIQUE = 0, ENCODE_KINGS = 2 };

struct PieceTableEntry : TableEntry {
    std::uint8_t EncType;
    FileSection Section;
};

struct PawnTableEntry : TableEntry {
    std::uint8_t Pawns[2];    // of the lead pawn's colour, of the other colour
    FileSection Sections[4];  // by file of the lead pawn, a to d
};

/// MapIndex[m] is where in Map the list of the m-th result begins; the byte before is the list's length.
struct DtzPieceTableEntry : TableEntry {
    std::uint8_t EncType;
    TableSection Section;
    std::uint8_t Flags;
    std::uint16_t MapIndex[4];
    const std::uint8_t* Map;
};

struct DtzPawnTableEntry : TableEntry {
    std::uint8_t Pawns[2];
    TableSection Sections[4];
    std::uint8_t Flags[4];
    std::uint16_t MapIndex[4][4];
    const std::uint8_t* Map;
};

/// A key of 0 marks a slot that is free or taken out of service.
struct TableSlot {
    ::Key Key;
    TableEntry* Entry;  // in PieceTables or PawnTables, as its HasPawns tells
};

extern TableSlot TableHash[1 << TableHashBits][HSHMAX];
extern PieceTableEntry PieceTables[TBMAX_PIECE];
extern PawnTableEntry PawnTables[TBMAX_PAWN];
extern std::int32_t PieceTableCount;
extern std::int32_t PawnTableCount;

/// Unmaps and frees one DTZ record with its decoders: the end of every entry in DtzCache.
void FreeDtzEntry(TableEntry* entry);

struct DtzEntryEnd {
    void operator()(TableEntry* entry) const { FreeDtzEntry(entry); }
};
using DtzEntryOwner = std::unique_ptr<TableEntry, DtzEntryEnd>;

/// Most recently used first. No entry: the table could not be loaded, or none has been asked for.
struct DtzSlot {
    Key key1;
    Key key2;
    DtzEntryOwner Entry;
};
extern DtzSlot DtzCache[DtzCacheSize];

// Discovery

/// Lists the table `name`, such as "KRPvKR", if its .rtbw file is there. Ends the process when a limit is passed.
void AddTable(const char* name);

/// Counts the pieces of a table's name; other characters are ignored.
TablePieceCounts CountTablePieces(const char* name);

// Files

/// Takes the directories of `path`, which semicolons separate; empty stretches do not count.
void SetTablePaths(const std::string& path);
void ClearTablePaths();

/// Opens the first file `name` + `suffix` that can be read, directories in their order; not open if there is none.
OpenedFile OpenTableFile(const char* name, const char* suffix);

/// Maps that file. False if there is none; true and no bytes for an empty one. Ends the process when the system refuses
/// the mapping.
bool MapTableFile(const char* name, const char* suffix, FileMapping& mapping);

/// Gives the mapping back; nothing happens for an empty one.
void UnmapTableFile(FileMapping& mapping);

// Loading

/// Loads the table `name` into its record: maps the file, reads its header and checks that nothing of it leads out of
/// the mapping. False, after a message, when there is no such file or it is damaged; nothing stays mapped then. The
/// DTZ form says nothing about a missing file.
bool InitWdlTable(TableEntry& entry, const char* name);
bool InitDtzTable(TableEntry& entry, const char* name);

// The position on the board

/// The material's key: what table is asked for. With `mirror` the colours of the pieces are exchanged.
Key MaterialKey(int mirror);

/// The material's name, White's pieces first, or Black's with `mirror`. `buffer` has TABLE_NAME_ROOM bytes.
void MaterialName(char* buffer, int mirror);

/// The WDL value that the table has for the position: -2..2 for the side to move. It holds when no capture is better;
/// en passant is not known to it. The position must be playable (PositionIsPlayable), without castling rights, and
/// have no more men than LargestTable. Without a table `success` becomes 0 and the result means nothing; otherwise
/// `success` is left alone.
std::int32_t ProbeWdlTable(std::int32_t& success);

/// The DTZ value in plies, without a sign, for a position of which `wdl` (-2..2) is the result. `success` becomes 0
/// without a table, and -1 (PROBE_OTHER_SIDE) when the table holds only positions with the other side to move; it is
/// left alone otherwise. Requires what ProbeWdlTable requires.
std::int32_t ProbeDtzTable(std::int32_t wdl, std::int32_t& success);
