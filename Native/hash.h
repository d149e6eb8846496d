// The transposition table: one array per side to move, six-entry buckets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board.h"

struct HashEntry {
  uint64_t key;   // pawnKey ^ pieceKey of the position, 0 when never used
  uint64_t data;  // depth 12 | age 11 | flags 4 | score+ScoreInfinite 16 | move 21
};
static_assert(sizeof(HashEntry) == 16);

enum : int { HashBoundUpper = 1, HashBoundLower = 2, HashBoundExact = 4, HashThreat = 8 };
constexpr int HashBucketSize = 6;
constexpr int HashBucketsPerMb = 5461;

extern HashEntry *TranspositionTable[2];  // [side to move]
extern uint64_t HashBucketCount;          // 0 when no table is in use
extern Modulus HashBucketModulus;         // key % HashBucketCount
extern int32_t HashSizeMb;                // megabytes asked for, then in use

// Allocator of both arrays (zeroed memory); tests replace it to simulate a
// refusing heap.
extern void *(*HashAllocator)(size_t count, size_t size);

// Fields of the packed data word.
inline int HashDepth(const HashEntry *e) { return int(e->data & 0xFFF); }
inline int HashAge(const HashEntry *e) { return int(e->data >> 12 & 0x7FF); }
inline int HashFlags(const HashEntry *e) { return int(e->data >> 23 & 0xF); }
inline int HashStoredScore(const HashEntry *e) { return int(e->data >> 27 & 0xFFFF) - ScoreInfinite; }
inline Move HashMove(const HashEntry *e) { return Move(e->data >> 43 & 0x1FFFFF); }

// The stored score seen from a node at ply: mate scores were stored relative
// to the storing node.
inline int HashScore(const HashEntry *e, int ply) {
  int score = HashStoredScore(e);
  if (score > MateThreshold) return score - ply;
  if (score < -MateThreshold) return score + ply;
  return score;
}

// Frees any earlier arrays and allocates both for HashSizeMb megabytes. When
// the heap refuses, the size is halved down to 1 MB; when even that fails the
// engine runs without a table (HashSizeMb 0). Returns 1 when a table exists.
int AllocateHash();
void ClearHash();
void FreeHash();
HashEntry *ProbeHash(int side, int depth, int ply);
void StoreHash(HashEntry *entry, Move move, int depth, int ply, int score, int flags);

// The table's key of the position at ply.
inline uint64_t TableKey(int ply) { return Ply[ply].pawnKey ^ Ply[ply].pieceKey; }

// The bucket of a key in the array of the side to move.
inline HashEntry *BucketOf(int side, uint64_t key) {
  return TranspositionTable[side ? White : Black] + Remainder(key, HashBucketModulus) * HashBucketSize;
}

// Starts loading the bucket (two cache lines) that ProbeHash(side, ., ply)
// will read, so that the memory wait overlaps the work before the probe.
inline void PrefetchHash(int side, int ply) {
  if (!HashBucketCount) return;
  const HashEntry *bucket = BucketOf(side, TableKey(ply));
  __builtin_prefetch(bucket);
  __builtin_prefetch(bucket + HashBucketSize - 1);
}
