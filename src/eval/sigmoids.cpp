#include "eval/sigmoids.h"

#include <cmath>

#include "eval/parameters.h"
#include "position/attacks.h"

Sigmoid<-150, 150> PawnEndgameSigmoid;
Sigmoid<0, 63> PressureSigmoid;
Sigmoid<0, 511> AttackHorrorSigmoid;
Sigmoid<0, 511> DefendHorrorSigmoid;
Sigmoid<-1000, 1000> HorrorSigmoid;

namespace {

struct SigmoidShape {
    std::int32_t amplitude;
    std::int32_t slope;  // 1/1000
    std::int32_t centre;
};

/// Lies between -|amplitude| / 2 and |amplitude| / 2 whatever the shape, also where exp() overflows to infinity: the
/// result always fits.
std::int32_t SigmoidValue(const SigmoidShape& shape, int x) {
    const double amplitude = shape.amplitude;
    const double distance = static_cast<double>(shape.centre) - x;
    return static_cast<std::int32_t>(
        std::lround(amplitude / (1.0 + std::exp(shape.slope * distance / 1000.0)) - amplitude / 2.0));
}

template <int low, int high>
void BuildSigmoid(Sigmoid<low, high>& sigmoid, const SigmoidShape& shape, std::int32_t base = 0) {
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int x = low; x <= high; ++x) {
        sigmoid.values[x - low] = base + SigmoidValue(shape, x);
    }
}

}  // namespace

void InitPawnEndgameSigmoid() {
    BuildSigmoid(PawnEndgameSigmoid, {PawnEndgameAmplitude, PawnEndgameSlope, 0});
}

void InitPressureSigmoid() {
    BuildSigmoid(PressureSigmoid, {PressureAmplitude, PressureSlope, PressureCentre});
}

void InitAttackHorrorSigmoid() {
    BuildSigmoid(AttackHorrorSigmoid, {AttackHorrorAmplitude, AttackHorrorSlope, AttackHorrorCentre});
}

void InitDefendHorrorSigmoid() {
    BuildSigmoid(DefendHorrorSigmoid, {DefendHorrorAmplitude, DefendHorrorSlope, DefendHorrorCentre});
}

void InitHorrorSigmoid() {
    BuildSigmoid(HorrorSigmoid, {HorrorAmplitude, HorrorSlope, 0}, 256);
}

void BuildSigmoids() {
    InitPawnEndgameSigmoid();
    InitPressureSigmoid();
    InitAttackHorrorSigmoid();
    InitDefendHorrorSigmoid();
    InitHorrorSigmoid();
}
