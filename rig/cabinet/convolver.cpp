// SPDX-License-Identifier: ISC
#include "rig/cabinet/convolver.h"

#include <algorithm>
#include <cmath>

#include "params/sizes.h"

namespace quellard {
namespace {

struct Partitions {
  int first;
  int count;
};

// The spectra of a response's partitions of so many frames. They carry the factor that the
// transform and its inverse bring.
std::vector<double> spectraOf(std::span<const double> taps, int partitionFrames,
                              Partitions partitions) {
  BlockTransform transform(partitionFrames);
  const auto length = asSize(partitionFrames);
  const std::vector<double> silence(length);
  std::vector<double> spectra(2 * length * asSize(partitions.count));
  for (int number = 0; number < partitions.count; ++number) {
    std::vector<double> part(length);
    const std::size_t begin = asSize(partitions.first + number) * length;
    for (std::size_t i = 0; i < length && begin + i < taps.size(); ++i) {
      part[i] = taps[begin + i] / partitionFrames;
    }
    transform.forward(part.data(), silence.data(), &spectra[2 * length * asSize(number)]);
  }
  return spectra;
}

}  // namespace

PartitionedResponse::PartitionedResponse(std::span<const double> taps)
    : numLongPartitions_(static_cast<int>((taps.size() + kLong - 1) / kLong)) {
  std::ranges::copy(taps.first(std::min(taps.size(), head_.size())), head_.begin());
  shortSpectra_ = spectraOf(taps, kShort, {1, kShortPartitions});
  longSpectra_ = spectraOf(taps, kLong, {0, numLongPartitions_});
}

const double* PartitionedResponse::shortSpectrum(int number) const {
  return shortSpectra_.data() + std::ptrdiff_t{2} * kShort * number;
}

const double* PartitionedResponse::longSpectrum(int number) const {
  return longSpectra_.data() + std::ptrdiff_t{2} * kLong * number;
}

Convolver::SpectrumHistory::SpectrumHistory(int count, int bins)
    : count_(count), bins_(bins), spectra_(offsetOf(count)) {}

std::size_t Convolver::SpectrumHistory::offsetOf(int slot) const {
  return 2 * asSize(bins_) * asSize(slot);
}

double* Convolver::SpectrumHistory::next() {
  newest_ = newest_ == 0 ? count_ - 1 : newest_ - 1;
  return &spectra_[offsetOf(newest_)];
}

const double* Convolver::SpectrumHistory::at(int age) const {
  const int slot = newest_ + age;
  return &spectra_[offsetOf(slot < count_ ? slot : slot - count_)];
}

void Convolver::SpectrumHistory::reset() { std::ranges::fill(spectra_, 0.0); }

Convolver::Convolver(std::shared_ptr<const PartitionedResponse> response)
    : response_(std::move(response)), longInput_(response_->numLongPartitions(), kLong) {}

void Convolver::reset() {
  shortInput_.reset();
  longInput_.reset();
  input_.fill(0.0);
  shortOutput_.fill(0.0);
  tail_.fill(0.0);
  longSum_.fill(0.0);
  position_ = 0;
  inShortSteps_ = true;
}

void Convolver::process(double* samples, int frames) {
  while (frames > 0) {
    int step = kLong;
    if (position_ == 0 && frames >= kLong) {
      processLong(samples);
    } else {
      step = std::min(frames, kShort - position_ % kShort);
      processShort(samples, step);
    }
    samples += step;
    frames -= step;
  }
}

void Convolver::storeInput(const double* samples, int frames) {
  constexpr double kSilence = 1e-150;
  std::transform(samples, samples + frames, input_.data() + kPresent + position_,
                 [](double x) { return std::fabs(x) < kSilence ? 0.0 : x; });
}

// All partitions at once: the newest spectrum is the one of these samples.
void Convolver::processLong(double* samples) {
  storeInput(samples, kLong);
  inShortSteps_ = false;
  finishLongBlock();
  sumLong(0, longInput_.count(), 0);
  finishLongSum(samples);
}

void Convolver::processShort(double* samples, int frames) {
  if (!inShortSteps_) beginShortSteps();
  storeInput(samples, frames);
  const double* const in = input_.data() + kPresent + position_;
  const double* const tail = tail_.data() + position_;
  const double* const body = shortOutput_.data() + position_ % kShort;
  for (int i = 0; i < frames; i += kHeadTile) {
    std::array<double, kHeadTile> head{};
    convolveHead(response_->headTaps(), in + i, head.data());
    const int count = std::min(kHeadTile, frames - i);
    for (int k = 0; k < count; ++k) samples[i + k] = at(head, k) + body[i + k] + tail[i + k];
  }
  position_ += frames;
  if (position_ % kShort == 0) finishShortStep(position_ / kShort);
}

// Behind a block of kLong that was processed as a whole: computes what the steps of the block
// before would have prepared.
void Convolver::beginShortSteps() {
  const double* const now = input_.data() + kPresent;
  for (int age = shortInput_.count(); age > 0; --age) {
    const double* const begin = now - std::ptrdiff_t{age} * kShort;
    short_.forward(begin - kShort, begin, shortInput_.next());
  }
  sumShort();
  sumLong(kTailPartition, longInput_.count(), kTailPartition - 1);
  finishLongSum(tail_.data());
  inShortSteps_ = true;
}

// step: 1 to kSteps, the number of steps that are complete in the present block.
void Convolver::finishShortStep(int step) {
  const double* const end = input_.data() + kPresent + std::ptrdiff_t{step} * kShort;
  const double* const begin = end - kShort;
  short_.forward(begin - kShort, begin, shortInput_.next());
  sumShort();
  // The tail of the next block: six steps multiply, the seventh transforms back, the last one
  // transforms what came in.
  constexpr int kMultiplying = kSteps - 2;
  const int partitions = std::max(longInput_.count() - kTailPartition, 0);
  const auto upTo = [&](int steps) { return kTailPartition + partitions * steps / kMultiplying; };
  if (step <= kMultiplying) {
    sumLong(upTo(step - 1), upTo(step), kTailPartition);
  } else if (step < kSteps) {
    finishLongSum(nextTail_.data());
  } else {
    finishLongBlock();
    tail_ = nextTail_;
  }
}

void Convolver::finishLongBlock() {
  long_.forward(input_.data() + kLong, input_.data() + kPresent, longInput_.next());
  std::copy_n(input_.data() + kLong, kPresent, input_.data());
  position_ = 0;
}

void Convolver::sumShort() {
  shortSum_.fill(0.0);
  for (int number = 0; number < shortInput_.count(); ++number) {
    BlockTransform::multiplyAdd(shortInput_.at(number), response_->shortSpectrum(number),
                                shortSum_.data(), kShort);
  }
  short_.inverseSecondHalf(shortSum_.data(), shortOutput_.data());
}

// Adds the partitions begin..end-1. newest: the one that belongs to the newest spectrum.
void Convolver::sumLong(int begin, int end, int newest) {
  for (int number = begin; number < end; ++number) {
    BlockTransform::multiplyAdd(longInput_.at(number - newest), response_->longSpectrum(number),
                                longSum_.data(), kLong);
  }
}

void Convolver::finishLongSum(double* output) {
  long_.inverseSecondHalf(longSum_.data(), output);
  longSum_.fill(0.0);
}

}  // namespace quellard
