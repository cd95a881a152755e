// SPDX-License-Identifier: ISC
// Keeps a library of C from printing sentences of its own: while one of these lives, standard error
// goes nowhere, for all threads. The MPEG decoder comments on damaged files there.
#pragma once

namespace quellard {

class MutedStderr {
 public:
  explicit MutedStderr(bool mute);
  ~MutedStderr();
  MutedStderr(const MutedStderr&) = delete;
  MutedStderr& operator=(const MutedStderr&) = delete;

 private:
  bool mute_;
};

}  // namespace quellard
