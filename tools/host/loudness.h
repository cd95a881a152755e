// SPDX-License-Identifier: ISC
// Integrated loudness according to EBU R 128: by libebur128, or where it is missing by the same
// rules written out.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace quellard {

class Loudness {
 public:
  // rate: Hz.
  Loudness(int rate, int channels);
  ~Loudness();
  Loudness(const Loudness&) = delete;
  Loudness& operator=(const Loudness&) = delete;

  void add(const double* interleaved, std::int64_t frames);

  // LUFS; nothing for silence, for less than 0.4 s, and for rates or numbers of channels that are
  // not supported.
  std::optional<double> integrated() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quellard
