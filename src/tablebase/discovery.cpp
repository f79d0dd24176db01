#include <algorithm>
#include <cstdio>
#include <initializer_list>

#include "platform/process.h"
#include "position/zobrist.h"
#include "tablebase/index_tables.h"
#include "tablebase/tablebase.h"
#include "tablebase/tables.h"

std::int32_t LargestTable;

TableSlot TableHash[1 << TableHashBits][HSHMAX];
PieceTableEntry PieceTables[TBMAX_PIECE];
PawnTableEntry PawnTables[TBMAX_PAWN];
std::int32_t PieceTableCount;
std::int32_t PawnTableCount;

namespace {

bool TablesInitialised;

constexpr char PieceLetters[] = "QRBNP";
constexpr int LETTERS = 5;

/// Code by table piece number, of the pieces that the material key counts.
constexpr int CodeOfNumber[6] = {NO_PIECE, PAWN, KNIGHT, BISHOP, ROOK, QUEEN};

int NumberOfLetter(char letter) {
    switch (letter) {
        case 'P':
            return 1;
        case 'N':
            return 2;
        case 'B':
            return 3;
        case 'R':
            return 4;
        case 'Q':
            return 5;
        case 'K':
            return 6;
        default:
            return 0;
    }
}

/// The key of a position with these pieces, the side whose counts begin at `first` as White.
Key KeyOfCounts(const TablePieceCounts& pieces, int first) {
    Key key = 0;
    for (int number = 1; number < 6; ++number) {
        key ^= PieceKeys[WHITE][CodeOfNumber[number]][pieces.count[first + number]];
        key ^= PieceKeys[BLACK][CodeOfNumber[number]][pieces.count[(first ^ 8) + number]];
    }
    return key;
}

[[noreturn]] void LimitTooLow(const char* message) {
    std::puts(message);
    ExitEngine(1);
}

void EnterInHash(Key key, TableEntry& entry) {
    auto& bucket = TableHash[key >> (64 - TableHashBits)];
    TableSlot* const slot = std::find_if(bucket, bucket + HSHMAX, [](const TableSlot& s) { return s.Key == 0; });
    if (slot == bucket + HSHMAX) {
        LimitTooLow("HSHMAX too low!");
    }
    *slot = {key, &entry};
}

/// The lead pawns are of the colour with fewer of them, if it has any; of the first side when both have as many.
void ChooseLeadPawns(const TablePieceCounts& pieces, std::uint8_t* pawns) {
    const auto first = static_cast<std::uint8_t>(pieces.count[1]);
    const auto second = static_cast<std::uint8_t>(pieces.count[8 + 1]);
    const bool secondLeads = second > 0 && (first == 0 || second < first);
    pawns[0] = secondLeads ? second : first;
    pawns[1] = secondLeads ? first : second;
}

TableEntry& NextPieceTable(const TablePieceCounts& pieces) {
    if (PieceTableCount == TBMAX_PIECE) {
        LimitTooLow("TBMAX_PIECE limit too low!");
    }
    PieceTableEntry& entry = PieceTables[PieceTableCount++];
    const auto unique = std::count(std::begin(pieces.count), std::end(pieces.count), 1);
    entry.EncType = unique >= 3 ? ENCODE_THREE_UNIQUE : ENCODE_KINGS;
    return entry;
}

TableEntry& NextPawnTable(const TablePieceCounts& pieces) {
    if (PawnTableCount == TBMAX_PAWN) {
        LimitTooLow("TBMAX_PAWN limit too low!");
    }
    PawnTableEntry& entry = PawnTables[PawnTableCount++];
    ChooseLeadPawns(pieces, entry.Pawns);
    return entry;
}

/// Lists the table of two armies beside the kings, given as places in PieceLetters.
void AddArmies(std::initializer_list<int> first, std::initializer_list<int> second = {}) {
    char name[TABLE_NAME_ROOM];
    char* out = name;
    const auto write = [&out](int letter) { *out++ = PieceLetters[letter]; };
    *out++ = 'K';
    std::for_each(first.begin(), first.end(), write);
    *out++ = 'v';
    *out++ = 'K';
    std::for_each(second.begin(), second.end(), write);
    *out = '\0';
    AddTable(name);
}

// Tables of like names follow one another by the strength of the pieces. A side's pieces stand in the order of
// PieceLetters, and of two sides with as many pieces the stronger is named first.

void AddThreeAndFourMen() {
    for (int i = 0; i < LETTERS; ++i) {
        AddArmies({i});
    }
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            AddArmies({i}, {j});
        }
    }
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            AddArmies({i, j});
        }
    }
}

