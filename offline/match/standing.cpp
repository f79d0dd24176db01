#include "match/standing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace {

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[256];
    const int length = std::snprintf(text, sizeof text, format, values...);
    return {text, static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(sizeof text) - 1))};
}

SideCount Sum(const SideCount& one, const SideCount& other) {
    SideCount sum{one.wins + other.wins,       one.draws + other.draws,
                  one.losses + other.losses,   one.faults,
                  one.ponders + other.ponders, one.ponder_hits + other.ponder_hits};
    for (std::size_t i = 0; i < FAULTS; ++i) {
        sum.faults[i] += other.faults[i];
    }
    return sum;
}

std::int64_t GamesOf(const SideCount& count) {
    return count.wins + count.draws + count.losses;
}

double PercentOf(const SideCount& count) {
    const std::int64_t games = GamesOf(count);
    return games == 0 ? 0
                      : 100 * (static_cast<double>(count.wins) + 0.5 * static_cast<double>(count.draws)) /
                            static_cast<double>(games);
}

/// Names are of any length; columns are not.
std::string Label(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string Row(const std::string& label, const SideCount& count) {
    std::string row = label + Format("%7lld %7lld %7lld %7lld %7.1f%%", static_cast<long long>(GamesOf(count)),
                                     static_cast<long long>(count.wins), static_cast<long long>(count.draws),
                                     static_cast<long long>(count.losses), PercentOf(count));
    for (const std::int64_t fault : count.faults) {
        row += Format(" %7lld", static_cast<long long>(fault));
    }
    return row + "\n";
}

std::string SignedText(double value) {
    if (std::isinf(value)) {
        return value > 0 ? "+inf" : "-inf";
    }
    return Format("%+.1f", std::fabs(value) < 0.05 ? 0.0 : value);  // never "-0.0"
}

std::string MarginText(double margin) {
    return std::isinf(margin) ? "?" : Format("%.1f", margin);
}

std::string PointsText(const SideCount& count) {
    return Format("%.1f", static_cast<double>(count.wins) + 0.5 * static_cast<double>(count.draws));
}

std::string PairsText(const PairingCount& pairing) {
    std::string text;
    for (const std::int64_t count : pairing.pairs) {
        text += Format(" %lld", static_cast<long long>(count));
    }
    return text;
}

std::size_t LabelWidth(const MatchSettings& match) {
    std::size_t width = std::string_view("  as White").size();
    for (const EngineSettings& engine : match.engines) {
        width = std::max(width, engine.name.size());
    }
    return width;
}

/// A fault that came when the game was over.
Reason FaultOf(Answer answer) {
    return answer == Answer::CRASHED ? Reason::CRASH : answer == Answer::EARLY ? Reason::EARLY_ANSWER : Reason::STALL;
}

/// An answer that nobody asked for breaks the rules like a move that they do not know.
std::size_t FaultColumn(Reason reason) {
    const Reason shown = reason == Reason::EARLY_ANSWER ? Reason::ILLEGAL_MOVE : reason;
    return static_cast<std::size_t>(shown) - static_cast<std::size_t>(Reason::CRASH);
}

}  // namespace

std::array<std::int64_t, 3> PairingCount::Games() const {
    const SideCount first = Sum(sides[0][WHITE], sides[0][BLACK]);
    return {first.losses, first.draws, first.wins};
}

std::int64_t PairingCount::Played() const {
    const auto games = Games();
    return std::accumulate(games.begin(), games.end(), std::int64_t{0});
}

Standing::Standing(const MatchSettings& match, const Schedule& schedule)
    : match_(match), schedule_(schedule), pairings_(schedule.pairings.size()) {
    for (PairingCount& pairing : pairings_) {
        pairing.half_points.assign(static_cast<std::size_t>(match.games + 1) / 2, -1);
    }
}

