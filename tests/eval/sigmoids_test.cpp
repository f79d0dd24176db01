#include "eval/sigmoids.h"

#include <cmath>
#include <limits>
#include <random>

#include "eval/parameters.h"
#include "support/evaluation_tables.h"

namespace {

struct Curve {
    const char* name;
    int low, high;
    std::int32_t *amplitude, *slope, *centre;  // no centre: 0
    std::int32_t base;
    std::int32_t amplitude_default, slope_default, centre_default;
    void (*build)();
    std::int32_t (*read)(std::int64_t);
};

const Curve Curves[] = {
    {"pawn endgame", -150, 150, &PawnEndgameAmplitude, &PawnEndgameSlope, nullptr, 0, 50, 50, 0, InitPawnEndgameSigmoid,
     [](std::int64_t x) { return PawnEndgameSigmoid[x]; }},
    {"pressure", 0, 63, &PressureAmplitude, &PressureSlope, &PressureCentre, 0, -1249, -237, 0, InitPressureSigmoid,
     [](std::int64_t x) { return PressureSigmoid[x]; }},
    {"attack horror", 0, 511, &AttackHorrorAmplitude, &AttackHorrorSlope, &AttackHorrorCentre, 0, -8, 8, 200,
     InitAttackHorrorSigmoid, [](std::int64_t x) { return AttackHorrorSigmoid[x]; }},
    {"defend horror", 0, 511, &DefendHorrorAmplitude, &DefendHorrorSlope, &DefendHorrorCentre, 0, 8, 8, 200,
     InitDefendHorrorSigmoid, [](std::int64_t x) { return DefendHorrorSigmoid[x]; }},
    {"horror", -1000, 1000, &HorrorAmplitude, &HorrorSlope, nullptr, 256, 10, -120, 0, InitHorrorSigmoid,
     [](std::int64_t x) { return HorrorSigmoid[x]; }},
};

/// Half away from zero, without the library's rounding.
double Rounded(double value) {
    return value < 0 ? -std::floor(0.5 - value) : std::floor(value + 0.5);
}

double Expected(const Curve& curve, double a, double k, double c, int x) {
    return curve.base + Rounded(a / (1 + std::exp(k * (c - x) / 1000)) - a / 2);
}

TEST(Sigmoids, StartUpBuildsEveryCurveFromItsDefaults) {
    ResetEvaluation();
    for (const Curve& curve : Curves) {
        for (int x = curve.low; x <= curve.high; ++x) {
            ASSERT_EQ(curve.read(x),
                      Expected(curve, curve.amplitude_default, curve.slope_default, curve.centre_default, x))
                << curve.name << ' ' << x;
        }
    }
    // The direction of each: more attackers and more material press harder, a strong attacker and a weak defender too.
    EXPECT_EQ(PressureSigmoid[0], 0);
    EXPECT_EQ(PressureSigmoid[63], 624);
    EXPECT_EQ(HorrorSigmoid[0], 256);
    EXPECT_LT(HorrorSigmoid[100], HorrorSigmoid[-100]);
    EXPECT_GT(AttackHorrorSigmoid[0], AttackHorrorSigmoid[511]);
    EXPECT_LT(DefendHorrorSigmoid[0], DefendHorrorSigmoid[511]);
    EXPECT_EQ(PawnEndgameSigmoid[-150], -PawnEndgameSigmoid[150]);
}

TEST(Sigmoids, AnyParametersGiveADefinedCurve) {
    constexpr std::int32_t Lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t Highest = std::numeric_limits<std::int32_t>::max();
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int32_t> wide(Lowest, Highest);
    std::uniform_int_distribution<std::int32_t> narrow(-2000, 2000);
    for (const Curve& curve : Curves) {
        for (int round = 0; round < 60; ++round) {
            auto& choice = round % 2 == 0 ? wide : narrow;
            *curve.amplitude = round == 0 ? Lowest : round == 2 ? Highest : choice(random);
            *curve.slope = round == 4 ? Lowest : round == 6 ? Highest : choice(random);
            if (curve.centre != nullptr) {
                *curve.centre = round == 8 ? Lowest : round == 10 ? Highest : choice(random) / 3;
            }
            curve.build();
            const double centre = curve.centre != nullptr ? *curve.centre : 0;
            for (int x = curve.low; x <= curve.high; ++x) {
                ASSERT_EQ(curve.read(x), Expected(curve, *curve.amplitude, *curve.slope, centre, x))
                    << curve.name << ' ' << x << ": " << *curve.amplitude << ' ' << *curve.slope << ' ' << centre;
            }
            // Beyond the ends the last entry.
            ASSERT_EQ(curve.read(curve.low - 1), curve.read(curve.low)) << curve.name;
            ASSERT_EQ(curve.read(Lowest), curve.read(curve.low)) << curve.name;
            ASSERT_EQ(curve.read(Highest), curve.read(curve.high)) << curve.name;
        }
    }
    ResetEvaluation();
}

}  // namespace
