// SPDX-License-Identifier: ISC
// The benchmarks. Each reports its times in counters, which table_reporter.cpp prints.
#pragma once

#include <benchmark/benchmark.h>

namespace quellard::bench {

// Counters of playing and of the recurrence, per input sample.
inline constexpr char kShippedNs[] = "shipped_ns";
inline constexpr char kReferenceNs[] = "reference_ns";
inline constexpr char kRatio[] = "ratio";       // reference / shipped
inline constexpr char kFloorNs[] = "floor_ns";  // the recurrence, timed in the same rounds
inline constexpr char kRealTime[] = "x_real_time";
// Counters of HostedAmp with and without moving knobs, and of the amplifier in and without a
// neutral rig, per input sample.
inline constexpr char kMovingNs[] = "moving_ns";
inline constexpr char kRestingNs[] = "resting_ns";
// Counters of the cabinet: kShippedNs, and as kRatio the slowest block against the median one.
// Counters of start-up, per call.
inline constexpr char kShippedUs[] = "shipped_us";
inline constexpr char kReferenceUs[] = "reference_us";

// rounds: how often each measurement is repeated.
void registerPlaying(int rounds);
void registerMinute(int rounds);  // at most three: each takes a fifth of a second
void registerHosted(int rounds);
void registerCabinet(int rounds);
void registerRecurrence(int rounds);
void registerSetup(int rounds);

// Computes the lowpass recurrence alone, for this many input samples at this oversampling factor.
double lowpassRecurrence(int samples, int factor);

// Prints the time of the first rate set-up in this process, in us: "SHIPPED REFERENCE".
void printFirstSetup();

}  // namespace quellard::bench
