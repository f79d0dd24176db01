// The header of a table file. Whatever a probe relies on is looked at here, once: the pieces of each section are the
// material's, every area lies in the file, every code leads to a symbol and every symbol to a value. A probe then needs
// bounds only where numbers from the middle of the file lead on.
#include <algorithm>
#include <cstdio>
#include <limits>

#include "platform/bytes.h"
#include "tablebase/index_tables.h"
#include "tablebase/tables.h"

namespace {

constexpr int MAX_SECTIONS = 8;
constexpr std::size_t MAGIC_BYTES = 4;
constexpr std::uint8_t WDL_MAGIC[MAGIC_BYTES] = {0x71, 0xE8, 0x23, 0x5D};
constexpr std::uint8_t DTZ_MAGIC[MAGIC_BYTES] = {0xD7, 0x66, 0x0C, 0xA5};

// Bits of the byte behind the magic.
constexpr std::uint8_t TWO_SIDES = 1;
constexpr std::uint8_t FOUR_FILES = 2;

constexpr std::uint8_t VALUES_MAPPED = 2;  // bit of a DTZ section's flags
constexpr int LISTS_OF_A_MAP = 4;
constexpr int NO_ORDER = 15;  // no group has this place

/// A walk through a file that never leaves it.
struct FileCursor {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;

    /// Steps over `size` bytes, to which `data` then leads. False if there are not as many.
    bool Take(std::uint64_t size, const std::uint8_t*& data) {
        if (size > bytes.size() - at) {
            return false;
        }
        data = bytes.data() + at;
        at += static_cast<std::size_t>(size);
        return true;
    }
    std::span<const std::uint8_t> Rest() const { return bytes.subspan(at); }
    /// What is empty needs no padding before it: a file may end short of the boundary.
    void Align(std::size_t boundary) { at = std::min((at + boundary - 1) / boundary * boundary, bytes.size()); }
};

/// What the table's name tells of its sections.
struct Material {
    TablePieceCounts pieces;
    int men;
    bool pawns;
    std::uint8_t encType;  // without pawns
    int lead;              // pawns of the leading and of the other colour
    int other;
};

/// The sections of a table in the file's order: by file of the lead pawn, then by side to move.
struct TableParts {
    TableSection* section[MAX_SECTIONS];
    std::uint64_t values[MAX_SECTIONS];
    SectionSizes sizes[MAX_SECTIONS];
    std::uint8_t flags[MAX_SECTIONS];
    int files;
    int sides;

