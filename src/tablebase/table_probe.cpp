#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <mutex>

#include "position/board.h"
#include "tablebase/index_tables.h"
#include "tablebase/tablebase.h"
#include "tablebase/tables.h"

DtzSlot DtzCache[DtzCacheSize];

namespace {

/// Guards the first load of a WDL table. Held by nobody between probes, so that it can live as long as the process.
std::mutex TableLock;

constexpr int CodeOfTablePiece[8] = {NO_PIECE, PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING, NO_PIECE};
constexpr int CountedCodes[5] = {PAWN, KNIGHT, BISHOP, ROOK, QUEEN};
constexpr int NamedCodes[5] = {QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
constexpr char NamedLetters[] = "QRBNP";

/// How the board is turned to fit the table: what is xored to the file's pieces and to squares, and the side to move
/// whose section is asked.
struct Orientation {
    int cmirror;
    int mirror;
    int bside;
};

/// A table's second colour is Black when the keys agree, White when they differ. A symmetric table holds the positions
/// with its first colour to move only.
Orientation OrientationOf(const TableEntry& entry, Key key) {
    const bool black = thread_board.SideToMove == BLACK;
    if (entry.Symmetric) {
        return black ? Orientation{8, 56, 0} : Orientation{0, 0, 0};
    }
    return key != entry.Key ? Orientation{8, 56, black ? 0 : 1} : Orientation{0, 0, black ? 1 : 0};
}

using SquareList = std::array<std::int32_t, TableMen>;

/// Lists the squares of the pieces from place `i` on. Every set has as many squares as the table's record says: the
/// material has been found by its key, and the record was checked against the material.
void ListPieces(const std::uint8_t* pieces, int i, int men, int cmirror, int mirror, SquareList& list) {
    while (i < men) {
        const int piece = pieces[i] ^ cmirror;
        Bitboard squares = thread_board.Pieces[CodeOfTablePiece[piece & 7]][piece >> 3];
        assert(squares != 0 && i + PopCount(squares) <= men);
        do {
            list[static_cast<std::size_t>(i++)] = PopLowestBit(squares) ^ mirror;
        } while (squares != 0);
    }
}

/// Lists the lead pawns, the one with the smallest PawnLead at the front, and answers the section that it chooses.
int ListLeadPawns(std::uint8_t leadPiece, int lead, const Orientation& turn, SquareList& list) {
    const int piece = leadPiece ^ turn.cmirror;
    Bitboard squares = thread_board.Pieces[PAWN][piece >> 3];
    assert(PopCount(squares) == lead);
    for (std::size_t i = 0; squares != 0; ++i) {
        list[i] = PopLowestBit(squares) ^ turn.mirror;
    }
    for (int i = 1; i < lead; ++i) {
        auto& square = list[static_cast<std::size_t>(i)];
        if (PawnLead[list[0]] > PawnLead[square]) {
            std::swap(list[0], square);
        }
    }
    return FileToSection[FileOf(list[0])];
}

// The squares of a pawnless table are taken as they are: its value does not change with the board's mirror.
std::uint8_t PieceValueAt(const TableEntry& entry, int encType, const TableSection& section, int cmirror) {
    SquareList list;
    ListPieces(section.Pieces, 0, entry.Men, cmirror, 0, list);
    return Decompress(*section.Pairs, EncodePiece(encType, entry.Men, section, list.data()));
}

/// The rest of a table with pawns, when the lead pawns stand in the list and have chosen the section.
std::uint8_t PawnValueAt(const TableEntry& entry, const std::uint8_t* pawns, const TableSection& section,
                         const Orientation& turn, SquareList& list) {
    ListPieces(section.Pieces, pawns[0], entry.Men, turn.cmirror, turn.mirror, list);
    return Decompress(*section.Pairs, EncodePawn(pawns[0], pawns[1], entry.Men, section, list.data()));
}

TableSlot* FindSlot(Key key) {
    for (TableSlot& slot : TableHash[key >> (64 - TableHashBits)]) {
        if (slot.Key == key) {
            return &slot;
        }
    }
    return nullptr;
}

/// Loads the table of `slot`, unless another thread has just done it. A table that cannot be loaded is not asked for
/// again under this key.
bool LoadWdlTable(TableSlot& slot, Key key) {
    const std::lock_guard lock(TableLock);
    TableEntry& entry = *slot.Entry;
    if (entry.Ready != 0) {
        return true;
    }
    char name[TABLE_NAME_ROOM];
    MaterialName(name, key != entry.Key ? 1 : 0);
    if (!InitWdlTable(entry, name)) {
        slot.Key = 0;
        return false;
    }
    std::atomic_ref(entry.Ready).store(1, std::memory_order_release);
    return true;
}

/// Puts an entry-less slot for the material at the front and loads the table into it. The slot stays without an entry
/// when the table cannot be loaded.
void LoadDtzTable(const TableEntry& wdl, Key key) {
    const int mirror = wdl.Key != key ? 1 : 0;
    DtzCache[DtzCacheSize - 1].Entry.reset();
    std::move_backward(DtzCache, DtzCache + DtzCacheSize - 1, DtzCache + DtzCacheSize);
    DtzCache[0].key1 = MaterialKey(mirror);
    DtzCache[0].key2 = MaterialKey(mirror ^ 1);

    DtzEntryOwner entry;
    if (wdl.HasPawns) {
        auto* const pawn = new DtzPawnTableEntry{};
        entry.reset(pawn);
        std::copy_n(static_cast<const PawnTableEntry&>(wdl).Pawns, 2, pawn->Pawns);
        pawn->HasPawns = 1;
    } else {
        auto* const piece = new DtzPieceTableEntry{};
        entry.reset(piece);
        piece->EncType = static_cast<const PieceTableEntry&>(wdl).EncType;
    }
    entry->Key = wdl.Key;
    entry->Men = wdl.Men;
    entry->Symmetric = wdl.Symmetric;
    char name[TABLE_NAME_ROOM];
    MaterialName(name, mirror);
    if (InitDtzTable(*entry, name)) {
        DtzCache[0].Entry = std::move(entry);
    }
}

/// Brings the material's slot to the front of the cache, loading the table if it is new there. A slot further back
/// counts only under its first key. False when there is no such table.
bool BringToFront(Key key) {
    if (DtzCache[0].key1 == key || DtzCache[0].key2 == key) {
        return true;
    }
    for (DtzSlot* slot = DtzCache + 1; slot != DtzCache + DtzCacheSize; ++slot) {
        if (slot->key1 == key) {
            std::rotate(DtzCache, slot, slot + 1);
            return true;
        }
    }
    const TableSlot* const found = FindSlot(key);
    if (found == nullptr) {
        return false;
    }
    LoadDtzTable(*found->Entry, key);
    return true;
}

// Bits of a DTZ section's flags.
constexpr int SIDE_TO_MOVE = 1;
constexpr int VALUES_MAPPED = 2;

/// The distance in plies behind the value of the table.
std::int32_t DistanceOf(std::int32_t value, std::int32_t wdl, int flags, const std::uint8_t* map,
                        const std::uint16_t* mapIndex) {
    constexpr int list[5] = {1, 3, 0, 2, 0};              // of the map, by wdl + 2
    constexpr int counted_in_plies[5] = {8, 0, 0, 0, 4};  // bit of the flags; other results count moves
    assert(wdl >= -2 && wdl <= 2);
    if (flags & VALUES_MAPPED) {
        // The length stands before the list; only damaged values are beyond it.
        const std::uint8_t* const values = map + mapIndex[list[wdl + 2]];
        value = value < values[-1] ? values[value] : 0;
    }
    return (flags & counted_in_plies[wdl + 2]) == 0 || (wdl & 1) != 0 ? value * 2 : value;
}

}  // namespace

Key MaterialKey(int mirror) {
    const int first = mirror != 0 ? BLACK : WHITE;
    Key key = 0;
    for (const int code : CountedCodes) {
        key ^= PieceKeys[WHITE][code][thread_board.PieceCount[code][first]];
        key ^= PieceKeys[BLACK][code][thread_board.PieceCount[code][first ^ 1]];
    }
    return key;
}

void MaterialName(char* buffer, int mirror) {
    const int first = mirror != 0 ? BLACK : WHITE;
    for (const int colour : {first, first ^ 1}) {
        if (colour != first) {
            *buffer++ = 'v';
        }
        *buffer++ = 'K';
        for (int i = 0; i < 5; ++i) {
            buffer = std::fill_n(buffer, thread_board.PieceCount[NamedCodes[i]][colour], NamedLetters[i]);
        }
    }
    *buffer = '\0';
}

std::int32_t ProbeWdlTable(std::int32_t& success) {
    if (thread_board.TotalPieces < 3) {
        return 0;  // bare kings
    }
    const Key key = MaterialKey(0);
    TableSlot* const slot = FindSlot(key);
    if (slot == nullptr) {
        success = 0;
        return 0;
    }
    TableEntry& entry = *slot->Entry;
    if (std::atomic_ref(entry.Ready).load(std::memory_order_acquire) == 0 && !LoadWdlTable(*slot, key)) {
        success = 0;
        return 0;
    }

    const Orientation turn = OrientationOf(entry, key);
    if (!entry.HasPawns) {
        const auto& piece = static_cast<const PieceTableEntry&>(entry);
        return PieceValueAt(entry, piece.EncType, piece.Section.Sides[turn.bside], turn.cmirror) - 2;
    }
    const auto& pawn = static_cast<const PawnTableEntry&>(entry);
    SquareList list;
    const int file = ListLeadPawns(pawn.Sections[0].Sides[0].Pieces[0], pawn.Pawns[0], turn, list);
    return PawnValueAt(entry, pawn.Pawns, pawn.Sections[file].Sides[turn.bside], turn, list) - 2;
}

std::int32_t ProbeDtzTable(std::int32_t wdl, std::int32_t& success) {
    const Key key = MaterialKey(0);
    if (!BringToFront(key) || DtzCache[0].Entry == nullptr) {
        success = 0;
        return 0;
    }
    const TableEntry& entry = *DtzCache[0].Entry;
    const Orientation turn = OrientationOf(entry, key);
    if (!entry.HasPawns) {
        const auto& piece = static_cast<const DtzPieceTableEntry&>(entry);
        if ((piece.Flags & SIDE_TO_MOVE) != turn.bside && !entry.Symmetric) {
            success = -1;
            return 0;
        }
        const std::int32_t value = PieceValueAt(entry, piece.EncType, piece.Section, turn.cmirror);
        return DistanceOf(value, wdl, piece.Flags, piece.Map, piece.MapIndex);
    }
    const auto& pawn = static_cast<const DtzPawnTableEntry&>(entry);
    SquareList list;
    const int file = ListLeadPawns(pawn.Sections[0].Pieces[0], pawn.Pawns[0], turn, list);
    if ((pawn.Flags[file] & SIDE_TO_MOVE) != turn.bside) {
        success = -1;
        return 0;
    }
    const std::int32_t value = PawnValueAt(entry, pawn.Pawns, pawn.Sections[file], turn, list);
    return DistanceOf(value, wdl, pawn.Flags[file], pawn.Map, pawn.MapIndex[file]);
}

void FreeDtzEntry(TableEntry* entry) {
    UnmapTableFile(entry->Mapping);
    if (entry->HasPawns) {
        delete static_cast<DtzPawnTableEntry*>(entry);
    } else {
        delete static_cast<DtzPieceTableEntry*>(entry);
    }
}
