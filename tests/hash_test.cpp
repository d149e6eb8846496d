#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <random>

#include "hash.h"
#include "interface.h"
#include "pawns.h"
#include "support/position.h"

namespace {

constexpr uint64_t Buckets = HashBucketsPerMb;  // one megabyte

// A table of one megabyte, empty, at game move 0.
class HashTable : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureEngineTables();
    HashAllocator = std::calloc;
    HashSizeMb = 1;
    ASSERT_EQ(AllocateHash(), 1);
    GameMoveCount = 0;
  }
  void TearDown() override {
    FreeHash();
    GameMoveCount = 0;
  }
  // Puts key into ply's record as the position's two key halves.
  static void SetKey(int ply, uint64_t key) {
    Ply[ply].pawnKey = key & 0xFFFF0000FFFF0000ull;
    Ply[ply].pieceKey = key & 0x0000FFFF0000FFFFull;
  }
  static HashEntry *Probe(uint64_t key, int depth, int side = White, int ply = 2) {
    SetKey(ply, key);
    return ProbeHash(side, depth, ply);
  }
  static HashEntry *Bucket(uint64_t key, int side = White) {
    return TranspositionTable[side] + key % Buckets * HashBucketSize;
  }
};

// The remainder by multiplication equals the division's for the table sizes
// and the extreme divisors, over edge and random keys.
TEST(Remainder, EqualsTheDivisionsRemainder) {
  std::mt19937_64 random(1);
  for (uint64_t divisor : {uint64_t(1), uint64_t(2), uint64_t(3), uint64_t(FallbackPawnHashSlots), uint64_t(PawnHashSlots),
                           Buckets, Buckets * 1024, uint64_t(UINT32_MAX), UINT64_MAX, (uint64_t(1) << 63) + 5}) {
    const Modulus modulus = ModulusOf(divisor);
    for (uint64_t key : {uint64_t(0), uint64_t(1), divisor - 1, divisor, divisor + 1, 2 * divisor - 1, UINT64_MAX})
      ASSERT_EQ(Remainder(key, modulus), key % divisor) << key << " % " << divisor;
    for (int i = 0; i < 100000; ++i) {
      const uint64_t key = random() >> (i % 64);
      ASSERT_EQ(Remainder(key, modulus), key % divisor) << key << " % " << divisor;
    }
  }
}

// A stored entry reads back every field (a depth or flags beyond their width
// are clamped, never spilling into the next field) and is found whatever the
// depth asked; a shallower result never replaces it, one as deep does; the
// other side to move has an entry of its own.
TEST_F(HashTable, StoreAndProbe) {
  const uint64_t key = 7 * Buckets + 3;
  HashEntry *entry = Probe(key, 60);
  ASSERT_EQ(entry, Bucket(key));
  GameMoveCount = 37;
  const Move move = MoveWord(E7, F8, Pawn, Rook, Queen);
  StoreHash(entry, move, 180, 2, -123, HashBoundLower | HashThreat);
  EXPECT_TRUE(HashDepth(entry) == 180 && HashAge(entry) == 37 && HashMove(entry) == move);
  EXPECT_EQ(HashFlags(entry), HashBoundLower | HashThreat);
  EXPECT_EQ(HashScore(entry, 9), -123);
  EXPECT_EQ(Probe(key, 600), entry);
  const uint64_t deep = entry->data;
  StoreHash(entry, MoveWord(D2, D4, Pawn), 120, 2, 90, HashBoundExact);
  EXPECT_EQ(entry->data, deep);
  StoreHash(entry, MoveWord(D2, D4, Pawn), 180, 2, 90, HashBoundExact);
  EXPECT_TRUE(HashScore(entry, 2) == 90 && HashFlags(entry) == HashBoundExact);
  const Move widest = MoveWord(63, 63, 7, 7, 7);
  StoreHash(entry, widest, 5000, 119, -30000, 0xFF);
  EXPECT_TRUE(HashDepth(entry) == 4095 && HashFlags(entry) == 15 && HashMove(entry) == widest);
  StoreHash(nullptr, 0, 60, 2, 0, HashBoundExact);  // no slot: nothing happens
  EXPECT_NE(Probe(key, 0, Black), entry);
  EXPECT_EQ(HashDepth(Probe(key, 0, Black)), 0);
}

