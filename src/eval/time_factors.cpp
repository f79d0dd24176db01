// Material pairs that are harder or easier to think about than most, learned from games.
#include "eval/army.h"
#include "eval/material_table.h"

#include <string_view>

namespace {

struct TimeFactor {
    std::string_view pair;  // one side's pieces and its number of pawns, a slash, the other side's
    std::int32_t factor;    // 256 is 1.0
};

constexpr TimeFactor FixedTimeFactors[] = {
    {"P3/P3", 236},
    {"RP0/RP1", 117},
    {"RP0/RP2", 110},
    {"RP1/RP1", 74},
    {"RP1/RP2", 117},
    {"RP1/RP3", 99},
    {"RP2/RP2", 126},
    {"RP2/RP3", 164},
    {"RP3/RP3", 143},
    {"RP3/RP4", 156},
    {"RP4/RP4", 172},
    {"RP4/RP5", 182},
    {"RP5/RP5", 191},
    {"RNP3/RBP3", 150},
    {"RNP4/RBP4", 191},
    {"RNP5/RBP5", 214},
    {"RBP2/RBP2", 107},
    {"RBP2/RBP3", 153},
    {"RBP3/RBP3", 143},
    {"RBP3/RBP4", 159},
    {"RBP4/RBP4", 171},
    {"RBP4/RBP5", 195},
    {"RBP5/RBP5", 179},
    {"RBP6/RBP6", 235},
    {"RBNP5/RBNP5", 230},
    {"RBNP6/RBNP6", 273},
    {"RRNP6/RRBP6", 257},
    {"RRBP5/RRBP5", 207},
    {"RRBP6/RRBP6", 201},
    {"RRBNP5/RRBNP5", 246},
    {"RRBNP6/RRBNP6", 240},
    {"RRBNP6/RRBBP6", 258},
    {"RRBNP7/RRBNP7", 225},
    {"RRBNNP7/RRBBNP7", 296},
    {"RRBBNP6/RRBBNP6", 270},
    {"RRBBNP7/RRBBNP7", 251},
    {"RRBBNNP6/RRBBNNP6", 237},
    {"RRBBNNP7/RRBBNNP7", 354},
    {"QP3/QP3", 94},
    {"QRP4/QRP4", 177},
    {"QRP5/QRP5", 163},
    {"QRBP5/QRBP5", 248},
    {"QRBP6/QRBP6", 217},
    {"QRBNP6/QRBNP6", 266},
    {"QRRP6/QRRP6", 253},
    {"QRRNP6/QRRNP6", 266},
    {"QRRNP6/QRRBP6", 310},
    {"QRRNP7/QRRNP7", 245},
    {"QRRNP7/QRRBP7", 311},
    {"QRRNNP7/QRRBNP7", 334},
    {"QRRBP5/QRRBP5", 277},
    {"QRRBP6/QRRBP6", 285},
    {"QRRBP7/QRRBP7", 300},
    {"QRRBNP5/QRRBNP5", 270},
    {"QRRBNP5/QRRBNP6", 322},
    {"QRRBNP6/QRRBNP6", 307},
    {"QRRBNP6/QRRBNP7", 314},
    {"QRRBNP6/QRRBBP6", 320},
    {"QRRBNP7/QRRBNP7", 308},
    {"QRRBNP7/QRRBBP7", 327},
    {"QRRBNP8/QRRBNP8", 281},
    {"QRRBNNP6/QRRBNNP6", 306},
    {"QRRBNNP6/QRRBBNP6", 318},
    {"QRRBNNP7/QRRBNNP7", 302},
    {"QRRBNNP7/QRRBBNP6", 349},
    {"QRRBNNP7/QRRBBNP7", 334},
    {"QRRBNNP8/QRRBNNP8", 316},
    {"QRRBNNP8/QRRBBNP8", 339},
    {"QRRBBP6/QRRBBP6", 288},
    {"QRRBBP7/QRRBBP7", 263},
    {"QRRBBNP5/QRRBBNP5", 305},
    {"QRRBBNP5/QRRBBNP6", 295},
    {"QRRBBNP6/QRRBBNP6", 297},
    {"QRRBBNP6/QRRBBNP7", 323},
    {"QRRBBNP7/QRRBBNP7", 325},
    {"QRRBBNP8/QRRBBNP8", 329},
    {"QRRBBNNP6/QRRBBNNP6", 308},
    {"QRRBBNNP6/QRRBBNNP7", 348},
    {"QRRBBNNP7/QRRBBNNP7", 335},
    {"QRRBBNNP7/QRRBBNNP8", 391},
    {"QRRBBNNP8/QRRBBNNP8", 340},
};

constexpr int CodeOfLetter(char letter) {
    switch (letter) {
        case 'Q':
            return QUEEN;
        case 'R':
            return ROOK;
        case 'B':
            return BISHOP;
        default:
            return KNIGHT;
    }
}

/// "RBP3" is a rook, a bishop and three pawns.
constexpr Army ParseSide(std::string_view text) {
    Army side{};
    std::size_t i = 0;
    for (; text[i] != 'P'; ++i) {
        ++side.count[CodeOfLetter(text[i])];
    }
    side.count[PAWN] = text[i + 1] - '0';
    return side;
}

}  // namespace

void AssignFixedTimeFactors(std::int32_t* factors) {
    for (const TimeFactor& entry : FixedTimeFactors) {
        const std::size_t slash = entry.pair.find('/');
        const Army one = ParseSide(entry.pair.substr(0, slash));
        const Army other = ParseSide(entry.pair.substr(slash + 1));
        factors[PairIndexOf(one.count, other.count)] = entry.factor;
        factors[PairIndexOf(other.count, one.count)] = entry.factor;
    }
}
