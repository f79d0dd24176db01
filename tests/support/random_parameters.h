// Random numbers for parameters, so that defaults of 0 hide no sign and no index.
#pragma once

#include <cstdint>
#include <random>

#include "eval/packed.h"

class RandomParameters {
  public:
    explicit RandomParameters(unsigned seed) : random_(seed) {}

    int Between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

    void Fill(std::int32_t* values, int count, int low, int high) {
        for (int i = 0; i < count; ++i) {
            values[i] = Between(low, high);
        }
    }

    void FillPacked(std::int32_t* words, int count) {
        for (int i = 0; i < count; ++i) {
            words[i] = Pack(Between(-60, 60), Between(-60, 60));
        }
    }

    /// Like every table by square of the parameter file, the same on both wings.
    void FillPackedBySquare(std::int32_t (&words)[64]) {
        FillPacked(words, 64);
        for (int square = 0; square < 64; ++square) {
            words[square ^ 7] = words[square];
        }
    }

  private:
    std::mt19937 random_;
};
