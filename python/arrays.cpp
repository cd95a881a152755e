// SPDX-License-Identifier: ISC
#include "python/arrays.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <vector>

#include "params/sizes.h"
#include "rig/samples.h"
#include "tools/common/errors.h"
#include "tools/host/render_limits.h"

namespace quellard {
namespace py = pybind11;
namespace {

// Strided samples, which need not be aligned.
template <typename Sample>
class Samples {
 public:
  Samples(char* first, std::ptrdiff_t stride) : first_(first), stride_(stride) {}

  Sample operator[](std::int64_t i) const {
    Sample sample;
    std::memcpy(&sample, first_ + i * stride_, sizeof sample);
    return sample;
  }
  void set(std::int64_t i, Sample sample) {
    std::memcpy(first_ + i * stride_, &sample, sizeof sample);
  }

 private:
  char* first_;
  std::ptrdiff_t stride_;
};

std::string shapeText(const py::array& array) { return py::str(array.attr("shape")); }

bool isNativeKind(const py::array& array, py::ssize_t size) {
  const py::dtype kind = array.dtype();
  return kind.kind() == 'f' && kind.itemsize() == size && kind.attr("isnative").cast<bool>();
}

py::array asArray(const py::object& object, const char* name) {
  if (py::hasattr(object, "mask")) {
    throw py::type_error(fmt::format("{0} is masked: {0}.filled(0) plays silence there", name));
  }
  if (py::isinstance<py::array>(object)) return py::reinterpret_borrow<py::array>(object);
  throw py::type_error(fmt::format("{} is {}: a NumPy array of float32 or float64 is needed", name,
                                   std::string(py::str(py::type::of(object).attr("__name__")))));
}

bool isDoubleArray(const py::array& array, const char* name) {
  if (isNativeKind(array, sizeof(double))) return true;
  if (isNativeKind(array, sizeof(float))) return false;
  const bool integer = array.dtype().kind() == 'i' || array.dtype().kind() == 'u';
  throw py::type_error(fmt::format(
      "{} has samples of {}: float32 or float64 is needed{}", name,
      std::string(py::str(array.dtype())),
      integer ? fmt::format(", with full scale at 1: {0} / np.iinfo({0}.dtype).max", name) : ""));
}

}  // namespace

void throwUnlessFinite(std::span<const double> samples, const char* name, int channel,
                       std::int64_t begin) {
  if (!anyBeyond(samples, DBL_MAX)) return;
  const auto bad = std::ranges::find_if_not(samples, [](double x) { return std::isfinite(x); });
  throw UsageError(fmt::format(
      "{0} holds NaN or infinity, first at sample {1} of channel {2}: np.nan_to_num({0}) makes it "
      "silent",
      name, begin + (bad - samples.begin()), channel));
}

AudioArray::AudioArray(const py::object& object, const char* name)
    : array_(asArray(object, name)),
      data_(static_cast<char*>(const_cast<void*>(array_.data()))),
      isDouble_(isDoubleArray(array_, name)) {
  const py::ssize_t dimensions = array_.ndim();
  if (dimensions < 1 || dimensions > 2) {
    throw py::value_error(
        fmt::format("{} has the shape {}: (samples,) or (channels, samples) is needed", name,
                    shapeText(array_)));
  }
  frames_ = array_.shape(dimensions - 1);
  frameStride_ = array_.strides(dimensions - 1);
  if (dimensions == 1) return;
  const py::ssize_t rows = array_.shape(0);
  if (rows > 2 && rows > frames_) {
    throw py::value_error(fmt::format(
        "{0} has the shape {1}, which looks like (samples, channels): transpose it, {0}.T is "
        "(channels, samples)",
        name, shapeText(array_)));
  }
  if (rows < 1 || rows > kMostChannels) {
    throw py::value_error(
        fmt::format("{} has {} channels: 1 to {} can be played", name, rows, kMostChannels));
  }
  channels_ = static_cast<int>(rows);
  channelStride_ = array_.strides(0);
}

AudioArray AudioArray::withFrames(std::int64_t frames) const {
  const bool flat = array_.ndim() == 1;
  const std::vector<py::ssize_t> shape =
      flat ? std::vector<py::ssize_t>{frames} : std::vector<py::ssize_t>{channels_, frames};
  return {py::array(array_.dtype(), shape), "the result"};
}

void AudioArray::requireOutputFor(const AudioArray& like, std::int64_t frames) const {
  const bool sameShape =
      array_.ndim() == like.array_.ndim() && channels_ == like.channels_ && frames_ == frames;
  if (!sameShape || isDouble_ != like.isDouble_) {
    const std::string samples = fmt::format("{}", frames);
    throw py::value_error(fmt::format("out has the shape {} and {}: {} and {} are needed",
                                      shapeText(array_), std::string(py::str(array_.dtype())),
                                      like.array_.ndim() == 1
                                          ? fmt::format("({},)", samples)
                                          : fmt::format("({}, {})", like.channels_, samples),
                                      std::string(py::str(like.array_.dtype()))));
  }
  if (!array_.writeable()) throw py::value_error("out is read-only");
  if (overlapsItself()) throw py::value_error("out has samples that share memory");
}

bool AudioArray::overlapsItself() const {
  const auto size = static_cast<std::ptrdiff_t>(isDouble_ ? sizeof(double) : sizeof(float));
  const std::ptrdiff_t frame = std::abs(frameStride_);
  const std::ptrdiff_t channel = std::abs(channelStride_);
  if (frames_ > 1 && frame < size) return true;
  if (channels_ < 2 || frames_ < 1) return false;
  const bool inRows = channel >= (frames_ - 1) * frame + size;
  const bool interleaved = channel >= size && frame >= (channels_ - 1) * channel + size;
  return !inRows && !interleaved;
}

bool AudioArray::sharesMemoryWith(const AudioArray& other) const {
  return py::module_::import("numpy").attr("may_share_memory")(array_, other.array_).cast<bool>();
}

bool AudioArray::disturbs(const AudioArray& read) const {
  const bool samePlaces = data_ == read.data_ && channelStride_ == read.channelStride_ &&
                          frameStride_ == read.frameStride_;
  return !samePlaces && sharesMemoryWith(read);
}

template <typename Visit>
auto AudioArray::visit(Visit&& visit) const {
  return isDouble_ ? visit(double{}) : visit(float{});
}

void AudioArray::requireFinite(const char* name) const {
  constexpr int kPiece = 512;
  std::array<double, kPiece> samples{};
  for (int c = 0; c < channels_; ++c) {
    for (std::int64_t begin = 0; begin < frames_; begin += kPiece) {
      const auto frames = static_cast<int>(std::min<std::int64_t>(kPiece, frames_ - begin));
      read(c, begin, frames, samples.data());
      throwUnlessFinite(std::span(samples).first(asSize(frames)), name, c, begin);
    }
  }
}

double* AudioArray::doublesAt(int channel, std::int64_t begin) const {
  char* const first = data_ + channel * channelStride_ + begin * frameStride_;
  const bool aligned = reinterpret_cast<std::uintptr_t>(first) % alignof(double) == 0;
  const bool adjacent = isDouble_ && frameStride_ == sizeof(double) && aligned;
  return adjacent ? reinterpret_cast<double*>(first) : nullptr;
}

void AudioArray::prefetch(std::int64_t begin, int frames) const {
  constexpr std::ptrdiff_t kCacheLine = 64;  // bytes
  const std::int64_t end = std::min(begin + frames, frames_);
  const std::int64_t step =
      std::max<std::int64_t>(1, kCacheLine / std::max<std::int64_t>(1, std::abs(frameStride_)));
  for (int c = 0; c < channels_; ++c) {
    for (std::int64_t i = begin; i < end; i += step) {
      __builtin_prefetch(data_ + c * channelStride_ + i * frameStride_);
    }
  }
}

void AudioArray::read(int channel, std::int64_t begin, int frames, double* to) const {
  const char* const first = data_ + channel * channelStride_ + begin * frameStride_;
  if (isDouble_ && frameStride_ == sizeof(double)) {
    if (first == reinterpret_cast<const char*>(to)) return;
    std::memcpy(to, first, asSize(frames) * sizeof(double));
    return;
  }
  visit([&](auto kind) {
    const Samples<decltype(kind)> samples(const_cast<char*>(first), frameStride_);
    for (int i = 0; i < frames; ++i) to[i] = static_cast<double>(samples[i]);
  });
}

void AudioArray::write(int channel, std::int64_t begin, int frames, const double* from) {
  char* const first = data_ + channel * channelStride_ + begin * frameStride_;
  if (isDouble_ && frameStride_ == sizeof(double)) {
    std::memcpy(first, from, asSize(frames) * sizeof(double));
    return;
  }
  visit([&](auto kind) {
    using Sample = decltype(kind);
    Samples<Sample> samples(first, frameStride_);
    for (int i = 0; i < frames; ++i) samples.set(i, static_cast<Sample>(from[i]));
  });
}

}  // namespace quellard