void Standing::Add(const ReportHeader& report) {
    const Result result = report.result;
    PairingCount& pairing = pairings_[schedule_.PairingOf(report.number)];
    const bool first_has_white = schedule_.FirstIsWhite(report.number);
    SideCount& white_count = pairing.sides[first_has_white ? 0 : 1][WHITE];
    SideCount& black_count = pairing.sides[first_has_white ? 1 : 0][BLACK];
    white_count.draws += result == Result::DRAW;
    black_count.draws += result == Result::DRAW;
    white_count.wins += result == Result::WHITE_WINS;
    black_count.losses += result == Result::WHITE_WINS;
    white_count.losses += result == Result::BLACK_WINS;
    black_count.wins += result == Result::BLACK_WINS;

    ++reasons_[static_cast<std::size_t>(report.reason)];
    if (report.reason >= Reason::CRASH) {
        ++(result == Result::WHITE_WINS ? black_count : white_count).faults[FaultColumn(report.reason)];
    }
    for (const Colour side : {WHITE, BLACK}) {
        const SideReport& told = report.sides[side];
        SideCount& count = side == WHITE ? white_count : black_count;
        count.ponders += told.ponders;
        count.ponder_hits += told.ponder_hits;
        if (told.afterwards != Answer::OK) {
            ++count.faults[FaultColumn(FaultOf(told.afterwards))];
        }
    }

    const std::size_t half_points = result == Result::DRAW                              ? 1
                                    : (result == Result::WHITE_WINS) == first_has_white ? 2
                                                                                        : 0;
    signed char& other = pairing.half_points[schedule_.RoundOf(report.number) / 2];
    if (other < 0) {
        other = static_cast<signed char>(half_points);
    } else {
        ++pairing.pairs[static_cast<std::size_t>(other) + half_points];
    }
}

std::int64_t Standing::GamesPlayed() const {
    std::int64_t sum = 0;
    for (const PairingCount& pairing : pairings_) {
        sum += pairing.Played();
    }
    return sum;
}

/// Only games from one opening belong together.
Counts Standing::Units(const PairingCount& pairing, const std::array<std::int64_t, 3>& games) const {
    return match_.repeat ? Counts(pairing.pairs) : Counts(games);
}

double Standing::Ratio() const {
    const auto games = Single().Games();
    return match_.sprt ? LogLikelihoodRatio(Units(Single(), games), *match_.sprt) : 0;
}

SprtVerdict Standing::Verdict() const {
    return match_.sprt ? JudgeSprt(Ratio(), *match_.sprt) : SprtVerdict::OPEN;
}

std::string Standing::EloText(const PairingCount& pairing) const {
    const auto games = pairing.Games();
    const Estimate estimate = EstimateElo(games, Units(pairing, games));
    return SignedText(estimate.elo) + " +- " + MarginText(estimate.margin) +
           Format(", LOS %.1f%%", 100 * estimate.likelihood);
}

SideCount Standing::SideOf(std::size_t engine, Colour colour) const {
    SideCount sum;
    for (std::size_t i = 0; i < pairings_.size(); ++i) {
        const Pairing& pairing = schedule_.pairings[i];
        if (pairing.first == engine || pairing.second == engine) {
            sum = Sum(sum, pairings_[i].sides[pairing.first == engine ? 0 : 1][colour]);
        }
    }
    return sum;
}

SideCount Standing::TotalOf(std::size_t engine) const {
    return Sum(SideOf(engine, WHITE), SideOf(engine, BLACK));
}

/// The best three, by their share of points.
std::string Standing::Leaders() const {
    std::vector<std::pair<double, std::string>> engines;
    for (std::size_t i = 0; i < match_.engines.size(); ++i) {
        const SideCount count = TotalOf(i);
        engines.emplace_back(-PercentOf(count),
                             match_.engines[i].name + " " + PointsText(count) + "/" + std::to_string(GamesOf(count)));
    }
    std::ranges::stable_sort(engines, {}, &std::pair<double, std::string>::first);
    std::string text;
    for (std::size_t i = 0; i < std::min<std::size_t>(engines.size(), 3); ++i) {
        text += (i == 0 ? "" : ", ") + engines[i].second;
    }
    return text;
}

