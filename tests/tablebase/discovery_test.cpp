// Which tables are found where, and what becomes of them.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "table_folder.h"
#include "tablebase/tables.h"

namespace {

const std::string data = QUORVANTH_TEST_DATA "/syzygy";

std::string TestTable(const std::string& file) {
    return ReadAll(data + "/" + file);
}

std::string List(const std::string& path) {
    return OutputOf([&path] { init_tablebases(path); });
}

/// The answer for a king against a rook to the side's right, with the rook's colour as given; success in `success`.
std::int32_t ProbeRook(Colour rook, std::int32_t& success) {
    ClearBoard();
    thread_board.CastlingFlags = 0;
    PlacePiece(A1, rook, KING);
    PlacePiece(H7, rook, ROOK);
    PlacePiece(E8, ChangeSide(rook), KING);
    thread_board.SideToMove = rook;
    success = 1;
    return ProbeWdlTable(success);
}

/// All ways to choose `men` of the piece letters, in the order of a table's name.
std::vector<std::string> Armies(int men) {
    std::vector<std::string> armies = {""};
    for (int i = 0; i < men; ++i) {
        std::vector<std::string> longer;
        for (const std::string& army : armies) {
            const std::string letters = "QRBNP";
            for (std::size_t next = army.empty() ? 0 : letters.find(army.back()); next < letters.size(); ++next) {
                longer.push_back(army + letters[next]);
            }
        }
        armies = longer;
    }
    return armies;
}

void PlaceArmy(const std::string& army, Colour colour, int& square) {
    PlacePiece(square++, colour, KING);
    for (const char letter : army) {
        PlacePiece(square++, colour, CodeOfTableLetter(letter));
    }
}

// Every material of three to six men is there under both names; of the two names the listing takes one, once, and
// finds it with the colours either way round. The limits hold all tables.
TEST(Discovery, CoversAllMaterialOfSixMen) {
    const TableFolder folder;
    std::vector<std::pair<std::string, std::string>> materials;
    for (int first = 0; first <= 4; ++first) {
        for (int second = 0; second <= std::min(first, 4 - first); ++second) {
            for (const std::string& a : Armies(first)) {
                for (const std::string& b : Armies(second)) {
                    if (first + second > 0 && (first != second || a <= b)) {
                        materials.emplace_back(a, b);
                        folder.Write(std::string("K").append(a).append("vK").append(b).append(".rtbw"), "");
                        folder.Write(std::string("K").append(b).append("vK").append(a).append(".rtbw"), "");
                    }
                }
            }
        }
    }
    ASSERT_EQ(materials.size(), 510u);
    EXPECT_EQ(List(folder.Path()), "info string Found 510 tablebases.\n");
    EXPECT_EQ(LargestTable, 6);
    for (const auto& [a, b] : materials) {
        ClearBoard();
        int square = 0;
        PlaceArmy(a, WHITE, square);
        PlaceArmy(b, BLACK, square);
        for (const int mirror : {0, 1}) {
            const Key key = MaterialKey(mirror);
            const auto& bucket = TableHash[key >> (64 - TableHashBits)];
            ASSERT_EQ(std::count_if(bucket, bucket + HSHMAX, [key](const TableSlot& s) { return s.Key == key; }), 1);
            const auto* const slot =
                std::find_if(bucket, bucket + HSHMAX, [key](const TableSlot& s) { return s.Key == key; });
            EXPECT_EQ(slot->Entry->Men, thread_board.TotalPieces);
            EXPECT_EQ(slot->Entry->Symmetric != 0, a == b);
            EXPECT_EQ(slot->Entry->HasPawns != 0, (a + b).find('P') != std::string::npos);
        }
    }
    // Of both colours' pawns the fewer lead, if there are any.
    for (int n = 0; n < PawnTableCount; ++n) {
        const auto& pawns = PawnTables[n].Pawns;
        EXPECT_GT(pawns[0], 0);
        EXPECT_TRUE(pawns[1] == 0 || pawns[0] <= pawns[1]);
    }
}

TEST(Discovery, TakesTheFirstDirectoryThatHasTheFile) {
    const TableFolder first;
    const TableFolder second;
    first.Write("KRvK.rtbw", "");  // empty: of no use, but there
    second.Write("KRvK.rtbw", TestTable("KRvK.rtbw"));
    std::filesystem::create_directory(first.Path() + "/KQvK.rtbw");  // a folder is no table,
    mkfifo((first.Path() + "/KNvK.rtbw").c_str(), 0600);             // nor is a pipe

    const struct {
        std::string path;
        std::string printed;
        int largest;
        bool answers;
    } cases[] = {
        {second.Path(), "info string Found 1 tablebases.\n", 3, true},
        {";;" + second.Path() + ";" + first.Path() + ";", "info string Found 1 tablebases.\n", 3, true},
        {"/no/such/folder;" + second.Path() + "/", "info string Found 1 tablebases.\n", 3, true},
        {first.Path() + ";" + second.Path(), "info string Found 1 tablebases.\n", 3, false},
        {"/no/such/folder", "info string Found 0 tablebases.\n", 0, false},
        {";", "info string Found 0 tablebases.\n", 0, false},
        {"<empty>", "", 0, false},
        {second.Path(), "info string Found 1 tablebases.\n", 3, true},
        {"", "", 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(List(c.path), c.printed);
        EXPECT_EQ(LargestTable, c.largest);
        for (const Colour rook : {WHITE, BLACK}) {
            std::int32_t success = 0;
            std::int32_t value = 0;
            const std::string said = OutputOf([&] { value = ProbeRook(rook, success); });
            EXPECT_EQ(success, c.answers ? 1 : 0);
            EXPECT_EQ(said, c.answers || c.largest == 0 ? "" : "Corrupted table.\n");
            if (c.answers) {
                EXPECT_EQ(value, 2);
            }
        }
    }
}

// A table that cannot be loaded says so once for each way round, and is not looked for again.
TEST(Discovery, LeavesOutAFileThatHasVanished) {
    const TableFolder folder;
    folder.Write("KRvK.rtbw", TestTable("KRvK.rtbw"));
    List(folder.Path());
    std::filesystem::remove(folder.Path("KRvK.rtbw"));
    std::int32_t success = 1;
    EXPECT_EQ(OutputOf([&] { ProbeRook(BLACK, success); }), "Could not find KRvK.rtbw\n");
    EXPECT_EQ(success, 0);
    folder.Write("KRvK.rtbw", TestTable("KRvK.rtbw"));
    EXPECT_EQ(OutputOf([&] { ProbeRook(BLACK, success); }), "");
    EXPECT_EQ(success, 0);
    EXPECT_EQ(OutputOf([&] { ProbeRook(WHITE, success); }), "");
    EXPECT_EQ(success, 1);
}

// The distance file is opened at the first question; without it the answer is no, and stays no while the slot is kept.
TEST(Discovery, AsksForDistancesOnDemand) {
    const TableFolder folder;
    folder.Write("KRvK.rtbw", TestTable("KRvK.rtbw"));
    List(folder.Path());
    std::int32_t success = 0;
    ProbeRook(WHITE, success);
    std::int32_t asked = 1;
    EXPECT_EQ(OutputOf([&] { ProbeDtzTable(2, asked); }), "");
    EXPECT_EQ(asked, 0);
    folder.Write("KRvK.rtbz", TestTable("KRvK.rtbz"));
    asked = 1;
    ProbeDtzTable(2, asked);
    EXPECT_EQ(asked, 0);
    DtzCache[0] = {};
    int answers = 0;
    for (const Colour rook : {WHITE, BLACK}) {
        ProbeRook(rook, success);
        for (const Colour side : {WHITE, BLACK}) {
            thread_board.SideToMove = side;
            asked = 1;
            ProbeDtzTable(side == rook ? 2 : -2, asked);
            EXPECT_NE(asked, 0);
            answers += asked == 1;
        }
    }
    EXPECT_EQ(answers, 2) << "the table holds one side to move";
}

/// Lists one empty file after the other until a limit ends the process; its line goes where the test looks for it.
[[noreturn]] void ListWithoutEnd(const TableFolder& folder, const std::vector<std::string>& names) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    init_tablebases(folder.Path());
    for (const std::string& name : names) {
        folder.Write(name + ".rtbw", "");
        AddTable(name.c_str());
    }
    std::_Exit(0);
}

// More tables than there are records, or than a bucket has slots, cannot come from the files of three to six men.
TEST(Discovery, EndsTheProcessAtItsLimits) {
    const TableFolder folder;
    std::vector<std::string> pieces;
    std::vector<std::string> pawns;
    for (int queens = 1; queens <= 20; ++queens) {
        for (int rooks = 1; rooks <= 20; ++rooks) {
            std::string name = "K";
            name.append(static_cast<std::size_t>(queens), 'Q').append(static_cast<std::size_t>(rooks), 'R');
            pieces.push_back(name + "vK");
            pawns.push_back(name + "PvK");
        }
    }
    EXPECT_EXIT(ListWithoutEnd(folder, pieces), testing::ExitedWithCode(1), "TBMAX_PIECE limit too low!");
    EXPECT_EXIT(ListWithoutEnd(folder, pawns), testing::ExitedWithCode(1), "TBMAX_PAWN limit too low!");
    const std::vector<std::string> same(HSHMAX + 1, "KQvK");
    EXPECT_EXIT(ListWithoutEnd(folder, same), testing::ExitedWithCode(1), "HSHMAX too low!");
}

}  // namespace
