#include "statistics/material_fit.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

#include "eval/material_table.h"

namespace {

/// Larger leads are decided anyhow and tell little about the slope of the curve near the middle.
constexpr double FITTED_LEAD = 300;
constexpr double STEEPEST = 1.0 / 20;  // per centipawn
constexpr int HALVINGS = 50;

/// One game in one situation, as a fit sees it.
struct Observation {
    int pair;
    double points;
    double set_share;
    double lead;         // centipawns that the engine sees with the statistics found so far
    double empty_table;  // what the material table said without statistics, plain material included
};

using Observations = std::span<const Observation>;

double Share(double lead, double slope) {
    return 1 / (1 + std::exp(-lead * slope));
}

/// The root of a falling function between two bounds, or the bound nearest to it.
template <typename Function>
double FallingRoot(double low, double high, Function function) {
    for (int i = 0; i < HALVINGS; ++i) {
        const double middle = (low + high) / 2;
        (function(middle) > 0 ? low : high) = middle;
    }
    return (low + high) / 2;
}

/// The likeliest slope; 0 where leads do not win, or there are none.
double FitSlope(Observations observations) {
    const auto gain = [&](double slope) {
        double sum = 0;
        for (const Observation& o : observations) {
            if (std::abs(o.lead) <= FITTED_LEAD) {
                sum += o.lead * (o.points - Share(o.lead, slope));
            }
        }
        return sum;
    };
    return gain(0) > 0 ? FallingRoot(0, STEEPEST, gain) : 0;
}

/// Of the first army, by the material alone as the table stands.
double PairLead(int pair) {
    const Army first = ArmyOfNumber(pair / ARMIES);
    const Army second = ArmyOfNumber(pair % ARMIES);
    int index = 0;
    int plain = 0;
    for (const int code : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN}) {
        index += first.count[code] * MaterialIndexWeight[code][WHITE];
        index += second.count[code] * MaterialIndexWeight[code][BLACK];
        plain += (first.count[code] - second.count[code]) * PieceValue[code];
    }
    return plain - MaterialTable[index].score;
}

/// A number for both armies without their pawns.
int SetOf(const Observation& o) {
    constexpr int PAWN_COUNTS = TABLE_PAWNS + 1;
    return o.pair / ARMIES / PAWN_COUNTS * ARMIES + o.pair % ARMIES / PAWN_COUNTS;
}

std::string ArmyName(const Army& army, bool with_pawns) {
    std::string name;
    for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT}) {
        name.append(static_cast<std::size_t>(army.count[code]), ".KNP.RBQ"[code]);
    }
    if (with_pawns) {
        name += 'P';
        name += static_cast<char>('0' + army.Pawns());
    }
    return name.empty() ? "-" : name;
}

std::string PairName(const Army& first, const Army& second, bool with_pawns) {
    return ArmyName(first, with_pawns) + "/" + ArmyName(second, with_pawns);
}

class Fitter {
  public:
    Fitter(const MaterialFitSettings& settings, EvaluationStatistics& statistics)
        : settings_(settings), statistics_(statistics) {}

    MaterialFit Fit(const std::vector<SituationResult>& results) {
        std::ranges::fill(statistics_.imbalance, 0);
        std::ranges::fill(statistics_.army, 0);
        BuildTable();
        Observe(results);
        slope_ = FitSlope(observations_);
        fit_.scale = slope_ > 0 ? 1 / slope_ : 0;
        FitSets();
        BuildTable();
        // What the table has taken up of the sets' statistics counts as seen.
        for (Observation& o : observations_) {
            o.lead += PairLead(o.pair) - o.empty_table;
        }
        FitArmies();
        BuildTable();
        return std::move(fit_);
    }

  private:
    void BuildTable() const {
        BuildMaterialTable({.imbalance = statistics_.imbalance.data(),
                            .army = statistics_.army.data(),
                            .time_factor = statistics_.time_factors.data()});
    }

