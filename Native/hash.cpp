// The transposition table: two arrays by side to move of six-entry buckets,
// a probe that claims the slot for the later store, and a depth-first store.
#include "hash.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform.h"

HashEntry *TranspositionTable[2];
int32_t HashSizeMb = 32;
uint64_t HashBucketCount;
Modulus HashBucketModulus = ModulusOf(1);
void *(*HashAllocator)(size_t count, size_t size) = std::calloc;

namespace {

constexpr uint64_t PriorityMask = (uint64_t(1) << 23) - 1;

// Age and depth together: the smaller, the sooner the entry is replaced.
uint64_t ReplacementPriority(const HashEntry *e) { return e->data & PriorityMask; }

// The heap blocks behind the two arrays, which start at the first cache line
// inside them: a bucket then spans two lines, never three.
void *HashBlocks[2];
constexpr size_t CacheLine = 64;
constexpr size_t LineSlack = CacheLine / sizeof(HashEntry);

// Both arrays for megabytes, or neither.
bool TryAllocate(int megabytes) {
  size_t entries = size_t(megabytes) * HashBucketsPerMb * HashBucketSize;
  for (int side = 0; side < 2; ++side) {
    HashBlocks[side] = HashAllocator(entries + LineSlack, sizeof(HashEntry));
    const uintptr_t address = reinterpret_cast<uintptr_t>(HashBlocks[side]);
    TranspositionTable[side] = HashBlocks[side] ? reinterpret_cast<HashEntry *>((address + CacheLine - 1) & ~(CacheLine - 1)) : nullptr;
  }
  if (TranspositionTable[0] && TranspositionTable[1]) {
    for (HashEntry *table : TranspositionTable) AdviseLargePages(table, entries * sizeof(HashEntry));
    HashBucketCount = uint64_t(megabytes) * HashBucketsPerMb;
    HashBucketModulus = ModulusOf(HashBucketCount);
    return true;
  }
  FreeHash();
  return false;
}

}  // namespace

// Tries the requested size, then halves it until the heap grants both arrays.
int AllocateHash() {
  FreeHash();
  for (int megabytes = HashSizeMb; megabytes >= 1; megabytes /= 2) {
    // The allocator hands out zeroed memory, so the arrays start cleared.
    if (TryAllocate(megabytes)) {
      HashSizeMb = megabytes;
      return 1;
    }
  }
  HashSizeMb = 0;
  return 0;
}

// Empties every entry of both arrays.
void ClearHash() {
  if (!HashBucketCount) return;
  size_t bytes = size_t(HashBucketCount) * HashBucketSize * sizeof(HashEntry);
  for (HashEntry *table : TranspositionTable) std::memset(table, 0, bytes);
}

// Releases both arrays; harmless when there are none.
void FreeHash() {
  for (int side = 0; side < 2; ++side) {
    std::free(HashBlocks[side]);
    HashBlocks[side] = nullptr;
    TranspositionTable[side] = nullptr;
  }
  HashBucketCount = 0;
}

// The entry of the position at ply, or a slot claimed for it, or none.
HashEntry *ProbeHash(int side, int depth, int ply) {
  if (!HashBucketCount) return nullptr;
  const uint64_t key = TableKey(ply);
  HashEntry *bucket = BucketOf(side, key);
  HashEntry *candidate = bucket;
  for (HashEntry *e = bucket; e < bucket + HashBucketSize; ++e) {
    if (e->key == key) return e;
    if (ReplacementPriority(e) < ReplacementPriority(candidate)) candidate = e;
  }
  // A deeper result of the current game move stays.
  if (HashAge(candidate) == GameMoveCount && HashDepth(candidate) > depth) return nullptr;
  candidate->key = key;
  candidate->data = 0;
  return candidate;
}

// Fills a probed slot unless it holds a deeper result.
void StoreHash(HashEntry *entry, Move move, int depth, int ply, int score, int flags) {
  if (!entry) return;
  if (score > MateThreshold) score += ply;
  if (score < -MateThreshold) score -= ply;
  if (HashDepth(entry) > depth) return;
  // Each value is cut to its own field so none spills into the next; the score
  // field holds score + ScoreInfinite as an unsigned 16-bit number.
  uint64_t packedDepth = uint64_t(depth < 0 ? 0 : depth > 0xFFF ? 0xFFF : depth);
  uint64_t packedScore = uint64_t(uint16_t(score + ScoreInfinite));
  entry->data = packedDepth | uint64_t(GameMoveCount & 0x7FF) << 12 | uint64_t(flags & 0xF) << 23 |
                packedScore << 27 | uint64_t(move & 0x1FFFFF) << 43;
}
