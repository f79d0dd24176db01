// The sigmoid curves of the evaluation: A / (1 + exp(slope * (centre - x) / 1000)) - A / 2 for every x of a range,
// so that play needs no floating point.
//
// Owner: eval/sigmoids.cpp. Written by the builders below, from the parameters, at start-up and by `reload`.
#pragma once

#include <algorithm>
#include <cstdint>

/// A curve over low..high. Beyond its ends it reads the last entry.
template <int low, int high>
struct Sigmoid {
    static constexpr int LOW = low;
    static constexpr int HIGH = high;

    std::int32_t values[high - low + 1];

    std::int32_t operator[](std::int64_t x) const { return values[std::clamp<std::int64_t>(x, low, high) - low]; }
};

/// By the summed king terms of a passed pawn.
extern Sigmoid<-150, 150> PawnEndgameSigmoid;

/// By the sum of attackers; 0 at 0 with the centre at 0.
extern Sigmoid<0, 63> PressureSigmoid;

/// Departures from 256 by the attack_force of the attacker, by the defend_force of the defender.
extern Sigmoid<0, 511> AttackHorrorSigmoid;
extern Sigmoid<0, 511> DefendHorrorSigmoid;

/// Multiplier in 1/256 by the attacker's lead in material_score. 256 is part of the value.
extern Sigmoid<-1000, 1000> HorrorSigmoid;

void InitPawnEndgameSigmoid();
void InitPressureSigmoid();
void InitAttackHorrorSigmoid();
void InitDefendHorrorSigmoid();
void InitHorrorSigmoid();

/// All five.
void BuildSigmoids();
