// SPDX-License-Identifier: ISC
// Short vectors of doubles over the compiler's portable vector types. Two lanes are native
// everywhere; four are native with AVX and two vectors of two lanes otherwise. Every lane does
// exactly what a scalar would: one rounding per operation, no fused forms.
//
// This header is compiled once per instruction set, which QUELLARD_FAST_ISA names. Everything in it
// lives in that set's own inline namespace and is always inlined, so that the linker cannot keep a
// function with AVX instructions for a processor without them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#if defined(__SSE2__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

#if !defined(QUELLARD_FAST_ISA)
#error "Define QUELLARD_FAST_ISA as the name of the instruction set that this is compiled for."
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

// An integer as a type. std::integral_constant would leave its conversion behind as a function that
// all instruction sets share.
template <int i>
struct Constant {
  // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): it stands for the int
  QUELLARD_INLINE constexpr operator int() const { return i; }
};

// Calls f with the constants 0 .. n-1: a loop whose arrays can stay in registers.
template <int n, typename Function>
QUELLARD_INLINE void forEach(Function f) {
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
  using Unaligned __attribute__((vector_size(lanes * sizeof(double)), aligned(8), may_alias)) =
      double;
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
  QUELLARD_INLINE static Vector minimum(Vector a, Vector b) { return a < b ? a : b; }
  QUELLARD_INLINE static Vector maximum(Vector a, Vector b) { return a > b ? a : b; }
};
#define QUELLARD_NATIVE(lanes, Vector, smaller, larger)                                 \
  template <>                                                                           \
  struct Native<lanes> {                                                                \
    QUELLARD_INLINE static Vector minimum(Vector a, Vector b) { return smaller(a, b); } \
    QUELLARD_INLINE static Vector maximum(Vector a, Vector b) { return larger(a, b); }  \
  };
#if defined(__SSE2__)
QUELLARD_NATIVE(2, __m128d, _mm_min_pd, _mm_max_pd)
#elif defined(__aarch64__)
QUELLARD_NATIVE(2, float64x2_t, vminq_f64, vmaxq_f64)
#endif
#if defined(__AVX__)
QUELLARD_NATIVE(4, __m256d, _mm256_min_pd, _mm256_max_pd)
#endif
#undef QUELLARD_NATIVE

// Defines an operation on native vectors, and on wider ones as the same operation on their halves.
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
// The processor's own instructions: ARM would need two for a < b ? a : b. A NaN in b is the result.
// For a NaN in a, and for zeros of either sign, processors differ.
QUELLARD_LANEWISE(minimum, Native<n>::minimum(a.v, b.v))
QUELLARD_LANEWISE(maximum, Native<n>::maximum(a.v, b.v))
#undef QUELLARD_LANEWISE