    int Count() const { return files * sides; }
};

bool IsPawn(std::uint8_t piece) {
    return (piece & 7) == 1;
}

bool IsKing(std::uint8_t piece) {
    return (piece & 7) == 6;
}

std::int64_t Choose(int n, int k) {
    std::int64_t ways = 1;
    for (int i = 0; i < k; ++i) {
        ways = ways * (n - i) / (i + 1);
    }
    return ways;
}

/// Whether the section lists just the men of the table, like men together, and at the front those that the encoding
/// begins with. The square list of a probe is filled by this order, so that nothing else may pass.
bool PiecesFit(const Material& material, const std::uint8_t* pieces) {
    TablePieceCounts left = material.pieces;
    for (int i = 0; i < material.men;) {
        const std::uint8_t piece = pieces[i];
        int run = 1;
        while (i + run < material.men && pieces[i + run] == piece) {
            ++run;
        }
        if (left.count[piece] != run) {
            return false;
        }
        left.count[piece] = 0;
        i += run;
    }
    if (!material.pawns) {
        if (material.encType == ENCODE_KINGS) {
            return IsKing(pieces[0]) && IsKing(pieces[1]);
        }
        return std::all_of(pieces, pieces + 3,
                           [&material](std::uint8_t piece) { return material.pieces.count[piece] == 1; });
    }
    return IsPawn(pieces[0]) && material.pieces.count[pieces[0]] == material.lead &&
           (material.other == 0 || IsPawn(pieces[material.lead]));
}

void SetNorm(const Material& material, TableSection& section) {
    std::fill_n(section.Norm, TableMen, std::uint8_t{0});
    int i = 0;
    if (material.pawns) {
        i = material.lead;
        section.Norm[0] = static_cast<std::uint8_t>(material.lead);
        if (material.other > 0) {
            section.Norm[i] = static_cast<std::uint8_t>(material.other);
            i += material.other;
        }
    } else {
        i = material.encType == ENCODE_THREE_UNIQUE ? 3 : 2;
        section.Norm[0] = static_cast<std::uint8_t>(i);
    }
    while (i < material.men) {
        const int first = i;
        while (i < material.men && section.Pieces[i] == section.Pieces[first]) {
            ++i;
        }
        section.Norm[first] = static_cast<std::uint8_t>(i - first);
    }
}

/// Gives every group its factor, in the order that the file tells: `order` is the place of the front group, `order2`
/// that of the second pawn group, whose factor has fewer squares to choose from. Answers the number of values, 0 when
/// a group would stay without a factor.
std::uint64_t SetFactors(const Material& material, int order, int order2, int file, TableSection& section) {
    std::fill_n(section.Factor, TableMen, 0);
    const int front = section.Norm[0];
    int i = front;
    if (order2 < NO_ORDER) {
        i += section.Norm[i];
    }
    int free = 64 - i;
    std::int64_t factor = 1;
    for (int k = 0; i < material.men || k == order || k == order2; ++k) {
        // No table of six men comes near; the last factor alone may take the product further.
        if (factor > std::numeric_limits<std::int32_t>::max()) {
            return 0;
        }
        if (k == order) {
            section.Factor[0] = static_cast<std::int32_t>(factor);
            factor *= material.pawns ? PawnFactor[front - 1][file] : PieceFactor[material.encType];
        } else if (k == order2) {
            section.Factor[front] = static_cast<std::int32_t>(factor);
            factor *= Choose(48 - front, section.Norm[front]);
        } else {
            section.Factor[i] = static_cast<std::int32_t>(factor);
            factor *= Choose(free, section.Norm[i]);
            free -= section.Norm[i];
            i += section.Norm[i];
        }
    }
    for (i = 0; i < material.men; i += section.Norm[i]) {
        if (section.Factor[i] == 0) {
            return 0;
        }
    }
    return static_cast<std::uint64_t>(factor);
}

/// One nibble of each byte belongs to a side to move.
int NibbleOf(std::uint8_t byte, int side) {
    return side == 0 ? byte & 15 : byte >> 4;
}

bool ReadLayouts(FileCursor& cursor, const Material& material, TableParts& parts) {
    for (int file = 0; file < parts.files; ++file) {
        const std::uint8_t* orders = nullptr;
        const std::uint8_t* pieces = nullptr;
        if (!cursor.Take(material.other > 0 ? 2 : 1, orders) ||
            !cursor.Take(static_cast<std::uint64_t>(material.men), pieces)) {
            return false;
        }
        for (int side = 0; side < parts.sides; ++side) {
            const int part = file * parts.sides + side;
            TableSection& section = *parts.section[part];
            for (int i = 0; i < material.men; ++i) {
                section.Pieces[i] = static_cast<std::uint8_t>(NibbleOf(pieces[i], side));
            }
            // One colour leads in the whole table: a probe chooses the section by the lead pawns of the first.
            if (!PiecesFit(material, section.Pieces) ||
                (material.pawns && section.Pieces[0] != parts.section[0]->Pieces[0])) {
                return false;
            }
            SetNorm(material, section);
            parts.values[part] = SetFactors(material, NibbleOf(orders[0], side),
                                            material.other > 0 ? NibbleOf(orders[1], side) : NO_ORDER, file, section);
            if (parts.values[part] == 0) {
                return false;
            }
        }
    }
    cursor.Align(2);
    return true;
}

bool ReadDecoders(FileCursor& cursor, TableParts& parts, bool wdl) {
    for (int part = 0; part < parts.Count(); ++part) {
        std::size_t next = 0;
        auto decoder =
            SetupCompressedTable(cursor.Rest(), parts.values[part], parts.sizes[part], next, parts.flags[part], wdl);
        if (!decoder) {
            return false;
        }
        parts.section[part]->Pairs = std::move(decoder);
        cursor.at += next;
    }
    return true;
}

/// The areas behind the headers: those of all sections for the index, then the sizes, then the blocks.
bool PlaceAreas(FileCursor& cursor, TableParts& parts) {
    for (int part = 0; part < parts.Count(); ++part) {
        if (!cursor.Take(parts.sizes[part].IndexTable, parts.section[part]->Pairs->IndexTable)) {
            return false;
        }
    }
    for (int part = 0; part < parts.Count(); ++part) {
        if (!cursor.Take(parts.sizes[part].SizeTable, parts.section[part]->Pairs->SizeTable)) {
            return false;
        }
    }
    for (int part = 0; part < parts.Count(); ++part) {
        CompressedTable& decoder = *parts.section[part]->Pairs;
        cursor.Align(64);
        if (!cursor.Take(parts.sizes[part].Blocks, decoder.Blocks)) {
            return false;
        }
        decoder.LastRefill = cursor.bytes.data() + cursor.bytes.size() - 4;
    }
    return true;
}

/// Notes where the lists of each section with mapped values begin, counted from the start of the maps.
bool ReadMaps(FileCursor& cursor, const TableParts& parts, std::uint16_t (*mapIndex)[LISTS_OF_A_MAP],
              const std::uint8_t*& map) {
    const std::size_t start = cursor.at;
    map = cursor.bytes.data() + start;
    for (int part = 0; part < parts.Count(); ++part) {
        for (int list = 0; list < LISTS_OF_A_MAP && (parts.flags[part] & VALUES_MAPPED) != 0; ++list) {
            const std::uint8_t* length = nullptr;
            const std::uint8_t* values = nullptr;
            if (!cursor.Take(1, length)) {
                return false;
            }
            mapIndex[part][list] = static_cast<std::uint16_t>(cursor.at - start);
            if (!cursor.Take(*length, values)) {
                return false;
            }
        }
    }
    cursor.Align(2);
    return true;
}

/// An empty file has no mapping and no magic: it is damaged like any other that is cut short.
bool HasMagic(std::span<const std::uint8_t> bytes, const std::uint8_t* magic) {
    return bytes.size() > MAGIC_BYTES && std::equal(magic, magic + MAGIC_BYTES, bytes.begin());
}

constexpr std::size_t HEADER_START = MAGIC_BYTES + 1;

bool ReadWdlTable(std::span<const std::uint8_t> bytes, const TableEntry& entry, const Material& material,
                  TableParts& parts) {
    if (!HasMagic(bytes, WDL_MAGIC)) {
        return false;
    }
    const std::uint8_t form = bytes[MAGIC_BYTES];
    parts.sides = (form & TWO_SIDES) != 0 ? 2 : 1;
    parts.files = material.pawns ? 4 : 1;
    if ((material.pawns && (form & FOUR_FILES) == 0) || (parts.sides == 1 && entry.Symmetric == 0)) {
        return false;
    }
    // Filled for two sides; of a table with one the first of each file counts.
    for (int part = 0; parts.sides == 1 && part < parts.files; ++part) {
        parts.section[part] = parts.section[2 * part];
    }
    FileCursor cursor{bytes, HEADER_START};
    return ReadLayouts(cursor, material, parts) && ReadDecoders(cursor, parts, true) && PlaceAreas(cursor, parts);
}

bool ReadDtzTable(std::span<const std::uint8_t> bytes, const Material& material, TableParts& parts,
                  std::uint16_t (*mapIndex)[LISTS_OF_A_MAP], const std::uint8_t*& map) {
    if (!HasMagic(bytes, DTZ_MAGIC)) {
        return false;
    }
    parts.sides = 1;
    parts.files = material.pawns ? 4 : 1;
    if (material.pawns && (bytes[MAGIC_BYTES] & FOUR_FILES) == 0) {
        return false;
    }
    FileCursor cursor{bytes, HEADER_START};
    return ReadLayouts(cursor, material, parts) && ReadDecoders(cursor, parts, false) &&
           ReadMaps(cursor, parts, mapIndex, map) && PlaceAreas(cursor, parts);
}

bool GiveUp(TableEntry& entry, const TableParts& parts) {
    std::puts("Corrupted table.");
    std::fflush(stdout);
    for (TableSection* section : parts.section) {
        if (section != nullptr) {
            section->Pairs.reset();
        }
    }
    UnmapTableFile(entry.Mapping);
    return false;
}

}  // namespace

