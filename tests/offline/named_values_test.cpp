#include "values/named_values.h"

#include "eval/init.h"
#include "eval/parameter_file.h"
#include "eval/parameters.h"
#include "support/files.h"
#include "values/store_values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

namespace {

/// Values that differ from place to place, reserved ones and 64-bit counts among them.
FileValues RandomValues(unsigned seed) {
    std::mt19937_64 random(seed);
    FileValues values;
    for (const Parameter& parameter : Parameters()) {
        std::vector<std::int64_t>& list = values.emplace_back();
        const bool all_zero = random() % 8 == 0;
        for (int i = 0; i < parameter.places; ++i) {
            const auto wide = static_cast<std::int64_t>(random());
            const bool is_count = parameter.store == ParameterStore::MOVE_COUNTS;
            list.push_back(all_zero ? 0 : is_count ? wide : static_cast<std::int32_t>(wide));
        }
    }
    return values;
}

TEST(NamedValues, NothingIsLostEitherWay) {
    for (unsigned seed = 1; seed <= 2; ++seed) {
        const FileValues values = RandomValues(seed);
        const std::string plain = PlainText(values);
        const std::string named = NamedText(values);
        FileValues from_plain;
        FileValues from_named;
        ASSERT_EQ(ReadPlainValues(plain, from_plain), "");
        ASSERT_EQ(ReadNamedValues(named, from_named), "");
        EXPECT_EQ(from_plain, values);
        EXPECT_EQ(from_named, values);
        EXPECT_EQ(PlainText(from_named), plain);
        EXPECT_EQ(NamedText(from_plain), named);
    }
}

/// The plain text is the one that the engine writes and reads, with the alternating tables in turn.
TEST(NamedValues, PlainTextIsTheEnginesOwn) {
    AssignParameterDefaults();
    const TestFolder folder;
    ASSERT_TRUE(WriteParameterFile(folder.Path("plain"), EvaluationStatistics()));
    const std::string plain = folder.Read("plain");
    FileValues values;
    ASSERT_EQ(ReadPlainValues(plain, values), "");
    EXPECT_EQ(PlainText(values), plain);
    const std::string named = NamedText(values);
    EXPECT_NE(named.find("\nThreatBalanceEnd =\n    -100 -50 -25 -10 0 10 25 50\n    100\n"), std::string::npos);
    EXPECT_NE(named.find("\nRookOpenFileOpen = 16 18 20 22\n"), std::string::npos);
    EXPECT_NE(named.find("\nArmyStats = zero\n"), std::string::npos);
    EXPECT_EQ(named.find("Reserved"), std::string::npos);
}

/// `text` with the first line that starts with `head` replaced.
std::string WithLine(std::string text, const std::string& head, const std::string& line) {
    const std::size_t at = text.find("\n" + head) + 1;
    return text.replace(at, text.find('\n', at) - at, line);
}

TEST(NamedValues, StatementsMayStandInAnyOrderAndForm) {
    const FileValues values = RandomValues(9);
    const std::string moved =
        WithLine(NamedText(values), "PawnRunBase", "") + "\tPawnRunBase=# the value follows\r\n\r\n  5 # five";
    FileValues read;
    ASSERT_EQ(ReadNamedValues(moved, read), "");
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (Parameters()[i].name == "PawnRunBase") {
            EXPECT_EQ(read[i], std::vector<std::int64_t>{5});
        } else {
            EXPECT_EQ(read[i], values[i]);
        }
    }
}