TEST_F(HashTable, MateScoresAreStoredRelativeToTheNode) {
  HashEntry *entry = Probe(5, 0);
  StoreHash(entry, 0, 60, 5, 9 - 30000, HashBoundExact);  // mated at ply 9, stored at ply 5
  EXPECT_EQ(HashScore(entry, 7), 11 - 30000);
  StoreHash(entry, 0, 60, 5, 30000 - 9, HashBoundExact);  // mating at ply 9
  EXPECT_EQ(HashScore(entry, 3), 30000 - 7);
  // Only scores beyond 29000 are mate scores.
  StoreHash(entry, 0, 60, 5, 29000, HashBoundExact);
  EXPECT_EQ(HashScore(entry, 8), 29000);
  StoreHash(entry, 0, 60, 5, 29001, HashBoundExact);
  EXPECT_EQ(HashStoredScore(entry), 29006);
  StoreHash(entry, 0, 60, 5, -29000, HashBoundExact);
  EXPECT_EQ(HashScore(entry, 8), -29000);
  StoreHash(entry, 0, 60, 5, -29001, HashBoundExact);
  EXPECT_EQ(HashStoredScore(entry), -29006);
}

TEST_F(HashTable, ReplacementTakesLowestPriorityEarliestFirst) {
  const uint64_t base = 17;
  const int depths[HashBucketSize] = {300, 240, 180, 240, 180, 300};
  GameMoveCount = 5;
  for (int i = 0; i < HashBucketSize; ++i) {
    HashEntry *entry = Probe(base + i * Buckets, 0);
    ASSERT_EQ(entry, Bucket(base) + i);
    StoreHash(entry, 0, depths[i], 2, 0, HashBoundExact);
  }
  const uint64_t newcomer = base + 6 * Buckets;
  EXPECT_EQ(Probe(newcomer, 120), nullptr) << "every entry deeper and of this game move";
  EXPECT_EQ(Probe(newcomer, 180), Bucket(base) + 2) << "first of the two shallowest";
  EXPECT_EQ(Bucket(base)[2].key, newcomer);
  EXPECT_EQ(Bucket(base)[2].data, 0u);

  // The claimed slot now has priority 5 * 4096 + 0 and goes first; store deep.
  StoreHash(Bucket(base) + 2, 0, 900, 2, 0, HashBoundExact);
  // An entry of an earlier game move goes first, even the deepest.
  GameMoveCount = 4;
  HashEntry *old = Bucket(base) + 5;
  old->data = 0;
  StoreHash(old, 0, 1800, 2, 0, HashBoundExact);
  GameMoveCount = 5;
  EXPECT_EQ(Probe(base + 7 * Buckets, 60), old);
}

// Grants arrays of at most Largest megabytes.
size_t Largest;
void *LimitedCalloc(size_t count, size_t size) {
  return count * size <= Largest * HashBucketsPerMb * HashBucketSize * sizeof(HashEntry) ? std::calloc(count, size)
                                                                                           : nullptr;
}

// A refused table halves until the heap grants it; with none granted the
// engine runs without a table and VarnInit says so.
TEST_F(HashTable, RefusedTablesShrink) {
  HashAllocator = LimitedCalloc;
  Largest = 5;
  EXPECT_EQ(VarnInit(nullptr, 0, 1 << 20), 4096);
  Largest = 0;
  EXPECT_EQ(VarnInit(nullptr, 0, 4096), 0);
  EXPECT_EQ(Probe(1, 0), nullptr);
  ClearHash();
  HashAllocator = std::calloc;
  VarnQuit();
}

}  // namespace
