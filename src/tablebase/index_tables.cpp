#include "tablebase/index_tables.h"

std::int32_t Binomial[5][64];
std::int32_t PawnIndex[5][24];
std::int32_t PawnFactor[5][4];

namespace {

/// Square of the lead pawn with number `lead`, on the files a to d.
int SquareOfLead(int lead) {
    return 8 * (lead % 6 + 1) + lead / 6;
}

void MirrorAll(std::int32_t* squares, int men, std::int32_t mask) {
    for (int i = 0; i < men; ++i) {
        squares[i] ^= mask;
    }
}

/// Brings the first square into the lower left triangle a1-d1-d4. A square on the diagonal leaves the choice to the
/// next one, among those that make up the front.
void Normalise(int front, int men, std::int32_t* squares) {
    if (squares[0] & 4) {
        MirrorAll(squares, men, 7);
    }
    if (squares[0] & 32) {
        MirrorAll(squares, men, 56);
    }
    int i = 0;
    while (i < front && OffDiag[squares[i]] == 0) {
        ++i;
    }
    if (i < front && OffDiag[squares[i]] > 0) {
        for (i = 0; i < men; ++i) {
            squares[i] = FlipDiag[squares[i]];
        }
    }
}

/// Four cases by the first of the three that is off the diagonal, one block of indices behind another.
std::int64_t ThreeUnique(const std::int32_t* p) {
    constexpr int second_on_diagonal = 6 * 63 * 62;
    constexpr int third_on_diagonal = second_on_diagonal + 4 * 28 * 62;
    constexpr int all_on_diagonal = third_on_diagonal + 4 * 7 * 28;
    const int a = p[1] > p[0];
    const int b = (p[2] > p[0]) + (p[2] > p[1]);
    if (OffDiag[p[0]] != 0) {
        return Triangle[p[0]] * 63 * 62 + (p[1] - a) * 62 + (p[2] - b);
    }
    if (OffDiag[p[1]] != 0) {
        return second_on_diagonal + Diag[p[0]] * 28 * 62 + Lower[p[1]] * 62 + p[2] - b;
    }
    if (OffDiag[p[2]] != 0) {
        return third_on_diagonal + Diag[p[0]] * 7 * 28 + (Diag[p[1]] - a) * 28 + Lower[p[2]];
    }
    return all_on_diagonal + Diag[p[0]] * 7 * 6 + (Diag[p[1]] - a) * 6 + (Diag[p[2]] - b);
}

/// Insertion: the lists have at most five squares.
template <class Before>
void Sort(std::int32_t* squares, int size, Before before) {
    for (int i = 1; i < size; ++i) {
        const std::int32_t square = squares[i];
        int place = i;
        for (; place > 0 && before(square, squares[place - 1]); --place) {
            squares[place] = squares[place - 1];
        }
        squares[place] = square;
    }
}

/// Number of a group of `size` like pieces at `first`: a combination of the squares, less those that pieces before
/// them have taken, and less `skipped` squares at the lower edge that the group can never have.
std::int64_t GroupIndex(std::int32_t* squares, int first, int size, int skipped) {
    Sort(squares + first, size, [](std::int32_t a, std::int32_t b) { return a < b; });
    std::int64_t index = 0;
    for (int m = 0; m < size; ++m) {
        const std::int32_t square = squares[first + m];
        int taken = skipped;
        for (int i = 0; i < first; ++i) {
            taken += squares[i] < square;
        }
        index += Binomial[m][square - taken];
    }
    return index;
}

std::int64_t FurtherGroups(const TableSection& section, int first, int men, std::int32_t* squares) {
    std::int64_t index = 0;
    while (first < men) {
        index += GroupIndex(squares, first, section.Norm[first], 0) * section.Factor[first];
        first += section.Norm[first];
    }
    return index;
}

}  // namespace

void InitTableIndices() {
    for (int n = 0; n < 64; ++n) {
        Binomial[0][n] = n;
    }
    for (int k = 1; k < 5; ++k) {
        Binomial[k][0] = 0;
        for (int n = 1; n < 64; ++n) {
            Binomial[k][n] = Binomial[k][n - 1] + Binomial[k - 1][n - 1];
        }
    }
    for (int i = 0; i < 5; ++i) {
        for (int group = 0; group < 4; ++group) {
            std::int32_t sum = 0;
            for (int lead = 6 * group; lead < 6 * group + 6; ++lead) {
                PawnIndex[i][lead] = sum;
                sum += i == 0 ? 1 : Binomial[i - 1][PawnTwist[SquareOfLead(lead)]];
            }
            PawnFactor[i][group] = sum;
        }
    }
}

std::uint64_t EncodePiece(int encType, int men, const TableSection& section, std::int32_t* squares) {
    const bool three = encType == ENCODE_THREE_UNIQUE;
    const int front = three ? 3 : 2;
    Normalise(front, men, squares);
    std::int64_t index = three ? ThreeUnique(squares) : KingPairIndex[Triangle[squares[0]]][squares[1]];
    index *= section.Factor[0];
    return static_cast<std::uint64_t>(index + FurtherGroups(section, front, men, squares));
}

std::uint64_t EncodePawn(int lead, int other, int men, const TableSection& section, std::int32_t* squares) {
    if (squares[0] & 4) {
        MirrorAll(squares, men, 7);
    }
    Sort(squares + 1, lead - 1, [](std::int32_t a, std::int32_t b) { return PawnTwist[a] > PawnTwist[b]; });

    std::int64_t index = PawnIndex[lead - 1][PawnLead[squares[0]]];
    for (int i = lead - 1; i > 0; --i) {
        index += Binomial[lead - 1 - i][PawnTwist[squares[i]]];
    }
    index *= section.Factor[0];

    int first = lead;
    if (other > 0) {
        index += GroupIndex(squares, first, other, 8) * section.Factor[first];  // no pawn stands on the first rank
        first += other;
    }
    return static_cast<std::uint64_t>(index + FurtherGroups(section, first, men, squares));
}
