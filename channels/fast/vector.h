// SPDX-License-Identifier: ISC
// Short vectors of doubles over the compiler's portable vector types. Two lanes are native
// everywhere; four are native with AVX and a pair of pairs otherwise. Every lane does exactly
// what a scalar would: one rounding per operation, no fused forms.
//
// This header is compiled once per instruction set. Everything in it lives in that set's own
// inline namespace and is always inlined, so no AVX code can stand in for a baseline function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

#if !defined(QUELLARD_FAST_ISA)
#error "Name the instruction set: without it the linker may keep one set's functions for another's"
#endif

#define QUELLARD_INLINE [[gnu::always_inline]] inline

namespace quellard::fast {
inline namespace QUELLARD_FAST_ISA {

#if defined(__SSE2__)
#define QUELLARD_REGISTER(x) "+x"(x)
#elif defined(__aarch64__)
#define QUELLARD_REGISTER(x) "+w"(x)
#else
#define QUELLARD_REGISTER(x) "+m"(x)
#endif

#if defined(__AVX__)
inline constexpr int kNativeLanes = 4;
#else
inline constexpr int kNativeLanes = 2;
#endif

// An integer as a type. The library's would leave its conversion behind as a function that all
// instruction sets share.
template <int i>
struct Constant {
  // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): it stands for the int
  QUELLARD_INLINE constexpr operator int() const { return i; }
};

// Calls f with the constants 0 .. n-1: a loop whose arrays can stay in registers.
template <int n, typename F>
QUELLARD_INLINE void forEach(F f) {
  [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline)) {
    (f(Constant<i>{}), ...);
  }
  (std::make_integer_sequence<int, n>{});
}

template <int lanes, bool native = (lanes <= kNativeLanes)>
struct Lanes;

template <int lanes>
struct Lanes<lanes, true> {
  using Vector __attribute__((vector_size(lanes * sizeof(double)))) = double;
  using Loose __attribute__((vector_size(lanes * sizeof(double)), aligned(8), may_alias)) = double;
  Vector v;
};

template <int lanes>
struct Lanes<lanes, false> {
  Lanes<lanes / 2> low, high;
};

using Pair = Lanes<2>;
using Quad = Lanes<4>;

template <int lanes>
struct Native {
  using Vector = typename Lanes<lanes>::Vector;
  QUELLARD_INLINE static Vector smaller(Vector a, Vector b) { return a < b ? a : b; }
  QUELLARD_INLINE static Vector larger(Vector a, Vector b) { return a > b ? a : b; }
};
#if defined(__SSE2__)
template <>
struct Native<2> {
  QUELLARD_INLINE static __m128d smaller(__m128d a, __m128d b) { return _mm_min_pd(a, b); }
  QUELLARD_INLINE static __m128d larger(__m128d a, __m128d b) { return _mm_max_pd(a, b); }
};
#endif
#if defined(__AVX__)
template <>
struct Native<4> {
  QUELLARD_INLINE static __m256d smaller(__m256d a, __m256d b) { return _mm256_min_pd(a, b); }
  QUELLARD_INLINE static __m256d larger(__m256d a, __m256d b) { return _mm256_max_pd(a, b); }
};
#endif

// An operation on native lanes, and its spreading over the halves of wider ones.
#define QUELLARD_LANEWISE(name, expression)                                    \
  template <int n>                                                             \
  QUELLARD_INLINE Lanes<n, true> name(Lanes<n, true> a, Lanes<n, true> b) {    \
    return {expression};                                                       \
  }                                                                            \
  template <int n>                                                             \
  QUELLARD_INLINE Lanes<n, false> name(Lanes<n, false> a, Lanes<n, false> b) { \
    return {name(a.low, b.low), name(a.high, b.high)};                         \
  }
QUELLARD_LANEWISE(operator+, a.v + b.v)
QUELLARD_LANEWISE(operator-, a.v - b.v)
QUELLARD_LANEWISE(operator*, a.v* b.v)
// The first where it is smaller (larger), else the second: a NaN in the second comes through.
QUELLARD_LANEWISE(smaller, Native<n>::smaller(a.v, b.v))
QUELLARD_LANEWISE(larger, Native<n>::larger(a.v, b.v))
#undef QUELLARD_LANEWISE

template <int n>
QUELLARD_INLINE Lanes<n> load(const double* from) {
  if constexpr (n <= kNativeLanes) {
    return {*reinterpret_cast<const typename Lanes<n>::Loose*>(from)};
  } else {
    return {load<n / 2>(from), load<n / 2>(from + n / 2)};
  }
}

template <int n, bool native>
QUELLARD_INLINE Lanes<n> loadLike(const Lanes<n, native>& /*shape*/, const double* from) {
  return load<n>(from);
}

template <int n>
QUELLARD_INLINE void store(double* to, Lanes<n, true> x) {
  *reinterpret_cast<typename Lanes<n>::Loose*>(to) = x.v;
}
template <int n>
QUELLARD_INLINE void store(double* to, Lanes<n, false> x) {
  store(to, x.low);
  store(to + n / 2, x.high);
}

template <int n>
QUELLARD_INLINE Lanes<n> splat(double x) {
  if constexpr (n > kNativeLanes) {
    return {splat<n / 2>(x), splat<n / 2>(x)};
  } else if constexpr (n == 4) {
    return {typename Lanes<n>::Vector{x, x, x, x}};
  } else {
    return {typename Lanes<n>::Vector{x, x}};
  }
}

QUELLARD_INLINE Pair pair(double a, double b) { return {Pair::Vector{a, b}}; }

#if defined(__AVX__)
QUELLARD_INLINE Quad quad(Pair low, Pair high) {
  return {_mm256_insertf128_pd(_mm256_castpd128_pd256(low.v), high.v, 1)};
}
QUELLARD_INLINE Pair lowHalf(Quad x) { return {_mm256_castpd256_pd128(x.v)}; }
QUELLARD_INLINE Pair highHalf(Quad x) { return {_mm256_extractf128_pd(x.v, 1)}; }
QUELLARD_INLINE Quad highThenZero(Quad x) { return {_mm256_permute2f128_pd(x.v, x.v, 0x81)}; }
#else
QUELLARD_INLINE Quad quad(Pair low, Pair high) { return {low, high}; }
QUELLARD_INLINE Pair lowHalf(Quad x) { return x.low; }
QUELLARD_INLINE Pair highHalf(Quad x) { return x.high; }
QUELLARD_INLINE Quad highThenZero(Quad x) { return {x.high, splat<2>(0.0)}; }
#endif

// The same pair in both halves where four lanes are native, else once: what it is worth to compute
// twice instead of moving it from half to half.
using Twice = Lanes<kNativeLanes>;
#if defined(__AVX__)
QUELLARD_INLINE Twice twice(Pair x) { return quad(x, x); }
QUELLARD_INLINE Twice twiceLow(Quad x) { return {_mm256_permute2f128_pd(x.v, x.v, 0x00)}; }
QUELLARD_INLINE Quad quad(Twice x) { return x; }
#else
QUELLARD_INLINE Twice twice(Pair x) { return x; }
QUELLARD_INLINE Twice twiceLow(Quad x) { return x.low; }
QUELLARD_INLINE Quad quad(Twice x) { return {x, x}; }
QUELLARD_INLINE Pair lowHalf(Twice x) { return x; }
#endif

// {a0, b0} and {a1, b1}, in each half of wider vectors.
QUELLARD_INLINE Pair firsts(Pair a, Pair b) { return {__builtin_shufflevector(a.v, b.v, 0, 2)}; }
QUELLARD_INLINE Pair seconds(Pair a, Pair b) { return {__builtin_shufflevector(a.v, b.v, 1, 3)}; }
QUELLARD_INLINE Quad firsts(Quad a, Quad b) {
#if defined(__AVX__)
  return {__builtin_shufflevector(a.v, b.v, 0, 4, 2, 6)};
#else
  return {firsts(a.low, b.low), firsts(a.high, b.high)};
#endif
}
QUELLARD_INLINE Quad seconds(Quad a, Quad b) {
#if defined(__AVX__)
  return {__builtin_shufflevector(a.v, b.v, 1, 5, 3, 7)};
#else
  return {seconds(a.low, b.low), seconds(a.high, b.high)};
#endif
}

QUELLARD_INLINE double first(Pair x) { return x.v[0]; }
QUELLARD_INLINE double second(Pair x) { return x.v[1]; }

// {a0, b0, c0, d0} and {a1, b1, c1, d1}.
QUELLARD_INLINE Quad firsts(Pair a, Pair b, Pair c, Pair d) {
  return quad(firsts(a, b), firsts(c, d));
}
QUELLARD_INLINE Quad seconds(Pair a, Pair b, Pair c, Pair d) {
  return quad(seconds(a, b), seconds(c, d));
}

// Has the value computed here. Compilers otherwise put sums off to where they are used, which
// strings the sums of several sub-samples together into one long chain again.
template <int n>
QUELLARD_INLINE void settle(Lanes<n, true>& x) {
  asm volatile("" : QUELLARD_REGISTER(x.v));
}
template <int n>
QUELLARD_INLINE void settle(Lanes<n, false>& x) {
  settle(x.low);
  settle(x.high);
}

// A constant that is kept: compilers otherwise build it anew at each use.
QUELLARD_INLINE Quad kept(double x) {
  Twice t = splat<kNativeLanes>(x);
  settle(t);
  return quad(t);
}

// All bits set in the lanes in which a and b are equal, none in the others.
template <int n>
QUELLARD_INLINE Lanes<n> equal(Lanes<n, true> a, Lanes<n, true> b) {
  return {reinterpret_cast<typename Lanes<n>::Vector>(a.v == b.v)};
}
template <int n>
QUELLARD_INLINE Lanes<n> equal(Lanes<n, false> a, Lanes<n, false> b) {
  return {equal(a.low, b.low), equal(a.high, b.high)};
}

// The lanes of a where used has all bits set, of b where it has none.
QUELLARD_INLINE Pair choose(Pair used, Pair a, Pair b) {
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  const Bits u = reinterpret_cast<Bits>(used.v);
  return {reinterpret_cast<Pair::Vector>((reinterpret_cast<Bits>(a.v) & u) |
                                         (reinterpret_cast<Bits>(b.v) & ~u))};
}
QUELLARD_INLINE Quad choose(Quad used, Quad a, Quad b) {
#if defined(__AVX__)
  return {_mm256_blendv_pd(b.v, a.v, used.v)};
#else
  return {choose(used.low, a.low, b.low), choose(used.high, a.high, b.high)};
#endif
}

// a with the sign of its second lane turned.
QUELLARD_INLINE Pair turnSecond(Pair a) {
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  return {reinterpret_cast<Pair::Vector>(reinterpret_cast<Bits>(a.v) ^ Bits{0, INT64_MIN})};
}
QUELLARD_INLINE Quad turnSecond(Quad a) {
#if defined(__AVX__)
  using Bits __attribute__((vector_size(32))) = std::int64_t;
  return {reinterpret_cast<Quad::Vector>(reinterpret_cast<Bits>(a.v) ^ Bits{0, INT64_MIN, 0, 0})};
#else
  return {turnSecond(a.low), a.high};
#endif
}

// {a0 - b0, a1 + b1}
QUELLARD_INLINE Pair minusPlus(Pair a, Pair b) {
#if defined(__SSE3__)
  return {_mm_addsub_pd(a.v, b.v)};
#else
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  return {a.v + reinterpret_cast<Pair::Vector>(reinterpret_cast<Bits>(b.v) ^ Bits{INT64_MIN, 0})};
#endif
}

// Where four positions fall in a table: whole parts as indices, and what is left over.
struct Spot {
  std::uint64_t index[2];  // two a word, of each the low 16 bits: where a NaN's integer has zeros
  Quad rest;
};
#if defined(__SSE2__)
QUELLARD_INLINE std::uint64_t lowWord(__m128i x) {
  using Words __attribute__((vector_size(16))) = std::uint64_t;
  return reinterpret_cast<Words>(x)[0];
}
#endif
#if defined(__AVX__)
QUELLARD_INLINE Spot locate(Quad position) {
  const __m128i whole = _mm256_cvttpd_epi32(position.v);
  const Quad floor{_mm256_round_pd(position.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
  Spot spot{{lowWord(whole), lowWord(_mm_unpackhi_epi64(whole, whole))}, position - floor};
  settle(spot.rest);
  return spot;
}
#else
QUELLARD_INLINE Pair locate(Pair position, std::uint64_t& index) {
#if defined(__SSE2__)
  const __m128i whole = _mm_cvttpd_epi32(position.v);
  index = lowWord(whole);
  Pair rest{position.v - _mm_cvtepi32_pd(whole)};
  settle(rest);
  return rest;
#else
  index = 0;
  for (int i = 0; i < 2; ++i) {
    const std::uint32_t whole =
        position.v[i] >= 0.0 ? static_cast<std::uint32_t>(position.v[i]) : 0;
    index |= std::uint64_t{whole} << 32 * i;
    position.v[i] -= whole;
  }
  return position;
#endif
}
// Positions are 0 .. 65535; a NaN gives index 0 and stays NaN in the rest.
QUELLARD_INLINE Spot locate(Quad position) {
  Spot spot;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled right here
  spot.rest = {locate(position.low, spot.index[0]), locate(position.high, spot.index[1])};
  return spot;
}
#endif
QUELLARD_INLINE std::size_t indexOf(const Spot& spot, int lane) {
  return static_cast<std::uint16_t>(spot.index[lane / 2] >> 32 * (lane % 2));
}

}  // namespace QUELLARD_FAST_ISA
}  // namespace quellard::fast