std::string Standing::Progress() const {
    const std::size_t total = static_cast<std::size_t>(match_.games) * pairings_.size();
    std::string text = Format("%lld/%zu  ", static_cast<long long>(GamesPlayed()), total);
    if (IsTournament()) {
        text += Leaders();
    } else {
        const auto [losses, draws, wins] = Single().Games();
        text += Format("+%lld =%lld -%lld  Elo ", static_cast<long long>(wins), static_cast<long long>(draws),
                       static_cast<long long>(losses)) +
                EloText(Single());
    }
    if (match_.sprt) {
        text += Format("  LLR %.2f [%.2f, %.2f]", Ratio(), LowerSprtBound(*match_.sprt), UpperSprtBound(*match_.sprt));
    }
    std::int64_t faults = 0;
    for (std::size_t engine = 0; engine < match_.engines.size(); ++engine) {
        const SideCount count = TotalOf(engine);
        faults += std::accumulate(count.faults.begin(), count.faults.end(), std::int64_t{0});
    }
    return faults == 0 ? text : text + Format("  faults %lld", static_cast<long long>(faults));
}

std::string Standing::GameLine(const ReportHeader& report) const {
    const auto engines = schedule_.EnginesOf(report.number);
    return "Round " + std::to_string(report.number + 1) + ": " + match_.engines[engines[WHITE]].name + " - " +
           match_.engines[engines[BLACK]].name + " " +
           std::string(RESULT_TEXT[static_cast<std::size_t>(report.result)]) + ", " +
           std::string(REASON_TEXT[static_cast<std::size_t>(report.reason)]);
}

std::string Standing::FaultLines(const ReportHeader& report) const {
    const auto engines = schedule_.EnginesOf(report.number);
    std::string text;
    for (const Colour side : {WHITE, BLACK}) {
        if (const Answer fault = report.sides[side].afterwards; fault != Answer::OK) {
            text += "Round " + std::to_string(report.number + 1) + ": " + match_.engines[engines[side]].name +
                    " after the game: " + std::string(REASON_TEXT[static_cast<std::size_t>(FaultOf(fault))]) + "\n";
        }
    }
    return text;
}

/// One row of the cross table: its engine, its sums, and its points against each other engine in the same order.
std::string Standing::CrossRow(std::size_t engine, const std::vector<std::size_t>& ranking) const {
    std::string row;
    for (const std::size_t other : ranking) {
        std::string cell = other == engine ? "-" : ".";
        for (std::size_t i = 0; i < pairings_.size(); ++i) {
            const auto [first, second] = schedule_.pairings[i];
            if ((first == engine && second == other) || (first == other && second == engine)) {
                const auto& sides = pairings_[i].sides[first == engine ? 0 : 1];
                const SideCount count = Sum(sides[WHITE], sides[BLACK]);
                cell = PointsText(count) + "/" + std::to_string(GamesOf(count));
            }
        }
        row += Format(" %11s", cell.c_str());
    }
    return row + "\n";
}

std::string Standing::CrossTable() const {
    std::vector<PairingScore> scores;
    for (std::size_t i = 0; i < pairings_.size(); ++i) {
        const auto games = pairings_[i].Games();
        scores.push_back({schedule_.pairings[i].first, schedule_.pairings[i].second, games,
                          DeviationOfScore(games, Units(pairings_[i], games))});
    }
    const std::vector<Rating> ratings = FitRatings(match_.engines.size(), scores);
    std::vector<std::size_t> ranking(match_.engines.size());
    std::iota(ranking.begin(), ranking.end(), std::size_t{0});
    std::ranges::stable_sort(ranking, [&](std::size_t a, std::size_t b) { return ratings[a].elo > ratings[b].elo; });

    const std::size_t width = LabelWidth(match_) + 4;
    std::string text = Label("", width) + "  games  points   score      Elo      +-";
    for (std::size_t rank = 1; rank <= ranking.size(); ++rank) {
        text += Format(" %11zu", rank);
    }
    text += "\n";
    for (std::size_t rank = 0; rank < ranking.size(); ++rank) {
        const std::size_t engine = ranking[rank];
        const SideCount count = TotalOf(engine);
        text += Label(Format("%2zu  ", rank + 1) + match_.engines[engine].name, width);
        text += Format("%7lld %7s %6.1f%% %8s %7s", static_cast<long long>(GamesOf(count)), PointsText(count).c_str(),
                       PercentOf(count), SignedText(ratings[engine].elo).c_str(),
                       MarginText(ratings[engine].margin).c_str());
        text += CrossRow(engine, ranking);
    }
    return text + "\n";
}

