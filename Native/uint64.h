// Bit operations on the 64-bit square sets.
#pragma once

#include <bit>
#include <cstdint>

using Bitboard = uint64_t;

// Number of squares in the set. Without a population-count instruction the
// compiler calls a library routine; the bit-parallel sum stays inline.
inline int PopCount(Bitboard b) {
#if defined(__POPCNT__) || !(defined(__x86_64__) || defined(__i386__))
  return std::popcount(b);
#else
  b -= (b >> 1) & 0x5555555555555555ULL;
  b = (b & 0x3333333333333333ULL) + ((b >> 2) & 0x3333333333333333ULL);
  b = (b + (b >> 4)) & 0x0F0F0F0F0F0F0F0FULL;
  return int((b * 0x0101010101010101ULL) >> 56);
#endif
}

// Lowest-numbered square of a non-empty set.
inline int LowestSquare(Bitboard b) { return std::countr_zero(b); }

// Highest-numbered square of a non-empty set.
inline int HighestSquare(Bitboard b) { return 63 - std::countl_zero(b); }