TEST(NamedValues, FaultsAreToldWithTheirLine) {
    FileValues values;
    for (const Parameter& parameter : Parameters()) {
        const bool is_short = parameter.store == ParameterStore::TABLE;
        values.emplace_back(static_cast<std::size_t>(parameter.places), is_short ? 7 : 0);
    }
    const std::string text = NamedText(values);
    const auto line_of = [&text](const std::string& head) {
        const auto at = static_cast<std::ptrdiff_t>(text.find("\n" + head) + 1);
        return "line " + std::to_string(1 + std::count(text.begin(), text.begin() + at, '\n')) + ": ";
    };
    const struct {
        std::string head;
        std::string line;
        std::string problem;
    } faults[] = {
        {"PawnRunEnd =", "PawnRunEdn = 7", "unknown name \"PawnRunEdn\""},
        {"PawnRunEnd =", "PawnRunEnd 7", "\"PawnRunEnd\" is no number"},
        {"PawnRunEnd =", "Pawn RunEnd = 7", "one name must stand before '='"},
        {"PawnRunEnd =", "= 7", "one name must stand before '='"},
        {"PawnRunEnd =", "PawnRunEnd = 7 7", "PawnRunEnd has more than 1 values"},
        {"PawnRunEnd =", "PawnRunEnd =", "PawnRunEnd has 0 values, not 1"},
        {"PawnRunEnd =", "PawnRunEnd = 7 # 7 7\nPawnRunEnd = 7", ""},
        {"PawnRunEnd =", "PawnRunEnd = 7.5", "\"7.5\" is no number"},
        {"PawnRunEnd =", "PawnRunEnd = 7 = 7", "\"=\" is no number"},
        {"PawnRunEnd =", "PawnRunEnd = +7", "\"+7\" is no number"},
        {"PawnRunEnd =", "PawnRunEnd = --7", "\"--7\" is no number"},
        {"PawnRunEnd =", "PawnRunEnd = 2147483648", "\"2147483648\" is out of range"},
        {"PawnRunEnd =", "PawnRunEnd = 99999999999999999999", "\"99999999999999999999\" is out of range"},
        {"PawnRunEnd =", "PawnRunEnd = \x01" + std::string(60, 'x'),
         "\"?" + std::string(39, 'x') + "...\" is no number"},
        {"TempoBonus =", "TempoBonus = 7 7 7 7 7 7 7 zero", "\"zero\" must stand alone"},
        {"TempoBonus =", "TempoBonus = zero 7", "\"zero\" must stand alone"},
        {"RookOpenFileOpen =", "RookOpenFileOpen = 7 7 7", "RookOpenFileOpen has 3 values, not 4"},
        {"PawnCorner =", "7 7 7", "\"7\" stands before the first name"},
    };
    for (const auto& fault : faults) {
        FileValues read;
        const std::string problem = ReadNamedValues(WithLine(text, fault.head, fault.line), read);
        if (!fault.problem.empty()) {
            EXPECT_EQ(problem, line_of(fault.head) + fault.problem) << fault.line;
        } else {
            EXPECT_NE(problem.find("PawnRunEnd stands already in " + line_of(fault.head).substr(0, 8)), problem.npos);
        }
    }
    FileValues read;
    EXPECT_NE(ReadNamedValues(WithLine(text, "PawnRunEnd =", ""), read).find(": the text ends without PawnRunEnd"),
              std::string::npos);
    EXPECT_EQ(ReadNamedValues("", read), "line 0: the text ends without PawnCorner");
}

TEST(NamedValues, FaultyPlainTextIsToldWithItsLine) {
    const std::string text = PlainText(RandomValues(11));
    const auto lines = std::to_string(std::count(text.begin(), text.end(), '\n'));
    FileValues read;
    EXPECT_EQ(ReadPlainValues("1\n2\nx\n", read), "line 3: \"x\" is no number");
    EXPECT_EQ(ReadPlainValues("1\n2 3\n\n", read), "line 3: the text ends within PawnCorner");
    EXPECT_EQ(ReadPlainValues("1\n-2147483649\n", read), "line 2: \"-2147483649\" is out of range");
    EXPECT_EQ(ReadPlainValues(text.substr(0, text.rfind('\n', text.size() - 2)), read),
              "line " + std::to_string(std::stoi(lines) - 1) + ": the text ends within QueenSafeMobilityEnd");
    EXPECT_EQ(ReadPlainValues(text + "\n0", read),
              "line " + std::to_string(std::stoi(lines) + 2) + ": there are values after the last one");
}

/// Whatever changes, words for zeros and reserved places among it, is read back as it was given; what does not change
/// keeps every byte.
TEST(NamedValues, UpdatedTextHasTheNewNumbers) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const FileValues old_values = RandomValues(seed);
        const FileValues new_values = RandomValues(seed + 20);
        const std::string text = NamedText(old_values);
        std::string updated;
        FileValues read;
        ASSERT_EQ(UpdateNamedText(text, new_values, updated), "");
        ASSERT_EQ(ReadNamedValues(updated, read), "");
        EXPECT_EQ(read, new_values);
        ASSERT_EQ(UpdateNamedText(text, old_values, updated), "");
        EXPECT_TRUE(updated == text);
    }
    std::string updated;
    EXPECT_EQ(UpdateNamedText("Nonsense = 7", RandomValues(1), updated), "line 1: unknown name \"Nonsense\"");
}

