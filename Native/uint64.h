// Bit operations on the 64-bit square sets.
#pragma once

#include <bit>
#include <cstdint>

using Bitboard = uint64_t;

// Number of squares in the set.
inline int PopCount(Bitboard b) { return std::popcount(b); }

// Lowest-numbered square of a non-empty set.
inline int LowestSquare(Bitboard b) { return std::countr_zero(b); }

// Highest-numbered square of a non-empty set.
inline int HighestSquare(Bitboard b) { return 63 - std::countl_zero(b); }
