#include "tune/knobs.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <span>
#include <string>

namespace {

/// What the numbers of a parameter mean to the tuner.
struct Kind {
    std::int32_t step = 10;
    double spread = 10;
    std::int32_t low = -2000;
    std::int32_t high = 2000;
    std::int32_t neutral = 0;
};

constexpr Kind CENTIPAWNS{};
constexpr Kind LARGE{.step = 30, .spread = 40};
constexpr Kind THIN_VALUE{.step = 64, .spread = 60};  // counts with at most 24/256
constexpr Kind UNITS{.step = 1, .spread = 0.8, .low = 0, .high = 100};
constexpr Kind FACTOR_256{.step = 16, .spread = 20, .low = 0, .high = 400, .neutral = 256};
constexpr Kind FACTOR_64{.step = 4, .spread = 5, .low = 1, .high = 120, .neutral = 64};
constexpr Kind STATE{.step = 2, .spread = 2.5, .low = -100, .high = 150};
constexpr Kind DEVELOPMENT{.step = 3, .spread = 4};
constexpr Kind FORCE{.step = 10, .spread = 8, .low = 0, .high = 200};

struct NamedKind {
    std::string_view name;  // of the parameter, or how it begins where a star stands behind it
    Kind kind;
};

/// The first that fits counts; what fits none is in centipawns.
constexpr NamedKind Kinds[] = {
    {"PawnCorner", {.step = 32, .spread = 12}},
    {"TradeThin", THIN_VALUE},
    {"PieceValueThin", THIN_VALUE},
    {"MaterialScale", FACTOR_64},
    {"DefendWeight*", FORCE},
    {"AttackWeight*", FORCE},
    {"PieceSquareScale", FACTOR_256},
    // King shelter and attack.
    {"FianchettoHole", UNITS},
    {"CentreFile*", UNITS},
    {"FileOpen", UNITS},
    {"FileHalfOpen", UNITS},
    {"Storm*", UNITS},
    {"KingSquareShelterColumn", UNITS},
    {"CastleFileWeight", UNITS},
    {"CastleWingWeight", UNITS},
    {"CastleShelter*", UNITS},
    {"QueenLeftHome", UNITS},
    {"ShelterPattern", UNITS},
    {"ShelterPenalty", {.step = 6, .spread = 6, .low = 0}},
    {"ShelterScale", FACTOR_256},
    {"ShelterFactor", {.step = 2, .spread = 1.5, .low = 1, .high = 127}},
    {"AttackerWeight", UNITS},
    {"KnightCheckDanger", UNITS},
    {"BishopCheckDanger", UNITS},
    {"RookCheckDanger", UNITS},
    {"QueenCheckDanger", UNITS},
    {"RookFileDanger", UNITS},
    {"QueenDistanceDanger", UNITS},
    {"QueenFileDanger", UNITS},
    {"PawnZone*", UNITS},
    {"KingTouch*", UNITS},
    {"KingZoneValue", {.step = 2, .spread = 1.5, .low = 0, .high = 127}},
    {"DangerCurve", {.step = 10, .spread = 8, .low = 0}},
    {"AttackScale*", {.step = 600, .spread = 800, .low = 1, .high = 40000, .neutral = 8192}},
    {"AttackMoveShare", {.step = 2, .spread = 2, .low = 0, .high = 64}},
    {"PressureAmplitude", {.step = 80, .spread = 100, .low = -4000, .high = -100}},
    {"PressureSlope", {.step = 20, .spread = 20, .low = -1000, .high = -10}},
    {"AttackHorrorAmplitude", {.step = 8, .spread = 16, .low = -256, .high = 256}},
    {"DefendHorrorAmplitude", {.step = 8, .spread = 16, .low = -256, .high = 256}},
    {"AttackHorrorSlope", {.step = 4, .spread = 3, .low = 1, .high = 100}},
    {"DefendHorrorSlope", {.step = 4, .spread = 3, .low = 1, .high = 100}},
    {"AttackHorrorCentre", {.step = 20, .spread = 20, .low = 0, .high = 500}},
    {"DefendHorrorCentre", {.step = 20, .spread = 20, .low = 0, .high = 500}},
    {"HorrorAmplitude", {.step = 8, .spread = 16, .low = -256, .high = 256}},
    {"HorrorSlope", {.step = 20, .spread = 20, .low = -1000, .high = -1}},
    // Development.
    {"DevelopmentOpen", DEVELOPMENT},
    {"DevelopmentEnd", DEVELOPMENT},
    {"DevelopmentFactor", {.step = 2, .spread = 3, .low = 1, .high = 200}},
    {"QueenDevelopmentScale", FACTOR_64},
    {"AttackDevelopmentScale", FACTOR_64},
    // Passed pawns and pawn endings.
    {"PassedState*", STATE},
    {"PassedOwnKing", STATE},
    {"PassedEnemyKing", STATE},
    {"PassedRace", STATE},
    {"PassedFile*", FACTOR_64},
    {"PassedForce*", FACTOR_64},
    {"PassedRank*", {.step = 6, .spread = 8}},
    {"PawnDuelAmplitude", {.step = 16, .spread = 16, .low = 0, .high = 256}},
    {"PawnDuelSlope", {.step = 4, .spread = 4, .low = 1, .high = 200}},
    {"PawnEndgameAmplitude", {.step = 8, .spread = 10, .low = 0, .high = 200}},
    {"PawnEndgameSlope", {.step = 10, .spread = 10, .low = 1, .high = 500}},
    {"Race*", LARGE},
    {"PawnRun*", LARGE},
    {"BlockedKingWin*", LARGE},
    {"PassedCount*", {.step = 20, .spread = 20}},
    {"HuntRank", FACTOR_64},
    {"HuntForce", FACTOR_64},
    // Drawish endings.
    {"OppositeBishops*", FACTOR_256},
    {"Scale*", FACTOR_256},
    {"RookPawnPerPawn", {.step = 1000, .spread = 1500, .low = 0, .high = 60000}},
    {"RookPawnFar", {.step = 500, .spread = 600, .low = 0, .high = 20000}},
    {"RookPawn*", LARGE},
};

constexpr std::string_view NotTurned[] = {
    "PieceSquareColumn",  // the engine reads the built-in numbers
    // The values by piece say the same.
    "MinorThin", "MinorFull", "MinorCommon", "HeavyThin", "HeavyFull", "HeavyCommon",
    "KpkWinValue",                                                                // fixed whatever the file says
    "EndingWeight", "EndingWeightNoQueen", "DevelopmentClass", "PressureCentre",  // no quantities
    "BareKingBonus", "CornerStep", "BishopKnightBonus", "KingEdgeBonus",          // mating a bare king
};

constexpr std::string_view MaterialNames[] = {
    "PawnCorner",     "TradeBonus",      "TradeThin",      "PieceValueFull",     "PieceValueThin",   "PieceValueCommon",
    "MaterialScale",  "DefendWeight",    "AttackWeight",   "DefendWeightPawn",   "AttackWeightPawn", "MinorVsPawnsStep",
    "RookPawnsBonus", "KnightWithQueen", "BishopWithRook", "BishopPairBonusStep"};

bool Fits(std::string_view name, std::string_view pattern) {
    return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1)) : name == pattern;
}

