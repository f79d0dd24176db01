#include "match/standing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace {

constexpr std::size_t FIRST_FAULT = static_cast<std::size_t>(Reason::CRASH);
constexpr std::string_view RESULT_TEXT[] = {"1-0", "0-1", "1/2-1/2"};

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[256];
    const int length = std::snprintf(text, sizeof text, format, values...);
    return {text, static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(sizeof text) - 1))};
}

SideCount Sum(const SideCount& one, const SideCount& other) {
    SideCount sum{one.wins + other.wins, one.draws + other.draws, one.losses + other.losses, one.faults};
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

}  // namespace

Standing::Standing(const MatchSettings& match)
    : match_(match), half_points_(static_cast<std::size_t>(match.games + 1) / 2, -1) {}

void Standing::Add(int number, Result result, Reason reason) {
    const int white = WhiteEngine(number);
    SideCount& white_count = sides_[white][WHITE];
    SideCount& black_count = sides_[1 - white][BLACK];
    white_count.draws += result == Result::DRAW;
    black_count.draws += result == Result::DRAW;
    white_count.wins += result == Result::WHITE_WINS;
    black_count.losses += result == Result::WHITE_WINS;
    white_count.losses += result == Result::BLACK_WINS;
    black_count.wins += result == Result::BLACK_WINS;

    ++reasons_[static_cast<std::size_t>(reason)];
    if (reason >= Reason::CRASH) {
        SideCount& loser = result == Result::WHITE_WINS ? black_count : white_count;
        ++loser.faults[static_cast<std::size_t>(reason) - FIRST_FAULT];
    }

    const bool first_has_white = white == 0;
    const std::size_t half_points = result == Result::DRAW                              ? 1
                                    : (result == Result::WHITE_WINS) == first_has_white ? 2
                                                                                        : 0;
    signed char& other = half_points_[static_cast<std::size_t>(number) / 2];
    if (other < 0) {
        other = static_cast<signed char>(half_points);
    } else {
        ++pairs_[static_cast<std::size_t>(other) + half_points];
    }
}

std::array<std::int64_t, 3> Standing::GameCounts() const {
    const SideCount first = Sum(sides_[0][WHITE], sides_[0][BLACK]);
    return {first.losses, first.draws, first.wins};
}

std::int64_t Standing::GamesPlayed() const {
    const auto games = GameCounts();
    return std::accumulate(games.begin(), games.end(), std::int64_t{0});
}

/// Only games from one opening belong together.
Counts Standing::Units(const std::array<std::int64_t, 3>& games) const {
    return match_.repeat ? Counts(pairs_) : Counts(games);
}

double Standing::Ratio() const {
    const auto games = GameCounts();
    return match_.sprt ? LogLikelihoodRatio(Units(games), *match_.sprt) : 0;
}

SprtVerdict Standing::Verdict() const {
    return match_.sprt ? JudgeSprt(Ratio(), *match_.sprt) : SprtVerdict::OPEN;
}

std::string Standing::EloText() const {
    const auto games = GameCounts();
    const Estimate estimate = EstimateElo(games, Units(games));
    const std::string margin = std::isinf(estimate.margin) ? "?" : Format("%.1f", estimate.margin);
    return SignedText(estimate.elo) + " +- " + margin + Format(", LOS %.1f%%", 100 * estimate.likelihood);
}

std::string Standing::Progress() const {
    const auto [losses, draws, wins] = GameCounts();
    std::string text =
        Format("%lld/%d  +%lld =%lld -%lld  Elo ", static_cast<long long>(GamesPlayed()), match_.games,
               static_cast<long long>(wins), static_cast<long long>(draws), static_cast<long long>(losses)) +
        EloText();
    if (match_.sprt) {
        text += Format("  LLR %.2f [%.2f, %.2f]", Ratio(), LowerSprtBound(*match_.sprt), UpperSprtBound(*match_.sprt));
    }
    std::int64_t faults = 0;
    for (std::size_t i = FIRST_FAULT; i < REASONS; ++i) {
        faults += reasons_[i];
    }
    return faults == 0 ? text : text + Format("  faults %lld", static_cast<long long>(faults));
}

std::string Standing::GameLine(int number, Result result, Reason reason) const {
    const int white = WhiteEngine(number);
    return "Round " + std::to_string(number + 1) + ": " + match_.engines[white].name + " - " +
           match_.engines[1 - white].name + " " + std::string(RESULT_TEXT[static_cast<std::size_t>(result)]) + ", " +
           std::string(REASON_TEXT[static_cast<std::size_t>(reason)]);
}

std::string Standing::Table() const {
    const std::size_t width =
        std::max({match_.engines[0].name.size(), match_.engines[1].name.size(), std::string_view("  as White").size()});
    std::string text = Label("", width) + "  games     won   drawn    lost   score   crash illegal    time   stall\n";
    for (int engine : {0, 1}) {
        text += Row(Label(match_.engines[engine].name, width), Sum(sides_[engine][WHITE], sides_[engine][BLACK]));
        text += Row(Label("  as White", width), sides_[engine][WHITE]);
        text += Row(Label("  as Black", width), sides_[engine][BLACK]);
    }
    text += "Elo of " + match_.engines[0].name + ": " + EloText() + "\n";
    if (match_.repeat) {
        text += "Pairs by points 0, 1/2, 1, 1 1/2, 2:";
        for (const std::int64_t count : pairs_) {
            text += Format(" %lld", static_cast<long long>(count));
        }
        text += "\n";
    }
    if (match_.sprt) {
        const SprtVerdict verdict = Verdict();
        text += Format("SPRT elo0=%g elo1=%g alpha=%g beta=%g: LLR %.2f [%.2f, %.2f], ", match_.sprt->elo0,
                       match_.sprt->elo1, match_.sprt->alpha, match_.sprt->beta, Ratio(), LowerSprtBound(*match_.sprt),
                       UpperSprtBound(*match_.sprt));
        text += verdict == SprtVerdict::H1   ? "H1 is accepted\n"
                : verdict == SprtVerdict::H0 ? "H0 is accepted\n"
                                             : "undecided\n";
    }
    std::string endings;
    for (std::size_t i = 0; i < REASONS; ++i) {
        if (reasons_[i] > 0) {
            endings += (endings.empty() ? "" : ", ") + std::string(REASON_TEXT[i]) + " " + std::to_string(reasons_[i]);
        }
    }
    return endings.empty() ? text : text + "Endings: " + endings + "\n";
}