void AddFiveMen() {
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            for (int k = 0; k < LETTERS; ++k) {
                AddArmies({i, j}, {k});
            }
        }
    }
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            for (int k = j; k < LETTERS; ++k) {
                AddArmies({i, j, k});
            }
        }
    }
}

void AddSixMen() {
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            for (int k = i; k < LETTERS; ++k) {
                for (int l = i == k ? j : k; l < LETTERS; ++l) {
                    AddArmies({i, j}, {k, l});
                }
            }
        }
    }
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            for (int k = j; k < LETTERS; ++k) {
                for (int l = 0; l < LETTERS; ++l) {
                    AddArmies({i, j, k}, {l});
                }
            }
        }
    }
    for (int i = 0; i < LETTERS; ++i) {
        for (int j = i; j < LETTERS; ++j) {
            for (int k = j; k < LETTERS; ++k) {
                for (int l = k; l < LETTERS; ++l) {
                    AddArmies({i, j, k, l});
                }
            }
        }
    }
}

void ReleaseSides(FileSection& section) {
    for (TableSection& side : section.Sides) {
        side.Pairs.reset();
    }
}

}  // namespace

TablePieceCounts CountTablePieces(const char* name) {
    TablePieceCounts pieces{};
    int half = 0;
    for (; *name != '\0'; ++name) {
        if (*name == 'v') {
            half = 8;
        } else if (const int number = NumberOfLetter(*name); number != 0) {
            ++pieces.count[half + number];
        }
    }
    return pieces;
}

void AddTable(const char* name) {
    if (!OpenTableFile(name, ".rtbw").IsOpen()) {
        return;
    }
    const TablePieceCounts pieces = CountTablePieces(name);
    const Key key = KeyOfCounts(pieces, 0);
    const Key key2 = KeyOfCounts(pieces, 8);
    const bool pawns = pieces.count[1] + pieces.count[8 + 1] > 0;
    std::int32_t men = 0;
    for (const std::int32_t count : pieces.count) {
        men += count;
    }

    TableEntry& entry = pawns ? NextPawnTable(pieces) : NextPieceTable(pieces);
    entry.Key = key;
    entry.Ready = 0;
    entry.Men = static_cast<std::uint8_t>(men);
    entry.Symmetric = key == key2 ? 1 : 0;
    entry.HasPawns = pawns ? 1 : 0;
    LargestTable = std::max(LargestTable, men);

    EnterInHash(key, entry);
    if (key2 != key) {
        EnterInHash(key2, entry);
    }
}

void init_tablebases(const std::string& path) {
    if (!TablesInitialised) {
        InitTableIndices();
        TablesInitialised = true;
    } else {
        FreeTablebases();
    }
    if (path.empty() || path == "<empty>") {
        return;
    }
    SetTablePaths(path);
    AddThreeAndFourMen();
    AddFiveMen();
    AddSixMen();
    std::printf("info string Found %d tablebases.\n", PieceTableCount + PawnTableCount);
    std::fflush(stdout);
}

// Leaves everything as before the first listing: after a listing that stops at once no probe may reach a record that
// has been given up. The keys in DtzCache go with their entries: a key without one stands for a table that could not be
// loaded, and the next listing may have that table.
void FreeTablebases() {
    if (!TablesInitialised) {
        return;
    }
    ClearTablePaths();
    for (std::int32_t n = 0; n < PieceTableCount; ++n) {
        UnmapTableFile(PieceTables[n].Mapping);
        ReleaseSides(PieceTables[n].Section);
    }
    for (std::int32_t n = 0; n < PawnTableCount; ++n) {
        UnmapTableFile(PawnTables[n].Mapping);
        for (FileSection& section : PawnTables[n].Sections) {
            ReleaseSides(section);
        }
    }
    for (DtzSlot& slot : DtzCache) {
        slot = {};
    }
    PieceTableCount = PawnTableCount = LargestTable = 0;
    std::fill_n(&TableHash[0][0], (1 << TableHashBits) * HSHMAX, TableSlot{});
}
