// Packed scores: two signed 16-bit halves in one 32-bit word, opening x 65536 + ending, so that two words add
// with one addition. Sums wrap modulo 2^32 by design, so the arithmetic is done unsigned.
#pragma once

#include <cstdint>

constexpr std::int32_t PackedAdd(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t PackedSub(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr std::int32_t Pack(std::int32_t opening, std::int32_t ending) {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(opening) << 16) + static_cast<std::uint32_t>(ending));
}

/// A value that counts the same in both phases.
constexpr std::int32_t PackBoth(std::int32_t value) {
    return Pack(value, value);
}

constexpr std::int32_t PackedEnding(std::int32_t word) {
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(word) & 0xffff);
}

constexpr std::int32_t PackedOpening(std::int32_t word) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(word) + 0x8000u) >> 16;
}
