// SPDX-License-Identifier: ISC
// What there is to time. Each benchmark reports in counters, which the table reads.
#pragma once

#include <benchmark/benchmark.h>

namespace quellard::bench {

// Counters of playing and of the recurrence, per input sample.
inline constexpr char kShippedNs[] = "shipped_ns";
inline constexpr char kReferenceNs[] = "reference_ns";
inline constexpr char kRatio[] = "ratio";       // reference / shipped
inline constexpr char kFloorNs[] = "floor_ns";  // the recurrence, timed in the same turns
inline constexpr char kRealTime[] = "x_real_time";
// Counters of knobs that move in a host of today, per input sample.
inline constexpr char kMovingNs[] = "moving_ns";
inline constexpr char kRestingNs[] = "resting_ns";
// Counters of start-up, per call.
inline constexpr char kShippedUs[] = "shipped_us";
inline constexpr char kReferenceUs[] = "reference_us";

// turns: how often each contender plays its stretch of signal.
void registerPlaying(int turns);
void registerHosted(int turns);
void registerRecurrence(int turns);
void registerSetup(int turns);

// The lowpass recurrence of so many input samples, on one sub-sample after the other.
double lowpassRecurrence(int samples, int factor);

// Prints "SHIPPED REFERENCE": the us that each takes for the first rate set-up of this process.
void printFirstSetup();

}  // namespace quellard::bench