bool InitWdlTable(TableEntry& entry, const char* name) {
    if (!MapTableFile(name, ".rtbw", entry.Mapping)) {
        std::printf("Could not find %s.rtbw\n", name);
        std::fflush(stdout);
        return false;
    }
    Material material{CountTablePieces(name), entry.Men, entry.HasPawns != 0, 0, 0, 0};
    TableParts parts{};
    if (material.pawns) {
        auto& pawn = static_cast<PawnTableEntry&>(entry);
        material.lead = pawn.Pawns[0];
        material.other = pawn.Pawns[1];
        for (int part = 0; part < MAX_SECTIONS; ++part) {
            parts.section[part] = &pawn.Sections[part / 2].Sides[part % 2];
        }
    } else {
        auto& piece = static_cast<PieceTableEntry&>(entry);
        material.encType = piece.EncType;
        parts.section[0] = &piece.Section.Sides[0];
        parts.section[1] = &piece.Section.Sides[1];
    }
    return ReadWdlTable(entry.Mapping.bytes, entry, material, parts) || GiveUp(entry, parts);
}

bool InitDtzTable(TableEntry& entry, const char* name) {
    if (!MapTableFile(name, ".rtbz", entry.Mapping)) {
        return false;
    }
    Material material{CountTablePieces(name), entry.Men, entry.HasPawns != 0, 0, 0, 0};
    TableParts parts{};
    const auto bytes = entry.Mapping.bytes;
    if (material.pawns) {
        auto& pawn = static_cast<DtzPawnTableEntry&>(entry);
        material.lead = pawn.Pawns[0];
        material.other = pawn.Pawns[1];
        for (int part = 0; part < 4; ++part) {
            parts.section[part] = &pawn.Sections[part];
        }
        const bool read = ReadDtzTable(bytes, material, parts, pawn.MapIndex, pawn.Map);
        std::copy_n(parts.flags, 4, pawn.Flags);
        return read || GiveUp(entry, parts);
    }
    auto& piece = static_cast<DtzPieceTableEntry&>(entry);
    material.encType = piece.EncType;
    parts.section[0] = &piece.Section;
    const bool read = ReadDtzTable(bytes, material, parts, &piece.MapIndex, piece.Map);
    piece.Flags = parts.flags[0];
    return read || GiveUp(entry, parts);
}
