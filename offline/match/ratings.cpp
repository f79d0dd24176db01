#include "match/ratings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

namespace {

constexpr int MAX_STEPS = 200;
constexpr int MAX_HALVINGS = 60;
constexpr double PRECISION = 1e-10;  // in natural units of strength, of which one is 174 Elo
constexpr double ELO_PER_UNIT = ELO_SCALE / std::numbers::ln10;

using Vector = std::vector<double>;
using Matrix = std::vector<Vector>;

/// One pairing as the fit sees it.
struct Score {
    std::size_t first;
    std::size_t second;
    double games;
    double points;  // of the first
};

double Expected(double difference) {
    return 1 / (1 + std::exp(-difference));
}

/// ln(1 + e^x) without overflow.
double SoftPositive(double x) {
    return std::max(x, 0.0) + std::log1p(std::exp(-std::fabs(x)));
}

double LogLikelihood(const std::vector<Score>& scores, const Vector& strength) {
    double sum = 0;
    for (const Score& score : scores) {
        const double difference = strength[score.first] - strength[score.second];
        sum += score.points * difference - score.games * SoftPositive(difference);
    }
    return sum;
}

/// What one pairing adds to a matrix of variances: what the one gains in it the other loses.
void AddCoupling(Matrix& matrix, std::size_t i, std::size_t j, double weight) {
    matrix[i][i] += weight;
    matrix[j][j] += weight;
    matrix[i][j] -= weight;
    matrix[j][i] -= weight;
}

Matrix Zero(std::size_t size) {
    return {size, Vector(size, 0.0)};
}

/// The inverse of a symmetric positive definite matrix, by elimination; these need no pivots.
Matrix Inverse(Matrix matrix) {
    const std::size_t size = matrix.size();
    Matrix inverse = Zero(size);
    for (std::size_t i = 0; i < size; ++i) {
        inverse[i][i] = 1;
    }
    for (std::size_t pivot = 0; pivot < size; ++pivot) {
        const double scale = 1 / matrix[pivot][pivot];
        for (std::size_t column = 0; column < size; ++column) {
            matrix[pivot][column] *= scale;
            inverse[pivot][column] *= scale;
        }
        for (std::size_t row = 0; row < size; ++row) {
            const double factor = matrix[row][pivot];
            if (row == pivot || factor == 0) {
                continue;
            }
            for (std::size_t column = 0; column < size; ++column) {
                matrix[row][column] -= factor * matrix[pivot][column];
                inverse[row][column] -= factor * inverse[pivot][column];
            }
        }
    }
    return inverse;
}

Matrix Product(const Matrix& a, const Matrix& b) {
    Matrix product = Zero(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t k = 0; k < a.size(); ++k) {
            for (std::size_t j = 0; j < a.size(); ++j) {
                product[i][j] += a[i][k] * b[k][j];
            }
        }
    }
    return product;
}

/// The information that the games hold about the strengths, inverted for changes whose sum is 0: it knows only
/// differences. A constant added to every element makes it regular, and taken off again leaves no trace.
Matrix InverseInformation(const std::vector<Score>& scores, const Vector& strength) {
    Matrix information = Zero(strength.size());
    double trace = 0;
    for (const Score& score : scores) {
        const double expected = Expected(strength[score.first] - strength[score.second]);
        const double weight = score.games * expected * (1 - expected);
        AddCoupling(information, score.first, score.second, weight);
        trace += 2 * weight;
    }
    const double size = static_cast<double>(strength.size());
    const double constant = trace / (size * size);
    for (Vector& row : information) {
        for (double& element : row) {
            element += constant;
        }
    }
    Matrix inverse = Inverse(std::move(information));
    for (Vector& row : inverse) {
        for (double& element : row) {
            element -= 1 / (constant * size * size);
        }
    }
    return inverse;
}

