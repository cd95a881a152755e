// SPDX-License-Identifier: ISC
// NumPy arrays of audio: what may be one, and the way between one and blocks of doubles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <pybind11/numpy.h>
#include <span>

namespace quellard {

// Throws UsageError for NaN and infinity. channel, begin: where the samples are from, for the
// message.
void throwUnlessFinite(std::span<const double> samples, const char* name, int channel,
                       std::int64_t begin);

// Audio in an array of float32 or float64, (samples,) or (channels, samples), with any strides.
// Holds the array.
class AudioArray {
 public:
  // name: for messages. Raises TypeError for another kind of object or of number, ValueError for
  // another shape, also for what looks like (samples, channels).
  AudioArray(const pybind11::object& object, const char* name);

  // A new array of the same kind, with another number of samples and undefined content.
  AudioArray withFrames(std::int64_t frames) const;

  const pybind11::array& array() const { return array_; }
  bool isDouble() const { return isDouble_; }
  int channels() const { return channels_; }
  std::int64_t frames() const { return frames_; }

  // Raises ValueError for an array that is read-only, whose samples share memory, or that is of
  // another kind or shape than `like` with so many samples.
  void requireOutputFor(const AudioArray& like, std::int64_t frames) const;

  bool sharesMemoryWith(const AudioArray& other) const;
  // Whether writing to this before all of another has been read may change that. Their own samples
  // in the same places do no harm.
  bool disturbs(const AudioArray& read) const;

  // No Python object is touched below, so that the interpreter's lock may be free. Samples begin to
  // begin + frames - 1 are meant, of every channel or of one.

  // throwUnlessFinite() for all samples.
  void requireFinite(const char* name) const;
  // Where they lie as doubles one after another; null where they do not.
  double* doublesAt(int channel, std::int64_t begin) const;
  // Asks for samples that are soon read: a block is about as long as a page of memory, at whose end
  // processors stop to fetch ahead by themselves.
  void prefetch(std::int64_t begin, int frames) const;
  void read(int channel, std::int64_t begin, int frames, double* to) const;
  void write(int channel, std::int64_t begin, int frames, const double* from);

 private:
  bool overlapsItself() const;
  template <typename Visit>
  auto visit(Visit&& visit) const;

  pybind11::array array_;
  char* data_;
  bool isDouble_;
  int channels_ = 1;
  std::int64_t frames_ = 0;
  std::ptrdiff_t channelStride_ = 0;  // bytes
  std::ptrdiff_t frameStride_ = 0;
};

}  // namespace quellard
