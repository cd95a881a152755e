// SPDX-License-Identifier: ISC
// What a level meter shows of a whole piece: the highest sample and the loudness.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace quellard {

class Meter {
 public:
  // rate: Hz.
  Meter(int rate, int channels);
  ~Meter();
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;

  void add(const double* interleaved, std::int64_t frames);

  // The highest sample against full scale in dB; nothing for silence.
  std::optional<double> peak_dbfs() const;

  // Integrated loudness after EBU R 128 in LUFS; nothing when all of it is silent or shorter than
  // 0.4 s, or when the measure does not define so many channels or such a rate.
  std::optional<double> loudness_lufs() const;

 private:
  struct Loudness;
  int channels_;
  double peak_ = 0.0;
  std::unique_ptr<Loudness> loudness_;
};

}  // namespace quellard