std::string Standing::PairingLines() const {
    std::string text;
    for (std::size_t i = 0; i < pairings_.size(); ++i) {
        const PairingCount& pairing = pairings_[i];
        const auto [losses, draws, wins] = pairing.Games();
        text += match_.engines[schedule_.pairings[i].first].name + " - " +
                match_.engines[schedule_.pairings[i].second].name +
                Format(": +%lld =%lld -%lld  Elo ", static_cast<long long>(wins), static_cast<long long>(draws),
                       static_cast<long long>(losses)) +
                EloText(pairing);
        if (match_.repeat) {
            text += ", pairs" + PairsText(pairing);
        }
        text += "\n";
    }
    return text + "\n";
}

std::string Standing::EngineRows() const {
    const std::size_t width = LabelWidth(match_);
    std::string text = Label("", width) + "  games     won   drawn    lost   score   crash illegal    time   stall\n";
    for (std::size_t engine = 0; engine < match_.engines.size(); ++engine) {
        text += Row(Label(match_.engines[engine].name, width), TotalOf(engine));
        text += Row(Label("  as White", width), SideOf(engine, WHITE));
        text += Row(Label("  as Black", width), SideOf(engine, BLACK));
    }
    return text;
}

std::string Standing::SprtLine() const {
    const SprtVerdict verdict = Verdict();
    std::string text = Format("SPRT elo0=%g elo1=%g alpha=%g beta=%g: LLR %.2f [%.2f, %.2f], ", match_.sprt->elo0,
                              match_.sprt->elo1, match_.sprt->alpha, match_.sprt->beta, Ratio(),
                              LowerSprtBound(*match_.sprt), UpperSprtBound(*match_.sprt));
    return text + (verdict == SprtVerdict::H1   ? "H1 is accepted\n"
                   : verdict == SprtVerdict::H0 ? "H0 is accepted\n"
                                                : "undecided\n");
}

std::string Standing::EndingsLine() const {
    std::string endings;
    for (std::size_t i = 0; i < REASONS; ++i) {
        if (reasons_[i] > 0) {
            endings += (endings.empty() ? "" : ", ") + std::string(REASON_TEXT[i]) + " " + std::to_string(reasons_[i]);
        }
    }
    return endings.empty() ? endings : "Endings: " + endings + "\n";
}

std::string Standing::PonderLines() const {
    std::string text;
    for (std::size_t engine = 0; engine < match_.engines.size(); ++engine) {
        if (match_.engines[engine].ponder) {
            const SideCount count = TotalOf(engine);
            text += "Pondering of " + match_.engines[engine].name +
                    Format(": %lld searches, %lld on the move that came\n", static_cast<long long>(count.ponders),
                           static_cast<long long>(count.ponder_hits));
        }
    }
    return text;
}

std::string Standing::Table() const {
    if (IsTournament()) {
        return CrossTable() + PairingLines() + EngineRows() + EndingsLine() + PonderLines();
    }
    std::string text = EngineRows() + "Elo of " + match_.engines[0].name + ": " + EloText(Single()) + "\n";
    if (match_.repeat) {
        text += "Pairs by points 0, 1/2, 1, 1 1/2, 2:" + PairsText(Single()) + "\n";
    }
    if (match_.sprt) {
        text += SprtLine();
    }
    return text + EndingsLine() + PonderLines();
}