Kind KindOf(const Parameter& parameter) {
    const auto found =
        std::ranges::find_if(Kinds, [&](const NamedKind& entry) { return Fits(parameter.name, entry.name); });
    Kind kind = found == std::end(Kinds) ? CENTIPAWNS : found->kind;
    kind.low = std::max(kind.low, parameter.check.low);
    kind.high = std::min(kind.high, parameter.check.high);
    return kind;
}

bool Contains(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

constexpr int MirrorFile(int entry) {
    return entry ^ 7;
}

/// PiecePosition by piece, wing index, square: with the board mirrored left to right both kings change wings.
bool IsPiecePosition(const Parameter& parameter) {
    return parameter.name.starts_with("PiecePosition");
}
constexpr int MirrorWings(int entry) {
    return (entry ^ (3 << 6)) ^ 7;
}

int MirrorOf(const Parameter& parameter, int entry) {
    if (IsPiecePosition(parameter)) {
        return MirrorWings(entry);
    }
    const bool mirrored = parameter.layout == FileLayout::MIRRORED || parameter.layout == FileLayout::HALF;
    return mirrored ? MirrorFile(entry) : entry;
}

/// How the entries of a table lie beside each other: it is cut into pieces of these lengths.
struct Cut {
    std::string_view pattern;
    std::array<int, 3> lengths;
};
constexpr Cut Cuts[] = {
    {"KnightLowMobility*", {27, 9, 3}},   {"BishopLowMobility*", {27, 9, 3}}, {"PatternRow", {12, 2, 0}},
    {"KingDistancePattern", {64, 16, 4}}, {"KingHunt", {24, 4, 0}},           {"PassedOwnKing", {4, 0, 0}},
    {"PassedEnemyKing", {4, 0, 0}},       {"ShelterPattern", {64, 8, 0}},     {"ShelterScale", {15, 5, 0}},
    {"MaterialScale", {4, 0, 0}},         {"PieceSquareScale", {4, 0, 0}},    {"KingZoneValue", {128, 32, 8}},
    {"OppositeBishops*", {9, 3, 0}},      {"RookEndingTable", {39, 0, 0}},    {"PawnConnectedColumn*", {8, 0, 0}},
    {"DevelopmentOpen", {16, 4, 0}},      {"DevelopmentEnd", {16, 4, 0}},
};

constexpr double WHOLE = 1.0;
constexpr double PART = 0.6;
constexpr int LONGEST_ROW = 128;  // of a table whose entries follow each other as a count does

class AxisList {
  public:
    explicit AxisList(const std::vector<Knob>& knobs) : knobs_(knobs) {}

    std::vector<Axis> Make() {
        std::map<std::string, std::vector<int>, std::less<>> tables;
        for (int i = 0; i < static_cast<int>(knobs_.size()); ++i) {
            tables[std::string(knobs_[static_cast<std::size_t>(i)].parameter->name)].push_back(i);
            Add(1.0, {i});
        }
        for (const auto& [name, members] : tables) {
            AddTable(members);
            if (name.ends_with("Open")) {
                const auto partner = tables.find(name.substr(0, name.size() - 4) + "End");
                if (partner != tables.end() && partner->second.size() == members.size()) {
                    AddPair(members, partner->second);
                }
            }
        }
        return std::move(list_);
    }

  private:
    void Add(double weight, std::vector<int> members) {
        if (!members.empty()) {
            list_.push_back({weight, std::move(members)});
        }
    }

    const Knob& At(int index) const { return knobs_[static_cast<std::size_t>(index)]; }

    /// One direction for all members with the same `key`.
    template <typename KeyOf>
    void AddGroups(double weight, const std::vector<int>& members, KeyOf key_of) {
        std::map<int, std::vector<int>> groups;
        for (const int member : members) {
            groups[key_of(At(member).entries[0])].push_back(member);
        }
        for (auto& [key, group] : groups) {
            if (group.size() > 1 && group.size() < members.size()) {
                Add(weight, std::move(group));
            }
        }
    }

    void AddTable(const std::vector<int>& members) {
        if (members.size() < 2) {
            return;
        }
        const Parameter& parameter = *At(members[0]).parameter;
        Add(WHOLE, members);
        const auto cut =
            std::ranges::find_if(Cuts, [&](const Cut& entry) { return Fits(parameter.name, entry.pattern); });
        if (cut != std::end(Cuts)) {
            for (const int length : cut->lengths) {
                if (length != 0) {
                    AddGroups(PART, members, [length](int entry) { return entry / length; });
                    AddGroups(PART, members, [length](int entry) { return entry % length; });
                }
            }
        } else if (IsPiecePosition(parameter)) {
            AddGroups(WHOLE, members, [](int entry) { return entry >> 8; });
            AddGroups(PART, members, [](int entry) { return entry >> 6; });
            AddGroups(PART, members, [](int entry) { return entry >> 8 << 6 | (entry & 63); });
            AddGroups(PART, members, [](int entry) { return entry >> 8 << 3 | (entry >> 3 & 7); });
            AddGroups(PART, members, [](int entry) { return entry >> 6 << 3 | (entry & 7); });
            AddGroups(PART, members, [](int entry) { return entry >> 6 << 3 | (entry >> 3 & 7); });
        } else if (parameter.layout == FileLayout::HALF ||
                   (parameter.layout == FileLayout::MIRRORED && parameter.entries == 64)) {
            AddGroups(PART, members, [](int entry) { return entry >> 3; });
            AddGroups(PART, members, [](int entry) { return std::min(entry & 7, MirrorFile(entry) & 7); });
        } else if (members.size() <= LONGEST_ROW && parameter.layout == FileLayout::IN_ORDER) {
            AddSteps(members);
        }
    }

    /// A row by some count: from each place on, all together.
    void AddSteps(const std::vector<int>& members) {
        const std::size_t stride = members.size() > 40 ? 4 : 1;
        for (std::size_t first = stride; first < members.size(); first += stride) {
            Add(PART, std::vector<int>(members.begin() + static_cast<std::ptrdiff_t>(first), members.end()));
        }
    }

    void AddPair(const std::vector<int>& opening, const std::vector<int>& ending) {
        std::vector<int> both = opening;
        both.insert(both.end(), ending.begin(), ending.end());
        for (std::size_t i = 0; i < opening.size(); ++i) {
            Add(PART, {opening[i], ending[i]});
        }
        if (opening.size() > 1) {
            Add(PART, std::move(both));
        }
    }

    const std::vector<Knob>& knobs_;
    std::vector<Axis> list_;
};

}  // namespace

