#include "tune/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <numeric>

#include "tune/fit.h"
#include "whole_file.h"

namespace {

[[gnu::format(printf, 2, 3)]] void Print(std::string& text, const char* format, ...) {
    std::array<char, 512> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    text += line.data();
}

// --- Drawings ---

constexpr double WIDTH = 720;
constexpr double HEIGHT = 420;
constexpr double MARGIN = 70;
constexpr const char* COLOURS[2] = {"#c0392b", "#2060a0"};

/// A frame with an axis on either side, and what is drawn in it.
class Plot {
  public:
    Plot(const char* title, double left, double right, double bottom, double top)
        : left_(left), right_(right), bottom_(bottom), top_(top) {
        Print(text_,
              "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" font-family=\"sans-serif\" "
              "font-size=\"13\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
              WIDTH, HEIGHT);
        Print(text_, "<text x=\"%g\" y=\"24\" font-size=\"16\">%s</text>\n", MARGIN, title);
        constexpr int TICKS = 5;
        for (int i = 0; i <= TICKS; ++i) {
            const double x = left_ + (right_ - left_) * i / TICKS;
            const double y = bottom_ + (top_ - bottom_) * i / TICKS;
            Print(text_, "<path d=\"M%.1f %g V%g\" stroke=\"#ddd\"/>", X(x), MARGIN, HEIGHT - MARGIN);
            Print(text_, "<path d=\"M%g %.1f H%g\" stroke=\"#ddd\"/>", MARGIN, Y(y), WIDTH - MARGIN);
            Print(text_, "<text x=\"%.1f\" y=\"%g\" text-anchor=\"middle\">%g</text>", X(x), HEIGHT - MARGIN + 18, x);
            Print(text_, "<text x=\"%g\" y=\"%.1f\" text-anchor=\"end\">%.5g</text>\n", MARGIN - 6, Y(y) + 4, y);
        }
    }

