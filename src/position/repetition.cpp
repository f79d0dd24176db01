#include "position/repetition.h"

#include <cstdio>
#include <memory>
#include <new>

#include "position/attacks.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/zobrist.h"

namespace {

std::unique_ptr<ReversibleMoveBucket[]> ReversibleMoveHash;

constexpr Key BUCKET_MASK = REVERSIBLE_MOVE_BUCKETS - 1;

void ReportFullBucket(Key number, Move move, const ReversibleMoveBucket& bucket) {
    char text[MOVE_BUFFER];
    char first[MOVE_BUFFER];
    char second[MOVE_BUFFER];
    std::printf("[%d: %s, prev: %s, %s]\n", static_cast<int>(number), MoveToPieceText(text, move),
                MoveToPieceText(first, bucket.move[0]), MoveToPieceText(second, bucket.move[1]));
    std::fflush(stdout);
}

void AddReversibleMove(Key difference, Move move) {
    const Key number = difference & BUCKET_MASK;
    ReversibleMoveBucket& bucket = ReversibleMoveHash[number];
    for (int slot = 0; slot < 4; ++slot) {
        // The way back has the same difference: it takes the place of the way there.
        if (bucket.move[slot] == 0 || bucket.difference[slot] == difference) {
            bucket.difference[slot] = difference;
            bucket.move[slot] = static_cast<std::uint16_t>(move);
            return;
        }
    }
    ReportFullBucket(number, move, bucket);
}

void AddMovesFrom(int square, Bitboard targets, int code) {
    while (targets) {
        const int target = PopLowestBit(targets);
        for (const Colour colour : {WHITE, BLACK}) {
            AddReversibleMove(PieceKeys[colour][code][square] ^ PieceKeys[colour][code][target],
                              BuildMove(square, target, code));
        }
    }
}

/// True when the record's move can be taken back by moving back, and the rights then were those of now.
bool MayRepeat(const HistoryRecord& record) {
    return IsReversible(record.move) && record.castling == thread_board.CastlingFlags;
}

}  // namespace

bool AllocateReversibleMoveHash() {
    if (!ReversibleMoveHash) {
        ReversibleMoveHash.reset(new (std::nothrow) ReversibleMoveBucket[REVERSIBLE_MOVE_BUCKETS]());
    }
    return ReversibleMoveHash != nullptr;
}

void FreeReversibleMoveHash() {
    ReversibleMoveHash.reset();
}

void BuildReversibleMoveHash() {
    for (int bucket = 0; bucket < REVERSIBLE_MOVE_BUCKETS; ++bucket) {
        ReversibleMoveHash[bucket] = {};
    }
    // Both orders of the pair (bishop then queen, rook then queen) decide which slot a move gets.
    for (int square = 0; square < 64; ++square) {
        AddMovesFrom(square, KingAttacks[square], KING);
        AddMovesFrom(square, KnightAttacks[square], KNIGHT);
        AddMovesFrom(square, BishopEmptyAttacks[square], BISHOP);
        AddMovesFrom(square, BishopEmptyAttacks[square], QUEEN);
        AddMovesFrom(square, RookEmptyAttacks[square], ROOK);
        AddMovesFrom(square, RookEmptyAttacks[square], QUEEN);
    }
}

Move ReversibleMoveOf(Key difference) {
    const ReversibleMoveBucket& bucket = ReversibleMoveHash[difference & BUCKET_MASK];
    for (int slot = 0; slot < 4; ++slot) {
        if (bucket.difference[slot] == difference) {
            return bucket.move[slot];  // 0 in a free slot, which a difference of 0 finds
        }
    }
    return 0;
}

bool IsRepetition() {
    if (GamePly < 4 || !MayRepeat(GameHistory[GamePly - 1]) || !MayRepeat(GameHistory[GamePly - 2])) {
        return false;
    }
    int earlier = 0;
    for (int i = GamePly - 4; i >= 0; i -= 2) {
        if (!MayRepeat(GameHistory[i]) || !MayRepeat(GameHistory[i + 1])) {
            return false;
        }
        if (GameHistory[i].key == thread_board.PositionKey && ++earlier == 2) {
            return true;
        }
    }
    return false;
}
