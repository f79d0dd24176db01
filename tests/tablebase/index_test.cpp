// The index of a position: the same for all its symmetric images, another for every other position, below the size.
#include <algorithm>
#include <array>
#include <map>

#include "table_folder.h"
#include "tablebase/index_tables.h"
#include "tablebase/tables.h"

namespace {

using Squares = std::array<std::int32_t, TableMen>;

/// A table file of one value, pieces in the order of `letters` (the second colour's in lower case).
std::string OneValueTable(const std::string& letters, bool pawns, bool bothColoursHavePawns, int order, int order2) {
    std::string file = pawns ? "\x71\xE8\x23\x5D\x03" : "\x71\xE8\x23\x5D\x01";
    for (int section = 0; section < (pawns ? 4 : 1); ++section) {
        file.push_back(static_cast<char>(order * 17));
        if (bothColoursHavePawns) {
            file.push_back(static_cast<char>(order2 * 17));
        }
        for (const char letter : letters) {
            const std::string numbers = ".PNBRQK..pnbrqk";
            file.push_back(static_cast<char>(numbers.find(letter) * 17));
        }
    }
    file.resize((file.size() + 1) / 2 * 2);
    for (int section = 0; section < (pawns ? 8 : 2); ++section) {
        file += "\x80\x02";
    }
    return file;  // no blocks, and so no padding before them
}

std::int64_t Ways(int n, int k) {
    return k == 0 ? 1 : Ways(n - 1, k - 1) * n / k;
}

struct IndexCase {
    const char* name;
    const char* order;  // of the pieces in the file
    int first;          // place of the front group among the factors
    int second;         // place of the second pawn group
    std::int64_t size;  // of all pawn sections together
};

/// The least of the position's images, like pieces in order: equal for positions that count as one.
std::int64_t Canonical(const IndexCase& c, const Squares& squares, int men, bool pawns) {
    std::int64_t least = -1;
    for (int symmetry = 0; symmetry < (pawns ? 2 : 8); ++symmetry) {
        Squares image = squares;
        for (int i = 0; i < men; ++i) {
            auto& square = image[static_cast<std::size_t>(i)];
            square ^= ((symmetry & 1) != 0 ? 7 : 0) ^ ((symmetry & 2) != 0 ? 56 : 0);
            square = (symmetry & 4) != 0 ? 8 * FileOf(square) + RankOf(square) : square;
        }
        std::int64_t word = 0;
        for (int i = 0; i < men;) {
            Bitboard group = 0;
            for (const char piece = c.order[i]; i < men && c.order[i] == piece; ++i) {
                group |= Bit(image[static_cast<std::size_t>(i)]);
            }
            while (group != 0) {
                word = word * 64 + PopLowestBit(group);
            }
        }
        least = least < 0 ? word : std::min(least, word);
    }
    return least;
}

/// On one diagonal the front pieces leave open which of two mirror images is meant: both have an index.
bool FrontOnDiagonal(const Squares& squares, int front) {
    const auto all = [&](auto on) { return std::all_of(squares.begin(), squares.begin() + front, on); };
    return all([](int square) { return RankOf(square) == FileOf(square); }) ||
           all([](int square) { return RankOf(square) + FileOf(square) == 7; });
}

TEST(Index, TellsPositionsApart) {
    const auto front = [](int lead) {  // ways of `lead` pawns on the board, mirror images taken as one, and more
        std::int64_t ways = 0;
        for (int file = 0; file < 4; ++file) {
            ways += PawnFactor[lead - 1][file];
        }
        return ways;
    };
    InitTableIndices();
    const IndexCase cases[] = {
        {"KRvK", "kKR", 0, 15, 31332},
        {"KQNvK", "QKkN", 1, 15, 31332 * 61},
        {"KNNvK", "KkNN", 1, 15, 462 * Ways(62, 2)},
        {"KRRvKBB", "kKbbRR", 2, 15, 462 * Ways(62, 2) * Ways(60, 2)},
        {"KPvK", "PKk", 1, 15, front(1) * 63 * 62},
        {"KPPPvK", "PPPkK", 0, 15, front(3) * 61 * 60},
        {"KPvKP", "PpKk", 0, 2, front(1) * 47 * 62 * 61},
        {"KPPvKP", "pPPKk", 2, 1, front(1) * Ways(47, 2) * 61 * 60},
        {"KPPvKPP", "ppPPkK", 3, 0, front(2) * Ways(46, 2) * 60 * 59},
    };
    std::mt19937 random(20250101);
    for (const IndexCase& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string name = c.name;
        const std::string order = c.order;
        const bool pawns = name.find('P') != std::string::npos;
        const int men = static_cast<int>(order.size());
        const TableFolder folder;
        folder.Write(name + ".rtbw",
                     OneValueTable(order, pawns, order.find('P') < order.size() && order.find('p') < order.size(),
                                   c.first, c.second));
        OutputOf([&folder] { init_tablebases(folder.Path()); });
        TableEntry& entry = pawns ? static_cast<TableEntry&>(PawnTables[0]) : PieceTables[0];
        ASSERT_TRUE(InitWdlTable(entry, c.name));

        const auto encode = [&](Squares squares, int& file) {
            if (!pawns) {
                file = 0;
                return EncodePiece(PieceTables[0].EncType, men, PieceTables[0].Section.Sides[0], squares.data());
            }
            const auto& [lead, other] = PawnTables[0].Pawns;
            for (int i = 1; i < lead; ++i) {
                if (PawnLead[squares[0]] > PawnLead[squares[static_cast<std::size_t>(i)]]) {
                    std::swap(squares[0], squares[static_cast<std::size_t>(i)]);
                }
            }
            file = FileToSection[squares[0] & 7];
            return EncodePawn(lead, other, men, PawnTables[0].Sections[file].Sides[0], squares.data());
        };

        std::map<std::pair<int, std::uint64_t>, std::int64_t> owners;
        std::map<std::int64_t, std::pair<int, std::uint64_t>> indices;
        std::uint64_t places[4] = {};  // by section, one more than the largest index
        for (int sample = 0; sample < 30000; ++sample) {
            PlaceRandomly(name, WHITE, random);
            Squares squares{};
            for (int i = 0; i < men;) {
                const char letter = c.order[i];
                const bool white = letter >= 'A' && letter <= 'Z';
                const int code = CodeOfTableLetter(static_cast<char>(white ? letter : letter - 'a' + 'A'));
                for (Bitboard set = thread_board.Pieces[code][white ? WHITE : BLACK]; set != 0;) {
                    squares[static_cast<std::size_t>(i++)] = PopLowestBit(set);
                }
            }
            const std::int64_t canonical = Canonical(c, squares, men, pawns);
            std::pair<int, std::uint64_t> index;
            index.second = encode(squares, index.first);
            places[index.first] = std::max(places[index.first], index.second + 1);
            ASSERT_EQ(owners.try_emplace(index, canonical).first->second, canonical) << "two positions, one index";
            if (!pawns && FrontOnDiagonal(squares, PieceTables[0].EncType == ENCODE_KINGS ? 2 : 3)) {
                continue;
            }
            ASSERT_EQ(indices.try_emplace(canonical, index).first->second, index) << "one position, two indices";
        }
        std::uint64_t sum = 0;
        for (const std::uint64_t section : places) {
            sum += section;
        }
        EXPECT_LE(sum, static_cast<std::uint64_t>(c.size));
        EXPECT_GT(sum, static_cast<std::uint64_t>(c.size - c.size / 10)) << "no room is left unused";
    }
}

}  // namespace
