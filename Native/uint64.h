// Bit operations on the 64-bit square sets.
#pragma once

#include <bit>
#include <cstdint>

using Bitboard = uint64_t;

// 64 x 64 -> 128-bit products are single instructions on 64-bit processors
// (WebAssembly emulates them, so it keeps the division).
#if defined(__SIZEOF_INT128__) && !defined(__wasm__)
#define VARN_WIDE_PRODUCTS 1
#endif

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

// The remainder by a divisor fixed at set-up (a table's slot count). Where
// 128-bit products exist, three multiplications replace the slow division:
// with inverse = ceil(2^128 / divisor), the fraction inverse * x (mod 2^128)
// times the divisor holds exactly x % divisor above its low 128 bits, for
// every 64-bit x and every divisor from 1 on.
struct Modulus {
  uint64_t divisor;
#ifdef VARN_WIDE_PRODUCTS
  unsigned __int128 inverse;
#endif
};

constexpr Modulus ModulusOf(uint64_t divisor) {
#ifdef VARN_WIDE_PRODUCTS
  return Modulus{divisor, ~static_cast<unsigned __int128>(0) / divisor + 1};
#else
  return Modulus{divisor};
#endif
}

inline uint64_t Remainder(uint64_t x, const Modulus &m) {
#ifdef VARN_WIDE_PRODUCTS
  using Wide = unsigned __int128;
  const Wide fraction = m.inverse * x;
  const Wide low = Wide(uint64_t(fraction)) * m.divisor, high = Wide(uint64_t(fraction >> 64)) * m.divisor;
  return uint64_t((high + (low >> 64)) >> 64);
#else
  return x % m.divisor;
#endif
}