    /// Games with one pair of armies come to stand together, and so do those with one set of pieces.
    void Observe(const std::vector<SituationResult>& results) {
        const bool by_search = settings_.against == MeasuredAgainst::SEARCH;
        for (const SituationResult& result : results) {
            if (!by_search || result.scored) {
                const double material = PairLead(result.pair);
                observations_.push_back(
                    {result.pair, result.points, result.set_share, by_search ? result.score : material, material});
            }
        }
        std::ranges::stable_sort(observations_, {}, [](const Observation& o) { return std::pair(SetOf(o), o.pair); });
    }

    /// Calls `visit(observations, first army, second army)` for each run of observations of which `key` says the same.
    template <typename Key, typename Visit>
    void ForEachRun(Key key, Visit visit) const {
        for (auto first = observations_.begin(); first != observations_.end();) {
            const auto last =
                std::find_if(first, observations_.end(), [&](const Observation& o) { return key(o) != key(*first); });
            visit(Observations(first, last), ArmyOfNumber(first->pair / ARMIES), ArmyOfNumber(first->pair % ARMIES));
            first = last;
        }
    }

    void FitSets() {
        ForEachRun(SetOf, [&](Observations games, const Army& first, const Army& second) {
            const auto index = static_cast<std::size_t>(SetIndexOf(first.count, second.count));
            const auto turned = static_cast<std::size_t>(SetIndexOf(second.count, first.count));
            if (index != turned) {
                const auto weight = [](const Observation& o) { return o.set_share; };
                Correct(games, weight, statistics_.imbalance[index], statistics_.imbalance[turned],
                        PairName(first, second, false), fit_.sets);
            }
        });
    }

    void FitArmies() {
        const auto pair = [](const Observation& o) { return o.pair; };
        ForEachRun(pair, [&](Observations games, const Army& first, const Army& second) {
            const auto index = static_cast<std::size_t>(PairIndexOf(first.count, second.count));
            const auto turned = static_cast<std::size_t>(PairIndexOf(second.count, first.count));
            const auto weight = [](const Observation&) { return 1.0; };
            Correct(games, weight, statistics_.army[index], statistics_.army[turned], PairName(first, second, true),
                    fit_.armies);
        });
    }

    /// The likeliest common correction of the leads. The prior is a bell curve as narrow as `prior` games at even
    /// chances would make it, so that lopsided situations, where a game tells less, are drawn to 0 more strongly.
    template <typename Weight>
    double Correction(Observations games, Weight weight) const {
        const double prior = settings_.prior * slope_ / 4;
        return FallingRoot(-settings_.bound, settings_.bound, [&](double correction) {
            double surplus = -prior * correction;
            for (const Observation& o : games) {
                surplus += weight(o) * (o.points - Share(o.lead + correction, slope_));
            }
            return surplus;
        });
    }

    template <typename Weight>
    void Correct(Observations games, Weight weight, std::int32_t& statistic, std::int32_t& turned,
                 const std::string& name, std::vector<MaterialFinding>& findings) const {
        double count = 0;
        double points = 0;
        double expected = 0;
        for (const Observation& o : games) {
            count += weight(o);
            points += weight(o) * o.points;
            expected += weight(o) * Share(o.lead, slope_);
        }
        constexpr double ROUNDING = 1e-3;  // games are shared out in fractions
        // Without a slope nothing can be said in centipawns.
        if (count + ROUNDING < settings_.least || slope_ <= 0) {
            return;
        }
        const auto centipawns = static_cast<int>(std::lround(Correction(games, weight)));
        if (centipawns != 0) {
            statistic = -centipawns;
            turned = centipawns;
            findings.push_back({name, count, points / count, expected / count, centipawns});
        }
    }

    const MaterialFitSettings& settings_;
    EvaluationStatistics& statistics_;
    std::vector<Observation> observations_;
    double slope_ = 0;  // per centipawn
    MaterialFit fit_;
};

}  // namespace

MaterialFit FitMaterial(const std::vector<SituationResult>& results, const MaterialFitSettings& settings,
                        EvaluationStatistics& statistics) {
    return Fitter(settings, statistics).Fit(results);
}