template <int n>
QUELLARD_INLINE Lanes<n> load(const double* from) {
  if constexpr (n <= kNativeLanes) {
    return {*reinterpret_cast<const typename Lanes<n>::Unaligned*>(from)};
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
  *reinterpret_cast<typename Lanes<n>::Unaligned*>(to) = x.v;
}
template <int n>
QUELLARD_INLINE void store(double* to, Lanes<n, false> x) {
  store(to, x.low);
  store(to + n / 2, x.high);
}

template <int n>
QUELLARD_INLINE Lanes<n> broadcast(double x) {
  if constexpr (n > kNativeLanes) {
    return {broadcast<n / 2>(x), broadcast<n / 2>(x)};
  } else if constexpr (n == 4) {
    return {typename Lanes<n>::Vector{x, x, x, x}};
  } else {
    return {typename Lanes<n>::Vector{x, x}};
  }
}

QUELLARD_INLINE Pair pair(double a, double b) { return {Pair::Vector{a, b}}; }

// highThenZero() of lanes 0 to 3 is {2, 3, zero, zero}.
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
QUELLARD_INLINE Quad highThenZero(Quad x) { return {x.high, broadcast<2>(0.0)}; }
#endif

// A native vector with the same pair in each half, where it has two. To compute a pair twice costs
// less than to move the result from one half to the other. repeatLow() repeats lanes 0 and 1.
using RepeatedPair = Lanes<kNativeLanes>;
#if defined(__AVX__)
QUELLARD_INLINE RepeatedPair repeat(Pair x) { return quad(x, x); }
QUELLARD_INLINE RepeatedPair repeatLow(Quad x) { return {_mm256_permute2f128_pd(x.v, x.v, 0x00)}; }
QUELLARD_INLINE Quad quad(RepeatedPair x) { return x; }
#else
QUELLARD_INLINE RepeatedPair repeat(Pair x) { return x; }
QUELLARD_INLINE RepeatedPair repeatLow(Quad x) { return x.low; }
QUELLARD_INLINE Quad quad(RepeatedPair x) { return {x, x}; }
QUELLARD_INLINE Pair lowHalf(RepeatedPair x) { return x; }
#endif

// {a0, b0} and {a1, b1}; of four lanes {a0, b0, a2, b2} and {a1, b1, a3, b3}.
QUELLARD_INLINE Pair unpackLow(Pair a, Pair b) { return {__builtin_shufflevector(a.v, b.v, 0, 2)}; }
QUELLARD_INLINE Pair unpackHigh(Pair a, Pair b) {
  return {__builtin_shufflevector(a.v, b.v, 1, 3)};
}
QUELLARD_INLINE Quad unpackLow(Quad a, Quad b) {
#if defined(__AVX__)
  return {__builtin_shufflevector(a.v, b.v, 0, 4, 2, 6)};
#else
  return {unpackLow(a.low, b.low), unpackLow(a.high, b.high)};
#endif
}
QUELLARD_INLINE Quad unpackHigh(Quad a, Quad b) {
#if defined(__AVX__)
  return {__builtin_shufflevector(a.v, b.v, 1, 5, 3, 7)};
#else
  return {unpackHigh(a.low, b.low), unpackHigh(a.high, b.high)};
#endif
}

QUELLARD_INLINE double lane0(Pair x) { return x.v[0]; }
QUELLARD_INLINE double lane1(Pair x) { return x.v[1]; }

// {a0, b0, c0, d0} and {a1, b1, c1, d1}.
QUELLARD_INLINE Quad unpackLow(Pair a, Pair b, Pair c, Pair d) {
  return quad(unpackLow(a, b), unpackLow(c, d));
}
QUELLARD_INLINE Quad unpackHigh(Pair a, Pair b, Pair c, Pair d) {
  return quad(unpackHigh(a, b), unpackHigh(c, d));
}

// The value is computed here and not elsewhere. Compilers otherwise put
// sums off to where they are used, which makes one long chain of the sums of several sub-samples.
template <int n>
QUELLARD_INLINE void optimisationBarrier(Lanes<n, true>& x) {
  asm volatile("" : QUELLARD_REGISTER(x.v));
}
template <int n>
QUELLARD_INLINE void optimisationBarrier(Lanes<n, false>& x) {
  optimisationBarrier(x.low);
  optimisationBarrier(x.high);
}

// A constant in a register behind an optimisation barrier: compilers otherwise load it anew at each
// use.
QUELLARD_INLINE Quad broadcastOnce(double x) {
  RepeatedPair constant = broadcast<kNativeLanes>(x);
  optimisationBarrier(constant);
  return quad(constant);
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

// The lanes of a where the mask has all bits set, of b where it has none.
QUELLARD_INLINE Pair select(Pair mask, Pair a, Pair b) {
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  const Bits m = reinterpret_cast<Bits>(mask.v);
  return {reinterpret_cast<Pair::Vector>((reinterpret_cast<Bits>(a.v) & m) |
                                         (reinterpret_cast<Bits>(b.v) & ~m))};
}
QUELLARD_INLINE Quad select(Quad mask, Quad a, Quad b) {
#if defined(__AVX__)
  return {_mm256_blendv_pd(b.v, a.v, mask.v)};
#else
  return {select(mask.low, a.low, b.low), select(mask.high, a.high, b.high)};
#endif
}

// {a0, -a1}, and so in each half of four lanes.
QUELLARD_INLINE Pair negateOdd(Pair a) {
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  return {reinterpret_cast<Pair::Vector>(reinterpret_cast<Bits>(a.v) ^ Bits{0, INT64_MIN})};
}
QUELLARD_INLINE Quad negateOdd(Quad a) {
#if defined(__AVX__)
  using Bits __attribute__((vector_size(32))) = std::int64_t;
  return {reinterpret_cast<Quad::Vector>(reinterpret_cast<Bits>(a.v) ^
                                         Bits{0, INT64_MIN, 0, INT64_MIN})};
#else
  return {negateOdd(a.low), negateOdd(a.high)};
#endif
}

// {a0 - b0, a1 + b1}
QUELLARD_INLINE Pair addSubtract(Pair a, Pair b) {
#if defined(__SSE3__)
  return {_mm_addsub_pd(a.v, b.v)};
#else
  using Bits __attribute__((vector_size(16))) = std::int64_t;
  return {a.v + reinterpret_cast<Pair::Vector>(reinterpret_cast<Bits>(b.v) ^ Bits{INT64_MIN, 0})};
#endif
}

// Four positions in a table: the index of the entry before each, and the fraction of the step to
// the next, 0..1.
struct TablePosition {
  // Two in each integer, 32 bits each, of which the low 16 are used: on x86 NaN converts to
  // 0x80000000, whose low 16 bits are 0.
  std::uint64_t index[2];
  Quad fraction;
};
#if defined(__SSE2__)
QUELLARD_INLINE std::uint64_t low64(__m128i x) {
  using Words __attribute__((vector_size(16))) = std::uint64_t;
  return reinterpret_cast<Words>(x)[0];
}
#endif
// x: 0 .. 65535 in table entries; a NaN gives index 0 and the fraction NaN.
#if defined(__AVX__)
QUELLARD_INLINE TablePosition toTablePosition(Quad x) {
  const __m128i whole = _mm256_cvttpd_epi32(x.v);
  const Quad floor{_mm256_round_pd(x.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
  TablePosition position{{low64(whole), low64(_mm_unpackhi_epi64(whole, whole))}, x - floor};
  optimisationBarrier(position.fraction);
  return position;
}
#else
// Of two positions: the indices in one integer, and the fractions as the result.
QUELLARD_INLINE Pair toTablePosition(Pair x, std::uint64_t& index) {
#if defined(__SSE2__)
  const __m128i whole = _mm_cvttpd_epi32(x.v);
  index = low64(whole);
  Pair fraction{x.v - _mm_cvtepi32_pd(whole)};
  optimisationBarrier(fraction);
  return fraction;
#elif defined(__aarch64__)
  const uint64x2_t whole = vcvtq_u64_f64(reinterpret_cast<float64x2_t>(x.v));  // of a NaN: 0
  index = vget_lane_u64(vreinterpret_u64_u32(vmovn_u64(whole)), 0);
  Pair fraction{x.v - reinterpret_cast<Pair::Vector>(vcvtq_f64_u64(whole))};
  optimisationBarrier(fraction);
  return fraction;
#else
  index = 0;
  for (int i = 0; i < 2; ++i) {
    const std::uint32_t whole = x.v[i] >= 0.0 ? static_cast<std::uint32_t>(x.v[i]) : 0;
    index |= std::uint64_t{whole} << 32 * i;
    x.v[i] -= whole;
  }
  return x;
#endif
}
QUELLARD_INLINE TablePosition toTablePosition(Quad x) {
  TablePosition position;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled right here
  position.fraction = {toTablePosition(x.low, position.index[0]),
                       toTablePosition(x.high, position.index[1])};
  return position;
}
#endif
QUELLARD_INLINE std::size_t indexOf(const TablePosition& position, int lane) {
  return static_cast<std::uint16_t>(position.index[lane / 2] >> 32 * (lane % 2));
}

}  // namespace QUELLARD_FAST_ISA
}  // namespace quellard::fast
