// What every fuzz target needs of the engine: one start in a process, the same state before every input, and an end
// of the process that is no end.
//
// The engine reads its files from the working directory, so a target works in a new directory under TMPDIR, which is
// left behind. Corpora and findings must therefore be named by absolute paths. Starting takes seconds, in the fuzzer's
// own initialisation step, where it counts for no input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// Before every input: puts the engine back to the state of a new game with the settings of the start, nothing learnt,
/// small tables, no book, no learning file. Standard output goes nowhere.
void ResetEngine();

/// Writes `parts`, one behind the other, as the file `name` of the working directory.
void WriteInput(const char* name, std::initializer_list<std::string_view> parts);

inline std::string_view AsText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Thrown where the process would have ended.
struct EngineEnded {};

/// From now on, until the next end, ExitEngine throws EngineEnded.
void CatchExit();

/// Calls `routine`; an end of the process ends only that.
template <typename Routine>
void RunToItsEnd(Routine&& routine) {
    CatchExit();
    try {
        routine();
    } catch (const EngineEnded&) {
    }
}

/// Stops the fuzzer with a finding when what must hold does not.
void Require(bool holds);

/// Positions of all kinds, for targets whose input is no position.
inline constexpr std::string_view positions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R b KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "4k3/8/8/3pP3/8/8/8/4K2R w K d6",
    "8/5k2/8/8/2B5/8/1b3PPP/6K1 b - -",
    "6k1/5ppp/8/8/8/8/q4PPP/3R2K1 w - -",
};