    void Line(const std::vector<std::pair<double, double>>& points, const char* colour, bool dots) {
        text_ += "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"";
        text_ += colour;
        text_ += "\" points=\"";
        for (const auto& [x, y] : points) {
            Print(text_, "%.1f,%.1f ", X(x), Y(y));
        }
        text_ += "\"/>\n";
        for (const auto& [x, y] : points) {
            if (dots) {
                Print(text_, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", X(x), Y(y), colour);
            }
        }
    }

    /// At the right, rows counted from the top, or from the bottom if below 0.
    void Legend(int row, const char* colour, const char* words) {
        const double y = row >= 0 ? MARGIN + 18.0 * (row + 1) : HEIGHT - MARGIN + 18.0 * row;
        Print(text_, "<text x=\"%g\" y=\"%g\" text-anchor=\"end\" fill=\"%s\">%s</text>\n", WIDTH - MARGIN - 8, y,
              colour, words);
    }

    std::string Finish() { return text_ + "</svg>\n"; }

  private:
    double X(double x) const { return MARGIN + (x - left_) / (right_ - left_) * (WIDTH - 2 * MARGIN); }
    double Y(double y) const { return HEIGHT - MARGIN - (y - bottom_) / (top_ - bottom_) * (HEIGHT - 2 * MARGIN); }

    double left_;
    double right_;
    double bottom_;
    double top_;
    std::string text_;
};

std::string DrawLoss(const Report& report) {
    double low = report.passes[0].training;
    double high = low;
    for (const PassLoss& pass : report.passes) {
        low = std::min({low, pass.training, pass.held_out});
        high = std::max({high, pass.training, pass.held_out});
    }
    const double room = std::max((high - low) * 0.1, 1e-6);
    const double last = std::max<double>(1, static_cast<double>(report.passes.size()) - 1);
    Plot plot("Loss by pass, nats a position", 0, last, low - room, high + room);
    std::array<std::vector<std::pair<double, double>>, 2> lines;
    for (std::size_t i = 0; i < report.passes.size(); ++i) {
        lines[0].emplace_back(static_cast<double>(i), report.passes[i].training);
        lines[1].emplace_back(static_cast<double>(i), report.passes[i].held_out);
    }
    plot.Line(lines[0], COLOURS[0], true);
    plot.Line(lines[1], COLOURS[1], true);
    plot.Legend(0, COLOURS[0], "games of the fit");
    plot.Legend(1, COLOURS[1], "games held out");
    return plot.Finish();
}

std::string DrawCalibration(const Report& report) {
    constexpr int EDGE = 600;
    Plot plot("Result by score, games held out", -EDGE, EDGE, 0, 1);
    std::vector<std::pair<double, double>> curve;
    for (int score = -EDGE; score <= EDGE; score += 20) {
        curve.emplace_back(score, ExpectedPoints(score, report.scale));
    }
    plot.Line(curve, "#999", false);
    const std::vector<CalibrationPoint>* sides[2] = {&report.calibration_before, &report.calibration_after};
    for (int side = 0; side < 2; ++side) {
        std::vector<std::pair<double, double>> points;
        for (const CalibrationPoint& point : *sides[side]) {
            if (std::abs(point.score) <= EDGE) {
                points.emplace_back(point.score, point.points);
            }
        }
        plot.Line(points, COLOURS[side], true);
    }
    plot.Legend(-3, "#999", "the sigmoid of the fit");
    plot.Legend(-2, COLOURS[0], "before");
    plot.Legend(-1, COLOURS[1], "after");
    return plot.Finish();
}

struct Mover {
    std::string name;
    double distance;  // in spreads
    std::int32_t before;
    std::int32_t after;
};

std::vector<Mover> ListMovers(const Report& report, const std::vector<Knob>& knobs) {
    std::vector<Mover> movers;
    for (std::size_t i = 0; i < knobs.size(); ++i) {
        Mover mover{std::string(knobs[i].parameter->name), 0, report.before[i], report.after[i]};
        if (knobs[i].parameter->entries > 1) {
            mover.name += '[' + std::to_string(knobs[i].entries[0]) + ']';
        }
        mover.distance = (mover.after - mover.before) / knobs[i].spread;
        movers.push_back(std::move(mover));
    }
    std::ranges::stable_sort(movers, std::greater{}, [](const Mover& mover) { return std::abs(mover.distance); });
    return movers;
}

/// Mean distance of each parameter's numbers, in spreads.
std::vector<std::pair<std::string, double>> ListMovedTables(const Report& report, const std::vector<Knob>& knobs) {
    std::map<std::string, std::pair<double, int>> tables;
    for (std::size_t i = 0; i < knobs.size(); ++i) {
        auto& [sum, count] = tables[std::string(knobs[i].parameter->name)];
        sum += std::abs(report.after[i] - report.before[i]) / knobs[i].spread;
        ++count;
    }
    std::vector<std::pair<std::string, double>> list;
    list.reserve(tables.size());
    for (const auto& [name, entry] : tables) {
        list.emplace_back(name, entry.first / entry.second);
    }
    std::ranges::stable_sort(list, std::greater{}, &std::pair<std::string, double>::second);
    return list;
}

std::string DrawMovers(const Report& report, const std::vector<Knob>& knobs) {
    constexpr std::size_t SHOWN = 30;
    constexpr double ROW = 18;
    constexpr double NAMES = 260;
    auto tables = ListMovedTables(report, knobs);
    tables.resize(std::min(tables.size(), SHOWN));
    const double longest = std::max(tables.empty() ? 1.0 : tables[0].second, 1e-9);
    std::string text;
    Print(text,
          "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" font-family=\"sans-serif\" "
          "font-size=\"13\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
          "<text x=\"20\" y=\"24\" font-size=\"16\">Parameters that moved most, mean distance in spreads</text>\n",
          WIDTH, ROW * static_cast<double>(tables.size()) + 50);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const double y = 40 + ROW * static_cast<double>(i);
        const double length = tables[i].second / longest * (WIDTH - NAMES - 80);
        Print(text, "<text x=\"%g\" y=\"%g\" text-anchor=\"end\">%s</text>", NAMES - 8, y + 13,
              tables[i].first.c_str());
        Print(text, "<rect x=\"%g\" y=\"%g\" width=\"%.1f\" height=\"14\" fill=\"%s\"/>", NAMES, y + 2, length,
              COLOURS[1]);
        Print(text, "<text x=\"%.1f\" y=\"%g\">%.2f</text>\n", NAMES + length + 6, y + 13, tables[i].second);
    }
    return text + "</svg>\n";
}

// --- The page ---

std::string Page(const Report& report, const std::vector<Knob>& knobs) {
    std::string text = "# Tuning report\n\n";
    Print(text,
          "%zu games; %zu positions for the fit, %zu of other games held out. %zu free numbers, %zu of which occur.\n",
          report.games, report.training, report.held_out, report.knobs, report.answered);
    Print(text,
          "Expected points are 1 / (1 + exp(-score / %.1f)). Losses are cross entropies with the results, in nats a "
          "position.\n\n",
          report.scale);
    text += "| Pass | Games of the fit | Games held out |\n|---|---|---|\n";
    for (std::size_t i = 0; i < report.passes.size(); ++i) {
        Print(text, "| %zu | %.6f | %.6f |\n", i, report.passes[i].training, report.passes[i].held_out);
    }
    Print(text, "\nThe held-out loss fell by %.6f (standard error %.6f).\n\n",
          report.passes.front().held_out - report.passes.back().held_out, report.gain_error);
    text += "![Loss by pass](loss.svg)\n![Result by score](calibration.svg)\n![Moved most](movers.svg)\n\n";

    text +=
        "## Numbers that moved most\n\nDistance is in spreads, the tuner's measure of a likely change.\n\n"
        "| Number | Before | After | Distance |\n|---|---|---|---|\n";
    constexpr std::size_t SHOWN = 40;
    const std::vector<Mover> movers = ListMovers(report, knobs);
    for (std::size_t i = 0; i < std::min(SHOWN, movers.size()); ++i) {
        Print(text, "| %s | %d | %d | %+.1f |\n", movers[i].name.c_str(), movers[i].before, movers[i].after,
              movers[i].distance);
    }

    text += "\n## At a bound\n\n";
    bool any = false;
    for (std::size_t i = 0; i < knobs.size(); ++i) {
        const bool bound = report.after[i] != report.before[i] &&
                           (report.after[i] == knobs[i].low || report.after[i] == knobs[i].high);
        if (bound) {
            Print(text, "- %s[%d] = %d\n", std::string(knobs[i].parameter->name).c_str(), knobs[i].entries[0],
                  report.after[i]);
            any = true;
        }
    }
    text += any ? "" : "None.\n";

    text +=
        "\n## What each parameter is worth\n\nMicronats a position that the held-out games lose when it is put to its "
        "neutral value and all else stays; one standard error behind it. What saves nothing is not needed, or says "
        "nothing that another term does not say as well.\n\n| Parameter | Saves | Error |\n|---|---|---|\n";
    for (const Worth& worth : report.worth) {
        Print(text, "| %s | %.0f | %.0f |\n", worth.name.c_str(), worth.saved * 1e6, worth.error * 1e6);
    }
    return text;
}

}  // namespace

bool WriteReport(const std::string& directory, const Report& report, const std::vector<Knob>& knobs) {
    return WriteWholeFile(directory + "/report.md", Page(report, knobs)) &&
           WriteWholeFile(directory + "/loss.svg", DrawLoss(report)) &&
           WriteWholeFile(directory + "/calibration.svg", DrawCalibration(report)) &&
           WriteWholeFile(directory + "/movers.svg", DrawMovers(report, knobs));
}