std::vector<Knob> ListKnobs(double spread) {
    std::vector<Knob> knobs;
    ForEachPlace([&](const Parameter& parameter, int place) {
        if (parameter.store != ParameterStore::TABLE || Contains(NotTurned, parameter.name)) {
            return;
        }
        const int entry = EntryOfPlace(parameter, place);
        const int mirror = MirrorOf(parameter, entry);
        // Of two places for one number the first stands for both.
        if (mirror < entry) {
            return;
        }
        const Kind kind = KindOf(parameter);
        knobs.push_back({.parameter = &parameter,
                         .entries = {entry, mirror},
                         .step = kind.step,
                         .spread = spread * kind.spread,
                         .low = kind.low,
                         .high = kind.high,
                         .material = Contains(MaterialNames, parameter.name)});
    });
    return knobs;
}

std::int32_t KnobValue(const Knob& knob) {
    return knob.parameter->values[knob.entries[0]];
}

void SetKnob(const Knob& knob, std::int32_t value) {
    for (const int entry : knob.entries) {
        knob.parameter->values[entry] = value;
    }
}

std::int32_t NeutralValue(const Parameter& parameter) {
    return KindOf(parameter).neutral;
}

std::vector<Axis> ListAxes(const std::vector<Knob>& knobs) {
    return AxisList(knobs).Make();
}