TEST(NamedValues, UpdatedTextKeepsItsLayout) {
    const std::string three_lines = "  0 0 0 0\n  0 0 0 0 # half\n0 0 0 0 0 0 0 0\n";
    const struct {
        std::string name, before, after;
    } statements[] = {
        {"PawnCorner", " = 1 2\t3 # one\r\n# two\n  4 5 6 7 8\n", " = 1 -20\t3 # one\r\n# two\n  4 5 6 7 80\n"},
        {"MaterialScale",
         " =  # columns\n     0  10   5   7  # a\n    64  64  64  64\n\n     1   2   3   4\n 5   6 7 8\n",
         " =  # columns\n   100   10    5    7  # a\n    64   64   -8   64\n\n     1    2    3 1000\n 5    6    7    "
         "8\n"},
        {"PawnRunBase", "=0# run = 7\n", "=-12# run = 7\n"},
        {"TempoBonus", " = zero  # short\n", " = 1 2 3 4 5 6 7 8  # short\n"},
        {"KnightOutpostOpen", " = zero # long\n",
         " = # long\n    0 0 0 0\n    0 0 0 0\n    0 0 0 0\n    0 0 0 0\n    0 0 0 0\n    0 0 0 0\n    0 0 0 0\n    0 "
         "0 0 9\n"},
        {"KnightOutpostEnd", " = 1 0 0 0  # first\n" + three_lines + "# between\n" + "0 0 0 0 0 0 0 0 0 0 0 0\n",
         " = zero  # first\n  # half\n# between\n"},
    };
    std::string before = "# All of them\n";
    std::string after = before;
    for (const Parameter& parameter : Parameters()) {
        const auto* statement = std::ranges::find(statements, parameter.name, [](const auto& s) { return s.name; });
        const std::string name = parameter.store == ParameterStore::IMBALANCE     ? "ImbalanceStats"
                                 : parameter.store == ParameterStore::ARMY        ? "ArmyStats"
                                 : parameter.store == ParameterStore::MOVE_COUNTS ? "MoveCounts"
                                                                                  : std::string(parameter.name);
        if (parameter.store != ParameterStore::RESERVED) {
            const bool listed = statement != std::end(statements);
            before += name + (listed ? statement->before : " = zero\n");
            after += name + (listed ? statement->after : " = zero\n");
        }
    }
    FileValues values;
    std::string updated;
    ASSERT_EQ(ReadNamedValues(after, values), "");
    ASSERT_EQ(UpdateNamedText(before, values, updated), "");
    EXPECT_EQ(updated, after);
}

/// Stored values are those that the engine would have read: every entry, copies on the other wing among them.
TEST(NamedValues, StoredValuesAreThoseOfThePlainFile) {
    const FileValues values = RandomValues(5);
    const WorkingFolder folder;
    folder.Write("values.txt", PlainText(values));
    const auto everything = [&folder](const auto& fill) {
        AssignParameterDefaults();
        EvaluationStatistics statistics;
        OutputOf([&] { statistics = fill(); });  // negative counts are complained of
        EXPECT_TRUE(WriteParameterFile("written", statistics));
        std::vector<std::int32_t> entries;
        for (const Parameter& parameter : Parameters()) {
            entries.insert(entries.end(), parameter.values, parameter.values + parameter.entries);
        }
        return std::pair(entries, folder.Read("written"));
    };
    const auto read = everything([] { return LoadParameterFile(); });
    const auto stored = everything([&] { return StoreFileValues(values); });
    EXPECT_TRUE(stored.first == read.first);
    EXPECT_TRUE(stored.second == read.second);
}

/// What ships is what its named file says.
TEST(NamedValues, ShippedFilesAgree) {
    const std::filesystem::path data(QUORVANTH_DATA);
    FileValues values;
    ASSERT_EQ(ReadNamedValues(ReadAll(data / "values.params"), values), "");
    EXPECT_TRUE(PlainText(values) == ReadAll(data / "values.txt")) << "run quorvanth-values pack";
}

}  // namespace
