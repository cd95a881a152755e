// SPDX-License-Identifier: ISC
// Convolution with an impulse response without any delay, for blocks of any length.
//
// Method: partitioned convolution (Gardner 1995). The first 64 taps are convolved directly; those
// up to 1024 in partitions of 64 taps, whose spectra are multiplied each time 64 samples are
// complete; the others in partitions of 512, whose work for the next 512 samples is spread over the
// eight steps of 64 before. Where a caller brings 512 samples at once, partitions of 512 do all of
// it, in a third of the time; the first shorter block after that costs as much as one of 512 more.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "rig/cabinet/block_transform.h"

namespace quellard {

// An impulse response as the convolver needs it. Never changes, so that both sides and any thread
// may use one.
class PartitionedResponse {
 public:
  static constexpr int kShort = 64;
  static constexpr int kLong = 512;
  static constexpr int kShortPartitions = 2 * kLong / kShort - 1;  // behind the direct taps
  static_assert(kShort == kHeadTaps);

  // taps: at least one, finite. Allocates.
  explicit PartitionedResponse(std::span<const double> taps);

  const double* headTaps() const { return head_.data(); }
  // The spectrum of the taps from (number + 1) * kShort, and that of those from number * kLong.
  const double* shortSpectrum(int number) const;
  const double* longSpectrum(int number) const;
  int numLongPartitions() const { return numLongPartitions_; }

 private:
  std::array<double, kHeadTaps> head_{};
  std::vector<double> shortSpectra_;
  std::vector<double> longSpectra_;
  int numLongPartitions_;
};

class Convolver {
 public:
  // Starts from silence. Allocates.
  explicit Convolver(std::shared_ptr<const PartitionedResponse> response);

  // Back to silence. [audio thread] Never allocates.
  void reset();

  // Convolves in place. Input below 1e-150 counts as silence, which keeps denormals away. However
  // the input is cut into blocks, the output is the same within rounding. [audio thread] Never
  // allocates.
  void process(double* samples, int frames);

 private:
  static constexpr int kShort = PartitionedResponse::kShort;
  static constexpr int kLong = PartitionedResponse::kLong;
  static constexpr int kSteps = kLong / kShort;
  static constexpr std::ptrdiff_t kPresent = std::ptrdiff_t{2} * kLong;
  static constexpr int kTailPartition = 2;  // the first long one behind the short ones

  // The last spectra of the input, of which at(0) is the newest.
  class SpectrumHistory {
   public:
    SpectrumHistory(int count, int bins);
    double* next();  // where the newest is to be written, in place of the oldest
    const double* at(int age) const;
    int count() const { return count_; }
    void reset();

   private:
    std::size_t offsetOf(int slot) const;
    int count_;
    int bins_;
    int newest_ = 0;
    std::vector<double> spectra_;
  };

  void storeInput(const double* samples, int frames);
  void processLong(double* samples);
  void processShort(double* samples, int frames);
  void beginShortSteps();
  void finishShortStep(int step);
  void finishLongBlock();
  void sumShort();
  void sumLong(int begin, int end, int newest);
  void finishLongSum(double* output);

  std::shared_ptr<const PartitionedResponse> response_;
  BlockTransform short_{kShort};
  BlockTransform long_{kLong};
  SpectrumHistory shortInput_{PartitionedResponse::kShortPartitions, kShort};
  SpectrumHistory longInput_;
  // The two complete blocks of kLong samples before the present one, and that one, from kPresent
  // on, as far as it is known; behind it room for a tile of direct taps that reaches over its end.
  std::array<double, kPresent + kLong + kHeadTile> input_{};
  int position_ = 0;                          // in the present block of kLong
  bool inShortSteps_ = true;                  // what follows is ready for the present block
  std::array<double, kShort> shortOutput_{};  // of the present kShort samples, from taps up to 1024
  std::array<double, kLong> tail_{};          // of the present kLong samples, from later taps
  std::array<double, kLong> nextTail_{};
  std::array<double, std::size_t{2} * kShort> shortSum_{};
  std::array<double, std::size_t{2} * kLong> longSum_{};
};

}  // namespace quellard