/// Newton's method. The likelihood is concave, so a step that is halved until it leads upwards is enough to be sure.
Vector LikeliestStrength(const std::vector<Score>& scores, std::size_t engines) {
    Vector strength(engines, 0.0);
    double likelihood = LogLikelihood(scores, strength);
    for (int step = 0; step < MAX_STEPS; ++step) {
        const Matrix inverse = InverseInformation(scores, strength);
        Vector surplus(engines, 0.0);  // points above the expectation
        for (const Score& score : scores) {
            const double expected = Expected(strength[score.first] - strength[score.second]);
            surplus[score.first] += score.points - score.games * expected;
            surplus[score.second] -= score.points - score.games * expected;
        }
        Vector change(engines, 0.0);
        for (std::size_t i = 0; i < engines; ++i) {
            change[i] = std::inner_product(surplus.begin(), surplus.end(), inverse[i].begin(), 0.0);
        }
        Vector next = strength;
        bool leads_up = false;
        for (int halving = 0; halving < MAX_HALVINGS && !leads_up; ++halving) {
            for (std::size_t i = 0; i < engines; ++i) {
                next[i] = strength[i] + std::ldexp(change[i], -halving);
            }
            leads_up = LogLikelihood(scores, next) >= likelihood;
        }
        if (!leads_up || std::ranges::all_of(change, [](double each) { return std::fabs(each) < PRECISION; })) {
            break;
        }
        likelihood = LogLikelihood(scores, next);
        strength = std::move(next);
    }
    return strength;
}

/// Whether points lead from every engine to every other one.
bool IsBounded(const std::vector<Score>& scores, std::size_t engines) {
    std::vector<std::vector<bool>> leads(engines, std::vector<bool>(engines, false));
    for (const Score& score : scores) {
        leads[score.first][score.second] = leads[score.first][score.second] || score.points > 0;
        leads[score.second][score.first] = leads[score.second][score.first] || score.points < score.games;
    }
    for (std::size_t via = 0; via < engines; ++via) {
        for (std::size_t from = 0; from < engines; ++from) {
            for (std::size_t to = 0; to < engines; ++to) {
                leads[from][to] = leads[from][to] || (leads[from][via] && leads[via][to]);
            }
        }
    }
    return std::ranges::all_of(
        leads, [](const std::vector<bool>& row) { return std::ranges::all_of(row, [](bool lead) { return lead; }); });
}

}  // namespace

std::vector<Rating> FitRatings(std::size_t engines, const std::vector<PairingScore>& pairings) {
    std::vector<Score> scores;
    for (const PairingScore& pairing : pairings) {
        const auto [lost, drawn, won] = pairing.games;
        scores.push_back({pairing.first, pairing.second, static_cast<double>(lost + drawn + won),
                          static_cast<double>(won) + 0.5 * static_cast<double>(drawn)});
    }
    const bool bounded = IsBounded(scores, engines);
    if (!bounded) {
        for (Score& score : scores) {
            score.games += 1;
            score.points += 0.5;
        }
    }
    const Vector strength = LikeliestStrength(scores, engines);
    const Matrix inverse = InverseInformation(scores, strength);
    Matrix scatter = Zero(engines);
    for (std::size_t i = 0; i < scores.size(); ++i) {
        const Score& score = scores[i];
        const double expected = Expected(strength[score.first] - strength[score.second]);
        const double seen = score.games * pairings[i].deviation;
        AddCoupling(scatter, score.first, score.second,
                    seen > 0 ? seen * seen : score.games * expected * (1 - expected));
    }
    const Matrix covariance = Product(Product(inverse, scatter), inverse);
    std::vector<Rating> ratings;
    for (std::size_t i = 0; i < engines; ++i) {
        const double deviation = std::sqrt(std::max(covariance[i][i], 0.0));
        ratings.push_back({ELO_PER_UNIT * strength[i],
                           bounded ? QUANTILE_95 * ELO_PER_UNIT * deviation : std::numeric_limits<double>::infinity()});
    }
    return ratings;
}
