// SPDX-License-Identifier: ISC
#include "rig/tuner.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "rig/samples.h"

namespace quellard {
namespace {

// One of several samples is kept, so that at least so many a second remain. The lowpass before it
// is a Butterworth filter of the sixth order: 60 dB down where what folds back would reach its
// passband.
constexpr double kLowestDecimatedRate = 11000.0;
constexpr double kCutoff_hz = 1600.0;
constexpr std::array<double, 3> kQs = {0.51764, 0.70711, 1.93185};

// Added to every sample, so that the filter never computes with denormals, which are slow. A mean
// is taken away before pitch is looked for.
constexpr double kOffset = 1e-20;

}  // namespace

double Tuner::Section::process(double x) {
  const double y = b * x + s1;
  s1 = 2.0 * b * x - a1 * y + s2;
  s2 = b * x - a2 * y;
  return y;
}

bool Tuner::prepare(double rate) {
  if (!(rate >= kLowestRate && rate <= kHighestRate)) return false;
  // What may throw comes first.
  const int decimation = std::max(1, static_cast<int>(rate / kLowestDecimatedRate));
  PitchDetector detector(rate / decimation);
  std::vector<double> window(detector.windowLength());
  std::vector<std::atomic<float>> ring(std::bit_ceil(4 * window.size()));
  detector_ = std::move(detector);
  window_ = std::move(window);
  ring_ = std::move(ring);
  decimation_ = decimation;
  skipped_ = 0;
  written_ = 0;
  begin_ = 0;
  clearsFilter_ = false;
  const double w = std::tan(std::numbers::pi * kCutoff_hz / rate);
  for (std::size_t i = 0; i < sections_.size(); ++i) {
    const double norm = 1.0 / (1.0 + w / kQs[i] + w * w);
    sections_[i] = {.b = w * w * norm,
                    .a1 = 2.0 * (w * w - 1.0) * norm,
                    .a2 = (1.0 - w / kQs[i] + w * w) * norm};
  }
  return true;
}

double Tuner::lowpass(double x) {
  for (Section& section : sections_) x = section.process(x);
  return x;
}

template <typename Sample>
void Tuner::decimate(const Sample* samples, int frames) {
  if (clearsFilter_.load(std::memory_order_relaxed)) {
    clearsFilter_.store(false, std::memory_order_relaxed);
    for (Section& section : sections_) section.s1 = section.s2 = 0.0;
  }
  unsigned at = written_.load(std::memory_order_relaxed);
  for (int i = 0; i < frames; ++i) {
    const auto x = static_cast<double>(samples[i]);
    const double y = lowpass(
        std::isfinite(x) ? std::clamp(x, -kLoudestInput, kLoudestInput) + kOffset : kOffset);
    if (++skipped_ < decimation_) continue;
    skipped_ = 0;
    ring_[at++ % ring_.size()].store(static_cast<float>(y), std::memory_order_relaxed);
  }
  written_.store(at, std::memory_order_release);
}

void Tuner::push(const float* samples, int frames) { decimate(samples, frames); }
void Tuner::push(const double* samples, int frames) { decimate(samples, frames); }

void Tuner::clear() {
  begin_ = written_.load(std::memory_order_acquire);
  clearsFilter_.store(true, std::memory_order_relaxed);
}

PitchReading Tuner::read() {
  const unsigned end = written_.load(std::memory_order_acquire);
  const auto length = static_cast<unsigned>(window_.size());
  const unsigned heard = std::min(end - begin_, length);
  begin_ = end - heard;
  std::fill_n(window_.begin(), length - heard, 0.0);
  for (unsigned i = length - heard; i < length; ++i) {
    const std::size_t slot = (end - length + i) % ring_.size();
    window_[i] = static_cast<double>(ring_[slot].load(std::memory_order_relaxed));
  }
  return detector_.analyse(window_);
}

}  // namespace quellard
