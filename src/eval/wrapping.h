// Arithmetic on parameters that nothing bounds. A parameter is any 32-bit number and a term multiplies several of
// them: with numbers that make sense these answer like ordinary arithmetic, with others the value wraps, defined.
#pragma once

#include <cstdint>

/// a * b modulo 2^64.
constexpr std::int64_t WrappingProduct(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

/// a + b modulo 2^64.
constexpr std::int64_t WrappingSum(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

/// sum += value modulo 2^32.
constexpr void WrappingAdd(std::int32_t& sum, std::int64_t value) {
    sum = static_cast<std::int32_t>(static_cast<std::uint32_t>(sum) + static_cast<std::uint32_t>(value));
}
