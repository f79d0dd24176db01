// Tables cut short and overwritten at random: a message or a wrong value at worst. Under the address sanitizer a step
// out of the file shows. QUORVANTH_DAMAGED_FILES sets the number of files.
#include <algorithm>
#include <cstdlib>
#include <set>

#include "table_folder.h"
#include "tablebase/tables.h"

namespace {

struct WholeTable {
    std::string name;
    std::string wdl;
    std::string dtz;
};

std::vector<WholeTable> WholeTables() {
    std::vector<WholeTable> tables;
    for (const std::string folder : {QUORVANTH_TEST_DATA "/syzygy", QUORVANTH_SHARED "/syzygy"}) {
        std::error_code ignored;
        for (const auto& file : std::filesystem::directory_iterator(folder, ignored)) {
            if (file.path().extension() == ".rtbw") {
                auto distances = file.path();
                tables.push_back(
                    {file.path().stem(), ReadAll(file.path()), ReadAll(distances.replace_extension(".rtbz"))});
            }
        }
    }
    std::sort(tables.begin(), tables.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return tables;
}

/// Most of the damage goes where the headers are.
std::size_t DamagedPlace(const std::string& bytes, std::mt19937& random) {
    const std::size_t reach = random() % 4 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 200);
    return random() % reach;
}

void Damage(std::string& bytes, std::mt19937& random) {
    switch (random() % 4) {
        case 0:
            bytes.resize(random() % 2 == 0 ? random() % bytes.size()
                                           : random() % std::min<std::size_t>(200, bytes.size()));
            break;
        case 1:
            bytes[DamagedPlace(bytes, random)] ^= static_cast<char>(1u << random() % 8);
            break;
        case 2:
            for (int n = 0; n < 8; ++n) {
                bytes[DamagedPlace(bytes, random)] = static_cast<char>(random());
            }
            break;
        default: {
            const std::size_t place = DamagedPlace(bytes, random);
            const std::size_t size = std::min<std::size_t>(1 + random() % 64, bytes.size() - place);
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(place), size,
                        static_cast<char>(random() % 2 == 0 ? 0xFF : random()));
        }
    }
}

struct Outcome {
    int answered = 0;
    int refused = 0;
};

/// Probes positions of the only table in `folder`, and counts what comes of it.
void ProbeAll(const std::string& name, const TableFolder& folder, std::mt19937& random, Outcome& outcome) {
    const std::string said = OutputOf([&] {
        init_tablebases(folder.Path());
        for (int n = 0; n < 50; ++n) {
            PlaceRandomly(name, n % 2 == 0 ? WHITE : BLACK, random);
            std::int32_t success = 1;
            const std::int32_t value = ProbeWdlTable(success);
            ++(success != 0 ? outcome.answered : outcome.refused);
            EXPECT_TRUE(value >= -2 && value <= 2);
            for (std::int32_t wdl = -2; wdl <= 2; ++wdl) {
                success = 1;
                const std::int32_t distance = ProbeDtzTable(wdl, success);
                EXPECT_TRUE(distance >= 0 && distance <= 510);
            }
        }
    });
    std::set<std::string> lines;
    std::istringstream text(said);
    for (std::string line; std::getline(text, line);) {
        lines.insert(line);
    }
    lines.erase("Corrupted table.");
    EXPECT_EQ(lines, std::set<std::string>{"info string Found 1 tablebases."});
}

TEST(DamagedFiles, GiveAMessageOrAWrongValue) {
    const char* const wanted = std::getenv("QUORVANTH_DAMAGED_FILES");
    const int files = wanted != nullptr ? std::atoi(wanted) : 600;
    const std::vector<WholeTable> tables = WholeTables();
    ASSERT_FALSE(tables.empty());
    std::mt19937 random(20250101);
    Outcome outcome;
    for (int n = 0; n < files && !testing::Test::HasFailure(); ++n) {
        const WholeTable& table = tables[static_cast<std::size_t>(n) % tables.size()];
        SCOPED_TRACE(testing::Message() << table.name << ", file " << n);
        std::string wdl = table.wdl;
        std::string dtz = table.dtz;
        Damage(random() % 2 == 0 ? wdl : dtz, random);
        const TableFolder folder;
        folder.Write(table.name + ".rtbw", wdl);
        folder.Write(table.name + ".rtbz", dtz);
        ProbeAll(table.name, folder, random, outcome);
    }
    EXPECT_GT(outcome.answered, 0);
    EXPECT_GT(outcome.refused, 0);
}

// The checksum at the end is no part of the table: a file cut there answers like the whole one.
TEST(DamagedFiles, NeedNoChecksum) {
    for (const WholeTable& table : WholeTables()) {
        SCOPED_TRACE(table.name);
        std::vector<std::int32_t> answers[2];
        for (const bool cut : {false, true}) {
            const TableFolder folder;
            const std::size_t checksum = cut ? 16 : 0;
            folder.Write(table.name + ".rtbw", std::string_view(table.wdl).substr(0, table.wdl.size() - checksum));
            folder.Write(table.name + ".rtbz", std::string_view(table.dtz).substr(0, table.dtz.size() - checksum));
            OutputOf([&folder] { init_tablebases(folder.Path()); });
            std::mt19937 random(7);
            for (int n = 0; n < 1000; ++n) {
                PlaceRandomly(table.name, n % 2 == 0 ? WHITE : BLACK, random);
                std::int32_t success = 1;
                answers[cut].push_back(ProbeWdlTable(success));
                answers[cut].push_back(ProbeDtzTable(2, success));
                answers[cut].push_back(success);
            }
        }
        EXPECT_EQ(answers[0], answers[1]);
    }
}

}  // namespace
